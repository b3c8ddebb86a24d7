#pragma once
// A tracker over a history of real videos, rows and vectors, on a fake desktop and a clock that
// stands. Owner: the test program, which derives from it. Main thread.

#include "capture/capturefixture.h"
#include "capture/screenhistorytracker.h"
#include "desktopbridge/fake/fakedesktop.h"

#include <QDateTime>
#include <QObject>

#include <memory>

class TrackerFixture : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

protected:
    static constexpr int encodingMs = 60000; // on a busy machine, under a sanitizer
    static constexpr int secondsBetweenFrames = 5;

    void start() { m_tracker = std::make_unique<ScreenHistoryTracker>(); }

    /// So many frames more, each with a number of its own, from 1.
    void keep(int count);

    /// Waits until the open batch has become a video.
    void closeVideo();

    /// Of a stored frame; -1 for none.
    int readNumber(const QString &video, uint index);

    std::unique_ptr<FakeDesktop> m_desktop;
    std::unique_ptr<CaptureFixture::Application> m_application;
    std::unique_ptr<ScreenHistoryTracker> m_tracker;
    const QDateTime m_now{QDate(2024, 3, 15), QTime(14, 0)};
    int m_next = 0;
};
