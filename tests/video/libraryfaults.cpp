#include "libraryfaults.h"
#include "faultpoint.h"

#include <QMap>

#include <csignal>
#include <mutex>

extern char __executable_start; // NOLINT(bugprone-reserved-identifier): the linker's name
extern char etext;

namespace
{
using LibraryFaults::Fault;

struct Armed {
    int number = 0;
    int calls = 0;
    Fault fault = Fault::Fails;
    bool goesOn = false;
};

/// What all calls share, on whichever thread they are made.
struct State {
    std::mutex mutex; // not QMutex, whose locking the thread sanitizer can't see
    QMap<QString, Armed> armed;
    int lastCall = 0; ///< the process dies at this call; 0 for none
    int calls = 0;
    QStringList finishingCalls;
    QString streamAtHeader;
    QString encoderAtOpen;
    QStringList scalings;
    QVector<double> packetDurations;
    QVector<double> receivedDurations;
};

State &state()
{
    static State shared;
    return shared;
}

bool isLastCall()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return ++state().calls == state().lastCall;
}
} // namespace

namespace FaultPoint
{
bool isCallOfThisProgram(const void *returnAddress)
{
    return returnAddress >= &__executable_start && returnAddress < &etext;
}

bool strikes(const char *function, Fault fault)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    const auto armed = state().armed.find(QLatin1String(function));
    if (armed == state().armed.end() || armed->fault != fault) {
        return false;
    }
    ++armed->calls;
    return armed->number == 0 || armed->number == armed->calls ||
           (armed->goesOn && armed->number < armed->calls);
}

bool fails(const char *function)
{
    if (isLastCall() || strikes(function, Fault::Kills)) {
        raise(SIGKILL);
    }
    return strikes(function, Fault::Fails);
}

void note(const QString &call)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().finishingCalls += call;
}

void noteHeader(const QString &stream)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().streamAtHeader = stream;
}

void noteEncoder(const QString &settings)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().encoderAtOpen = settings;
}

void noteScaling(const QString &scaling)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().scalings += scaling;
}

void noteReceived(double seconds)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().receivedDurations += seconds;
}

void noteDuration(double seconds)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().packetDurations += seconds;
}
} // namespace FaultPoint

namespace LibraryFaults
{
void arm(const QString &function, int number, Fault fault)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().armed.insert(function, {number, 0, fault, false});
}

void armFrom(const QString &function, int number)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().armed.insert(function, {number, 0, Fault::Fails, true});
}

void dieAtCall(int number)
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().lastCall = number;
    state().calls = 0;
}

void disarm()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().armed.clear();
    state().finishingCalls.clear();
    state().packetDurations.clear();
    state().receivedDurations.clear();
    state().scalings.clear();
}

QStringList finishingCalls()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().finishingCalls;
}

QString streamAtHeader()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().streamAtHeader;
}

QString encoderAtOpen()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().encoderAtOpen;
}

QStringList scalings()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().scalings;
}

QVector<double> packetDurations()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().packetDurations;
}

QVector<double> receivedDurations()
{
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().receivedDurations;
}
} // namespace LibraryFaults
