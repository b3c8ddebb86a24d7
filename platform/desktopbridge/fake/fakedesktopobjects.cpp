#include "desktopbridge/fake/fakedesktopobjects.h"

#include "screenshotadaptor.h"
#include "windowmanageradaptor.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <fcntl.h>

namespace
{
constexpr int HEADER_BYTES = 12;
constexpr int MOST_WRITERS = 64;
} // namespace

FakeScreenshot::FakeScreenshot(FakeDesktopState &state) : m_state(state)
{
    m_writers.setMaxThreadCount(MOST_WRITERS);
    new ScreenshotAdaptor(this);
}

FakeScreenshot::~FakeScreenshot()
{
    *m_stop = true;
    m_writers.waitForDone();
}

// Called with the mutex held.
FakePicturePlan FakeScreenshot::plan() const
{
    FakePicturePlan plan;
    plan.image = m_state.image;
    plan.done = [&state = m_state] { ++state.closed; };
    switch (m_state.behaviour) {
    case FakeDesktop::Screenshot::CloseAfter7Bytes:
        plan.bytesToWrite = 7;
        break;
    case FakeDesktop::Screenshot::CloseInsidePixels:
        plan.bytesToWrite = HEADER_BYTES + plan.image.sizeInBytes() / 2;
        break;
    case FakeDesktop::Screenshot::CloseAfterMetadata:
        plan.bytesToWrite = HEADER_BYTES;
        break;
    case FakeDesktop::Screenshot::BadFormat:
        plan.formatField = m_state.badFormat;
        break;
    case FakeDesktop::Screenshot::Slow:
        plan.firstDelay = m_state.firstDelay;
        plan.chunkDelay = m_state.chunkDelay;
        break;
    default:
        break;
    }
    return plan;
}

void FakeScreenshot::screenshotFullscreen(const QDBusUnixFileDescriptor &pipe, bool withoutPointer,
                                          int screen)
{
    QMutexLocker locker(&m_state.mutex);
    m_state.screenshotCalls.append({withoutPointer, screen});
    if (m_state.behaviour == FakeDesktop::Screenshot::ReplyError) {
        sendErrorReply(QDBusError::Failed, QStringLiteral("ordered by the test"));
        return;
    }
    if (m_state.behaviour == FakeDesktop::Screenshot::Silent) {
        m_silent.append(pipe);
        return;
    }
    const int descriptor = ::fcntl(pipe.fileDescriptor(), F_DUPFD_CLOEXEC, 0);
    m_writers.start(new FakePicture(descriptor, plan(), m_stop));
}

FakeWindowManager::FakeWindowManager(FakeDesktopState &state) : m_state(state)
{
    new WindowManagerAdaptor(this);
}

void FakeWindowManager::setContentChangeThreshold(double threshold)
{
    const QMutexLocker locker(&m_state.mutex);
    m_state.thresholds.append(threshold);
    if (m_state.thresholdError) {
        sendErrorReply(QDBusError::Failed, QStringLiteral("ordered by the test"));
    }
}

uint FakeWindowManager::getActiveWindowPid()
{
    const QMutexLocker locker(&m_state.mutex);
    ++m_state.pidCalls;
    if (m_state.pidError) {
        sendErrorReply(QDBusError::Failed, QStringLiteral("ordered by the test"));
        return 0;
    }
    // Sent by hand, for the ordered value may be of another type than the interface tells.
    setDelayedReply(true);
    connection().send(message().createReply(m_state.pidReply));
    return 0;
}
