#include "qqc2style/stylepalette.h"

namespace
{
// The highlights of the toolkit's palettes without and with the widget style "Fusion".
constexpr QRgb stockHighlights[] = {qRgb(0, 0, 128), qRgb(48, 140, 198)};

struct Colours {
    QRgb window, base, text, midlight, mid, button, highlight;
};

constexpr Colours lightColours = {0xfff4f6fa, 0xffffffff, 0xff262626, 0xffeef2f8,
                                  0xffdce3ec, 0xffe8edf4, 0xff3790fa};
constexpr Colours darkColours = {0xff1d2027, 0xff2a2e37, 0xffeef0f4, 0xff363b46,
                                 0xff454b58, 0xff3a3f4b, 0xff3790fa};

QPalette ownPalette(const Colours &colours)
{
    QPalette palette;
    palette.setColor(QPalette::Window, colours.window);
    palette.setColor(QPalette::WindowText, colours.text);
    palette.setColor(QPalette::Base, colours.base);
    palette.setColor(QPalette::Text, colours.text);
    palette.setColor(QPalette::Midlight, colours.midlight);
    palette.setColor(QPalette::Mid, colours.mid);
    palette.setColor(QPalette::Button, colours.button);
    palette.setColor(QPalette::ButtonText, colours.text);
    palette.setColor(QPalette::Highlight, colours.highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}
} // namespace

bool isDarkPalette(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

bool isStockPalette(const QPalette &palette)
{
    const QRgb highlight = palette.color(QPalette::Active, QPalette::Highlight).rgb();
    return highlight == stockHighlights[0] || highlight == stockHighlights[1];
}

QPalette stylePalette(const QPalette &desktop, bool dark)
{
    if (!isStockPalette(desktop) && isDarkPalette(desktop) == dark) {
        return desktop;
    }
    return ownPalette(dark ? darkColours : lightColours);
}
