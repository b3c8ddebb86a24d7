#pragma once
// The font and the colour roles of the desktop for pages; a QML singleton, owned by the engine,
// main thread.

#include <QColor>
#include <QFont>
#include <QObject>
#include <QPalette>

class StyleHelper : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool dark READ isDark WRITE setDark RESET resetDark NOTIFY paletteChanged)
    Q_PROPERTY(QColor window READ window NOTIFY paletteChanged)
    Q_PROPERTY(QColor windowText READ windowText NOTIFY paletteChanged)
    Q_PROPERTY(QColor base READ base NOTIFY paletteChanged)
    Q_PROPERTY(QColor text READ text NOTIFY paletteChanged)
    Q_PROPERTY(QColor midlight READ midlight NOTIFY paletteChanged)
    Q_PROPERTY(QColor mid READ mid NOTIFY paletteChanged)
    Q_PROPERTY(QColor button READ button NOTIFY paletteChanged)
    Q_PROPERTY(QColor buttonText READ buttonText NOTIFY paletteChanged)
    Q_PROPERTY(QColor highlight READ highlight NOTIFY paletteChanged)
    Q_PROPERTY(QColor highlightedText READ highlightedText NOTIFY paletteChanged)
    Q_PROPERTY(QFont font READ font NOTIFY fontChanged)
    Q_PROPERTY(int fontPixelSize READ fontPixelSize NOTIFY fontChanged)
    Q_PROPERTY(bool compositing READ isCompositing NOTIFY compositingChanged)

public:
    explicit StyleHelper(QObject *parent = nullptr);

    /// Whether pages are dark: as set, or else as the desktop's palette is.
    bool isDark() const;
    void setDark(bool dark);
    /// Back to following the desktop's palette.
    void resetDark();

    QColor window() const { return m_palette.color(QPalette::Window); }
    QColor windowText() const { return m_palette.color(QPalette::WindowText); }
    QColor base() const { return m_palette.color(QPalette::Base); }
    QColor text() const { return m_palette.color(QPalette::Text); }
    QColor midlight() const { return m_palette.color(QPalette::Midlight); }
    QColor mid() const { return m_palette.color(QPalette::Mid); }
    QColor button() const { return m_palette.color(QPalette::Button); }
    QColor buttonText() const { return m_palette.color(QPalette::ButtonText); }
    QColor highlight() const { return m_palette.color(QPalette::Highlight); }
    QColor highlightedText() const { return m_palette.color(QPalette::HighlightedText); }

    QFont font() const;
    /// Height of the desktop's font in logical pixels.
    int fontPixelSize() const;

    /// Whether windows may be translucent; without it their transparent corners would be black.
    bool isCompositing() const;

Q_SIGNALS:
    void paletteChanged();
    void fontChanged();
    void compositingChanged();

private:
    void updatePalette();

    enum class Scheme { Desktop, Light, Dark };
    Scheme m_scheme = Scheme::Desktop;
    QPalette m_palette;
};
