#pragma once
// The object / of the user guide: opens an application's help. Owned by UserGuide; main thread.

#include "desktopbridge/dbus/exportedobjects.h"
#include "desktopbridge/guide/helppages.h"

class UserGuideService : public ExportedUserGuide
{
    Q_OBJECT

public:
    explicit UserGuideService(const HelpPages &pages);

    void showGuide(const QString &application) override;

private:
    HelpPages m_pages;
};
