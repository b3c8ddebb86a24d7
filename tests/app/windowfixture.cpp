#include "windowfixture.h"

#include "support/commandoutput.h"

#include <QProcess>

bool WindowFixture::input(const QStringList &arguments)
{
    return QProcess::execute(QStringLiteral("xdotool"), arguments) == 0;
}

bool WindowFixture::click(const QPoint &global, int button)
{
    return input({QStringLiteral("mousemove"), QString::number(global.x()),
                  QString::number(global.y()), QStringLiteral("click"), QString::number(button)});
}

bool WindowFixture::hasState(const QWindow &window, const QString &atom)
{
    return outputOf(QStringLiteral("xprop"),
                    {QStringLiteral("-id"), QString::number(window.winId()),
                     QStringLiteral("_NET_WM_STATE")})
        .contains(atom);
}

quint64 WindowFixture::activeWindow()
{
    return outputOf(QStringLiteral("xdotool"), {QStringLiteral("getactivewindow")}).toULongLong();
}
