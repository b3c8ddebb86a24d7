// When the machine counts as running on its battery.

#include "coreai/runtime/powerstate.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using Supplies = QMap<QString, QMap<QString, QString>>;

class PowerStateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tells_data();
    void tells();
    void withoutTheFolderItIsMains();
};

void PowerStateTest::tells_data()
{
    QTest::addColumn<Supplies>("supplies");
    QTest::addColumn<bool>("battery");
    const QString type = QStringLiteral("type");
    const QString status = QStringLiteral("status");
    const QString online = QStringLiteral("online");
    const auto battery = [&](const char *word) {
        return QMap<QString, QString>{{type, QStringLiteral("Battery")},
                                      {status, QString::fromLatin1(word)}};
    };
    const auto mains = [&](const char *word) {
        return QMap<QString, QString>{{type, QStringLiteral("Mains")},
                                      {online, QString::fromLatin1(word)}};
    };
    QMap<QString, QString> mouse = battery("Discharging");
    mouse[QStringLiteral("scope")] = QStringLiteral("Device");
    QTest::newRow("no supplies") << Supplies() << false;
    QTest::newRow("mains only") << Supplies{{"AC", mains("1")}} << false;
    QTest::newRow("charging") << Supplies{{"AC", mains("1")}, {"BAT0", battery("Charging")}}
                              << false;
    QTest::newRow("full on mains")
        << Supplies{{"AC", mains("1")}, {"BAT0", battery("Full")}} << false;
    QTest::newRow("discharging") << Supplies{{"AC", mains("0")}, {"BAT0", battery("Discharging")}}
                                 << true;
    QTest::newRow("discharging without adapter")
        << Supplies{{"BAT0", battery("Discharging")}} << true;
    QTest::newRow("unplugged, status unknown")
        << Supplies{{"AC", mains("0")}, {"BAT0", battery("Unknown")}} << true;
    QTest::newRow("second battery discharges")
        << Supplies{{"BAT0", battery("Full")}, {"BAT1", battery("Discharging")}} << true;
    QTest::newRow("a mouse's battery") << Supplies{{"AC", mains("1")}, {"hid", mouse}} << false;
    QTest::newRow("a supply that tells nothing") << Supplies{{"odd", {}}} << false;
}

void PowerStateTest::tells()
{
    QFETCH(Supplies, supplies);
    QFETCH(bool, battery);
    const QTemporaryDir folder;
    for (auto supply = supplies.begin(); supply != supplies.end(); ++supply) {
        QVERIFY(QDir(folder.path()).mkpath(supply.key()));
        for (auto word = supply->begin(); word != supply->end(); ++word) {
            QFile file(folder.filePath(supply.key() + QLatin1Char('/') + word.key()));
            QVERIFY(file.open(QFile::WriteOnly));
            file.write(word->toLatin1() + '\n');
        }
    }
    QCOMPARE(coreai::PowerState(folder.path()).onBattery(), battery);
}

void PowerStateTest::withoutTheFolderItIsMains()
{
    QVERIFY(!coreai::PowerState(QStringLiteral("/nowhere")).onBattery());
}

QTEST_GUILESS_MAIN(PowerStateTest)
#include "powerstatetest.moc"
