#include "callerfixture.h"

#include "bridgeprocess.h"

#include <QTest>

void CallerFixture::init()
{
    m_screen = std::make_unique<XClient>();
    QVERIFY(m_screen->isConnected());
}

void CallerFixture::cleanup()
{
    // A test that failed half-way may have left them.
    QDBusConnection::sessionBus().unregisterService(Bridge::WINDOW_MANAGER);
    QDBusConnection::sessionBus().unregisterService(Bridge::SCREEN_SAVER);
    Bridge::killOwners();
    m_screen.reset();
}
