// yestermarkctl beside a recorder: what is stored is found while more comes, all agrees, and no
// insert fails or waits for long.

#include "capture/capturefixture.h"
#include "cli/ctlworld.h"
#include "database/ocrscreenshotdatabase.h"
#include "system/recorderrun.h"

#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

namespace
{
// As the recorder stores them at its greatest speed on a display: a row, then its text.
class Writer
{
public:
    Writer() : m_thread(QThread::create([this] { write(); })) { m_thread->start(); }
    ~Writer() { stop(); }
    Q_DISABLE_COPY(Writer)

    void stop()
    {
        m_isToStop = true;
        m_thread->wait();
    }

    int rows() const { return static_cast<int>(m_milliseconds.size()); }
    int failures() const { return m_failures; }

    /// Of the insert that took longer than @p share of all.
    qint64 milliseconds(double share) const
    {
        std::vector<qint64> sorted = m_milliseconds;
        std::sort(sorted.begin(), sorted.end());
        return sorted.at(static_cast<std::size_t>(static_cast<double>(sorted.size() - 1) * share));
    }

private:
    void write()
    {
        OcrScreenshotDatabase store;
        const QString text = QString("a line of a screen; ").repeated(150);
        const qint64 start = QDateTime::currentSecsSinceEpoch();
        for (quint32 number = 1; !m_isToStop; ++number) {
            ScreenShotData frame;
            frame.realTime = start;
            frame.videoName =
                QDateTime::fromSecsSinceEpoch(start).toString("yyyy-MM-dd_hh-mm-ss'.mp4'");
            frame.frameIndexOfVideo = number;
            frame.frameIndexOfDay = number;
            frame.desktopFilePath = "/usr/share/applications/writer.desktop";
            QElapsedTimer clock;
            clock.start();
            const bool isSaved = store.saveScreenshotData(frame);
            frame.ocrText = text;
            m_failures += isSaved && store.updateScreenshotOCRText(frame) ? 0 : 1;
            m_milliseconds.push_back(clock.elapsed());
        }
    }

    std::atomic<bool> m_isToStop{false};
    std::vector<qint64> m_milliseconds; ///< of each row; read after the end
    int m_failures = 0;
    std::unique_ptr<QThread> m_thread;
};
} // namespace

class TestCtlRecorder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { RecordedHistory::eraseEverything(); }

    void everyCommandWorksBesideARecorder();
    void insertsBesideReadersNeverWaitForLong();

private:
    CtlWorld m_ctl{QDir::homePath()};
};

void TestCtlRecorder::everyCommandWorksBesideARecorder()
{
    const CaptureFixture::Application application(CaptureFixture::Application::FileManager);
    const QTemporaryDir output;
    RecorderRun run(QDateTime(QDate(2024, 3, 5), QTime(10, 0)), application.pid());
    QVERIFY(run.isStarted());
    QVERIFY(run.waitForFrames(150));
    const QJsonArray days = m_ctl.run({"days", "--json"}).list();
    QCOMPARE(days.size(), 1);
    QVERIFY(days[0].toObject()["frames"].toInt() >= 150);
    QCOMPARE(m_ctl.run({"apps", "--json"}).list().size(), 1);
    QCOMPARE(m_ctl.run({"search", "1", "--limit", "5", "--json"}).list().size(), 5);
    // A frame of a batch that is likely to be open still, and one of the first video.
    const int newest = m_ctl.run({"days", "--json"}).list()[0].toObject()["frames"].toInt();
    for (const int number : {newest, 1}) {
        const QString file = output.filePath(QString::number(number) + ".png");
        const CtlRun shown =
            m_ctl.run({"show", "2024-03-05#" + QString::number(number), "-o", file});
        QVERIFY2(shown.status == 0, shown.faults.constData());
        QVERIFY(!QImage(file).isNull());
    }
    for (int round = 0; round < 3; ++round) {
        const CtlRun verified = m_ctl.run({"verify", "--running"});
        QVERIFY2(verified.status == 0, verified.out.constData());
    }
    QCOMPARE(m_ctl.run({"export", "-o", output.filePath("export")}).status, 0);
    QVERIFY(run.waitForFrames(10)); // it goes on
    QVERIFY(run.stop());
    const CtlRun verified = m_ctl.run({"verify"});
    QVERIFY2(verified.status == 0, verified.out.constData());
}

void TestCtlRecorder::insertsBesideReadersNeverWaitForLong()
{
    Writer writer;
    const QList<QStringList> commands = {{"search", "nowhere"}, {"days"},   {"apps"},
                                         {"search", "screen"},  {"verify"}, {"status"}};
    for (int round = 0; round < 2; ++round) {
        for (const QStringList &command : commands) {
            const CtlRun run = m_ctl.run(command);
            QVERIFY2(run.status == 0 || run.status == 1, run.faults.constData());
        }
    }
    writer.stop();
    QVERIFY(writer.rows() > 20);
    QCOMPARE(writer.failures(), 0);
    // The bench has the figure for all of them: here others may hold up the machine.
    QVERIFY2(writer.milliseconds(0.9) < 100, QByteArray::number(writer.milliseconds(0.9)));
    QVERIFY2(writer.milliseconds(1.0) < 2500, QByteArray::number(writer.milliseconds(1.0)));
    const QJsonArray days = m_ctl.run({"days", "--json"}).list();
    QCOMPARE(days[0].toObject()["frames"].toInt(), writer.rows());
}

QTEST_MAIN(TestCtlRecorder)
#include "ctlrecordertest.moc"
