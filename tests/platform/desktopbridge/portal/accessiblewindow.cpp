// A program with one window that assistive technologies can see.

#include <QApplication>
#include <QLabel>

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QLabel window(QStringLiteral("window"));
    window.resize(200, 100);
    window.show();
    return application.exec();
}
