#pragma once
// Where the screens of an X display lie, in the order in which Qt's xcb platform lists them, and
// the scale of the desktop. Values only; the functions that ask the server run on the main thread.

#include "desktopbridge/x11/xcbhandles.h"

#include <QByteArray>
#include <QRect>
#include <QVector>

struct X11Output {
    QByteArray name;
    bool isPrimary = false;
    bool isOn = false; ///< connected and shown by a CRTC
    QRect area;
};

struct X11Layout {
    QRect virtualScreen;
    QVector<QRect> screens;
    bool isXwayland = false;

    bool operator==(const X11Layout &other) const
    {
        return virtualScreen == other.virtualScreen && screens == other.screens;
    }
};

/// The areas of the outputs that are on: the primary one first, the others in the server's order;
/// without any, the whole virtual screen as one screen. Areas are cut at the virtual screen.
QVector<QRect> orderScreens(const QVector<X11Output> &outputs, const QRect &virtualScreen);

/// True if these are the outputs of an X server inside a Wayland compositor, as they were named
/// until version 23.1. Such a server sees only the windows of its own clients.
bool looksLikeXwayland(const QVector<X11Output> &outputs);

/// Scale of the desktop from the text of the RESOURCE_MANAGER property: "Xft.dpi" over 96 rounded
/// to a whole number, at least 1; 1 without such a line.
int scaleFromResources(const QByteArray &resources);

/// Asks the server. Without the RANDR extension there is one screen, the root window.
X11Layout readX11Layout(const XcbConnection &connection, xcb_window_t root, bool hasRandr);

/// Asks the server for the scale; cheap enough for each picture.
int readX11Scale(const XcbConnection &connection, xcb_window_t root);
