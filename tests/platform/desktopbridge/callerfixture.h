#pragma once
// A caller of the bridge that looks at the virtual display by itself; no bridge outlives a test.
// Owner: the test program, which derives from it. Test thread only.

#include "xclient.h"

#include <QObject>
#include <QSize>

#include <memory>

class CallerFixture : public QObject
{
    Q_OBJECT

protected Q_SLOTS:
    void init();
    void cleanup();

protected:
    static constexpr QSize SCREEN_SIZE{1920, 1080};

    std::unique_ptr<XClient> m_screen;
};
