#pragma once
// What the bridge needs of a display system. One implementation for each, and one that does
// nothing politely. Owned by DesktopBridge; main thread only. No call waits for anything but the
// display server.

#include "desktopbridge/picture.h"

#include <QObject>
#include <QVector>

#include <optional>

class ScreenBackend : public QObject
{
    Q_OBJECT

public:
    /// Why nothing can be seen, in words for a log or an error reply; empty if all is well.
    virtual QString problem() const = 0;

    /// The screens in device pixels of the virtual screen, in the order in which Qt lists them:
    /// the primary one first.
    virtual QVector<QRect> screens() = 0;

    /// What all screens together span; empty if nothing can be seen.
    virtual QRect virtualScreen() = 0;

    /// Edge of a comparison tile in device pixels: 16 times the desktop's scale.
    virtual int tileEdge() = 0;

    /// The pixels of @p area as they are now, without the mouse pointer; null on failure, also if
    /// the area is not wholly on the virtual screen.
    virtual PicturePtr fetch(const QRect &area) = 0;

    /// The same, only to be compared and never to be handed out: everything that takeDamage() has
    /// told is in it, while later changes may be missing, which damaged() then announces. For
    /// displays where a picture of this very moment costs more than one that is there anyway.
    virtual PicturePtr fetchForComparison(const QRect &area) { return fetch(area); }

    /// From now on damaged() is sent. False if this display cannot tell.
    virtual bool startWatching() = 0;
    virtual void stopWatching() = 0;

    /// The areas drawn to since the last call or since startWatching(); damaged() is sent again
    /// only for what is drawn after this call.
    virtual QVector<QRect> takeDamage() = 0;

    /// Process id of the owner of the active window, 0 if there is none; nothing if it cannot be
    /// told at all.
    virtual std::optional<quint32> activeWindowPid() = 0;

Q_SIGNALS:
    void damaged();
    void layoutChanged(); ///< size, screens or their order
    void lost();          ///< the display server is gone; sent once
};
