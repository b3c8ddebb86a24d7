// A runtime for tests of programs that use the client libraries: answers at once, with what can be
// told from the request alone, or misbehaves as its options tell. Started as the real one is.

#include "coreai/fake/fakeruntime.h"
#include "coreai/protocol/channelprocess.h"

#include <QCommandLineParser>
#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const auto add = [&parser](const char *name, const char *what, const char *standard) {
        parser.addOption({QLatin1String(name), QLatin1String(what), QStringLiteral("value"),
                          QLatin1String(standard)});
    };
    add("delay", "Milliseconds before each answer.", "0");
    add("status", "Refuses every session with this status.", "0");
    add("lines", "Lines of a picture.", "2");
    add("null", "Answers the n-th picture of the process with no result at all.", "0");
    add("empty", "Answers the n-th picture of the process with no lines.", "0");
    add("die-at", "Ends at the n-th request of the process.", "0");
    add("die-on-size", "Ends at each request of so many bytes.", "-1");
    add("no-corners", "Leaves the corners of the n-th line of each picture out.", "0");
    add("garbage-at", "Breaks the protocol at the n-th request of the process.", "0");
    parser.addOption({QStringLiteral("silent"), QStringLiteral("Answers no request.")});
    parser.addOption(
        {QStringLiteral("die-opened"), QStringLiteral("Ends once it has opened a session.")});
    parser.process(application);

    const auto number = [&parser](const char *name) {
        return parser.value(QLatin1String(name)).toInt();
    };
    coreai::FakeRuntime::Behaviour behaviour;
    behaviour.delay = number("delay");
    behaviour.status = number("status");
    behaviour.lines = number("lines");
    behaviour.nullAt = number("null");
    behaviour.emptyAt = number("empty");
    behaviour.dieAt = number("die-at");
    behaviour.dieOnSize = number("die-on-size");
    behaviour.noCornersOf = number("no-corners");
    behaviour.garbageAt = number("garbage-at");
    behaviour.silent = parser.isSet(QStringLiteral("silent"));
    behaviour.dieOpened = parser.isSet(QStringLiteral("die-opened"));
    coreai::FakeRuntime(
        coreai::Channel(coreai::Descriptor(coreai::ChannelProcess::channelDescriptor)), behaviour)
        .run();
    return 0;
}
