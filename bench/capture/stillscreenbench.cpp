// What the recorder and the bridge cost together while nothing on the screen changes. An argument
// sets another span than 60 seconds.

#include "capture/capturefixture.h"
#include "support/figure.h"
#include "support/processcost.h"
#include "system/recordedsession.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTest>

#include <csignal>

namespace
{
constexpr double goalMs = 60.0;
constexpr int defaultSeconds = 60;
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const int seconds = arguments.size() > 1 ? arguments.at(1).toInt() : defaultSeconds;

    RecordedSession::setSetting(QStringLiteral("screenshot-interval"), QStringLiteral("5"));
    RecordedSession::setSetting(QStringLiteral("recording-memory"), QStringLiteral("true"));
    RecordedSession::Program program;
    if (!program.start()) {
        qCritical("the program did not start");
        return 1;
    }
    {
        const RecordedSession::BusyTerminal terminal;
        if (!QTest::qWaitFor([] { return !CaptureFixture::storedRows().isEmpty(); }, 20000)) {
            qCritical("nothing was recorded");
            return 1;
        }
    }
    QTest::qWait(12000); // the closed window's own change has been taken by then
    const uint bridge = RecordedSession::ownerOf(QStringLiteral("org.vesk.KWin"));
    if (bridge == 0) {
        qCritical("nobody watches the screen");
        return 1;
    }
    const double before =
        Bench::cpuMillisecondsOf(program.processId()) + Bench::cpuMillisecondsOf(bridge);
    QTest::qWait(seconds * 1000);
    const double spent =
        Bench::cpuMillisecondsOf(program.processId()) + Bench::cpuMillisecondsOf(bridge) - before;
    Bench::print({QStringLiteral("still screen, recorder and bridge, CPU of %1 s %2")
                      .arg(seconds)
                      .arg(Bench::sizeText(QGuiApplication::primaryScreen()->size())),
                  spent, QStringLiteral("ms"), goalMs * seconds / defaultSeconds, 0.0, QString()});
    program.sendSignal(SIGTERM);
    return program.waitForEnd() ? 0 : 1;
}
