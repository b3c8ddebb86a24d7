// The plug-in's folder on the library path, as the program puts it there: saving becomes the
// plug-in's, reading stays Qt's.

#include "pngplugin.h"
#include "pngstream.h"

#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTest>

class PngPrecedenceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void saveIsThePlugins_data();
    void saveIsThePlugins();
    void otherFormatsStayQts();
    void readingStaysQts();
    void fullDiskMakesSaveFail();
    void unwritablePathMakesSaveFail();

private:
    QString path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }
    static QByteArray content(const QString &path);

    QTemporaryDir m_folder;
    QImage m_image;
    QByteArray m_savedBefore; ///< by Qt's own writer, before the folder was known
};

QByteArray PngPrecedenceTest::content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void PngPrecedenceTest::initTestCase()
{
    m_image = QImage(500, 400, QImage::Format_RGB32);
    for (int y = 0; y < m_image.height(); ++y) {
        for (int x = 0; x < m_image.width(); ++x) {
            m_image.setPixel(x, y, qRgb(x * y, x ^ y, x * x + y));
        }
    }
    QVERIFY(m_image.save(path("before.png")));
    m_savedBefore = content(path("before.png"));
    QCoreApplication::addLibraryPath(QStringLiteral(YESTERMARK_PLUGIN_FOLDER));
}

void PngPrecedenceTest::saveIsThePlugins_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("format");
    QTest::newRow("format from the suffix") << "video.mp4_007.png" << QByteArray();
    QTest::newRow("format from the suffix, upper case") << "video.PNG" << QByteArray();
    QTest::newRow("format given") << "video.data" << QByteArray("png");
    QTest::newRow("format given, upper case") << "video2.data" << QByteArray("PNG");
}

void PngPrecedenceTest::saveIsThePlugins()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, format);
    const QString file = m_folder.filePath(name);
    QVERIFY(m_image.save(file, format.isNull() ? nullptr : format.constData()));
    const QByteArray saved = content(file);
    QCOMPARE(saved, writtenByPlugin(m_image));
    // What tells the two writers apart: libpng's data chunks have 8192 bytes, the plug-in's more.
    const auto longest = [](const PngStream &stream) {
        int length = 0;
        for (const PngStream::Chunk &chunk : stream.chunks) {
            length = qMax(length, chunk.data.size());
        }
        return length;
    };
    QCOMPARE(longest(PngStream(m_savedBefore)), 8192);
    QVERIFY(longest(PngStream(saved)) > 8192);
    QCOMPARE(QImage(file), QImage::fromData(m_savedBefore, "png"));
}

void PngPrecedenceTest::otherFormatsStayQts()
{
    QVERIFY(m_image.save(path("picture.jpg")));
    QVERIFY(content(path("picture.jpg")).startsWith("\xff\xd8"));
    QVERIFY(m_image.save(path("picture.bmp")));
    QVERIFY(content(path("picture.bmp")).startsWith("BM"));
}

void PngPrecedenceTest::readingStaysQts()
{
    QVERIFY(m_image.save(path("read.png")));
    QImageReader reader(path("read.png"));
    QVERIFY(reader.canRead());
    QCOMPARE(reader.format(), QByteArray("png"));
    // Only Qt's handler tells the size without reading the picture.
    QVERIFY(reader.supportsOption(QImageIOHandler::Size));
    QCOMPARE(reader.size(), m_image.size());
    QCOMPARE(reader.read(), m_image);
    QCOMPARE(QPixmap(path("read.png")).toImage().size(), m_image.size());
}

void PngPrecedenceTest::fullDiskMakesSaveFail()
{
    if (!QFile::exists(QStringLiteral("/dev/full"))) {
        QSKIP("no /dev/full on this system");
    }
    QVERIFY(!m_image.save(QStringLiteral("/dev/full"), "png"));
    // Small enough for the file's own buffer: the error shows only when that is flushed.
    QVERIFY(!m_image.copy(0, 0, 8, 8).save(QStringLiteral("/dev/full"), "png"));
}

void PngPrecedenceTest::unwritablePathMakesSaveFail()
{
    QVERIFY(!m_image.save(path("no/such/folder/picture.png")));
    QVERIFY(!m_image.save(QStringLiteral("/proc/picture.png")));
}

QTEST_MAIN(PngPrecedenceTest)
#include "pngprecedencetest.moc"
