#include "video/storedvideo.h"
#include "samplevideos.h"
#include "support/testfiles.h"
#include "video/videocomposer.h"
#include "videofacts.h"

#include <QTemporaryDir>
#include <QtTest>

namespace
{
/// A WAV file of silence: a container that can be read, without a video stream.
QByteArray wavFile()
{
    const QByteArray samples(1600, '\0');
    return QByteArray("RIFF") + QByteArray::fromHex("64060000") + "WAVEfmt " +
           QByteArray::fromHex("1000000001000100401f0000803e000002001000") + "data" +
           QByteArray::fromHex("40060000") + samples;
}
} // namespace

class StoredVideoTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void frameCountOfAWholeVideoIsDeclaredAndIntact();
    void framesAreThoseOfTheFirstVideoStream();
    void frameCountOfAnythingElseIsZero_data();
    void frameCountOfAnythingElseIsZero();
    void damagedFramesAreDeclaredButNotIntact_data();
    void damagedFramesAreDeclaredButNotIntact();

private:
    QTemporaryDir m_directory;
    QString m_video;
};

void StoredVideoTest::initTestCase()
{
    m_video = m_directory.filePath(QStringLiteral("v.mp4"));
    VideoComposer composer(nullptr);
    QVERIFY(composer.convertImagesToVideo(numberedBatch(45), m_video));
}

void StoredVideoTest::frameCountOfAWholeVideoIsDeclaredAndIntact()
{
    QCOMPARE(VideoComposer::getFrameNumberFromVideo(m_video), 45U);
    QCOMPARE(StoredVideo::declaredFrames(m_video), 45U);
    QCOMPARE(StoredVideo::intactFrames(m_video), 45U);
}

void StoredVideoTest::framesAreThoseOfTheFirstVideoStream()
{
    const QString file = m_directory.filePath(QStringLiteral("sound.mp4"));
    SampleVideo sample;
    sample.frames = 9;
    sample.soundFirst = true;
    QVERIFY(sample.write(file));
    QCOMPARE(VideoComposer::getFrameNumberFromVideo(file), 9U);
    QCOMPARE(StoredVideo::intactFrames(file), 9U);
}

void StoredVideoTest::frameCountOfAnythingElseIsZero_data()
{
    QTest::addColumn<QByteArray>("content");
    const QByteArray whole = contentOf(m_video);
    QTest::newRow("missing file") << QByteArray();
    QTest::newRow("empty file") << QByteArray("");
    QTest::newRow("junk") << QByteArray(50'000, 'j');
    QTest::newRow("cut in the middle, so without an index") << whole.left(whole.size() / 2);
    QTest::newRow("only the header") << whole.left(40);
    QTest::newRow("sound without pictures") << wavFile();
}

void StoredVideoTest::frameCountOfAnythingElseIsZero()
{
    QFETCH(QByteArray, content);
    const QString path = m_directory.filePath(QStringLiteral("other.mp4"));
    QFile::remove(path);
    if (!content.isNull()) {
        QVERIFY(overwrite(path, content));
    }
    QCOMPARE(VideoComposer::getFrameNumberFromVideo(path), 0U);
    QCOMPARE(StoredVideo::intactFrames(path), 0U);
    QCOMPARE(VideoComposer::getFrameNumberFromVideo(m_directory.path()), 0U);
}

void StoredVideoTest::damagedFramesAreDeclaredButNotIntact_data()
{
    QTest::addColumn<double>("from");
    QTest::addColumn<double>("to");
    QTest::newRow("a hole near the beginning") << 0.1 << 0.15;
    QTest::newRow("a hole in the middle") << 0.5 << 0.55;
    QTest::newRow("nothing but the index came to the disk") << 0.01 << 0.9;
    QTest::newRow("second half never came to the disk") << 0.5 << 0.9;
}

/// Pages that a loss of power kept from the disk read as zeros.
void StoredVideoTest::damagedFramesAreDeclaredButNotIntact()
{
    QFETCH(double, from);
    QFETCH(double, to);
    QByteArray content = contentOf(m_video);
    const int start = static_cast<int>(content.size() * from);
    const int end = static_cast<int>(content.size() * to);
    content.replace(start, end - start, QByteArray(end - start, '\0'));
    const QString path = m_directory.filePath(QStringLiteral("damaged.mp4"));
    QVERIFY(overwrite(path, content));
    QCOMPARE(StoredVideo::declaredFrames(path), 45U);
    QVERIFY2(StoredVideo::intactFrames(path) < 45U,
             qPrintable(QString::number(StoredVideo::intactFrames(path))));
}

QTEST_MAIN(StoredVideoTest)
#include "storedvideotest.moc"
