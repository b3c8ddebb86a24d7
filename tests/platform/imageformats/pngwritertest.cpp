// The PNG plug-in against Qt's own writer: whatever Qt reads back must be the same.

#include "pngplugin.h"
#include "pngstream.h"

#include <QBuffer>
#include <QColorSpace>
#include <QFile>
#include <QGuiApplication>
#include <QImageIOPlugin>
#include <QImageWriter>
#include <QRandomGenerator>
#include <QTest>

#include <cmath>
#include <functional>
#include <thread>

namespace
{
QByteArray writtenByQt(const QImage &image, const QString &description = QString(),
                       float gamma = 0.0F)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "png");
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    writer.setDescription(description);
    writer.setGamma(gamma);
    QT_WARNING_POP
    return writer.write(image) ? bytes : QByteArray();
}

/// A picture with smooth, flat and noisy places, and every alpha.
QImage picture(const QSize &size, quint32 seed)
{
    QRandomGenerator random(seed);
    QImage image(size, QImage::Format_RGBA64);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const auto slope = static_cast<quint16>((x * 700 + y * 300) & 0xffff);
            const auto noise = static_cast<quint16>(random.bounded(0x10000));
            const int kind = (x / 16 + y / 16 + static_cast<int>(seed)) % 3;
            const quint16 value = kind == 0 ? slope : (kind == 1 ? noise : 0x8181);
            const auto alpha = static_cast<quint16>(kind == 2 ? 0xffff : noise ^ 0x3333);
            image.setPixelColor(
                x, y, QColor::fromRgba64(value, static_cast<quint16>(~value), slope, alpha));
        }
    }
    return image;
}

/// @p image so many times below each other. Larger pictures are made like this, since QImage's
/// conversion of large ones runs in threads that the thread sanitizer cannot follow.
QImage stacked(const QImage &image, int times)
{
    QImage result(image.width(), image.height() * times, image.format());
    result.setColorTable(image.colorTable());
    for (int y = 0; y < result.height(); ++y) {
        std::copy_n(image.constScanLine(y % image.height()), image.bytesPerLine(),
                    result.scanLine(y));
    }
    return result;
}

QByteArray formatName(int format)
{
    return "format " + QByteArray::number(format);
}

void addEveryFormat()
{
    QTest::addColumn<int>("format");
    for (int format = QImage::Format_Mono; format < QImage::NImageFormats; ++format) {
        QTest::newRow(formatName(format).constData()) << format;
    }
}

/// The same picture of @p width pixels a row in rows of @p padding more bytes than needed.
QImage padded(const QImage &image, int padding, QVector<uchar> *memory)
{
    const int stride = image.bytesPerLine() + padding;
    memory->fill(0xa5, stride * image.height());
    for (int y = 0; y < image.height(); ++y) {
        std::copy_n(image.constScanLine(y), image.bytesPerLine(),
                    memory->data() + static_cast<ptrdiff_t>(y) * stride);
    }
    QImage result(memory->data(), image.width(), image.height(), stride, image.format());
    result.setColorTable(image.colorTable());
    return result;
}

QStringList textsOf(const QImage &image)
{
    QStringList texts;
    const QStringList keys = image.textKeys();
    for (const QString &key : keys) {
        texts.append(key + QLatin1Char('=') + image.text(key));
    }
    return texts;
}

/// Empty if reading @p ours back gives all that reading @p qts back gives, else what differs.
QString differenceReadBack(const QByteArray &ours, const QByteArray &qts)
{
    const QImage a = QImage::fromData(ours, "png");
    const QImage b = QImage::fromData(qts, "png");
    if (b.isNull()) {
        return QStringLiteral("Qt's own cannot be read");
    }
    if (a.isNull() || a.format() != b.format()) {
        return QStringLiteral("format %1, Qt %2").arg(a.format()).arg(b.format());
    }
    if (a.colorTable() != b.colorTable()) {
        return QStringLiteral("colour table");
    }
    if (a != b) {
        return QStringLiteral("pixels");
    }
    if (a.dotsPerMeterX() != b.dotsPerMeterX() || a.dotsPerMeterY() != b.dotsPerMeterY() ||
        a.offset() != b.offset() || a.devicePixelRatio() != b.devicePixelRatio()) {
        return QStringLiteral("resolution or offset");
    }
    if (a.colorSpace() != b.colorSpace()) {
        return QStringLiteral("colour space");
    }
    if (textsOf(a) != textsOf(b)) {
        return textsOf(a).join(QLatin1Char('|')) + QStringLiteral(" Qt ") +
               textsOf(b).join(QLatin1Char('|'));
    }
    return {};
}

QString difference(const QImage &image)
{
    return differenceReadBack(writtenByPlugin(image), writtenByQt(image));
}

/// Takes so many bytes and refuses the rest, as a device that has become full.
class FillingDevice : public QIODevice
{
public:
    explicit FillingDevice(qint64 room) : m_room(room)
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }
    qint64 taken() const { return m_taken; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 size) override
    {
        const qint64 accepted = qMin(size, m_room - m_taken);
        if (accepted <= 0 && size > 0) {
            return -1;
        }
        m_taken += accepted;
        return accepted;
    }

private:
    qint64 m_room;
    qint64 m_taken = 0;
};
} // namespace

class PngWriterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyFormatReadsBackAsFromQt_data() { addEveryFormat(); }
    void everyFormatReadsBackAsFromQt();
    void paddedRowsReadBackAsFromQt_data() { addEveryFormat(); }
    void paddedRowsReadBackAsFromQt();
    void randomPicturesReadBackAsFromQt();
    void colourTablesReadBackAsFromQt_data();
    void colourTablesReadBackAsFromQt();
    void oneBitWithoutColourTableIsRefusedAsByQt();
    void oneBitWithLongColourTableKeepsItsPixels();
    void textsReadBackAsFromQt_data();
    void textsReadBackAsFromQt();
    void blankKeyIsLeftOutInsteadOfFailing();
    void descriptionReadsBackAsFromQt_data();
    void descriptionReadsBackAsFromQt();
    void descriptionWithoutColonIsKeptWhole();
    void resolutionAndOffsetReadBackAsFromQt_data();
    void resolutionAndOffsetReadBackAsFromQt();
    void colourSpaceAndGammaReadBackAsFromQt_data();
    void colourSpaceAndGammaReadBackAsFromQt();
    void colourSpaceOfGrayImageIsLeftOutAsByQt();
    void streamIsValidAndComplete_data();
    void streamIsValidAndComplete();
    void textIsLeftUnfilteredAndSlopesAreNot();
    void transparencyAndOpacityDecideTheKindOfPng();
    void pluginWritesOnly();
    void handlerCannotRead();
    void nothingIsWrittenForWhatReadersRefuse();
    void fullDeviceFailsWhereverItFillsUp();
    void deviceFileFailsOnlyAtFlushAndIsReported_data();
    void deviceFileFailsOnlyAtFlushAndIsReported();
    void missingDeviceFails();
    void twoThreadsWriteTheSame();
};

void PngWriterTest::initTestCase()
{
    QVERIFY(pngPlugin());
    QVERIFY(!QCoreApplication::libraryPaths().contains(QStringLiteral(YESTERMARK_PLUGIN_FOLDER)));
    // Otherwise the plug-in would be compared with itself.
    QVERIFY(writtenByQt(picture({40, 40}, 1)) != writtenByPlugin(picture({40, 40}, 1)));
}

void PngWriterTest::everyFormatReadsBackAsFromQt()
{
    QFETCH(int, format);
    // Rows below, at and above the 64 that are filtered together; widths around the sixteen bytes
    // that are handled together.
    const QVector<QSize> sizes{{1, 1},   {2, 1},    {1, 2},    {3, 5},   {5, 63},  {6, 64},
                               {7, 65},  {8, 128},  {9, 130},  {15, 7},  {16, 16}, {17, 33},
                               {31, 31}, {64, 200}, {200, 80}, {1000, 3}};
    for (const QSize &size : sizes) {
        const QImage image = picture(size, static_cast<quint32>(size.width()))
                                 .convertToFormat(static_cast<QImage::Format>(format));
        QCOMPARE(image.format(), static_cast<QImage::Format>(format));
        const QString different = difference(image);
        QVERIFY2(
            different.isEmpty(),
            qPrintable(
                QStringLiteral("%1x%2: %3").arg(size.width()).arg(size.height()).arg(different)));
    }
}

void PngWriterTest::paddedRowsReadBackAsFromQt()
{
    QFETCH(int, format);
    const QImage image = picture({37, 70}, 5).convertToFormat(static_cast<QImage::Format>(format));
    QVector<uchar> memory;
    const QImage wide = padded(image, 24, &memory);
    QVERIFY(wide.bytesPerLine() > image.bytesPerLine());
    QCOMPARE(difference(wide), QString());
    QCOMPARE(writtenByPlugin(wide), writtenByPlugin(image));
}

void PngWriterTest::randomPicturesReadBackAsFromQt()
{
    for (quint32 seed = 0; seed < 150; ++seed) {
        QRandomGenerator random(seed);
        const QSize size(random.bounded(1, 120), random.bounded(1, 130));
        const auto format =
            static_cast<QImage::Format>(random.bounded(1, static_cast<int>(QImage::NImageFormats)));
        const QString different = difference(picture(size, seed).convertToFormat(format));
        QVERIFY2(different.isEmpty(),
                 qPrintable(QStringLiteral("seed %1: %2").arg(seed).arg(different)));
    }
}

void PngWriterTest::colourTablesReadBackAsFromQt_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<QVector<QRgb>>("colours");
    QVector<QRgb> grays;
    QVector<QRgb> many;
    for (int index = 0; index < 300; ++index) {
        many.append(qRgb(index & 0xff, 255 - (index & 0xff), 7));
        if (index < 256) {
            grays.append(qRgb(index, index, index));
        }
    }
    QVector<QRgb> someTransparent = many.mid(0, 256);
    someTransparent[3] = qRgba(1, 2, 3, 4);
    someTransparent[200] = qRgba(9, 8, 7, 0);
    const int indexed = QImage::Format_Indexed8;
    QTest::newRow("no table") << indexed << QVector<QRgb>();
    QTest::newRow("256 colours") << indexed << many.mid(0, 256);
    QTest::newRow("300 colours") << indexed << many;
    QTest::newRow("some transparent") << indexed << someTransparent;
    QTest::newRow("all grays in order") << indexed << grays;
    QTest::newRow("16 grays in order, indices beyond") << indexed << grays.mid(0, 16);
    QTest::newRow("grays out of order") << indexed << grays.mid(100);
    QTest::newRow("3 colours, indices beyond")
        << indexed << QVector<QRgb>{qRgb(1, 2, 3), qRgba(4, 5, 6, 7), qRgb(9, 9, 9)};
    for (const int mono : {QImage::Format_Mono, QImage::Format_MonoLSB}) {
        const char *name = mono == QImage::Format_Mono ? "mono" : "mono, lowest bit first";
        QTest::addRow("%s, two colours", name)
            << mono << QVector<QRgb>{qRgb(1, 2, 3), qRgb(200, 100, 50)};
        QTest::addRow("%s, transparent", name)
            << mono << QVector<QRgb>{qRgba(1, 2, 3, 0), qRgb(200, 100, 50)};
        QTest::addRow("%s, black on white", name)
            << mono << QVector<QRgb>{qRgb(255, 255, 255), qRgb(0, 0, 0)};
        QTest::addRow("%s, one colour", name) << mono << QVector<QRgb>{qRgb(1, 2, 3)};
    }
}

void PngWriterTest::colourTablesReadBackAsFromQt()
{
    QFETCH(int, format);
    QFETCH(QVector<QRgb>, colours);
    QImage image = picture({75, 70}, 9).convertToFormat(static_cast<QImage::Format>(format));
    if (colours.size() == 1) {
        image.fill(0);
    }
    image.setColorTable(colours);
    QCOMPARE(difference(image), QString());
}

void PngWriterTest::oneBitWithoutColourTableIsRefusedAsByQt()
{
    QImage image(8, 8, QImage::Format_Mono);
    image.fill(0);
    image.setColorTable({});
    QCOMPARE(writtenByQt(image), QByteArray());
    QCOMPARE(writtenByPlugin(image), QByteArray());
}

void PngWriterTest::oneBitWithLongColourTableKeepsItsPixels()
{
    QImage image = picture({30, 20}, 2).convertToFormat(QImage::Format_Mono);
    image.setColorTable({qRgb(1, 2, 3), qRgb(4, 5, 6), qRgb(7, 8, 9)});
    QCOMPARE(writtenByQt(image), QByteArray());
    QImage cut = image;
    cut.setColorTable(image.colorTable().mid(0, 2));
    QCOMPARE(QImage::fromData(writtenByPlugin(image), "png"), cut);
}

void PngWriterTest::textsReadBackAsFromQt_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    const QString plain = QStringLiteral("value");
    QTest::newRow("short") << "Author" << plain;
    QTest::newRow("long") << "Comment" << QString(5000, QLatin1Char('x'));
    QTest::newRow("Latin-1") << "Title" << QStringLiteral("Überblick é ÿ");
    QTest::newRow("Chinese") << "Title" << QStringLiteral("屏幕历史");
    QTest::newRow("long Chinese") << "Title" << QStringLiteral("屏幕历史").repeated(50);
    QTest::newRow("outside the first plane") << "Title" << QStringLiteral("a😀b");
    QTest::newRow("lines") << "Comment" << QStringLiteral("one\ntwo\n");
    QTest::newRow("tab") << "Comment" << QStringLiteral("one\ttwo");
    QTest::newRow("no-break space and C1 controls")
        << "Comment" << QStringLiteral("a\u00a0b\u0085c\u007fd");
    QTest::newRow("zero inside") << "Comment" << QStringLiteral("one") + QChar(0) + plain;
    QTest::newRow("empty") << "Comment" << QStringLiteral("");
    QTest::newRow("key with spaces at the ends") << "  Key  " << plain;
    QTest::newRow("key with doubled spaces") << "My   own  key" << plain;
    QTest::newRow("key with control characters") << "My\tkey\n" << plain;
    QTest::newRow("key with no-break space") << QStringLiteral("My\u00a0key") << plain;
    QTest::newRow("key beyond Latin-1") << QStringLiteral("键 Key") << plain;
    QTest::newRow("key in Latin-1") << QStringLiteral("Größe") << plain;
    QTest::newRow("key of 79") << QString(79, QLatin1Char('k')) << plain;
    QTest::newRow("key of 80") << QString(80, QLatin1Char('k')) << plain;
    QTest::newRow("key cut behind a space")
        << QString(78, QLatin1Char('k')) + QStringLiteral(" kk") << plain;
    QTest::newRow("empty key") << "" << plain;
}

void PngWriterTest::textsReadBackAsFromQt()
{
    QFETCH(QString, key);
    QFETCH(QString, value);
    QImage image = picture({9, 9}, 3).convertToFormat(QImage::Format_RGB32);
    image.setText(key, value);
    image.setText(QStringLiteral("Other"), QStringLiteral("stays"));
    QCOMPARE(difference(image), QString());
    QCOMPARE(QImage::fromData(writtenByPlugin(image), "png").text(QStringLiteral("Other")),
             QStringLiteral("stays"));
}

void PngWriterTest::blankKeyIsLeftOutInsteadOfFailing()
{
    QImage image = picture({9, 9}, 3).convertToFormat(QImage::Format_RGB32);
    const QImage plain = image;
    image.setText(QStringLiteral("   "), QStringLiteral("value"));
    QCOMPARE(writtenByQt(image), QByteArray());
    QCOMPARE(differenceReadBack(writtenByPlugin(image), writtenByQt(plain)), QString());
}

void PngWriterTest::descriptionReadsBackAsFromQt_data()
{
    QTest::addColumn<QString>("description");
    QTest::newRow("one") << QStringLiteral("Title: a picture");
    QTest::newRow("two") << QStringLiteral("Title: a picture\n\nAuthor: somebody");
    QTest::newRow("spaces") << QStringLiteral("Title:   many   spaces  ");
    QTest::newRow("colon alone") << QStringLiteral("Title:");
    QTest::newRow("no space behind the colon") << QStringLiteral("Title:value");
    QTest::newRow("space before the colon") << QStringLiteral("two words: value");
    QTest::newRow("blank paragraph") << QStringLiteral("Title: a\n\n   \n\nAuthor: b");
    QTest::newRow("same key as the image") << QStringLiteral("Source: description");
    QTest::newRow("empty key") << QStringLiteral(":value");
}

void PngWriterTest::descriptionReadsBackAsFromQt()
{
    QFETCH(QString, description);
    QImage image = picture({9, 9}, 3).convertToFormat(QImage::Format_RGB32);
    image.setText(QStringLiteral("Source"), QStringLiteral("image"));
    QCOMPARE(
        differenceReadBack(writtenByPlugin(image, description), writtenByQt(image, description)),
        QString());
}

void PngWriterTest::descriptionWithoutColonIsKeptWhole()
{
    // Qt's writer makes the key "only words" of it, with the text "nly words".
    const QImage image = picture({9, 9}, 3).convertToFormat(QImage::Format_RGB32);
    const QByteArray written = writtenByPlugin(image, QStringLiteral("only words"));
    QCOMPARE(textsOf(QImage::fromData(written, "png")),
             QStringList{QStringLiteral("Description=only words")});
}

void PngWriterTest::resolutionAndOffsetReadBackAsFromQt_data()
{
    QTest::addColumn<QSize>("dotsPerMeter");
    QTest::addColumn<QPoint>("offset");
    QTest::addColumn<qreal>("ratio");
    QTest::newRow("as made") << QSize(3780, 3780) << QPoint() << 1.0;
    QTest::newRow("printing") << QSize(11811, 5906) << QPoint() << 1.0;
    QTest::newRow("offset") << QSize(3780, 3780) << QPoint(30, 40) << 1.0;
    QTest::newRow("negative offset") << QSize(3780, 3780) << QPoint(-3, -4) << 1.0;
    QTest::newRow("scale 2") << QSize(3780, 3780) << QPoint() << 2.0;
    QTest::newRow("scale 1.25, offset") << QSize(4000, 4000) << QPoint(1, 0) << 1.25;
}

void PngWriterTest::resolutionAndOffsetReadBackAsFromQt()
{
    QFETCH(QSize, dotsPerMeter);
    QFETCH(QPoint, offset);
    QFETCH(qreal, ratio);
    QImage image = picture({64, 66}, 4).convertToFormat(QImage::Format_RGB32);
    image.setDotsPerMeterX(dotsPerMeter.width());
    image.setDotsPerMeterY(dotsPerMeter.height());
    image.setOffset(offset);
    image.setDevicePixelRatio(ratio);
    QCOMPARE(difference(image), QString());
    const QImage read = QImage::fromData(writtenByPlugin(image), "png");
    QCOMPARE(read.dotsPerMeterX(), dotsPerMeter.width());
    QCOMPARE(read.offset(), offset);
    QCOMPARE(read.size(), image.size());
}

void PngWriterTest::colourSpaceAndGammaReadBackAsFromQt_data()
{
    QTest::addColumn<QColorSpace>("space");
    QTest::addColumn<float>("gamma");
    QTest::newRow("none, gamma") << QColorSpace() << 2.2F;
    QTest::newRow("none, another gamma") << QColorSpace() << 1.0F;
    const QVector<QPair<const char *, QColorSpace>> spaces{
        {"sRGB", QColorSpace(QColorSpace::SRgb)},
        {"linear sRGB", QColorSpace(QColorSpace::SRgbLinear)},
        {"Adobe RGB", QColorSpace(QColorSpace::AdobeRgb)},
        {"Display P3", QColorSpace(QColorSpace::DisplayP3)},
        {"ProPhoto RGB", QColorSpace(QColorSpace::ProPhotoRgb)}};
    for (const auto &space : spaces) {
        QTest::newRow(space.first) << space.second << 0.0F;
        QTest::addRow("%s, gamma", space.first) << space.second << 1.8F;
    }
}

void PngWriterTest::colourSpaceAndGammaReadBackAsFromQt()
{
    QFETCH(QColorSpace, space);
    QFETCH(float, gamma);
    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_ARGB32_Premultiplied, QImage::Format_RGBA64}) {
        QImage image = picture({20, 20}, 6).convertToFormat(format);
        image.setColorSpace(space);
        const QByteArray ours = writtenByPlugin(image, QString(), gamma);
        QCOMPARE(differenceReadBack(ours, writtenByQt(image, QString(), gamma)), QString());
        if (space.isValid() && gamma == 0.0F) {
            QCOMPARE(QImage::fromData(ours, "png").colorSpace(), space);
        }
    }
}

void PngWriterTest::colourSpaceOfGrayImageIsLeftOutAsByQt()
{
    QImage image = picture({20, 20}, 6).convertToFormat(QImage::Format_Grayscale8);
    image.setColorSpace(QColorSpace::SRgb);
    QCOMPARE(difference(image), QString());
    QVERIFY(!PngStream(writtenByPlugin(image)).types().contains("iCCP"));
}

void PngWriterTest::streamIsValidAndComplete_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<int>("rowBytes");
    QTest::addColumn<QList<QByteArray>>("types");
    using Types = QList<QByteArray>;
    const Types plain{"IHDR", "oFFs", "pHYs", "tEXt", "IDAT", "IEND"};
    QTest::newRow("RGB32") << int(QImage::Format_RGB32) << 3 * 603 << plain;
    QTest::newRow("ARGB32") << int(QImage::Format_ARGB32) << 4 * 603 << plain;
    QTest::newRow("RGBA64") << int(QImage::Format_RGBA64) << 8 * 603 << plain;
    QTest::newRow("RGBX64") << int(QImage::Format_RGBX64) << 6 * 603 << plain;
    QTest::newRow("Grayscale16") << int(QImage::Format_Grayscale16) << 2 * 603 << plain;
    QTest::newRow("Grayscale8") << int(QImage::Format_Grayscale8) << 603 << plain;
    QTest::newRow("Mono") << int(QImage::Format_Mono) << 76
                          << Types{"IHDR", "PLTE", "oFFs", "pHYs", "tEXt", "IDAT", "IEND"};
    QTest::newRow("Indexed8") << int(QImage::Format_Indexed8) << 603
                              << Types{"IHDR", "PLTE", "tRNS", "oFFs",
                                       "pHYs", "tEXt", "IDAT", "IEND"};
}

void PngWriterTest::streamIsValidAndComplete()
{
    QFETCH(int, format);
    QFETCH(int, rowBytes);
    QFETCH(QList<QByteArray>, types);
    QImage image =
        stacked(picture({603, 27}, 8).convertToFormat(static_cast<QImage::Format>(format)), 11);
    image.setOffset({1, 1});
    image.setText(QStringLiteral("Title"), QStringLiteral("picture"));
    const PngStream stream(writtenByPlugin(image));
    QCOMPARE(stream.types(), types);
    for (const PngStream::Chunk &chunk : stream.chunks) {
        QVERIFY2(chunk.crcRight, chunk.type.constData());
    }
    QCOMPARE(stream.data("IHDR").left(8), QByteArray("\x00\x00\x02\x5b\x00\x00\x01\x29", 8));
    const QByteArray rows = stream.rows();
    QCOMPARE(rows.size(), (rowBytes + 1) * image.height());
    for (int y = 0; y < image.height(); ++y) {
        QVERIFY(rows.at(y * (rowBytes + 1)) <= 4);
    }
}

void PngWriterTest::textIsLeftUnfilteredAndSlopesAreNot()
{
    const QSize size(400, 128);
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            if (y < 64 && (x * 7 + y * 3) % 5 == 0) {
                image.setPixel(x, y, qRgb(0, 0, 0));
            } else if (y >= 64) {
                image.setPixel(x, y, qRgb(x / 2, y, x / 4 + y));
            }
        }
    }
    const QByteArray rows = PngStream(writtenByPlugin(image)).rows();
    const int stride = size.width() * 3 + 1;
    for (int y = 0; y < size.height(); ++y) {
        QCOMPARE(rows.at(y * stride) != 0, y >= 64);
    }
}

void PngWriterTest::transparencyAndOpacityDecideTheKindOfPng()
{
    QImage opaque(5, 5, QImage::Format_ARGB32);
    opaque.fill(Qt::red);
    constexpr int colourType = 9;
    QCOMPARE(int(PngStream(writtenByPlugin(opaque)).data("IHDR").at(colourType)), 6);
    // The fourth byte of this format means nothing and must not get in.
    QImage rgb(5, 5, QImage::Format_RGB32);
    rgb.fill(qRgba(1, 2, 3, 4));
    QCOMPARE(int(PngStream(writtenByPlugin(rgb)).data("IHDR").at(colourType)), 2);
    QCOMPARE(QImage::fromData(writtenByPlugin(rgb), "png").pixel(2, 2), qRgb(1, 2, 3));
}

void PngWriterTest::pluginWritesOnly()
{
    QImageIOPlugin *plugin = pngPlugin();
    QCOMPARE(plugin->capabilities(nullptr, "png"), QImageIOPlugin::CanWrite);
    QCOMPARE(plugin->capabilities(nullptr, "jpg"), QImageIOPlugin::Capabilities());
    QCOMPARE(plugin->capabilities(nullptr, QByteArray()), QImageIOPlugin::Capabilities());
    QByteArray bytes = writtenByQt(picture({4, 4}, 1));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QCOMPARE(plugin->capabilities(&buffer, "png"), QImageIOPlugin::Capabilities());
    QCOMPARE(plugin->capabilities(&buffer, QByteArray()), QImageIOPlugin::Capabilities());
    buffer.close();
    buffer.open(QIODevice::ReadWrite);
    QCOMPARE(plugin->capabilities(&buffer, "png"), QImageIOPlugin::CanWrite);
}

void PngWriterTest::handlerCannotRead()
{
    QByteArray bytes = writtenByQt(picture({4, 4}, 1));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    const auto handler = pngHandler(&buffer);
    QVERIFY(!handler->canRead());
    QImage image;
    QVERIFY(!handler->read(&image));
    QVERIFY(image.isNull());
}

void PngWriterTest::nothingIsWrittenForWhatReadersRefuse()
{
    QCOMPARE(writtenByPlugin(QImage()), QByteArray());
    for (const QSize &size : {QSize(1000001, 1), QSize(1, 1000001)}) {
        QImage image(size, QImage::Format_Grayscale8);
        image.fill(0);
        FillingDevice device(1 << 20);
        QVERIFY(!pngHandler(&device)->write(image));
        QCOMPARE(device.taken(), 0);
    }
    QImage widest(1000000, 1, QImage::Format_Grayscale8);
    widest.fill(7);
    QCOMPARE(difference(widest), QString());
}

void PngWriterTest::fullDeviceFailsWhereverItFillsUp()
{
    QImage image = picture({120, 120}, 3).convertToFormat(QImage::Format_Indexed8);
    image.setText(QStringLiteral("Title"), QStringLiteral("picture"));
    image.setOffset({2, 2});
    const int whole = writtenByPlugin(image).size();
    QVERIFY(whole > 0);
    for (int room = 0; room < whole; room += room < 1500 ? 1 : 97) {
        FillingDevice device(room);
        QVERIFY2(!pngHandler(&device)->write(image), qPrintable(QString::number(room)));
    }
    FillingDevice device(whole);
    QVERIFY(pngHandler(&device)->write(image));
}

void PngWriterTest::deviceFileFailsOnlyAtFlushAndIsReported_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("fits the file's buffer") << QSize(8, 8);
    QTest::newRow("larger than the file's buffer") << QSize(300, 300);
}

void PngWriterTest::deviceFileFailsOnlyAtFlushAndIsReported()
{
    QFETCH(QSize, size);
    QFile file(QStringLiteral("/dev/full"));
    if (!file.open(QIODevice::WriteOnly)) {
        QSKIP("no /dev/full on this system");
    }
    QVERIFY(!pngHandler(&file)->write(picture(size, 1)));
}

void PngWriterTest::missingDeviceFails()
{
    QVERIFY(!pngHandler(nullptr)->write(picture({4, 4}, 1)));
    QBuffer closed;
    QTest::ignoreMessage(QtWarningMsg, "QIODevice::write (QBuffer): device not open");
    QVERIFY(!pngHandler(&closed)->write(picture({4, 4}, 1)));
}

void PngWriterTest::twoThreadsWriteTheSame()
{
    const QImage image = stacked(picture({250, 60}, 12).convertToFormat(QImage::Format_RGB32), 5);
    const QByteArray expected = writtenByPlugin(image);
    QByteArray other;
    std::thread thread([&] { other = writtenByPlugin(image); });
    const QByteArray own = writtenByPlugin(image);
    thread.join();
    QCOMPARE(other, expected);
    QCOMPARE(own, expected);
}

QTEST_MAIN(PngWriterTest)
#include "pngwritertest.moc"
