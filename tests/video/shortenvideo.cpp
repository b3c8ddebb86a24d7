// Shortens a video in a process of its own, to be killed.
//   shortenvideo [--die-at-call NUMBER] VIDEO KEPT
// Prints the result as "true" or "false".

#include "libraryfaults.h"
#include "video/videocomposer.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argumentCount, char *arguments[])
{
    const QCoreApplication application(argumentCount, arguments);
    QStringList words = QCoreApplication::arguments().mid(1);
    VideoComposer composer(nullptr);
    if (words.value(0) == QLatin1String("--die-at-call")) {
        LibraryFaults::dieAtCall(words.value(1).toInt());
        words = words.mid(2);
    }
    const bool shortened =
        composer.deleteFramesToEndFromVideoFile(words.value(0), words.value(1).toUInt());
    std::puts(shortened ? "true" : "false");
    return 0;
}
