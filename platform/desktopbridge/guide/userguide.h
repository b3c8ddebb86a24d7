#pragma once
// The user guide on the bus, under the name com.tavelUserGuide.hotel_UID. Owned by DesktopBridge;
// main thread.

#include "desktopbridge/guide/userguideservice.h"

#include <QDBusConnection>

class UserGuide
{
public:
    /// Takes the name on a connection of its own, for its object has the path of the screen
    /// saver's, unless somebody owns it or the bus can start another program for it.
    UserGuide();
    ~UserGuide();
    Q_DISABLE_COPY(UserGuide)

    static QString busName();

private:
    QDBusConnection m_bus;
    UserGuideService m_service;
};
