#include "qqc2style/stylehelper.h"

#include "qqc2style/stylepalette.h"

#include <KWindowSystem>
#include <QFontInfo>
#include <QGuiApplication>

namespace
{
// Only an X server can; the question is not understood on other platforms.
bool canLackCompositing()
{
    return QGuiApplication::platformName() == QLatin1String("xcb");
}
} // namespace

StyleHelper::StyleHelper(QObject *parent) : QObject(parent)
{
    updatePalette();
    connect(qGuiApp, &QGuiApplication::paletteChanged, this, &StyleHelper::updatePalette);
    connect(qGuiApp, &QGuiApplication::fontChanged, this, &StyleHelper::fontChanged);
    if (canLackCompositing()) {
        connect(KWindowSystem::self(), &KWindowSystem::compositingChanged, this,
                &StyleHelper::compositingChanged);
    }
}

bool StyleHelper::isDark() const
{
    return m_scheme == Scheme::Desktop ? isDarkPalette(QGuiApplication::palette())
                                       : m_scheme == Scheme::Dark;
}

void StyleHelper::setDark(bool dark)
{
    m_scheme = dark ? Scheme::Dark : Scheme::Light;
    updatePalette();
}

void StyleHelper::resetDark()
{
    m_scheme = Scheme::Desktop;
    updatePalette();
}

QFont StyleHelper::font() const
{
    return QGuiApplication::font();
}

int StyleHelper::fontPixelSize() const
{
    return QFontInfo(QGuiApplication::font()).pixelSize();
}

bool StyleHelper::isCompositing() const
{
    return !canLackCompositing() || KWindowSystem::compositingActive();
}

void StyleHelper::updatePalette()
{
    m_palette = stylePalette(QGuiApplication::palette(), isDark());
    Q_EMIT paletteChanged();
}
