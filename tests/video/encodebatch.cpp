// Encodes a batch in a process of its own: on another display than the test's, or to be killed.
//   encodebatch [--no-screen] [--die-at FUNCTION NUMBER] VIDEO COUNT
// The batch is COUNT numbered pictures from 1 on. Prints the result as "true" or "false".

#include "libraryfaults.h"
#include "video/videocomposer.h"
#include "videofacts.h"

#include <QGuiApplication>

#include <cstdio>
#include <memory>

int main(int argumentCount, char *arguments[])
{
    QStringList words;
    for (int index = 1; index < argumentCount; ++index) {
        words += QString::fromLocal8Bit(arguments[index]);
    }
    const std::unique_ptr<QCoreApplication> application(
        words.removeAll(QStringLiteral("--no-screen")) > 0
            ? new QCoreApplication(argumentCount, arguments)
            : new QGuiApplication(argumentCount, arguments));
    if (words.value(0) == QLatin1String("--die-at")) {
        LibraryFaults::arm(words.value(1), words.value(2).toInt(), LibraryFaults::Fault::Kills);
        words = words.mid(3);
    }
    VideoComposer composer(nullptr);
    const bool converted =
        composer.convertImagesToVideo(numberedBatch(words.value(1).toInt()), words.value(0));
    std::puts(converted ? "true" : "false");
    return 0;
}
