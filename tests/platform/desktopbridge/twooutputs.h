#pragma once
// An X server without hardware that has two outputs side by side: DUMMY0, 1280x720 and primary, and
// to its right DUMMY1, 1024x768. DISPLAY leads to it for the life of this object. Test thread only.

#include "xclient.h"

#include <QTemporaryDir>

#include <memory>

class TwoOutputs
{
public:
    TwoOutputs();
    ~TwoOutputs();
    Q_DISABLE_COPY(TwoOutputs)

    /// False where no server of that kind can be started.
    bool isRunning() const { return m_server && m_server->isRunning(); }

    /// Both outputs as above, whatever they were before.
    bool arrange() const;

    static bool xrandr(const QString &arguments);

private:
    QTemporaryDir m_folder;
    std::unique_ptr<PrivateXServer> m_server;
    std::unique_ptr<DisplayVariable> m_display;
};
