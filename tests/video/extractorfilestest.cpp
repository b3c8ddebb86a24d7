// The file that an extractor reads: opened, closed, named again, changed under it, and no video.

#include "extractorfixture.h"
#include "samplevideos.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "support/testfiles.h"
#include "video/frameextractor.h"
#include "video/videocomposer.h"

#include <QtTest>

using namespace ExtractorWorld;

class ExtractorFilesTest : public ExtractorFixture
{
    Q_OBJECT

private Q_SLOTS:
    void sameNameDoesNotReopenAndLogsNothing();
    void openingLogsItsTime();
    void requestWithoutAFileIsNullAndLogsNothing();
    void requestAfterAFailedOpenIsNullAndTheNameIsTriedAnew();
    void failedOpenClosesTheFormerFile();
    void clearedExtractorIsClosedAndOpensTheSameNameAgain();
    void unloadingKeepsTheName();
    void loadingAloneDoesNotServeRequests();

    void replacedFileIsReadThroughTheOldHandle();
    void deletedFileIsReadThroughTheOldHandle();
    void fileCutShortUnderTheExtractorDoesNotHarm();

    void fileThatIsNoVideo_data();
    void fileThatIsNoVideo();
    void soundAloneOpensAndHasNoFrames();
};

void ExtractorFilesTest::sameNameDoesNotReopenAndLogsNothing()
{
    const QString file = path(QStringLiteral("same.mp4"));
    QVERIFY(copyOver(m_full, file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    QVERIFY(QFile::remove(file));
    LogCapture log;
    extractor.setAbsoluteVideoName(file); // reopening would fail
    QCOMPARE(log.texts(), QStringList());
    QCOMPARE(extractor.getAbsoluteVideoName(), file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(10)), 11);
}

void ExtractorFilesTest::openingLogsItsTime()
{
    FrameExtractor extractor(nullptr);
    LogCapture log;
    extractor.setAbsoluteVideoName(m_full);
    QCOMPARE(log.texts().size(), 1);
    const QRegularExpression line(QStringLiteral("^setAbsoluteVideoName elapsed: \\d+ ms$"));
    QVERIFY2(line.match(log.texts(QtDebugMsg).value(0)).hasMatch(), qPrintable(log.texts()[0]));
}

void ExtractorFilesTest::requestWithoutAFileIsNullAndLogsNothing()
{
    FrameExtractor extractor(nullptr);
    LogCapture log;
    QCOMPARE(extractor.getAbsoluteVideoName(), QString());
    QVERIFY(extractor.requestGetFrame(0).isNull());
    extractor.setAbsoluteVideoName(QString()); // the current name
    QCOMPARE(log.texts(), QStringList());
}

void ExtractorFilesTest::requestAfterAFailedOpenIsNullAndTheNameIsTriedAnew()
{
    const QString file = path(QStringLiteral("late.mp4"));
    FrameExtractor extractor(nullptr);
    for (int attempt = 0; attempt < 2; ++attempt) {
        LogCapture log;
        extractor.setAbsoluteVideoName(file);
        QCOMPARE(log.texts(QtDebugMsg).value(0),
                 QStringLiteral("avformat_open_input fail \"%1\"").arg(file));
        QVERIFY(log.texts(QtDebugMsg).value(1).startsWith(QLatin1String("setAbsoluteVideoName")));
        log.clear();
        QVERIFY(extractor.requestGetFrame(0).isNull());
        QCOMPARE(log.texts(), QStringList());
        QCOMPARE(extractor.getAbsoluteVideoName(), QString());
    }
    QVERIFY(copyOver(m_full, file));
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(extractor.getAbsoluteVideoName(), file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(0)), 1);
}

void ExtractorFilesTest::failedOpenClosesTheFormerFile()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    extractor.setAbsoluteVideoName(path(QStringLiteral("missing.mp4")));
    QVERIFY(extractor.requestGetFrame(0).isNull());
    QCOMPARE(extractor.getAbsoluteVideoName(), QString());
}

void ExtractorFilesTest::clearedExtractorIsClosedAndOpensTheSameNameAgain()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_full);
    extractor.clearVideoFile();
    QCOMPARE(extractor.getAbsoluteVideoName(), QString());
    QVERIFY(extractor.requestGetFrame(0).isNull());
    LogCapture log;
    extractor.setAbsoluteVideoName(m_full);
    QCOMPARE(log.texts().size(), 1);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(0)), 1);
}

void ExtractorFilesTest::unloadingKeepsTheName()
{
    FrameExtractor extractor(nullptr);
    QVERIFY(extractor.unloadResource());
    extractor.setAbsoluteVideoName(m_full);
    QVERIFY(extractor.unloadResource());
    QVERIFY(extractor.unloadResource());
    QCOMPARE(extractor.getAbsoluteVideoName(), m_full);
    QVERIFY(extractor.requestGetFrame(0).isNull());
}

void ExtractorFilesTest::loadingAloneDoesNotServeRequests()
{
    FrameExtractor extractor(nullptr);
    QVERIFY(!extractor.loadResource()); // no name yet
    extractor.setAbsoluteVideoName(m_full);
    extractor.unloadResource();
    QVERIFY(extractor.loadResource());
    QVERIFY(extractor.requestGetFrame(0).isNull());
    extractor.clearVideoFile();
    extractor.setAbsoluteVideoName(m_full);
    QVERIFY(!extractor.requestGetFrame(0).isNull());
}

void ExtractorFilesTest::replacedFileIsReadThroughTheOldHandle()
{
    const QString file = path(QStringLiteral("replaced.mp4"));
    QVERIFY(copyOver(m_full, file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(20)), 21);

    VideoComposer composer(nullptr);
    QVERIFY(composer.deleteFramesToEndFromVideoFile(file, 5));
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(95)), 96);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(21)), 22);

    extractor.setAbsoluteVideoName(m_full);
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(4)), 5);
    QVERIFY(extractor.requestGetFrame(5).isNull());
}

void ExtractorFilesTest::deletedFileIsReadThroughTheOldHandle()
{
    const QString file = path(QStringLiteral("deleted.mp4"));
    QVERIFY(copyOver(m_full, file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    VideoComposer composer(nullptr);
    QVERIFY(composer.deleteFramesToEndFromVideoFile(file, 0));
    QVERIFY(!QFile::exists(file));
    for (const int index : {0, 57, 56, 99}) {
        QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(index)), index + 1);
    }
}

void ExtractorFilesTest::fileCutShortUnderTheExtractorDoesNotHarm()
{
    const QString file = path(QStringLiteral("cut.mp4"));
    QVERIFY(copyOver(m_full, file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(20)), 21);
    QVERIFY(QFile::resize(file, 0));
    QVERIFY(extractor.requestGetFrame(80).isNull());
    QVERIFY(copyOver(m_full, file));
    extractor.clearVideoFile();
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(80)), 81);
}

void ExtractorFilesTest::fileThatIsNoVideo_data()
{
    QTest::addColumn<QByteArray>("content");
    const QByteArray whole = contentOf(m_full);
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("junk") << QByteArray(50'000, 'j');
    QTest::newRow("cut in the middle, so without an index") << whole.left(whole.size() / 2);
    QTest::newRow("only the header") << whole.left(40);
}

void ExtractorFilesTest::fileThatIsNoVideo()
{
    QFETCH(QByteArray, content);
    const QString file = path(QStringLiteral("novideo.mp4"));
    QVERIFY(overwrite(file, content));
    FrameExtractor extractor(nullptr);
    LogCapture log;
    extractor.setAbsoluteVideoName(file);
    QVERIFY(log.contains(QtDebugMsg, QStringLiteral("avformat_open_input fail \"%1\"").arg(file)));
    QVERIFY(extractor.requestGetFrame(0).isNull());
    QCOMPARE(extractor.getAbsoluteVideoName(), QString());
}

void ExtractorFilesTest::soundAloneOpensAndHasNoFrames()
{
    const QString file = path(QStringLiteral("sound.mp4"));
    SampleVideo video;
    video.pictures = false;
    QVERIFY(video.write(file));
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(extractor.getAbsoluteVideoName(), file); // it opens
    QVERIFY(extractor.requestGetFrame(0).isNull());
    QVERIFY(extractor.requestGetFrame(5).isNull());
}

QTEST_MAIN(ExtractorFilesTest)
#include "extractorfilestest.moc"
