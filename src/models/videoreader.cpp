#include "models/videoreader.h"

#include "appinfo/desktopfile.h"
#include "database/datahandler.h"
#include "database/daytext.h"

#include <QDateTime>
#include <QDebug>
#include <QGuiApplication>
#include <QHash>
#include <QIcon>
#include <QLocale>
#include <QScreen>

VideoReader::VideoReader(DataHandler *dataHandler, QObject *parent)
    : QObject(parent)
    , m_dataHandler(dataHandler)
    , m_localizedNameKey(QStringLiteral("Name[") + QLocale::system().name() + QLatin1Char(']'))
    , m_iconKey(QStringLiteral("Icon"))
    , m_nameKey(QStringLiteral("Name"))
{
    qRegisterMetaType<AppItemInfo>("AppItemInfo");
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        m_screenWidth = screen->geometry().width();
    }
}

QString VideoReader::getStringDate(qint64 secs)
{
    return QDateTime::fromSecsSinceEpoch(secs).toString(QStringLiteral("yyyy/MM/dd"));
}

QString VideoReader::getStringTime(qint64 secs)
{
    return QDateTime::fromSecsSinceEpoch(secs).toString(QStringLiteral("HH:mm:ss"));
}

QString VideoReader::getAppName(const QString &desktopEntry) const
{
    const QString name = getValueFromDesktopFile(desktopEntry, m_localizedNameKey);
    return name.isEmpty() ? getValueFromDesktopFile(desktopEntry, m_nameKey) : name;
}

QString VideoReader::getAppIconName(const QString &desktopEntry) const
{
    QString icon = getValueFromDesktopFile(desktopEntry, m_iconKey);
    if (icon.startsWith(QLatin1Char('/'))) {
        return QStringLiteral("file://") + icon;
    }
    if (icon == QLatin1String("vesk-menu")) {
        icon = QStringLiteral("tavel-startmenu"); // the theme's name for the start menu's icon
    }
    if (!icon.isNull() && QIcon::hasThemeIcon(icon)) {
        return icon;
    }
    return QStringLiteral("application-x-desktop");
}

AppItemInfo VideoReader::appItemInfo(const QString &desktopEntry, int timeLength) const
{
    return {getAppName(desktopEntry), getAppIconName(desktopEntry), timeLength};
}

QString VideoReader::getStartDate() const
{
    const bool isThere = !m_dataHandler->getFirstAndLastDay().isEmpty();
    return isThere ? m_dataHandler->getFirstAndLastDay().value(0) : QString();
}

QString VideoReader::getEndDate() const
{
    const bool isThere = m_dataHandler->getFirstAndLastDay().size() > 1;
    return isThere ? m_dataHandler->getFirstAndLastDay().value(1) : QString();
}

QList<AppItemInfo> VideoReader::getDayAppInfo(const QString &day)
{
    QList<AppItemInfo> appInfos;
    // A day's many runs are of few applications, whose desktop files take most of the time.
    QHash<QString, AppItemInfo> known;
    for (const ActiveAppInfo &run : m_dataHandler->getAppListOfDay(day)) {
        auto appInfo = known.find(run.desktopFilePath);
        if (appInfo == known.end()) {
            appInfo = known.insert(run.desktopFilePath, appItemInfo(run.desktopFilePath, 0));
        }
        appInfo->timeLength = static_cast<int>(run.frameCount) * m_framePixelWidth;
        appInfos.append(*appInfo);
    }
    if (!appInfos.isEmpty()) {
        saveAppInfo(day, appInfos);
    }
    return appInfos;
}

void VideoReader::saveAppInfo(const QString &day, const QList<AppItemInfo> &appInfos)
{
    m_dayAppItems[day] = appInfos;
}

int VideoReader::getImageDateIndex(const QString &day) const
{
    const auto found = m_dayAppItems.constFind(day);
    return found == m_dayAppItems.constEnd()
               ? -1
               : static_cast<int>(std::distance(m_dayAppItems.constBegin(), found));
}

void VideoReader::updateFrameNumberOfDay(uint frameNumber)
{
    if (m_dayAppItems.isEmpty() || m_dayAppItems.last().isEmpty()) {
        qWarning() << "Update frame number of day failed: the map is empty!";
        return;
    }
    QList<AppItemInfo> &runs = m_dayAppItems.last();
    uint known = 0;
    for (const AppItemInfo &run : runs) {
        known += static_cast<uint>(run.timeLength / m_framePixelWidth);
    }
    if (frameNumber > known) {
        // One frame a call, whatever the difference: the bar never jumps and never shrinks.
        runs.last().timeLength += m_framePixelWidth;
        Q_EMIT updateAppLength(runs.last().timeLength);
    }
}

void VideoReader::addNewAppData(const QString &desktopEntry)
{
    const AppItemInfo appItem = appItemInfo(desktopEntry, m_framePixelWidth);
    const QString today = DayText::ofDate(QDate::currentDate());
    const bool isKnown = m_dayAppItems.contains(today);
    saveAppInfo(today, m_dayAppItems.value(today) + QList<AppItemInfo>{appItem});
    if (isKnown) {
        Q_EMIT addAppItem(appItem);
    } else {
        Q_EMIT addDayAppItem(appItem);
    }
}

bool VideoReader::clearUserData(int timeRange)
{
    if (timeRange > TimeRange::AllTime) {
        return false;
    }
    m_dayAppItems.clear();
    return m_dataHandler->deleteUserData(static_cast<TimeRange>(timeRange));
}
