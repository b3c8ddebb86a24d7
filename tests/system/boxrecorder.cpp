// A recorder for the tests of the encrypted box, which it asks for itself. Arguments: the process
// id of an application known by name and the text that every frame is read as. Standard input:
// "keep N" keeps N frames more, "end" ends in order. It answers with a line.

#include "ai/coreaidouble/coreaidouble.h"
#include "capture/screenhistorytracker.h"
#include "database/screenshotdata.h"
#include "desktopbridge/fake/fakedesktop.h"
#include "support/fakeclock.h"
#include "support/pictures.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

namespace
{
void script(const QByteArray &text)
{
    CoreAiDouble::setReader([text](const QByteArray & /*encoded*/) {
        CoreAiDouble::Reading reading;
        reading.lines = {CoreAiDouble::Line{text, {{0, 0}, {9, 0}, {9, 9}, {0, 9}}, true}};
        return reading;
    });
    CoreAiDouble::setEmbedder(
        [](const QByteArray & /*input*/) { return QVector<float>(1024, 0.5F); });
}

void answer(const char *line)
{
    std::puts(line);
    std::fflush(stdout);
}

void keep(ScreenHistoryTracker &tracker, int frames)
{
    static int number = 0;
    static QDateTime now = QDateTime::currentDateTime();
    for (int kept = 0; kept < frames; ++kept) {
        now = now.addSecs(1); // videos are named by the second
        FakeClock::set(now);
        tracker.screenshotReady(Pictures::numbered(++number));
        QCoreApplication::processEvents(QEventLoop::ExcludeSocketNotifiers);
    }
    answer("kept");
}
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    script(arguments.at(2).toUtf8());
    qRegisterMetaType<ScreenShotData>("ScreenShotData&");
    FakeDesktop desktop;
    desktop.setActivePid(arguments.at(1).toUInt());
    ScreenHistoryTracker tracker;
    answer(tracker.hasEncryption() ? "in the box" : "plain");

    QSocketNotifier commands(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&commands, &QSocketNotifier::activated, &tracker, [&tracker] {
        char line[64] = {};
        const ssize_t size = read(STDIN_FILENO, line, sizeof(line) - 1);
        int frames = 0;
        if (size > 0 && std::sscanf(line, "keep %d", &frames) == 1) {
            keep(tracker, frames);
        } else {
            QCoreApplication::quit();
        }
    });
    return QGuiApplication::exec();
}
