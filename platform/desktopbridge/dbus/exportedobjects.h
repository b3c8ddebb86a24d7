#pragma once
// What the generated adaptors call: the objects on the bus as abstract classes, one set for
// the bridge and one for the fake of the tests. Owned by whoever exports them; the calls arrive on
// the thread that the object lives on.

#include <QDBusContext>
#include <QDBusUnixFileDescriptor>
#include <QObject>

/// Object /Screenshot of org.vesk.KWin; org.vesk.kwin.Screenshot.xml tells the contract.
class ExportedScreenshot : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    virtual void screenshotFullscreen(const QDBusUnixFileDescriptor &pipe, bool withoutPointer,
                                      int screen) = 0;
};

/// Object /KWin of org.vesk.KWin; org.vesk.KWin.xml tells the contract.
class ExportedWindowManager : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    virtual void setContentChangeThreshold(double threshold) = 0;
    virtual uint getActiveWindowPid() = 0;

Q_SIGNALS:
    void screenContentChanged(double rate);
};

/// Object / of org.vesk.ScreenSaver; org.vesk.ScreenSaver.xml tells the contract.
class ExportedScreenSaver : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void lock();
    void unlock();
};

/// Object / of the user guide; com.guide.hotel.xml tells the contract.
class ExportedUserGuide : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    virtual void showGuide(const QString &application) = 0;
};
