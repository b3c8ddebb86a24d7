// Prints where Qt sees the screens, in its order, one "x y width height" a line.

#include <QGuiApplication>
#include <QScreen>

#include <cstdio>

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (const QScreen *screen : screens) {
        const QRect area = screen->geometry();
        std::printf("%d %d %d %d\n", area.x(), area.y(), area.width(), area.height());
    }
    std::fflush(stdout); // the leak checker ends the program without that if it finds the toolkit's
    return 0;
}
