// Pictures into real pipes: the bytes, and readers that are slow, stuck or gone.

#include "desktopbridge/picturewriter.h"
#include "imageof.h"
#include "pipereader.h"
#include "support/logcapture.h"

#include <QElapsedTimer>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <vector>

namespace
{
// Large enough that no pipe holds it.
const QRect AREA(0, 0, 1024, 768);

PicturePtr pattern(const QRect &area, quint32 topByte = 0)
{
    const auto memory = std::make_shared<std::vector<quint32>>();
    for (int y = 0; y < area.height(); ++y) {
        for (int x = 0; x < area.width(); ++x) {
            memory->push_back(topByte | quint32((x * 7919 + y * 104729) & 0xffffff));
        }
    }
    return std::make_shared<const Picture>(
        Picture{area, std::shared_ptr<const quint32>(memory, memory->data())});
}

FileDescriptor writeEndOf(PipeReader &reader)
{
    FileDescriptor end(::fcntl(reader.writeEnd(), F_DUPFD_CLOEXEC, 0));
    reader.closeWriteEnd();
    return end;
}
} // namespace

class PictureWriterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { std::signal(SIGPIPE, SIG_IGN); }
    void writesHeaderAndPixels_data();
    void writesHeaderAndPixels();
    void undefinedTopByteBecomesOpaque();
    void raisesThePipeToOneMebibyte();
    void neverBlocksTheCaller();
    void givesUpOnAReaderThatNeverReads();
    void slowReaderIsNotGivenUp();
    void readerThatClosesEarlyEndsTheWriting();
    void threePicturesAtOnceAndNoMore();
    void twoReadersDoNotWaitForEachOther();
    void endsAtOnceWithAStuckReader();
    void readOnlyDescriptorIsHarmless();
};

void PictureWriterTest::writesHeaderAndPixels_data()
{
    QTest::addColumn<QRect>("area");
    QTest::newRow("one pixel") << QRect(5, 5, 1, 1);
    QTest::newRow("odd width") << QRect(0, 0, 333, 77);
    QTest::newRow("part of one write") << QRect(0, 0, 256, 129);
    QTest::newRow("1080p") << QRect(0, 0, 1920, 1080);
}

void PictureWriterTest::writesHeaderAndPixels()
{
    QFETCH(QRect, area);
    const PicturePtr picture = pattern(area);
    PipeReader reader;
    PictureWriter writer;
    writer.write(writeEndOf(reader), picture);
    const QByteArray bytes = reader.readAll();
    QVERIFY(reader.sawEnd());
    QCOMPARE(bytes.size(), 12 + area.width() * area.height() * 4);
    const auto *fields = reinterpret_cast<const qint32 *>(bytes.constData());
    QCOMPARE(fields[0], area.width());
    QCOMPARE(fields[1], area.height());
    QCOMPARE(fields[2], qint32(QImage::Format_RGB32));
    QCOMPARE(PipeReader::image(bytes), imageOf(picture));
    QTRY_COMPARE(writer.underWay(), 0);
}

void PictureWriterTest::undefinedTopByteBecomesOpaque()
{
    PipeReader reader;
    PictureWriter writer;
    writer.write(writeEndOf(reader), pattern(QRect(0, 0, 40, 40), 0x5a000000));
    const QByteArray bytes = reader.readAll();
    const auto *pixels = reinterpret_cast<const quint32 *>(bytes.constData() + 12);
    for (int pixel = 0; pixel < 40 * 40; ++pixel) {
        QCOMPARE(pixels[pixel] >> 24, 0xffU);
    }
}

void PictureWriterTest::raisesThePipeToOneMebibyte()
{
    PipeReader reader;
    PictureWriter writer;
    writer.write(writeEndOf(reader), pattern(AREA));
    QTRY_COMPARE(::fcntl(reader.readEnd(), F_GETPIPE_SZ), 1 << 20);
    QCOMPARE(::fcntl(reader.readEnd(), F_GETFL) & O_NONBLOCK, 0); // the reader's end is its own
}

void PictureWriterTest::neverBlocksTheCaller()
{
    PipeReader reader;
    PictureWriter writer;
    const PicturePtr picture = pattern(AREA);
    QElapsedTimer timer;
    timer.start();
    writer.write(writeEndOf(reader), picture);
    QVERIFY2(timer.elapsed() < 200, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(writer.underWay(), 1);
}

void PictureWriterTest::givesUpOnAReaderThatNeverReads()
{
    LogCapture log;
    PipeReader reader;
    PictureWriter writer;
    QElapsedTimer timer;
    timer.start();
    writer.write(writeEndOf(reader), pattern(AREA));
    QTRY_COMPARE_WITH_TIMEOUT(writer.underWay(), 0, 8000);
    QVERIFY2(timer.elapsed() >= 4900, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(log.contains(QtWarningMsg, QStringLiteral("took nothing for 5000 ms")));
    const QByteArray held = reader.readAll();
    QVERIFY(reader.sawEnd());
    QVERIFY(held.size() <= 1 << 20);
}

void PictureWriterTest::slowReaderIsNotGivenUp()
{
    const PicturePtr picture = pattern(AREA);
    PipeReader reader;
    PictureWriter writer(300);
    writer.write(writeEndOf(reader), picture);
    QByteArray bytes;
    QByteArray part(256 << 10, Qt::Uninitialized);
    for (;;) {
        const ssize_t count = ::read(reader.readEnd(), part.data(), size_t(part.size()));
        if (count <= 0) {
            break;
        }
        bytes.append(part.constData(), int(count));
        QTest::qWait(100); // all in all far more than the patience
    }
    QCOMPARE(PipeReader::image(bytes), imageOf(picture));
}

void PictureWriterTest::readerThatClosesEarlyEndsTheWriting()
{
    PipeReader reader;
    PictureWriter writer;
    writer.write(writeEndOf(reader), pattern(AREA));
    char header[12];
    QCOMPARE(::read(reader.readEnd(), header, sizeof(header)), ssize_t(sizeof(header)));
    reader.closeReadEnd();
    QTRY_COMPARE_WITH_TIMEOUT(writer.underWay(), 0, 1000);
}

void PictureWriterTest::threePicturesAtOnceAndNoMore()
{
    const PicturePtr picture = pattern(AREA);
    PipeReader readers[4];
    PictureWriter writer;
    for (int index = 0; index < 3; ++index) {
        QVERIFY(writer.hasRoom());
        writer.write(writeEndOf(readers[index]), picture);
    }
    QVERIFY(!writer.hasRoom());
    writer.write(writeEndOf(readers[3]), picture);
    QCOMPARE(readers[3].readAll(), QByteArray());
    QVERIFY(readers[3].sawEnd());
    QCOMPARE(PipeReader::image(readers[1].readAll()), imageOf(picture));
    QVERIFY(writer.hasRoom());
}

void PictureWriterTest::twoReadersDoNotWaitForEachOther()
{
    const PicturePtr picture = pattern(AREA);
    PipeReader stuck;
    PipeReader quick;
    PictureWriter writer;
    writer.write(writeEndOf(stuck), picture);
    writer.write(writeEndOf(quick), picture);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(PipeReader::image(quick.readAll()), imageOf(picture));
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
}

void PictureWriterTest::endsAtOnceWithAStuckReader()
{
    PipeReader reader;
    QElapsedTimer timer;
    {
        PictureWriter writer;
        writer.write(writeEndOf(reader), pattern(AREA));
        QTRY_COMPARE(::fcntl(reader.readEnd(), F_GETPIPE_SZ), 1 << 20);
        timer.start();
    }
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
}

void PictureWriterTest::readOnlyDescriptorIsHarmless()
{
    PipeReader reader;
    PictureWriter writer;
    writer.write(FileDescriptor(::fcntl(reader.readEnd(), F_DUPFD_CLOEXEC, 0)), pattern(AREA));
    QTRY_COMPARE_WITH_TIMEOUT(writer.underWay(), 0, 1000);
}

QTEST_GUILESS_MAIN(PictureWriterTest)
#include "picturewritertest.moc"
