// The bridge as the keeper of the desktop's style and hour system: a real process, with a portal
// that comes and goes and settings that another program reads and writes.

#include "bridgeprocess.h"
#include "desktopworld.h"
#include "fakeportal.h"

#include <QDBusArgument>
#include <QTest>

using Schemas = DesktopWorld::Schemas;

namespace
{
const QString GNOME = QStringLiteral("org.gnome.desktop.interface");
const QString SCHEME_KEY = QStringLiteral("color-scheme");
const QString DARK = QStringLiteral("vesk-dark");
const QString LIGHT = QStringLiteral("vesk-light");
constexpr int PATIENCE = 15000;
} // namespace

class SettingsKeeperTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void portalDecidesAtTheStart_data();
    void portalDecidesAtTheStart();
    void portalThatChangesIsFollowed();
    void portalThatAppearsLateIsFollowed();
    void portalWithNonsenseIsLeftAside_data();
    void portalWithNonsenseIsLeftAside();
    void signalWithNonsenseIsLeftAside_data();
    void signalWithNonsenseIsLeftAside();
    void portalThatDiesLeavesTheStyle();
    void silentPortalHoldsNothingUp();
    void withoutPreferenceTheDesktopsKeysDecide();

    void keysOfTheDesktop_data();
    void keysOfTheDesktop();
    void changedKeyIsFollowed();
    void colourSchemeOfKde_data();
    void colourSchemeOfKde();
    void changeToldByKdeIsFollowed();

    void hoursOfTheLocale_data();
    void hoursOfTheLocale();
    void clockOfTheDesktop_data();
    void clockOfTheDesktop();

    void valuesThatFitAreNotWritten();
    void lightStyleOfAnotherNameStays();
    void styleChosenByHandStaysWhereNobodyTells();
    void desktopsOwnSchemasAreLeftAlone_data();
    void desktopsOwnSchemasAreLeftAlone();
    void withoutSchemasTheServicesRun();

private:
    void makeWorld(Schemas schemas = Schemas::Ours);
    void startBridge();

    std::unique_ptr<DesktopWorld> m_world;
    std::unique_ptr<FakePortal> m_portal;
    std::unique_ptr<BridgeProcess> m_bridge;
};

void SettingsKeeperTest::init()
{
    m_portal = std::make_unique<FakePortal>();
    makeWorld();
}

void SettingsKeeperTest::cleanup()
{
    m_bridge.reset();
    m_portal.reset();
    m_world.reset();
    QTRY_COMPARE_WITH_TIMEOUT(Bridge::ownerOf(Bridge::WINDOW_MANAGER), 0U, PATIENCE);
}

void SettingsKeeperTest::makeWorld(Schemas schemas)
{
    m_world = std::make_unique<DesktopWorld>(schemas);
    QVERIFY(m_world->isValid());
}

// Returns once the bridge serves; by then everything but the portal's answer has been written.
void SettingsKeeperTest::startBridge()
{
    m_bridge = std::make_unique<BridgeProcess>(
        QStringList{QStringLiteral("--backend"), QStringLiteral("null")}, m_world->environment());
    QVERIFY(m_bridge->waitForName(Bridge::WINDOW_MANAGER));
}

void SettingsKeeperTest::portalDecidesAtTheStart_data()
{
    QTest::addColumn<uint>("scheme");
    QTest::addColumn<bool>("wrapped");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::newRow("dark") << 1U << true << LIGHT << DARK;
    QTest::newRow("dark, variant not wrapped") << 1U << false << LIGHT << DARK;
    QTest::newRow("light") << 2U << true << DARK << LIGHT;
    QTest::newRow("no preference") << 0U << true << DARK << LIGHT;
    QTest::newRow("number of a later portal") << 7U << true << DARK << LIGHT;
}

void SettingsKeeperTest::portalDecidesAtTheStart()
{
    QFETCH(uint, scheme);
    QFETCH(bool, wrapped);
    QFETCH(QString, before);
    QFETCH(QString, after);
    QVERIFY(m_world->set(QStringLiteral("org.vesk.style"), QStringLiteral("style-name"), before));
    m_portal->m_value = scheme;
    m_portal->m_wrapped = wrapped;
    m_portal->appear();
    startBridge();
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), after, PATIENCE);
}

void SettingsKeeperTest::portalThatChangesIsFollowed()
{
    m_portal->m_value = 2U;
    m_portal->appear();
    startBridge();
    QTRY_VERIFY_WITH_TIMEOUT(m_portal->m_asked > 0, PATIENCE);
    for (const uint scheme : {1U, 2U, 1U}) {
        m_portal->change(scheme);
        QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), scheme == 1 ? DARK : LIGHT, PATIENCE);
    }
    QCOMPARE(m_portal->m_asked, 1);
}

void SettingsKeeperTest::portalThatAppearsLateIsFollowed()
{
    startBridge();
    QCOMPARE(m_world->style(), LIGHT);
    m_portal->m_value = 1U;
    m_portal->appear();
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), DARK, PATIENCE);
    m_portal->change(2U);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), LIGHT, PATIENCE);
}

void SettingsKeeperTest::portalWithNonsenseIsLeftAside_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("knowsTheKey");
    QTest::newRow("a text") << QVariant(QStringLiteral("1")) << true;
    QTest::newRow("a signed number") << QVariant(1) << true;
    QTest::newRow("a truth value") << QVariant(true) << true;
    QTest::newRow("a list") << QVariant(QStringList{QStringLiteral("1")}) << true;
    QTest::newRow("an error") << QVariant(1U) << false;
}

void SettingsKeeperTest::portalWithNonsenseIsLeftAside()
{
    QFETCH(QVariant, value);
    QFETCH(bool, knowsTheKey);
    m_portal->m_value = value;
    m_portal->m_knowsTheKey = knowsTheKey;
    m_portal->appear();
    startBridge();
    QTRY_VERIFY_WITH_TIMEOUT(m_portal->m_asked > 0, PATIENCE);
    // What comes next is handled after the answer, so the answer had its chance.
    m_portal->tell(QStringLiteral("org.freedesktop.appearance"), QStringLiteral("contrast"), 1U);
    QCOMPARE(Bridge::call(QStringLiteral("getActiveWindowPid")).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(m_world->style(), LIGHT);
    m_portal->change(1U);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), DARK, PATIENCE);
}

void SettingsKeeperTest::signalWithNonsenseIsLeftAside_data()
{
    QTest::addColumn<QString>("space");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    const QString appearance = QStringLiteral("org.freedesktop.appearance");
    QTest::newRow("another key") << appearance << QStringLiteral("contrast") << QVariant(2U);
    QTest::newRow("another namespace")
        << QStringLiteral("org.gnome.desktop.interface") << SCHEME_KEY << QVariant(2U);
    QTest::newRow("a text") << appearance << SCHEME_KEY << QVariant(QStringLiteral("light"));
    QTest::newRow("a signed number") << appearance << SCHEME_KEY << QVariant(2);
}

void SettingsKeeperTest::signalWithNonsenseIsLeftAside()
{
    QFETCH(QString, space);
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    m_portal->m_value = 1U;
    m_portal->appear();
    startBridge();
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), DARK, PATIENCE);
    m_portal->tell(space, key, value);
    QCOMPARE(Bridge::call(QStringLiteral("getActiveWindowPid")).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(m_world->style(), DARK);
}

void SettingsKeeperTest::portalThatDiesLeavesTheStyle()
{
    m_portal->m_value = 1U;
    m_portal->appear();
    startBridge();
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), DARK, PATIENCE);
    m_portal->die();
    QCOMPARE(Bridge::call(QStringLiteral("getActiveWindowPid")).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(m_world->style(), DARK);
    // It comes back with another mind.
    m_portal->m_value = 2U;
    m_portal->appear();
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), LIGHT, PATIENCE);
}

void SettingsKeeperTest::silentPortalHoldsNothingUp()
{
    m_portal->m_silent = true;
    m_portal->appear();
    m_world->setVariable(QStringLiteral("LC_ALL"), QStringLiteral("en_US.UTF-8"));
    startBridge();
    QCOMPARE(m_world->hours(), QStringLiteral("12"));
    QTRY_VERIFY_WITH_TIMEOUT(m_portal->m_asked > 0, PATIENCE);
    m_portal->change(1U);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), DARK, PATIENCE);
}

void SettingsKeeperTest::withoutPreferenceTheDesktopsKeysDecide()
{
    m_world->setVariable(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("GNOME"));
    QVERIFY(m_world->set(GNOME, QStringLiteral("gtk-theme"), QStringLiteral("Adwaita-dark")));
    m_portal->m_value = 2U;
    m_portal->appear();
    startBridge();
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), LIGHT, PATIENCE);
    m_portal->change(0U);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), DARK, PATIENCE);
}

void SettingsKeeperTest::keysOfTheDesktop_data()
{
    QTest::addColumn<QString>("desktop");
    QTest::addColumn<QString>("schema");
    QTest::addColumn<QString>("scheme"); // empty: left at its default
    QTest::addColumn<QString>("theme");
    QTest::addColumn<QString>("style");
    const QString gnome = QStringLiteral("ubuntu:GNOME");
    const QString none;
    QTest::newRow("dark scheme") << gnome << GNOME << "prefer-dark"
                                 << "Adwaita" << DARK;
    QTest::newRow("light scheme beats a dark theme") << gnome << GNOME << "prefer-light"
                                                     << "Adwaita-dark" << LIGHT;
    QTest::newRow("dark theme") << gnome << GNOME << none << "Adwaita-dark" << DARK;
    QTest::newRow("dark theme, capital") << gnome << GNOME << none << "Yaru-Dark" << DARK;
    QTest::newRow("dark only in the middle") << gnome << GNOME << none << "Darkness-soft" << LIGHT;
    QTest::newRow("nothing chosen") << gnome << GNOME << none << none << LIGHT;
    QTest::newRow("unknown desktop, chosen") << "sway" << GNOME << "prefer-dark" << none << DARK;
    QTest::newRow("Cinnamon") << "X-Cinnamon"
                              << "org.cinnamon.desktop.interface" << none << "Mint-Y-Dark" << DARK;
    QTest::newRow("MATE") << "MATE"
                          << "org.mate.interface" << none << "Yaru-MATE-dark" << DARK;
}

void SettingsKeeperTest::keysOfTheDesktop()
{
    QFETCH(QString, desktop);
    QFETCH(QString, schema);
    QFETCH(QString, scheme);
    QFETCH(QString, theme);
    QFETCH(QString, style);
    m_world->setVariable(QStringLiteral("XDG_CURRENT_DESKTOP"), desktop);
    QVERIFY(scheme.isEmpty() || m_world->set(schema, SCHEME_KEY, scheme));
    QVERIFY(theme.isEmpty() || m_world->set(schema, QStringLiteral("gtk-theme"), theme));
    startBridge();
    QCOMPARE(m_world->style(), style);
}

void SettingsKeeperTest::changedKeyIsFollowed()
{
    m_world->setVariable(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("GNOME"));
    startBridge();
    QCOMPARE(m_world->hours(), QStringLiteral("12"));
    QVERIFY(m_world->set(GNOME, SCHEME_KEY, QStringLiteral("prefer-dark")));
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), DARK, PATIENCE);
    QVERIFY(m_world->set(GNOME, QStringLiteral("clock-format"), QStringLiteral("24h")));
    QTRY_COMPARE_WITH_TIMEOUT(m_world->hours(), QStringLiteral("24"), PATIENCE);
}

void SettingsKeeperTest::colourSchemeOfKde_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("style");
    QTest::newRow("dark") << QByteArray("[General]\nColorScheme=BreezeDark\n") << DARK;
    QTest::newRow("light") << QByteArray("[General]\nColorScheme=BreezeLight\n") << LIGHT;
    QTest::newRow("key of another group")
        << QByteArray("[Other]\nColorScheme=BreezeDark\n") << LIGHT;
    QTest::newRow("no file") << QByteArray() << LIGHT;
}

void SettingsKeeperTest::colourSchemeOfKde()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, style);
    m_world->setVariable(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("KDE"));
    QVERIFY(file.isEmpty() || m_world->write(QStringLiteral("config/kdeglobals"), file));
    // GNOME's keys are installed there too and mean nothing.
    QVERIFY(m_world->set(GNOME, SCHEME_KEY, style == DARK ? "prefer-light" : "prefer-dark"));
    startBridge();
    QCOMPARE(m_world->style(), style);
    QCOMPARE(m_world->hours(), QStringLiteral("24"));
}

void SettingsKeeperTest::changeToldByKdeIsFollowed()
{
    m_world->setVariable(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("KDE"));
    const QString file = QStringLiteral("config/kdeglobals");
    QVERIFY(m_world->write(file, "[General]\nColorScheme=BreezeLight\n"));
    startBridge();
    QVERIFY(m_world->write(file, "[General]\nColorScheme=BreezeDark\n"));
    QDBusMessage told = QDBusMessage::createSignal(QStringLiteral("/KGlobalSettings"),
                                                   QStringLiteral("org.kde.KGlobalSettings"),
                                                   QStringLiteral("notifyChange"));
    told << 0 << 0;
    QDBusConnection::sessionBus().send(told);
    QTRY_COMPARE_WITH_TIMEOUT(m_world->style(), DARK, PATIENCE);
}

void SettingsKeeperTest::hoursOfTheLocale_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("hours");
    QTest::newRow("United States") << "LC_ALL"
                                   << "en_US.UTF-8"
                                   << "12";
    QTest::newRow("times only") << "LC_TIME"
                                << "en_US.UTF-8"
                                << "12";
    QTest::newRow("by language") << "LANG"
                                 << "en_AU.UTF-8"
                                 << "12";
    QTest::newRow("Germany") << "LC_ALL"
                             << "de_DE@euro"
                             << "24";
    QTest::newRow("China") << "LC_ALL"
                           << "zh_CN.UTF-8"
                           << "24";
    QTest::newRow("Britain") << "LC_ALL"
                             << "en_GB"
                             << "24";
    QTest::newRow("none") << "LC_ALL"
                          << "C.UTF-8"
                          << "24";
    QTest::newRow("unknown") << "LC_ALL"
                             << "xx_YY.UTF-8"
                             << "24";
}

void SettingsKeeperTest::hoursOfTheLocale()
{
    QFETCH(QString, variable);
    QFETCH(QString, locale);
    QFETCH(QString, hours);
    for (const char *other : {"LC_ALL", "LC_TIME", "LANG"}) {
        m_world->setVariable(QLatin1String(other), QString());
    }
    m_world->setVariable(variable, locale);
    QVERIFY(m_world->set(QStringLiteral("org.vesk.control-center.panel.plugins"),
                         QStringLiteral("hoursystem"), hours == "12" ? "'24'" : "'12'"));
    startBridge();
    QCOMPARE(m_world->hours(), hours);
}

void SettingsKeeperTest::clockOfTheDesktop_data()
{
    QTest::addColumn<QString>("desktop");
    QTest::addColumn<QString>("schema");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value"); // empty: left at its default
    QTest::addColumn<QString>("hours");
    const QString cinnamon = QStringLiteral("org.cinnamon.desktop.interface");
    const QString format = QStringLiteral("clock-format");
    QTest::newRow("GNOME, chosen") << "GNOME" << GNOME << format << "24h"
                                   << "24";
    QTest::newRow("GNOME, default") << "GNOME" << GNOME << format << ""
                                    << "12";
    QTest::newRow("unknown desktop, chosen") << "LXQt" << GNOME << format << "12h"
                                             << "12";
    QTest::newRow("unknown desktop, default is not read") << "LXQt" << GNOME << format << ""
                                                          << "24";
    QTest::newRow("Cinnamon, chosen") << "X-Cinnamon" << cinnamon << "clock-use-24h"
                                      << "false"
                                      << "12";
    QTest::newRow("Cinnamon, default") << "X-Cinnamon" << cinnamon << "clock-use-24h"
                                       << ""
                                       << "24";
}

void SettingsKeeperTest::clockOfTheDesktop()
{
    QFETCH(QString, desktop);
    QFETCH(QString, schema);
    QFETCH(QString, key);
    QFETCH(QString, value);
    QFETCH(QString, hours);
    m_world->setVariable(QStringLiteral("XDG_CURRENT_DESKTOP"), desktop);
    QVERIFY(value.isEmpty() || m_world->set(schema, key, value));
    startBridge();
    QCOMPARE(m_world->hours(), hours);
}

void SettingsKeeperTest::valuesThatFitAreNotWritten()
{
    m_world->setVariable(QStringLiteral("XDG_CURRENT_DESKTOP"), QStringLiteral("KDE"));
    m_portal->m_value = 2U;
    m_portal->appear();
    startBridge();
    QTRY_VERIFY_WITH_TIMEOUT(m_portal->m_asked > 0, PATIENCE);
    m_portal->change(2U);
    QCOMPARE(Bridge::call(QStringLiteral("getActiveWindowPid")).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(m_world->stored(), QByteArray());
    m_portal->change(1U); // the measure does see a write
    QTRY_VERIFY_WITH_TIMEOUT(m_world->stored().contains("vesk-dark"), PATIENCE);
}

void SettingsKeeperTest::lightStyleOfAnotherNameStays()
{
    const QString blue = QStringLiteral("vesk-blue");
    QVERIFY(m_world->set(QStringLiteral("org.vesk.style"), QStringLiteral("style-name"), blue));
    m_portal->m_value = 2U;
    m_portal->appear();
    startBridge();
    QTRY_VERIFY_WITH_TIMEOUT(m_portal->m_asked > 0, PATIENCE);
    QCOMPARE(Bridge::call(QStringLiteral("getActiveWindowPid")).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(m_world->style(), blue);
}

void SettingsKeeperTest::styleChosenByHandStaysWhereNobodyTells()
{
    QVERIFY(m_world->set(QStringLiteral("org.vesk.style"), QStringLiteral("style-name"), DARK));
    startBridge();
    QCOMPARE(m_world->style(), DARK);
}

void SettingsKeeperTest::desktopsOwnSchemasAreLeftAlone_data()
{
    QTest::addColumn<int>("schemas");
    QTest::newRow("only the desktop's") << int(Schemas::Desktop);
    QTest::newRow("ours hides the desktop's") << int(Schemas::OursHidesDesktop);
}

void SettingsKeeperTest::desktopsOwnSchemasAreLeftAlone()
{
    QFETCH(int, schemas);
    makeWorld(Schemas(schemas));
    m_world->setVariable(QStringLiteral("LC_ALL"), QStringLiteral("en_US.UTF-8"));
    m_portal->m_value = 1U;
    m_portal->appear();
    startBridge();
    m_portal->change(1U);
    QCOMPARE(Bridge::call(QStringLiteral("getActiveWindowPid")).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(m_portal->m_asked, 0);
    QCOMPARE(m_world->style(), LIGHT);
    QCOMPARE(m_world->hours(), QStringLiteral("24"));
}

void SettingsKeeperTest::withoutSchemasTheServicesRun()
{
    makeWorld(Schemas::None);
    m_portal->m_value = 1U;
    m_portal->appear();
    startBridge();
    QCOMPARE(Bridge::call(QStringLiteral("getActiveWindowPid")).type(), QDBusMessage::ErrorMessage);
    QCOMPARE(m_world->style(), QString());
    QCOMPARE(m_portal->m_asked, 0);
}

QTEST_GUILESS_MAIN(SettingsKeeperTest)
#include "settingskeepertest.moc"
