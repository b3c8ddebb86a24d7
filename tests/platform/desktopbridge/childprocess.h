#pragma once
// A process that does not outlive the test, even one that crashes. Test's main thread only.

#include <QProcess>

#include <csignal>
#include <sys/prctl.h>

class ChildProcess : public QProcess
{
    Q_OBJECT

protected:
    void setupChildProcess() override { ::prctl(PR_SET_PDEATHSIG, SIGTERM); }
};
