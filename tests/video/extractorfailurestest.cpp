#include "libraryfaults.h"
#include "samplevideos.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "support/testfiles.h"
#include "video/frameextractor.h"

#include <QTemporaryDir>
#include <QtTest>

class ExtractorFailuresTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup() { LibraryFaults::disarm(); }

    void failedStepOfOpeningIsLoggedAndLeavesItClosed_data();
    void failedStepOfOpeningIsLoggedAndLeavesItClosed();
    void fileWithoutStreamsIsRefused();
    void failedStepOfARequestGivesNullAndTheNextOneSucceeds_data();
    void failedStepOfARequestGivesNullAndTheNextOneSucceeds();
    void packetThatCannotBeSentIsPassedOver();
    void noScalerGivesNullPictures();
    void readErrorEndsThePass();

private:
    QTemporaryDir m_directory;
    QString m_video;
};

void ExtractorFailuresTest::initTestCase()
{
    m_video = m_directory.filePath(QStringLiteral("v.mp4"));
    SampleVideo video;
    video.frames = 25;
    QVERIFY(video.write(m_video));
}

void ExtractorFailuresTest::failedStepOfOpeningIsLoggedAndLeavesItClosed_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QString>("words");
    const auto step = [](const char *function, const QString &words) {
        QTest::newRow(function) << QString::fromLatin1(function) << words;
    };
    step("avformat_open_input", QStringLiteral("avformat_open_input fail \"%1\"").arg(m_video));
    step("avformat_find_stream_info", QStringLiteral("avformat_find_stream_info fail"));
    step("avcodec_alloc_context3", QStringLiteral("video avcodec_alloc_context3 fail"));
    step("avcodec_parameters_to_context", QStringLiteral("video avcodec_parameters_to_context"));
    step("avcodec_open2", QStringLiteral("video avcodec_open2() fail"));
    // A context without a codec is made all the same; it is the opening that fails.
    step("avcodec_find_decoder", QStringLiteral("video avcodec_open2() fail"));
}

void ExtractorFailuresTest::failedStepOfOpeningIsLoggedAndLeavesItClosed()
{
    QFETCH(QString, function);
    QFETCH(QString, words);
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_video);
    extractor.clearVideoFile();
    const int descriptors = openDescriptors();

    LibraryFaults::arm(function, 0);
    LogCapture log;
    extractor.setAbsoluteVideoName(m_video);
    QVERIFY2(log.texts(QtDebugMsg).contains(words), qPrintable(log.texts().join('\n')));
    QVERIFY(log.texts(QtDebugMsg).last().startsWith(QLatin1String("setAbsoluteVideoName")));
    QCOMPARE(extractor.getAbsoluteVideoName(), QString());
    QVERIFY(extractor.requestGetFrame(0).isNull());
    QVERIFY(!extractor.loadResource());
    QCOMPARE(openDescriptors(), descriptors);

    LibraryFaults::disarm();
    extractor.setAbsoluteVideoName(m_video);
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(0)), 1);
}

void ExtractorFailuresTest::fileWithoutStreamsIsRefused()
{
    const QString file = m_directory.filePath(QStringLiteral("streamless.mp4"));
    QVERIFY(writeFileWithoutStreams(file));
    FrameExtractor extractor(nullptr);
    LogCapture log;
    extractor.setAbsoluteVideoName(file);
    QCOMPARE(log.texts(QtDebugMsg).value(0), QStringLiteral("Failed to get video stream."));
    QVERIFY(extractor.requestGetFrame(0).isNull());
    QCOMPARE(extractor.getAbsoluteVideoName(), QString());
}

void ExtractorFailuresTest::failedStepOfARequestGivesNullAndTheNextOneSucceeds_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QStringList>("words");
    QTest::newRow("seek") << "avformat_seek_file" << QStringList("Error on av_seek_frame");
    QTest::newRow("packet") << "av_packet_alloc" << QStringList();
    QTest::newRow("frame") << "av_frame_alloc" << QStringList();
    QTest::newRow("every packet unreadable") << "av_read_frame" << QStringList();
    QTest::newRow("decoder takes nothing") << "avcodec_send_packet" << QStringList();
}

void ExtractorFailuresTest::failedStepOfARequestGivesNullAndTheNextOneSucceeds()
{
    QFETCH(QString, function);
    QFETCH(QStringList, words);
    for (const int index : {3, 4, 14}) {
        FrameExtractor extractor(nullptr);
        extractor.setAbsoluteVideoName(m_video);
        LibraryFaults::arm(function, 0);
        LogCapture log;
        QVERIFY(extractor.requestGetFrame(index).isNull());
        QCOMPARE(log.texts(QtDebugMsg), words);
        LibraryFaults::disarm();
        QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(index)), index + 1);
    }
}

void ExtractorFailuresTest::packetThatCannotBeSentIsPassedOver()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_video);
    // The key frame of the second group gets lost, so its frames are decoded without it or not at
    // all; the request goes on to whatever comes next.
    LibraryFaults::arm(QStringLiteral("avcodec_send_packet"), 1);
    const QImage picture = extractor.requestGetFrame(10);
    QVERIFY(!picture.isNull());
    LibraryFaults::disarm();
    // Nothing of that stays behind.
    for (const int index : {10, 11, 10}) {
        QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(index)), index + 1);
    }
}

void ExtractorFailuresTest::noScalerGivesNullPictures()
{
    FrameExtractor extractor(nullptr);
    LibraryFaults::arm(QStringLiteral("sws_getContext"), 1);
    extractor.setAbsoluteVideoName(m_video);
    QCOMPARE(extractor.getAbsoluteVideoName(), m_video); // opened all the same
    QVERIFY(extractor.requestGetFrame(0).isNull());
    QVERIFY(extractor.requestGetFrame(24).isNull());
}

void ExtractorFailuresTest::readErrorEndsThePass()
{
    FrameExtractor extractor(nullptr);
    extractor.setAbsoluteVideoName(m_video);
    // Behind the failure the decoder is drained, so what it holds comes as from the end of the
    // file.
    const int height = extractor.requestGetFrame(0).height();
    LibraryFaults::armFrom(QStringLiteral("av_read_frame"), 3);
    QVERIFY(extractor.requestGetFrame(18).isNull());
    LibraryFaults::disarm();
    QCOMPARE(Pictures::numberOf(extractor.requestGetFrame(18)), 19);
    QCOMPARE(extractor.requestGetFrame(18).height(), height);
}

QTEST_MAIN(ExtractorFailuresTest)
#include "extractorfailurestest.moc"
