#include "libraryfaults.h"
#include "support/logcapture.h"
#include "support/pictures.h"
#include "support/testfiles.h"
#include "video/videocomposer.h"
#include "videofacts.h"

#include <QDir>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace
{
constexpr int frames = 7;
} // namespace

/// The sweep at start-up over what a crash or a kill left in a day's directory.
class LeftoverImagesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { LibraryFaults::disarm(); }

    void imagesBecomeAVideoInTheOrderOfTheirNames();
    void namesAreComparedLetterByLetter();
    void imagesOfTwoVideosBecomeTwoVideosInOrder();
    void videosNameEndsAtTheFirstSuffix();
    void failureOfOneVideoDoesNotStopTheNext();
    void imageWithoutAVideoNameStays();
    void missingOrEmptyDirectoryIsNothing();
    void unreadableImageTakesNoIndexAndGoesWithTheRest();
    void videoOfUnreadableImagesOnlyHasNoFrames();
    void gapInTheNumbersClosesUp();
    void imageOfAnyDepthKeepsItsColours_data();
    void imageOfAnyDepthKeepsItsColours();

    void brokenVideoIsOverwritten_data();
    void brokenVideoIsOverwritten();
    void finishedVideoBesideAllItsImagesIsEncodedAnew();
    void finishedVideoIsKeptWhateverPartOfItsImagesIsLeft_data();
    void finishedVideoIsKeptWhateverPartOfItsImagesIsLeft();
    void finishedVideoIsKeptBesideOneImageThatCouldNotBeRemoved();
    void finishedVideoIsKeptThoughAnImageWasNeverWritten();
    void finishedVideoIsKeptThoughAnImageIsUnreadable();
    void finishedVideoThatLostFramesIsKeptOnceRemovalHasBegun();
    void damagedVideoIsReplacedWhereTheImagesHoldMore();
    void damagedVideoAndItsImagesAreKeptWhereTheVideoHoldsMore();
    void keptVideoIsSyncedBeforeItsImagesGo();
    void imagesStayWhereTheKeptVideoCannotBeSynced();
    void killAtAnyPointLosesNoFrame();

private:
    QString path(const QString &name) const { return m_directory->filePath(name); }
    QString video() const { return path(QStringLiteral("v.mp4")); }
    QString image(int number) const
    {
        return path(QStringLiteral("v.mp4_%1.png").arg(number, 3, 10, QLatin1Char('0')));
    }
    void saveImages(const QVector<int> &numbers);
    void makeVideo(const QVector<int> &numbers);
    void sweep();
    QStringList imageFiles() const
    {
        return QDir(m_directory->path()).entryList({QStringLiteral("*.png")});
    }
    QVector<int> videoNumbers() const { return VideoFacts::of(video()).numbers(); }

    std::unique_ptr<QTemporaryDir> m_directory;
};

void LeftoverImagesTest::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
}

void LeftoverImagesTest::saveImages(const QVector<int> &numbers)
{
    for (const int number : numbers) {
        QVERIFY(Pictures::numbered(number).save(image(number)));
    }
}

void LeftoverImagesTest::makeVideo(const QVector<int> &numbers)
{
    VideoComposer composer(nullptr);
    QVERIFY(composer.convertImagesToVideo(numberedBatch(numbers), video()));
}

void LeftoverImagesTest::sweep()
{
    VideoComposer composer(nullptr);
    composer.convertLocalImageFilesToVideo(m_directory->path());
}

void LeftoverImagesTest::imagesBecomeAVideoInTheOrderOfTheirNames()
{
    // Made in another order than that of their names.
    saveImages({10, 3, 1, 12, 7, 2, 9, 8, 4, 11, 6, 5});
    sweep();
    QCOMPARE(videoNumbers(), numbersFrom(1, 12));
    QCOMPARE(imageFiles(), QStringList());
}

/// Not as a language sorts them, where "a" comes before "B".
void LeftoverImagesTest::namesAreComparedLetterByLetter()
{
    QVERIFY(Pictures::numbered(2).save(path(QStringLiteral("v.mp4_a.png"))));
    QVERIFY(Pictures::numbered(1).save(path(QStringLiteral("v.mp4_B.png"))));
    sweep();
    QCOMPARE(videoNumbers(), numbersFrom(1, 2));
}

void LeftoverImagesTest::imagesOfTwoVideosBecomeTwoVideosInOrder()
{
    saveImages({1, 2, 3});
    for (int number = 1; number <= 2; ++number) {
        QVERIFY(Pictures::numbered(number + 20)
                    .save(path(QStringLiteral("a.mp4_00%1.png").arg(number))));
    }
    sweep();
    QCOMPARE(videoNumbers(), numbersFrom(1, 3));
    QCOMPARE(VideoFacts::of(path(QStringLiteral("a.mp4"))).numbers(), (QVector<int>{21, 22}));
    QCOMPARE(imageFiles(), QStringList());
    QStringList synced = LibraryFaults::finishingCalls().filter(QStringLiteral("fsync"));
    synced = synced.filter(QStringLiteral(".mp4"));
    QCOMPARE(synced, (QStringList{QStringLiteral("fsync a.mp4"), QStringLiteral("fsync v.mp4")}));
}

void LeftoverImagesTest::videosNameEndsAtTheFirstSuffix()
{
    QVERIFY(Pictures::numbered(1).save(path(QStringLiteral("v.mp4_001.mp4_001.png"))));
    QVERIFY(Pictures::numbered(2).save(path(QStringLiteral("v.mp4_002.png"))));
    sweep();
    QCOMPARE(videoNumbers(), numbersFrom(1, 2));
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files),
             QStringList{QStringLiteral("v.mp4")});
}

void LeftoverImagesTest::failureOfOneVideoDoesNotStopTheNext()
{
    saveImages({1});
    QVERIFY(Pictures::numbered(20).save(path(QStringLiteral("a.mp4_001.png"))));
    QVERIFY(QDir(m_directory->path()).mkdir(QStringLiteral("a.mp4")));
    LogCapture log;
    sweep();
    QCOMPARE(
        log.texts(QtDebugMsg).filter(QStringLiteral("Error: Could not open output file")).size(),
        1);
    QCOMPARE(videoNumbers(), QVector<int>{1});
    QCOMPARE(imageFiles(), QStringList{QStringLiteral("a.mp4_001.png")});
}

void LeftoverImagesTest::imageWithoutAVideoNameStays()
{
    const QStringList names{QStringLiteral("picture.png"), QStringLiteral("v.MP4_001.png"),
                            QStringLiteral("mp4_001.png")};
    for (const QString &name : names) {
        QVERIFY(Pictures::numbered(1).save(path(name)));
    }
    QVERIFY(overwrite(path(QStringLiteral("v.mp4_001.jpg")), "not a png name"));
    sweep();
    QCOMPARE(QDir(m_directory->path()).entryList(QDir::Files).size(), 4);
}

void LeftoverImagesTest::missingOrEmptyDirectoryIsNothing()
{
    LogCapture log;
    sweep();
    VideoComposer composer(nullptr);
    composer.convertLocalImageFilesToVideo(path(QStringLiteral("gone")));
    composer.convertLocalImageFilesToVideo(QString());
    QCOMPARE(log.texts(), QStringList());
    QVERIFY(QDir(m_directory->path()).isEmpty());
}

void LeftoverImagesTest::unreadableImageTakesNoIndexAndGoesWithTheRest()
{
    saveImages({1, 2, 3, 4, 5});
    QVERIFY(overwrite(image(2), QByteArray()));
    QVERIFY(overwrite(image(4), contentOf(image(5)).left(100)));
    sweep();
    const VideoFacts facts = VideoFacts::of(video());
    QCOMPARE(facts.numbers(), (QVector<int>{1, 3, 5}));
    QCOMPARE(facts.seconds, (QVector<double>{0.0, 1.0, 2.0}));
    QCOMPARE(imageFiles(), QStringList());
}

void LeftoverImagesTest::videoOfUnreadableImagesOnlyHasNoFrames()
{
    QVERIFY(overwrite(image(1), "junk"));
    sweep();
    QVERIFY(VideoFacts::of(video()).isReadable);
    QCOMPARE(VideoFacts::of(video()).declaredFrames, 0);
    QCOMPARE(imageFiles(), QStringList());
}

void LeftoverImagesTest::gapInTheNumbersClosesUp()
{
    saveImages({2, 3, 6});
    sweep();
    QCOMPARE(videoNumbers(), (QVector<int>{2, 3, 6}));
    QCOMPARE(VideoFacts::of(video()).seconds, (QVector<double>{0.0, 1.0, 2.0}));
    QCOMPARE(imageFiles(), QStringList());
}

void LeftoverImagesTest::imageOfAnyDepthKeepsItsColours_data()
{
    QTest::addColumn<int>("format");
    QTest::newRow("32 bit") << int(QImage::Format_RGB32);
    QTest::newRow("32 bit with alpha") << int(QImage::Format_ARGB32);
    QTest::newRow("24 bit") << int(QImage::Format_RGB888);
    QTest::newRow("palette") << int(QImage::Format_Indexed8);
    QTest::newRow("64 bit") << int(QImage::Format_RGBX64);
    QTest::newRow("64 bit with alpha") << int(QImage::Format_RGBA64);
    QTest::newRow("grey") << int(QImage::Format_Grayscale8);
    QTest::newRow("16 bit grey") << int(QImage::Format_Grayscale16);
    QTest::newRow("black and white") << int(QImage::Format_Mono);
}

void LeftoverImagesTest::imageOfAnyDepthKeepsItsColours()
{
    QFETCH(int, format);
    // So small that Qt converts it without its thread pool, whose locks the thread sanitizer
    // can't see.
    QImage picture(160, 100, QImage::Format_RGB32);
    picture.fill(QColor(200, 40, 40));
    QPainter painter(&picture);
    painter.fillRect(80, 0, 80, 100, QColor(40, 60, 190));
    painter.end();
    picture = picture.convertToFormat(static_cast<QImage::Format>(format), Qt::ThresholdDither);
    QVERIFY(picture.save(image(1)));
    sweep();
    const QImage frame = VideoFacts::of(video()).pictures.value(0);
    QVERIFY(!frame.isNull());
    for (const double place : {0.25, 0.75}) {
        const QRgb is = frame.pixel(int(frame.width() * place), frame.height() / 2);
        const QRgb was = picture.pixel(int(picture.width() * place), picture.height() / 2);
        QVERIFY2(qAbs(qRed(is) - qRed(was)) < 8 && qAbs(qGreen(is) - qGreen(was)) < 8 &&
                     qAbs(qBlue(is) - qBlue(was)) < 8,
                 qPrintable(QStringLiteral("%1 for %2").arg(is, 0, 16).arg(was, 0, 16)));
    }
}

void LeftoverImagesTest::brokenVideoIsOverwritten_data()
{
    QTest::addColumn<double>("part");
    QTest::newRow("empty file") << 0.0;
    QTest::newRow("only the header") << 0.001;
    QTest::newRow("cut in the middle") << 0.5;
    QTest::newRow("cut in the index") << 0.999;
}

void LeftoverImagesTest::brokenVideoIsOverwritten()
{
    QFETCH(double, part);
    makeVideo(numbersFrom(1, frames));
    const QByteArray whole = contentOf(video());
    QVERIFY(overwrite(video(), whole.left(static_cast<int>(whole.size() * part))));
    // The first image was never written: no sign of a removal beside a video like this.
    saveImages(numbersFrom(2, frames));
    sweep();
    QCOMPARE(videoNumbers(), numbersFrom(2, frames));
    QCOMPARE(imageFiles(), QStringList());
}

void LeftoverImagesTest::finishedVideoBesideAllItsImagesIsEncodedAnew()
{
    makeVideo(numbersFrom(21, 23)); // other numbers, to tell which one stands afterwards
    saveImages(numbersFrom(1, 3));
    sweep();
    QCOMPARE(videoNumbers(), numbersFrom(1, 3));
    QCOMPARE(imageFiles(), QStringList());
}

void LeftoverImagesTest::finishedVideoIsKeptWhateverPartOfItsImagesIsLeft_data()
{
    QTest::addColumn<int>("removed");
    for (int removed = 1; removed < frames; ++removed) {
        QTest::addRow("%d of %d removed", removed, frames) << removed;
    }
}

void LeftoverImagesTest::finishedVideoIsKeptWhateverPartOfItsImagesIsLeft()
{
    QFETCH(int, removed);
    makeVideo(numbersFrom(1, frames));
    const QByteArray before = contentOf(video());
    saveImages(numbersFrom(removed + 1, frames));
    sweep();
    QVERIFY(contentOf(video()) == before);
    QCOMPARE(videoNumbers(), numbersFrom(1, frames));
    QCOMPARE(imageFiles(), QStringList());
}

void LeftoverImagesTest::finishedVideoIsKeptBesideOneImageThatCouldNotBeRemoved()
{
    for (const int stuck : {1, 5, frames}) {
        makeVideo(numbersFrom(1, frames));
        saveImages({stuck});
        sweep();
        QCOMPARE(videoNumbers(), numbersFrom(1, frames));
        QCOMPARE(imageFiles(), QStringList());
    }
}

void LeftoverImagesTest::finishedVideoIsKeptThoughAnImageWasNeverWritten()
{
    // Killed between the video's end and the first removal, and the disk was once full.
    for (const int missing : {1, 6, frames}) {
        makeVideo(numbersFrom(1, frames));
        QVector<int> written = numbersFrom(1, frames);
        written.removeOne(missing);
        saveImages(written);
        sweep();
        QCOMPARE(videoNumbers(), numbersFrom(1, frames));
        QCOMPARE(imageFiles(), QStringList());
    }
}

void LeftoverImagesTest::finishedVideoIsKeptThoughAnImageIsUnreadable()
{
    makeVideo(numbersFrom(1, frames));
    saveImages(numbersFrom(1, frames));
    QVERIFY(overwrite(image(4), QByteArray()));
    sweep();
    QCOMPARE(videoNumbers(), numbersFrom(1, frames));
    QCOMPARE(imageFiles(), QStringList());
}

void LeftoverImagesTest::finishedVideoThatLostFramesIsKeptOnceRemovalHasBegun()
{
    // The encoder lost two of seven frames; encoding the six images would shift the others.
    makeVideo({1, 2, 3, 6, 7});
    saveImages(numbersFrom(2, frames));
    sweep();
    QCOMPARE(videoNumbers(), (QVector<int>{1, 2, 3, 6, 7}));
    QCOMPARE(imageFiles(), QStringList());
}

void LeftoverImagesTest::damagedVideoIsReplacedWhereTheImagesHoldMore()
{
    makeVideo(numbersFrom(1, frames));
    QByteArray content = contentOf(video());
    content.replace(1000, content.size() / 2, QByteArray(content.size() / 2, '\0'));
    QVERIFY(overwrite(video(), content));
    QCOMPARE(VideoComposer::getFrameNumberFromVideo(video()), unsigned(frames));
    saveImages(numbersFrom(2, frames));
    sweep();
    QCOMPARE(videoNumbers(), numbersFrom(2, frames));
    QCOMPARE(imageFiles(), QStringList());
}

void LeftoverImagesTest::damagedVideoAndItsImagesAreKeptWhereTheVideoHoldsMore()
{
    makeVideo(numbersFrom(1, 40));
    QByteArray content = contentOf(video());
    content.replace(content.size() * 9 / 10, 2000, QByteArray(2000, '\0'));
    QVERIFY(overwrite(video(), content));
    saveImages({39, 40});
    LogCapture log;
    sweep();
    QVERIFY(log.contains(QtDebugMsg, QStringLiteral("Error: Video is damaged:")));
    QVERIFY(contentOf(video()) == content);
    QCOMPARE(imageFiles().size(), 2);
}

void LeftoverImagesTest::keptVideoIsSyncedBeforeItsImagesGo()
{
    makeVideo(numbersFrom(1, 3));
    saveImages({2, 3});
    LibraryFaults::disarm();
    sweep();
    const QString directoryName = m_directory->path().section(QLatin1Char('/'), -1);
    QCOMPARE(LibraryFaults::finishingCalls(),
             (QStringList{QStringLiteral("fsync v.mp4"), QStringLiteral("fsync ") + directoryName,
                          QStringLiteral("unlink v.mp4_002.png"),
                          QStringLiteral("unlink v.mp4_003.png")}));
}

void LeftoverImagesTest::imagesStayWhereTheKeptVideoCannotBeSynced()
{
    makeVideo(numbersFrom(1, 3));
    saveImages({2, 3});
    LibraryFaults::arm(QStringLiteral("fsync"), 0);
    sweep();
    LibraryFaults::disarm();
    QCOMPARE(imageFiles().size(), 2);
    QCOMPARE(videoNumbers(), numbersFrom(1, 3));
}

/// A process of its own encodes the batch and is killed before the n-th call of a function, for
/// every function that changes something on disk and every n, until it lives to the end.
void LeftoverImagesTest::killAtAnyPointLosesNoFrame()
{
    int kills = 0;
    for (const char *function : {"avio_open", "avformat_write_header", "av_interleaved_write_frame",
                                 "av_write_trailer", "avio_closep", "fsync", "unlink"}) {
        for (int number = 1;; ++number) {
            QFile::remove(video());
            saveImages(numbersFrom(1, frames));
            QProcess process;
            process.start(QStringLiteral(ENCODEBATCH),
                          {QStringLiteral("--die-at"), QLatin1String(function),
                           QString::number(number), video(), QString::number(frames)});
            QVERIFY(process.waitForFinished());
            const bool killed = process.exitStatus() == QProcess::CrashExit;
            kills += killed ? 1 : 0;
            sweep();
            QVERIFY2(videoNumbers() == numbersFrom(1, frames),
                     qPrintable(QStringLiteral("%1, call %2").arg(function).arg(number)));
            QCOMPARE(imageFiles(), QStringList());
            if (!killed) {
                QCOMPARE(process.readAllStandardOutput().trimmed(), QByteArray("true"));
                break;
            }
        }
    }
    // The file, the header, each frame, the trailer, two closes, two syncs, each removal.
    QCOMPARE(kills, 1 + 1 + frames + 1 + 2 + 2 + frames);
}

QTEST_MAIN(LeftoverImagesTest)
#include "leftoverimagestest.moc"
