#include "app/customtitlebar.h"

#include <QQuickView>

CustomTitleBar::CustomTitleBar(QQuickView *view, const QString &closeWindowOption, QObject *parent)
    : QObject(parent)
    , m_view(view)
    , m_closeWindowOption(closeWindowOption)
    , m_minimizeOption(QStringLiteral("minimize"))
    , m_exitOption(QStringLiteral("exit"))
{
}

void CustomTitleBar::minimizeTheWindow()
{
    m_view->showMinimized();
}

void CustomTitleBar::hideTheWindow()
{
    m_view->hide();
}

void CustomTitleBar::closeTheWindow()
{
    m_view->close();
    Q_EMIT programExit();
}

bool CustomTitleBar::windowVisible()
{
    return m_view->isVisible();
}

void CustomTitleBar::setCloseWindowOption(bool isCloseWindowMinimize)
{
    updateCloseWindowOption(isCloseWindowMinimize ? m_minimizeOption : m_exitOption);
}

void CustomTitleBar::updateCloseWindowOption(const QString &option)
{
    if (option != m_closeWindowOption) {
        m_closeWindowOption = option;
        Q_EMIT closeWindowOptionChanged(m_closeWindowOption);
    }
}

bool CustomTitleBar::isCloseWindowMinimize()
{
    return m_closeWindowOption == m_minimizeOption;
}
