// The channel to the compositor where the system's own calls fail: select() and read() on the pipe
// are those of this program, which passes them on or refuses them.

#include "capture/capturefixture.h"
#include "capture/screenhistorytracker.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/logcapture.h"
#include "support/pictures.h"

#include <QTest>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace
{
/// What the calls of one thread meet. Threads that arm nothing are let through.
struct Faults {
    bool isArmed = false;
    int selectError = 0;           ///< of the next select(); 0: none
    ssize_t delivered = 0;         ///< bytes that were read so far
    QVector<ssize_t> refuseBehind; ///< read() is refused once behind so many bytes, in their order
    int readError = 0;
};
thread_local Faults faults;

bool isPipe(int fd)
{
    struct stat status {
    };
    return ::fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode);
}

class Armed
{
public:
    explicit Armed(const Faults &wanted)
    {
        faults = wanted;
        faults.isArmed = true;
    }
    ~Armed() { faults = {}; }
    Q_DISABLE_COPY_MOVE(Armed)
};

QString systemText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}
} // namespace

extern "C" int select(int count, fd_set *readable, fd_set *writable, fd_set *exceptional,
                      timeval *timeout)
{
    static const auto real = reinterpret_cast<decltype(&select)>(::dlsym(RTLD_NEXT, "select"));
    if (faults.isArmed && faults.selectError != 0) {
        errno = std::exchange(faults.selectError, 0);
        return -1;
    }
    return real(count, readable, writable, exceptional, timeout);
}

extern "C" ssize_t read(int fd, void *buffer, size_t size)
{
    static const auto real = reinterpret_cast<decltype(&read)>(::dlsym(RTLD_NEXT, "read"));
    if (!faults.isArmed || !isPipe(fd)) {
        return real(fd, buffer, size);
    }
    if (!faults.refuseBehind.isEmpty()) {
        const ssize_t left = faults.refuseBehind.first() - faults.delivered;
        if (left <= 0) {
            faults.refuseBehind.removeFirst();
            errno = faults.readError;
            return -1;
        }
        size = std::min(size, static_cast<size_t>(left));
    }
    const ssize_t got = real(fd, buffer, size);
    faults.delivered += std::max<ssize_t>(got, 0);
    return got;
}

class TestChannelFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void aFailedWaitIsToldWithTheSystemsText();
    void aFailedReadIsToldWithTheSystemsText_data();
    void aFailedReadIsToldWithTheSystemsText();
    void aReadThatFindsNothingYetIsTriedAgain();
    void aHeaderInTwoPiecesTakesNoByteOfThePixels();

private:
    std::unique_ptr<FakeDesktop> m_desktop;
    std::unique_ptr<ScreenHistoryTracker> m_tracker;
};

void TestChannelFaults::init()
{
    m_desktop = std::make_unique<FakeDesktop>();
    m_desktop->setImage(Pictures::numbered(1));
    m_tracker = std::make_unique<ScreenHistoryTracker>();
}

void TestChannelFaults::cleanup()
{
    m_tracker.reset();
    m_desktop.reset();
}

void TestChannelFaults::aFailedWaitIsToldWithTheSystemsText()
{
    Faults wanted;
    wanted.selectError = ENOMEM;
    const LogCapture log;
    {
        const Armed armed(wanted);
        QVERIFY(m_tracker->getScreenShotFromWM().isNull());
    }
    QCOMPARE(log.texts(QtWarningMsg),
             QStringList({QStringLiteral("select() failed:  ") + systemText(ENOMEM),
                          QStringLiteral("Failed to load image metadata.")}));
}

void TestChannelFaults::aFailedReadIsToldWithTheSystemsText_data()
{
    QTest::addColumn<int>("behind");
    QTest::addColumn<int>("error");
    QTest::addColumn<QStringList>("warnings");
    const QString header = QStringLiteral("Error reading metadata:  ");
    const QString pixels = QStringLiteral("Error reading image data:  ");
    const QString noHeader = QStringLiteral("Failed to load image metadata.");
    QTest::newRow("at once") << 0 << EIO << QStringList({header + systemText(EIO), noHeader});
    QTest::newRow("inside the header")
        << 7 << EIO << QStringList({header + systemText(EIO), noHeader});
    QTest::newRow("interrupted, which is an error as well")
        << 7 << EINTR << QStringList({header + systemText(EINTR), noHeader});
    QTest::newRow("before the pixels") << 12 << EIO << QStringList(pixels + systemText(EIO));
    QTest::newRow("among the pixels") << 4000 << EIO << QStringList(pixels + systemText(EIO));
}

void TestChannelFaults::aFailedReadIsToldWithTheSystemsText()
{
    QFETCH(int, behind);
    QFETCH(int, error);
    QFETCH(QStringList, warnings);
    Faults wanted;
    wanted.refuseBehind = {behind};
    wanted.readError = error;
    const LogCapture log;
    {
        const Armed armed(wanted);
        QVERIFY(m_tracker->getScreenShotFromWM().isNull());
    }
    QCOMPARE(log.texts(QtWarningMsg), warnings);
}

void TestChannelFaults::aReadThatFindsNothingYetIsTriedAgain()
{
    Faults wanted;
    wanted.refuseBehind = {0, 0, 7, 12, 12, 12, 4000, 100000};
    wanted.readError = EAGAIN;
    const LogCapture log;
    QImage image;
    {
        const Armed armed(wanted);
        image = m_tracker->getScreenShotFromWM();
        QVERIFY(faults.refuseBehind.isEmpty());
    }
    QCOMPARE(image, Pictures::numbered(1));
    QCOMPARE(log.texts(QtWarningMsg), QStringList());
}

void TestChannelFaults::aHeaderInTwoPiecesTakesNoByteOfThePixels()
{
    Faults wanted;
    wanted.refuseBehind = {7};
    wanted.readError = EAGAIN;
    const Armed armed(wanted);
    QCOMPARE(m_tracker->getScreenShotFromWM(), Pictures::numbered(1));
}

QTEST_MAIN(TestChannelFaults)
#include "channelfaultstest.moc"
