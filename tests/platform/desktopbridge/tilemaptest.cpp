// Which tiles count as changed, and what rate that gives.

#include "desktopbridge/tilemap.h"

#include <QTest>

#include <vector>

namespace
{
PicturePtr filled(const QRect &area, quint32 colour)
{
    const auto memory = std::make_shared<std::vector<quint32>>(
        size_t(area.width()) * size_t(area.height()), colour);
    return std::make_shared<const Picture>(
        Picture{area, std::shared_ptr<const quint32>(memory, memory->data())});
}

void setPixel(const PicturePtr &picture, const QPoint &point, quint32 colour)
{
    const QPoint inside = point - picture->area.topLeft();
    const_cast<quint32 *>(picture->row(inside.y()))[inside.x()] = colour;
}

constexpr quint32 GREY = 0x00808080;
const QRect SCREEN(0, 0, 1920, 1080);
} // namespace

class TileMapTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rateOfTiles_data();
    void rateOfTiles();
    void ninetyMeansExactlyEighteenTiles();
    void nothingDiffersAtFirst();
    void withoutAPictureEveryTileDiffers();
    void growsToWholeTiles_data();
    void growsToWholeTiles();
    void onePixelMakesOneTile();
    void topByteDoesNotCount();
    void aChangeTakenBackNoLongerCounts();
    void countsATileOnceHoweverOften();
    void lastRowOfTilesIsCutOff();
    void otherScreenHasItsOwnGrid();
    void doubleScaleHasLargeTiles();
};

void TileMapTest::rateOfTiles_data()
{
    QTest::addColumn<int>("tiles");
    QTest::addColumn<double>("rate");
    QTest::newRow("nothing") << 0 << 0.0;
    QTest::newRow("caret in one tile") << 1 << 100.0 / 3.0;
    QTest::newRow("caret across two tiles") << 2 << 50.0;
    QTest::newRow("clock digit") << 3 << 60.0;
    QTest::newRow("typed word") << 8 << 80.0;
    QTest::newRow("just below") << 17 << 1700.0 / 19.0;
    QTest::newRow("just at") << 18 << 90.0;
}

void TileMapTest::rateOfTiles()
{
    QFETCH(int, tiles);
    QFETCH(double, rate);
    QCOMPARE(TileMap::changeRate(tiles), rate);
}

void TileMapTest::ninetyMeansExactlyEighteenTiles()
{
    QVERIFY(TileMap::changeRate(17) < 90.0);
    QVERIFY(TileMap::changeRate(18) >= 90.0); // no rounding error may make it less
}

void TileMapTest::nothingDiffersAtFirst()
{
    TileMap map;
    map.setReference(filled(SCREEN, GREY), 16);
    QCOMPARE(map.differing(), 0);
    QCOMPARE(map.tileCount(), 120 * 68);
}

void TileMapTest::withoutAPictureEveryTileDiffers()
{
    TileMap map;
    map.clear(SCREEN, 16);
    QVERIFY(!map.hasReference());
    QCOMPARE(map.differing(), 120 * 68);
    map.setReference(filled(SCREEN, GREY), 16);
    QCOMPARE(map.differing(), 0);
}

void TileMapTest::growsToWholeTiles_data()
{
    QTest::addColumn<QRect>("area");
    QTest::addColumn<QRect>("tiles");
    QTest::newRow("one pixel") << QRect(17, 33, 1, 1) << QRect(16, 32, 16, 16);
    QTest::newRow("a tile exactly") << QRect(16, 32, 16, 16) << QRect(16, 32, 16, 16);
    QTest::newRow("across an edge") << QRect(15, 0, 2, 1) << QRect(0, 0, 32, 16);
    QTest::newRow("half a tile at the bottom") << QRect(0, 1079, 1, 1) << QRect(0, 1072, 16, 8);
    QTest::newRow("beyond the edge") << QRect(1910, 1070, 100, 100) << QRect(1904, 1056, 16, 24);
    QTest::newRow("outside") << QRect(2000, 0, 10, 10) << QRect();
    QTest::newRow("left of all") << QRect(-20, 5, 21, 1) << QRect(0, 0, 16, 16);
}

void TileMapTest::growsToWholeTiles()
{
    QFETCH(QRect, area);
    QFETCH(QRect, tiles);
    TileMap map;
    map.setReference(filled(SCREEN, GREY), 16);
    QCOMPARE(map.wholeTiles(area), tiles);
}

void TileMapTest::onePixelMakesOneTile()
{
    TileMap map;
    map.setReference(filled(SCREEN, GREY), 16);
    const auto now = filled(QRect(160, 160, 64, 32), GREY);
    setPixel(now, QPoint(175, 175), GREY + 1);
    map.update(*now);
    QCOMPARE(map.differing(), 1);
    setPixel(now, QPoint(176, 176), GREY + 1);
    map.update(*now);
    QCOMPARE(map.differing(), 2);
}

void TileMapTest::topByteDoesNotCount()
{
    TileMap map;
    map.setReference(filled(SCREEN, GREY), 16);
    map.update(*filled(SCREEN, 0xff000000 | GREY));
    QCOMPARE(map.differing(), 0);
}

void TileMapTest::aChangeTakenBackNoLongerCounts()
{
    TileMap map;
    map.setReference(filled(SCREEN, GREY), 16);
    map.update(*filled(QRect(0, 0, 160, 160), 0));
    QCOMPARE(map.differing(), 100);
    map.update(*filled(QRect(0, 0, 160, 32), GREY));
    QCOMPARE(map.differing(), 80);
}

void TileMapTest::countsATileOnceHoweverOften()
{
    TileMap map;
    map.setReference(filled(SCREEN, GREY), 16);
    for (quint32 colour = 1; colour <= 5; ++colour) {
        map.update(*filled(QRect(32, 32, 16, 16), colour));
    }
    QCOMPARE(map.differing(), 1);
}

void TileMapTest::lastRowOfTilesIsCutOff()
{
    TileMap map;
    map.setReference(filled(SCREEN, GREY), 16);
    map.update(*filled(QRect(1904, 1072, 16, 8), 0));
    QCOMPARE(map.differing(), 1);
    map.update(*filled(SCREEN, 0));
    QCOMPARE(map.differing(), map.tileCount());
}

void TileMapTest::otherScreenHasItsOwnGrid()
{
    const QRect right(1925, 7, 640, 480);
    TileMap map;
    map.setReference(filled(right, GREY), 16);
    const QRect tile = map.wholeTiles(QRect(1925 + 16, 7 + 16, 1, 1));
    QCOMPARE(tile, QRect(1941, 23, 16, 16));
    map.update(*filled(tile, 0));
    QCOMPARE(map.differing(), 1);
}

void TileMapTest::doubleScaleHasLargeTiles()
{
    TileMap map;
    map.setReference(filled(QRect(0, 0, 3840, 2160), GREY), 32);
    QCOMPARE(map.tileCount(), 120 * 68);
    map.update(*filled(map.wholeTiles(QRect(31, 31, 2, 1)), 0));
    QCOMPARE(map.differing(), 2);
}

QTEST_GUILESS_MAIN(TileMapTest)
#include "tilemaptest.moc"
