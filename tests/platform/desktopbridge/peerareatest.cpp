// Areas whose numbers another program made up.

#include "desktopbridge/peerarea.h"

#include <QTest>

#include <limits>

Q_DECLARE_METATYPE(PeerArea)

class PeerAreaTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isCutOff_data();
    void isCutOff();
    void nothingLiesInNothing();
};

void PeerAreaTest::isCutOff_data()
{
    QTest::addColumn<PeerArea>("area");
    QTest::addColumn<QRect>("inside");
    constexpr qint64 most = std::numeric_limits<qint32>::max();
    constexpr qint64 least = std::numeric_limits<qint32>::min();
    constexpr qint64 mostUnsigned = std::numeric_limits<quint32>::max();
    QTest::newRow("inside") << PeerArea{10, 20, 30, 40} << QRect(10, 20, 30, 40);
    QTest::newRow("all of it") << PeerArea{0, 0, 320, 200} << QRect(0, 0, 320, 200);
    QTest::newRow("over the right bottom") << PeerArea{310, 190, 30, 40} << QRect(310, 190, 10, 10);
    QTest::newRow("over the left top") << PeerArea{-8, -9, 10, 12} << QRect(0, 0, 2, 3);
    QTest::newRow("beside") << PeerArea{320, 0, 10, 10} << QRect();
    QTest::newRow("no height") << PeerArea{1, 1, 10, 0} << QRect();
    QTest::newRow("edge beyond an int") << PeerArea{5, 6, most, most} << QRect(5, 6, 315, 194);
    QTest::newRow("longer than an int")
        << PeerArea{0, 0, mostUnsigned, mostUnsigned} << QRect(0, 0, 320, 200);
    QTest::newRow("from the least number")
        << PeerArea{least, least, mostUnsigned, mostUnsigned} << QRect(0, 0, 320, 200);
    QTest::newRow("at the largest place")
        << PeerArea{mostUnsigned, most, mostUnsigned, mostUnsigned} << QRect();
}

void PeerAreaTest::isCutOff()
{
    QFETCH(PeerArea, area);
    QFETCH(QRect, inside);
    QCOMPARE(area.within(QSize(320, 200)), inside);
}

void PeerAreaTest::nothingLiesInNothing()
{
    const PeerArea area{0, 0, 10, 10};
    QCOMPARE(area.within(QSize()), QRect());
    QCOMPARE(area.within(QSize(0, 5)), QRect());
}

QTEST_GUILESS_MAIN(PeerAreaTest)
#include "peerareatest.moc"
