// From a compositor's buffer to the pixels that the user sees: formats, rows from below, turned
// outputs. That compositors mean the same by a turn is seen under sway by wlrootsbackendtest.

#include "desktopbridge/wlroots/framepixels.h"

#include <QTest>
#include <QVector>

#include <wayland-client-protocol.h>

Q_DECLARE_METATYPE(OutputTransform)

namespace
{
using Pixels = QVector<quint32>;
using Bytes = QVector<unsigned char>;

FramePixels frameOf(const Pixels &pixels, const QSize &size, OutputTransform transform)
{
    return {reinterpret_cast<const unsigned char *>(pixels.constData()),
            size,
            size.width() * 4,
            WL_SHM_FORMAT_XRGB8888,
            false,
            transform};
}
} // namespace

class FramePixelsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void formats_data();
    void formats();
    void unknownFormat();
    void rowsMustHoldTheirPixels();
    void turns_data();
    void turns();
    void rowsFromBelow();
    void partOfAPicture();
    void plainIsOnlyWhatNeedsNoCopy();
};

void FramePixelsTest::formats_data()
{
    QTest::addColumn<uint>("format");
    QTest::addColumn<Bytes>("bytes"); // of one pixel of 0x123456, lowest first
    QTest::addColumn<uint>("colour");
    const uint colour = 0x123456;
    QTest::newRow("XRGB8888") << uint(WL_SHM_FORMAT_XRGB8888) << Bytes{0x56, 0x34, 0x12, 0xaa}
                              << colour;
    QTest::newRow("ARGB8888") << uint(WL_SHM_FORMAT_ARGB8888) << Bytes{0x56, 0x34, 0x12, 0xff}
                              << colour;
    QTest::newRow("XBGR8888") << uint(WL_SHM_FORMAT_XBGR8888) << Bytes{0x12, 0x34, 0x56, 0xaa}
                              << colour;
    QTest::newRow("ABGR8888") << uint(WL_SHM_FORMAT_ABGR8888) << Bytes{0x12, 0x34, 0x56, 0xff}
                              << colour;
    QTest::newRow("RGBX8888") << uint(WL_SHM_FORMAT_RGBX8888) << Bytes{0xaa, 0x56, 0x34, 0x12}
                              << colour;
    QTest::newRow("RGBA8888") << uint(WL_SHM_FORMAT_RGBA8888) << Bytes{0xff, 0x56, 0x34, 0x12}
                              << colour;
    QTest::newRow("BGRX8888") << uint(WL_SHM_FORMAT_BGRX8888) << Bytes{0xaa, 0x12, 0x34, 0x56}
                              << colour;
    QTest::newRow("BGRA8888") << uint(WL_SHM_FORMAT_BGRA8888) << Bytes{0xff, 0x12, 0x34, 0x56}
                              << colour;
    QTest::newRow("RGB888") << uint(WL_SHM_FORMAT_RGB888) << Bytes{0x56, 0x34, 0x12, 0} << colour;
    QTest::newRow("BGR888") << uint(WL_SHM_FORMAT_BGR888) << Bytes{0x12, 0x34, 0x56, 0} << colour;
    // 0x048 << 20 | 0x0d3 << 10 | 0x15a, each ten bits of which the upper eight count.
    QTest::newRow("XRGB2101010") << uint(WL_SHM_FORMAT_XRGB2101010) << Bytes{0x5a, 0x4d, 0x83, 0xc4}
                                 << colour;
    QTest::newRow("XBGR2101010") << uint(WL_SHM_FORMAT_XBGR2101010) << Bytes{0x48, 0x4c, 0xa3, 0xd5}
                                 << colour;
}

void FramePixelsTest::formats()
{
    QFETCH(uint, format);
    QFETCH(Bytes, bytes);
    QFETCH(uint, colour);
    QVERIFY(isReadable(format, QSize(1, 1), 4));
    const FramePixels frame{bytes.constData(),      QSize(1, 1), 4, format, false,
                            OutputTransform::Normal};
    quint32 pixel = 0;
    copyFramePixels(frame, QRect(0, 0, 1, 1), &pixel, 1);
    QCOMPARE(pixel & 0xffffff, colour); // the top byte of a picture is undefined
}

void FramePixelsTest::unknownFormat()
{
    QVERIFY(!isReadable(WL_SHM_FORMAT_RGB565, QSize(1, 1), 4));
    QVERIFY(!isReadable(WL_SHM_FORMAT_C8, QSize(1, 1), 4));
}

void FramePixelsTest::rowsMustHoldTheirPixels()
{
    const quint32 four = WL_SHM_FORMAT_XRGB8888;
    const quint32 three = WL_SHM_FORMAT_RGB888;
    QVERIFY(isReadable(four, QSize(10, 2), 40) && !isReadable(four, QSize(10, 2), 39));
    QVERIFY(isReadable(three, QSize(10, 2), 30) && !isReadable(three, QSize(10, 2), 29));
    QVERIFY(!isReadable(four, QSize(0x40000001, 1), 4)); // four times that is four, to 32 bits
    QVERIFY(!isReadable(four, QSize(-1, 1), 4) && !isReadable(four, QSize(1, 0), 4));
    QVERIFY(!isReadable(four, QSize(1, 1), -4));
}

void FramePixelsTest::turns_data()
{
    QTest::addColumn<OutputTransform>("transform");
    QTest::addColumn<QSize>("seenSize");
    QTest::addColumn<Pixels>("seen");
    // The buffer is 1 2 3 above 4 5 6.
    const QSize lying(3, 2);
    const QSize standing(2, 3);
    QTest::newRow("normal") << OutputTransform::Normal << lying << Pixels{1, 2, 3, 4, 5, 6};
    QTest::newRow("90") << OutputTransform::Turned90 << standing << Pixels{4, 1, 5, 2, 6, 3};
    QTest::newRow("180") << OutputTransform::Turned180 << lying << Pixels{6, 5, 4, 3, 2, 1};
    QTest::newRow("270") << OutputTransform::Turned270 << standing << Pixels{3, 6, 2, 5, 1, 4};
    QTest::newRow("flipped") << OutputTransform::Flipped << lying << Pixels{3, 2, 1, 6, 5, 4};
    QTest::newRow("flipped 90") << OutputTransform::Flipped90 << standing
                                << Pixels{1, 4, 2, 5, 3, 6};
    QTest::newRow("flipped 180") << OutputTransform::Flipped180 << lying
                                 << Pixels{4, 5, 6, 1, 2, 3};
    QTest::newRow("flipped 270") << OutputTransform::Flipped270 << standing
                                 << Pixels{6, 3, 5, 2, 4, 1};
}

void FramePixelsTest::turns()
{
    QFETCH(OutputTransform, transform);
    QFETCH(QSize, seenSize);
    QFETCH(Pixels, seen);
    const QSize size(3, 2);
    const Pixels buffer{1, 2, 3, 4, 5, 6};
    const FramePixels frame = frameOf(buffer, size, transform);
    QCOMPARE(frame.seenSize(), seenSize);
    Pixels copy(6);
    copyFramePixels(frame, QRect(QPoint(0, 0), seenSize), copy.data(), seenSize.width());
    QCOMPARE(copy, seen);
    for (int index = 0; index < buffer.size(); ++index) {
        const QRect pixel(index % 3, index / 3, 1, 1);
        const int place = seen.indexOf(buffer.at(index));
        QCOMPARE(seenArea(pixel, size, transform),
                 QRect(place % seenSize.width(), place / seenSize.width(), 1, 1));
    }
    QCOMPARE(seenArea(QRect(QPoint(0, 0), size), size, transform), QRect(QPoint(0, 0), seenSize));
}

void FramePixelsTest::rowsFromBelow()
{
    const Pixels buffer{1, 2, 3, 4, 5, 6};
    FramePixels frame = frameOf(buffer, QSize(3, 2), OutputTransform::Normal);
    frame.isInverted = true;
    Pixels copy(6);
    copyFramePixels(frame, QRect(0, 0, 3, 2), copy.data(), 3);
    QCOMPARE(copy, (Pixels{4, 5, 6, 1, 2, 3}));
    frame.transform = OutputTransform::Turned180;
    copyFramePixels(frame, QRect(0, 0, 3, 2), copy.data(), 3);
    QCOMPARE(copy, (Pixels{3, 2, 1, 6, 5, 4}));
}

void FramePixelsTest::partOfAPicture()
{
    const Pixels buffer{1, 2, 3, 0, 4, 5, 6, 0}; // rows with a gap
    FramePixels frame = frameOf(buffer, QSize(3, 2), OutputTransform::Normal);
    frame.stride = 16;
    Pixels target(12, 99);
    copyFramePixels(frame, QRect(1, 0, 2, 2), target.data() + 5, 4);
    QCOMPARE(target, (Pixels{99, 99, 99, 99, 99, 2, 3, 99, 99, 5, 6, 99}));
}

void FramePixelsTest::plainIsOnlyWhatNeedsNoCopy()
{
    const Pixels buffer(6);
    const FramePixels plain = frameOf(buffer, QSize(3, 2), OutputTransform::Normal);
    QVERIFY(plain.isPlain());
    FramePixels other = plain;
    other.stride = 16;
    QVERIFY(!other.isPlain());
    other = plain;
    other.isInverted = true;
    QVERIFY(!other.isPlain());
    other = plain;
    other.format = WL_SHM_FORMAT_XBGR8888;
    QVERIFY(!other.isPlain());
    other = plain;
    other.transform = OutputTransform::Flipped;
    QVERIFY(!other.isPlain());
}

QTEST_GUILESS_MAIN(FramePixelsTest)
#include "framepixelstest.moc"
