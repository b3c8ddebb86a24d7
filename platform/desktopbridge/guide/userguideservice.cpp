#include "desktopbridge/guide/userguideservice.h"

#include "desktopbridge/guide/documentopener.h"

#include "userguideadaptor.h"

UserGuideService::UserGuideService(const HelpPages &pages) : m_pages(pages)
{
    new UserGuideAdaptor(this);
}

void UserGuideService::showGuide(const QString &application)
{
    if (!m_pages.knows(application)) {
        sendErrorReply(QDBusError::InvalidArgs,
                       QStringLiteral("there is no help for \"%1\"").arg(application));
        return;
    }
    const QString page = m_pages.page(application, textLanguagesOfEnvironment());
    if (page.isEmpty()) {
        sendErrorReply(QDBusError::Failed, QStringLiteral("the help pages are not installed"));
        return;
    }
    if (!openInDesktopViewer(page)) {
        sendErrorReply(QDBusError::Failed,
                       QStringLiteral("neither xdg-open nor gio opens %1").arg(page));
    }
}
