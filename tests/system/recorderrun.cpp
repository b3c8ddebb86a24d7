#include "system/recorderrun.h"

#include "capture/capturefixture.h"
#include "support/pictures.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QTest>

#include <algorithm>

namespace
{
constexpr int answerMs = 60000;

QString logFile()
{
    return QDir::homePath() + QStringLiteral("/recorder.log");
}

QByteArray lastLines(const QString &path)
{
    constexpr qint64 bytes = 2000;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    file.seek(std::max<qint64>(0, file.size() - bytes));
    return file.readAll();
}
} // namespace

RecorderRun::RecorderRun(const QDateTime &moment, quint32 pid, const QStringList &options)
{
    m_process.setStandardErrorFile(logFile(), QIODevice::Append);
    m_process.start(QStringLiteral(HISTORYRECORDER),
                    QStringList{QString::number(moment.toSecsSinceEpoch()), QString::number(pid)} +
                        options);
    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, &m_process,
                     [this] { readOutput(); });
    (void)QTest::qWaitFor(
        [this] { return isStarted() || m_process.state() == QProcess::NotRunning; }, answerMs);
}

RecorderRun::~RecorderRun()
{
    kill();
}

void RecorderRun::readOutput()
{
    m_partOfLine += m_process.readAllStandardOutput();
    QList<QByteArray> lines = m_partOfLine.split('\n');
    m_partOfLine = lines.takeLast();
    for (const QByteArray &line : qAsConst(lines)) {
        m_lines.append(QString::fromUtf8(line));
    }
}

bool RecorderRun::hasSaid(const QString &beginning) const
{
    return std::any_of(m_lines.cbegin(), m_lines.cend(),
                       [&beginning](const QString &line) { return line.startsWith(beginning); });
}

int RecorderRun::frames() const
{
    return m_lines.filter(QStringLiteral("frame ")).size();
}

bool RecorderRun::waitForFrames(int frames)
{
    const int wanted = this->frames() + frames;
    if (QTest::qWaitFor([this, wanted] { return this->frames() >= wanted; }, answerMs)) {
        return true;
    }
    qWarning() << "of the frames waited for came" << this->frames() - wanted + frames << "of"
               << frames << "and the recorder" << m_process.state() << m_process.exitStatus()
               << "has told:" << lastLines(logFile());
    return false;
}

void RecorderRun::tell(const QString &line)
{
    m_process.write(line.toUtf8() + '\n');
    m_process.waitForBytesWritten();
}

qint64 RecorderRun::beginToErase(TimeRange range)
{
    const int before = m_lines.size();
    tell(QStringLiteral("erase %1").arg(static_cast<int>(range)));
    QStringList answer;
    (void)QTest::qWaitFor(
        [&] {
            answer = m_lines.mid(before).filter(QStringLiteral("erasing "));
            return !answer.isEmpty();
        },
        answerMs);
    return answer.isEmpty() ? -1 : answer.first().section(QLatin1Char(' '), 1).toLongLong();
}

qint64 RecorderRun::erase(TimeRange range)
{
    for (int attempt = 0; attempt < 100; ++attempt) {
        const int before = m_lines.size();
        const qint64 seconds = beginToErase(range);
        const auto answers = [&](const QString &answer) {
            return m_lines.mid(before).contains(answer);
        };
        (void)QTest::qWaitFor(
            [&] { return answers(QStringLiteral("erased")) || answers(QStringLiteral("refused")); },
            answerMs);
        if (answers(QStringLiteral("erased"))) {
            return seconds;
        }
        QTest::qWait(100);
    }
    return -1;
}

void RecorderRun::moveClock(qint64 seconds)
{
    tell(QStringLiteral("clock %1").arg(seconds));
}

bool RecorderRun::waitForClockBack()
{
    return QTest::qWaitFor([this] { return foundClockBack(); }, answerMs);
}

void RecorderRun::kill()
{
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(answerMs);
        readOutput();
    }
}

bool RecorderRun::stop()
{
    tell(QStringLiteral("stop"));
    return m_process.waitForFinished(answerMs) && m_process.exitStatus() == QProcess::NormalExit &&
           m_process.exitCode() == 0;
}

namespace RecordedHistory
{
QString cacheFolder()
{
    return QDir::homePath() + QStringLiteral("/.cache/tavel-ai-yestermark");
}

void eraseEverything()
{
    QDir(cacheFolder()).removeRecursively();
}

QString monthFile(const QString &month)
{
    return cacheFolder() + QStringLiteral("/traditional_database/") + month + QStringLiteral(".db");
}

QString pathOf(const QString &videoName)
{
    return cacheFolder() + QStringLiteral("/screenshots/") + videoName.left(7) + QLatin1Char('/') +
           videoName.left(10) + QLatin1Char('/') + videoName;
}

QVector<int> numbersInVideo(const QString &videoName)
{
    constexpr int width = 320;
    constexpr int height = 240;
    QProcess decoder;
    decoder.start(QStringLiteral("ffmpeg"),
                  {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"),
                   pathOf(videoName), QStringLiteral("-vf"),
                   QStringLiteral("scale=%1:%2").arg(width).arg(height), QStringLiteral("-f"),
                   QStringLiteral("rawvideo"), QStringLiteral("-pix_fmt"), QStringLiteral("gray"),
                   QStringLiteral("-")});
    decoder.waitForFinished(answerMs);
    const QByteArray pixels = decoder.readAllStandardOutput();
    QVector<int> numbers;
    for (int start = 0; start + width * height <= pixels.size(); start += width * height) {
        const QImage frame(reinterpret_cast<const uchar *>(pixels.constData()) + start, width,
                           height, width, QImage::Format_Grayscale8);
        numbers.append(Pictures::numberOf(frame));
    }
    return numbers;
}

QStringList rowsWithWrongPicture()
{
    QStringList wrong;
    QHash<QString, QVector<int>> numbers;
    for (const ScreenShotData &row : CaptureFixture::storedRows()) {
        if (row.ocrText.isEmpty() || !QFile::exists(pathOf(row.videoName))) {
            continue;
        }
        if (!numbers.contains(row.videoName)) {
            numbers.insert(row.videoName, numbersInVideo(row.videoName));
        }
        const QVector<int> &ofVideo = numbers[row.videoName];
        const int place = static_cast<int>(row.frameIndexOfVideo) - 1;
        const QString expected = row.ocrText.section(QLatin1Char(';'), 0, 0);
        if (place < ofVideo.size() && QString::number(ofVideo[place]) != expected) {
            wrong.append(QStringLiteral("%1#%2 shows %3, its row tells %4")
                             .arg(row.videoName)
                             .arg(row.frameIndexOfVideo)
                             .arg(ofVideo[place])
                             .arg(expected));
        }
    }
    return wrong;
}
} // namespace RecordedHistory
