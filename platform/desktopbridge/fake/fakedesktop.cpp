#include "desktopbridge/fake/fakedesktop.h"

#include "desktopbridge/fake/fakedesktopobjects.h"

#include "screensaveradaptor.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QThread>
#include <QUuid>

namespace
{
const char WINDOW_MANAGER_NAME[] = "org.vesk.KWin";
const char SCREEN_SAVER_NAME[] = "org.vesk.ScreenSaver";

QImage firstImage()
{
    QImage image(64, 48, QImage::Format_RGB32);
    image.fill(qRgb(0x80, 0x80, 0x80));
    return image;
}
} // namespace

class FakeDesktop::Private
{
public:
    Private();
    ~Private();

    /// Runs @p work on the fake's thread and waits for its end.
    template <typename Work>
    void onThread(Work work)
    {
        QMetaObject::invokeMethod(m_context, work, Qt::BlockingQueuedConnection);
    }

    bool setName(const char *name, Name flag, bool wanted);

    FakeDesktopState m_state;
    QAtomicInt m_owned{NoName};
    QThread m_thread;
    QObject *m_context = new QObject; // on the thread, as are all below
    QString m_connectionName = QUuid::createUuid().toString();
    FakeScreenshot *m_screenshot = nullptr;
    FakeWindowManager *m_windowManager = nullptr;
    ExportedScreenSaver *m_screenSaver = nullptr;
};

FakeDesktop::Private::Private()
{
    m_state.image = firstImage();
    m_thread.setObjectName(QStringLiteral("fake desktop"));
    m_context->moveToThread(&m_thread);
    m_thread.start();
    onThread([this] {
        m_screenshot = new FakeScreenshot(m_state);
        m_windowManager = new FakeWindowManager(m_state);
        m_screenSaver = new ExportedScreenSaver;
        new ScreenSaverAdaptor(m_screenSaver);
        QDBusConnection bus =
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, m_connectionName);
        bus.registerObject(QStringLiteral("/Screenshot"), m_screenshot);
        bus.registerObject(QStringLiteral("/KWin"), m_windowManager);
        bus.registerObject(QStringLiteral("/"), m_screenSaver);
    });
}

FakeDesktop::Private::~Private()
{
    onThread([this] {
        QDBusConnection::disconnectFromBus(m_connectionName);
        delete m_screenshot;
        delete m_windowManager;
        delete m_screenSaver;
    });
    m_thread.quit();
    m_thread.wait();
    delete m_context;
}

bool FakeDesktop::Private::setName(const char *name, Name flag, bool wanted)
{
    if (bool(m_owned & flag) == wanted) {
        return true;
    }
    QDBusConnection bus(m_connectionName);
    const QString text = QString::fromLatin1(name);
    const bool done = wanted ? bus.registerService(text) : bus.unregisterService(text);
    if (done) {
        m_owned = wanted ? m_owned | flag : m_owned & ~flag;
    }
    return done;
}

FakeDesktop::FakeDesktop(Names names) : d(std::make_unique<Private>())
{
    setNames(names);
}

FakeDesktop::~FakeDesktop() = default;

bool FakeDesktop::setNames(Names names)
{
    bool done = false;
    d->onThread([&] {
        const bool first =
            d->setName(WINDOW_MANAGER_NAME, WindowManager, names.testFlag(WindowManager));
        const bool second = d->setName(SCREEN_SAVER_NAME, ScreenSaver, names.testFlag(ScreenSaver));
        done = first && second;
    });
    return done;
}

FakeDesktop::Names FakeDesktop::ownsNames() const
{
    return Names(d->m_owned.loadRelaxed());
}

void FakeDesktop::setImage(const QImage &image)
{
    const QMutexLocker locker(&d->m_state.mutex);
    d->m_state.image = image.copy();
}

void FakeDesktop::setScreenshot(Screenshot behaviour)
{
    const QMutexLocker locker(&d->m_state.mutex);
    d->m_state.behaviour = behaviour;
}

void FakeDesktop::setBadFormat(int format)
{
    const QMutexLocker locker(&d->m_state.mutex);
    d->m_state.badFormat = format;
}

void FakeDesktop::setDelays(int first, int chunk)
{
    const QMutexLocker locker(&d->m_state.mutex);
    d->m_state.firstDelay = first;
    d->m_state.chunkDelay = chunk;
}

void FakeDesktop::closeSilent()
{
    d->onThread([this] { d->m_screenshot->closeSilent(); });
}

void FakeDesktop::setActivePid(quint32 pid)
{
    setActivePidReply(QVariant(pid));
}

void FakeDesktop::setActivePidReply(const QVariant &reply)
{
    const QMutexLocker locker(&d->m_state.mutex);
    d->m_state.pidReply = reply;
}

void FakeDesktop::setActivePidError(bool error)
{
    const QMutexLocker locker(&d->m_state.mutex);
    d->m_state.pidError = error;
}

void FakeDesktop::setThresholdError(bool error)
{
    const QMutexLocker locker(&d->m_state.mutex);
    d->m_state.thresholdError = error;
}

void FakeDesktop::emitScreenContentChanged(double rate)
{
    d->onThread([this, rate] { Q_EMIT d->m_windowManager->screenContentChanged(rate); });
}

void FakeDesktop::emitLock()
{
    d->onThread([this] { Q_EMIT d->m_screenSaver->lock(); });
}

void FakeDesktop::emitUnlock()
{
    d->onThread([this] { Q_EMIT d->m_screenSaver->unlock(); });
}

QVector<FakeDesktop::ScreenshotCall> FakeDesktop::screenshotCalls() const
{
    const QMutexLocker locker(&d->m_state.mutex);
    return d->m_state.screenshotCalls;
}

int FakeDesktop::screenshotsClosed() const
{
    return d->m_state.closed;
}

QVector<double> FakeDesktop::thresholds() const
{
    const QMutexLocker locker(&d->m_state.mutex);
    return d->m_state.thresholds;
}

int FakeDesktop::activePidCalls() const
{
    const QMutexLocker locker(&d->m_state.mutex);
    return d->m_state.pidCalls;
}
