// A program that runs once in a session, told line by line on standard input what to do and telling
// on standard output what came of it. The event loop runs only after "loop".

#include "singleapplication/qtsingleapplication.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QSocketNotifier>
#include <iostream>
#include <string>
#include <unistd.h>

namespace
{
void tell(const QByteArray &line)
{
    std::cout << line.constData() << std::endl;
}

void tellRole(QtSingleApplication &application)
{
    tell(application.isRunning() ? "second" : "first");
}

// "send TIMEOUT BASE64"
void send(QtSingleApplication &application, const QList<QByteArray> &words)
{
    const QByteArray text = QByteArray::fromBase64(words.value(2));
    const QString message = QString::fromUtf8(text.constData(), text.size());
    QElapsedTimer watch;
    watch.start();
    const bool sent = application.sendMessage(message, words.value(1).toInt());
    tell((sent ? "sent " : "failed ") + QByteArray::number(watch.elapsed()));
}
} // namespace

int main(int argc, char **argv)
{
    const bool withDisplay = argc < 2 || std::string(argv[1]) != "nodisplay";
    QtSingleApplication application(argc, argv, withDisplay);
    QObject::connect(
        &application, &QtSingleApplication::messageReceived,
        [](const QString &message) { tell("message " + message.toUtf8().toBase64()); });
    tellRole(application);

    std::string line;
    while (std::getline(std::cin, line)) {
        const QList<QByteArray> words = QByteArray::fromStdString(line).split(' ');
        if (words.first() == "send") {
            send(application, words);
        } else if (words.first() == "role") {
            tellRole(application);
        } else if (words.first() == "platform") {
            tell(QGuiApplication::platformName().toUtf8());
        } else if (words.first() == "command") {
            QProcess::startDetached("/bin/sleep", {"10"});
            tell("running");
        } else if (words.first() == "loop") {
            QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
            QObject::connect(&input, &QSocketNotifier::activated, &application,
                             &QCoreApplication::quit);
            tell("looping");
            QCoreApplication::exec();
        }
    }
    return 0;
}
