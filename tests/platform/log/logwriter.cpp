// The process that logs in the tests: `logwriter COMMAND [ARGUMENT]`. It has no application object,
// like a program that has just begun.

#include "log/vesklog4qt.h"

#include <QDebug>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
const QString APPLICATION_ID = QStringLiteral("log-writer");

volatile std::sig_atomic_t signalsDuringWrite = 0;

std::string logFile()
{
    return (QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + '/' +
            APPLICATION_ID + "/log/" + APPLICATION_ID + ".log")
        .toStdString();
}

void logLines(int count, const char *mark)
{
    for (int i = 0; i < count; ++i) {
        qDebug("%s %07d a line of about the usual length, with nothing in it", mark, i);
    }
}

void levels(const char *)
{
    qDebug("on debug");
    qInfo("on info");
    qWarning("on warning");
    qCritical("on critical");
}

void text(const char *message)
{
    qWarning().noquote() << QString::fromUtf8(message);
}

void category(const char *)
{
    static const QLoggingCategory other("other.category");
    qCWarning(other) << "told";
    qWarning() << "not told";
}

void lines(const char *count)
{
    logLines(std::atoi(count), "line");
}

void longLine(const char *length)
{
    // Three bytes a character, so that most cuts would fall inside one.
    qWarning().noquote() << QString(std::atoi(length) / 3, QChar(0x8BB0));
    qWarning("after the long one");
}

void openMask(const char *)
{
    umask(0);
    initVeskLog4qt(APPLICATION_ID);
    logLines(60000, "line");
}

void threads(const char *count)
{
    std::vector<std::thread> workers(std::atoi(count));
    for (std::size_t i = 0; i < workers.size(); ++i) {
        workers[i] = std::thread([i] { logLines(2000, std::to_string(i).c_str()); });
    }
    for (std::thread &worker : workers) {
        worker.join();
    }
}

void killed(const char *count)
{
    logLines(std::atoi(count), "line");
    std::raise(SIGKILL);
}

void fatal(const char *)
{
    qFatal("the last words");
}

void twice(const char *)
{
    qDebug("before the second call");
    initVeskLog4qt(APPLICATION_ID);
    initVeskLog4qt("another-id");
    qDebug("after the second call");
}

void atExit(const char *)
{
    struct Late {
        ~Late() { qDebug("during static destruction"); }
    };
    static const Late late;
}

void limited(const char *)
{
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{4000, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &small);
    logLines(100, "full");
    const rlimit none{RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &none);
    logLines(10, "space");
    setrlimit(RLIMIT_FSIZE, &small);
    logLines(100, "again");
}

void removed(const char *)
{
    qDebug("before the removal");
    unlink(logFile().c_str());
    qDebug("after the removal");
}

void closedError(const char *)
{
    close(STDERR_FILENO);
    qWarning("standard error is closed");
}

void openFiles(const char *)
{
    qWarning("the file is open now");
    execl("/bin/ls", "ls", "-l", "/proc/self/fd", nullptr);
}

void logInSignal(int number)
{
    qWarning() << "Interrupt signal (" << number << ") received, 已收到" << QString::fromUtf8("😀");
}

void signalDuringWrite(const char *)
{
    std::signal(SIGUSR1, logInSignal);
    signalsDuringWrite = 2; // one for each sink
    qWarning("interrupted twice");
    qWarning("going on");
}

struct Command {
    const char *name;
    void (*run)(const char *argument);
};
const Command COMMANDS[] = {
    {"levels", levels},       {"text", text},
    {"category", category},   {"lines", lines},
    {"long", longLine},       {"openmask", openMask},
    {"threads", threads},     {"killed", killed},
    {"fatal", fatal},         {"twice", twice},
    {"atexit", atExit},       {"limited", limited},
    {"removed", removed},     {"closed", closedError},
    {"openfiles", openFiles}, {"signal", signalDuringWrite},
};
} // namespace

// Takes the place of the C library's function. The log calls it while it holds a sink's lock, so a
// signal raised here interrupts logging at its worst moment, every time.
extern "C" ssize_t write(int file, const void *data, size_t length)
{
    if (signalsDuringWrite > 0) {
        signalsDuringWrite = signalsDuringWrite - 1;
        const int left = signalsDuringWrite;
        signalsDuringWrite = 0; // what the handler logs is not interrupted in turn
        std::raise(SIGUSR1);
        signalsDuringWrite = left;
    }
    return syscall(SYS_write, file, data, length);
}

int main(int argc, char **argv)
{
    const char *name = argc > 1 ? argv[1] : "";
    const char *argument = argc > 2 ? argv[2] : "";
    if (std::strcmp(name, "openmask") != 0) {
        initVeskLog4qt(APPLICATION_ID);
    }
    for (const Command &command : COMMANDS) {
        if (std::strcmp(command.name, name) == 0) {
            command.run(argument);
            return 0;
        }
    }
    return 2;
}
