// A program that tells the area which panels leave free, as lines "x y width height", at its start
// and whenever it changes, until standard input ends.

#include "app/windowsettings.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <iostream>
#include <unistd.h>

namespace
{
void tell(const QRect &area)
{
    std::cout << area.x() << ' ' << area.y() << ' ' << area.width() << ' ' << area.height()
              << std::endl;
}
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    const QGuiApplication application(argc, argv);
    const WindowSettings settings;
    QObject::connect(&settings, &WindowSettings::workAreaChanged, &tell);
    const QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &QCoreApplication::quit);
    tell(settings.getWorkArea());
    return QGuiApplication::exec();
}
