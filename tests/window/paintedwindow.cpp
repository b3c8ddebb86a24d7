// A window over the whole screen that shows a numbered picture, to be recorded: each line on the
// standard input is the number of the next one, and is answered by the same line once the picture
// stands in the window. The recorder files it under the application that an argument names.

#include "support/pictures.h"

#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <QScreen>
#include <QSocketNotifier>

#include <cstdio>
#include <iostream>
#include <string>
#include <unistd.h>

namespace
{
class PaintedWindow : public QRasterWindow
{
public:
    void showPicture(int number)
    {
        m_number = number;
        update();
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.drawImage(QPoint(0, 0), Pictures::numbered(m_number, size()));
        painter.end();
        if (isExposed() && m_number != m_told) {
            std::printf("%d\n", m_number);
            std::fflush(stdout);
            m_told = m_number;
        }
    }

private:
    int m_number = 0;
    int m_told = 0;
};
} // namespace

int main(int argc, char **argv)
{
    QGuiApplication application(argc, argv);
    PaintedWindow window;
    window.setTitle(QStringLiteral("painted"));
    window.showFullScreen();
    window.requestActivate();
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &window, [&] {
        std::string line;
        if (!std::getline(std::cin, line)) {
            QCoreApplication::quit();
            return;
        }
        window.showPicture(std::stoi(line));
    });
    return QGuiApplication::exec();
}
