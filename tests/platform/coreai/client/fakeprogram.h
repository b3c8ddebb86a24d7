#pragma once
// Makes the fake runtime the one that the client libraries start, with the given options. On the
// stack of a test; the next one starts with the installed runtime again.

#include "coreai/client/runtimelink.h"
#include "coreai/client/runtimeprogram.h"

#include <QTest>

#include <csignal>

class FakeProgram
{
public:
    explicit FakeProgram(std::vector<std::string> options = {})
    {
        options.insert(options.begin(), FAKE_RUNTIME);
        coreai::setRuntimeProgram(options);
    }
    ~FakeProgram() { coreai::setRuntimeProgram({}); }
    Q_DISABLE_COPY(FakeProgram)

    // Of the process that serves this program now; a link of no session has none.
    static pid_t processId() { return coreai::RuntimeLink::shared()->processId(); }

    static bool isAlive(pid_t process) { return ::kill(process, 0) == 0; }
};
