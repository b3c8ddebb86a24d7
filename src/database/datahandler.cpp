#include "database/datahandler.h"

#include "database/databasemanager.h"

#include <QDateTime>
#include <QDebug>

DataHandler::DataHandler(QObject *parent)
    : QObject(parent), m_databaseManager(DatabaseManager::getInstance())
{
}

bool DataHandler::backInTimeDetected()
{
    const QDateTime last =
        QDateTime::fromSecsSinceEpoch(m_databaseManager->getLastScreenshotRealTime());
    if (last.secsTo(QDateTime::currentDateTime()) < 0) {
        qWarning() << "back in time detected";
        return true;
    }
    return false;
}
