#pragma once
// The three objects that the fake desktop exports, and the settings that they share with it. The
// objects live on the fake's thread; the settings are guarded by their mutex.

#include "desktopbridge/dbus/exportedobjects.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "desktopbridge/fake/fakepicture.h"

#include <QMutex>
#include <QThreadPool>

#include <atomic>

struct FakeDesktopState {
    QMutex mutex;
    QImage image;
    FakeDesktop::Screenshot behaviour = FakeDesktop::Screenshot::Normal;
    int badFormat = 9999;
    int firstDelay = 200;
    int chunkDelay = 20;
    QVariant pidReply = QVariant(0U);
    bool pidError = false;
    bool thresholdError = false;
    QVector<FakeDesktop::ScreenshotCall> screenshotCalls;
    QVector<double> thresholds;
    int pidCalls = 0;
    std::atomic_int closed{0};
};

class FakeScreenshot : public ExportedScreenshot
{
    Q_OBJECT

public:
    explicit FakeScreenshot(FakeDesktopState &state);
    ~FakeScreenshot() override;

    void closeSilent() { m_silent.clear(); }

    void screenshotFullscreen(const QDBusUnixFileDescriptor &pipe, bool withoutPointer,
                              int screen) override;

private:
    FakePicturePlan plan() const;

    FakeDesktopState &m_state;
    QVector<QDBusUnixFileDescriptor> m_silent;
    FakePicture::StopFlag m_stop = std::make_shared<std::atomic_bool>(false);
    QThreadPool m_writers;
};

class FakeWindowManager : public ExportedWindowManager
{
    Q_OBJECT

public:
    explicit FakeWindowManager(FakeDesktopState &state);

    void setContentChangeThreshold(double threshold) override;
    uint getActiveWindowPid() override;

private:
    FakeDesktopState &m_state;
};
