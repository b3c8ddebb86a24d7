#include "models/videoinfo.h"

#include "app/configmanager.h"
#include "database/daytext.h"
#include "models/videoimageprovider.h"
#include "models/videopreviewitem.h"
#include "models/videoreader.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QScreen>

namespace
{
// Days are keys with "-" to the reader and are shown with "/" by the model.
QString dayOfModel(const QDate &date)
{
    return date.toString(QStringLiteral("yyyy/MM/dd"));
}

QString todayOfModel()
{
    return dayOfModel(QDate::currentDate());
}

// Without a screen each call loads one day with frames, which is wider than none.
int screenWidth()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen ? screen->geometry().width() : 0;
}
} // namespace

VideoInfo::VideoInfo(VideoImageProvider *imageProvider, VideoReader *videoReader,
                     VideoPreviewItem *videoPreviewItem, ConfigManager *configManager,
                     QObject *parent)
    : QObject(parent)
    , m_videoReader(videoReader)
    , m_videoPreviewItem(videoPreviewItem)
    , m_imageProvider(imageProvider)
    , m_configManager(configManager)
    , m_screenWidth(screenWidth())
    , m_dateTimeFormatter(DateTimeFormatter::getInstance())
{
    // The axis holds its first days before a signal can add to them.
    saveStartAndEndDate();
    showPreDayAppData();
    initSignals();
    initGsettings();
}

VideoInfo::~VideoInfo()
{
    deleteSearchThread();
}

void VideoInfo::saveStartAndEndDate()
{
    m_startDate = m_videoReader->getStartDate();
    m_endDate = m_videoReader->getEndDate();
}

void VideoInfo::initSignals()
{
    connectRegionText();
    connectHits();
    connectLiveGrowth();
    connect(m_dateTimeFormatter, &DateTimeFormatter::hourSystemChanged, this, [this] {
        Q_EMIT m_videoPreviewItem->previewImageDateChanged();
        Q_EMIT m_videoPreviewItem->previewImageTimeChanged();
        m_textMatchResultModel.resetTimeFormat();
        m_imageMatchResultModel.resetTimeFormat();
    });
}

void VideoInfo::connectLiveGrowth()
{
    connect(m_videoReader, &VideoReader::updateAppLength, this, [this](int length) {
        m_dayAppModel.updateModelLastAppItemLength(todayOfModel(), length);
        Q_EMIT dayAppModelChanged();
    });
    connect(m_videoReader, &VideoReader::addAppItem, this, [this](const AppItemInfo &appItem) {
        m_dayAppModel.updateModelAddAppItem(todayOfModel(), appItem);
        Q_EMIT dayAppModelChanged();
    });
    connect(m_videoReader, &VideoReader::addDayAppItem, this, [this](const AppItemInfo &appItem) {
        m_dayAppModel.addDayAppModel(todayOfModel(), {appItem});
        Q_EMIT dayAppModelChanged();
    });
}

void VideoInfo::showPreDayAppData()
{
    const QDate start = DayText::toDate(m_startDate);
    const QDate end = DayText::toDate(m_endDate);
    // What is no day is the name of a folder that somebody else made: no walk would reach it.
    if (!start.isValid() || !end.isValid() || end < start) {
        return;
    }
    QDate loaded;
    int width = 0;
    for (QDate day = end; day >= start && width <= 2 * m_screenWidth; day = day.addDays(-1)) {
        const QList<AppItemInfo> appInfos = m_videoReader->getDayAppInfo(DayText::ofDate(day));
        m_dayAppModel.insertDayAppModel(0, dayOfModel(day), appInfos);
        width += m_videoReader->getDayAppWidth(appInfos);
        loaded = day;
    }
    m_endDate = DayText::ofDate(loaded.addDays(-1));
    placeHits();
}

void VideoInfo::showPreviewImageItem(int dateIndex, int appIndex, int lengthOfApp, int imageId)
{
    showPreview(m_videoReader->getVideoPreviewImgItem(dateIndex, appIndex, lengthOfApp, imageId));
}

void VideoInfo::showPreviewImageItem(int dateIndex, int dayAppTimeAxisX, int imageId)
{
    showPreview(m_videoReader->getVideoPreviewImgItem(dateIndex, dayAppTimeAxisX, imageId));
}

void VideoInfo::showPreview(const VideoPreviewImageItem &item)
{
    m_videoPreviewItem->setPreviewImageDate(item.previewImageDate);
    m_videoPreviewItem->setPreviewImageTime(item.previewImageTime);
    m_videoPreviewItem->setVideoPreviewImageSource(item.videoPreviewImageSource);
    m_videoPreviewItem->setPreviewAppName(item.previewAppName);
    m_videoPreviewItem->setPreviewAppIcon(item.previewAppIcon);
}

void VideoInfo::showCurShowImageItem(int dateIndex, int dayAppTimeAxisX, int imageId)
{
    const VideoPreviewImageItem item =
        m_videoReader->getCurShowImageSource(dateIndex, dayAppTimeAxisX, imageId);
    m_videoPreviewItem->setCurShowImageSource(item.videoPreviewImageSource);
    m_videoPreviewItem->setCurShowAppName(item.previewAppName);
    m_videoPreviewItem->setCurShowAppIcon(item.previewAppIcon);
}

void VideoInfo::setTextMatchResultModel(const QList<VideoPreviewImageItem> &items)
{
    m_textMatchResultModel.resetVideoPreviewModel(items);
    Q_EMIT textMatchResultModelChanged();
}

void VideoInfo::setImageMatchResultModel(const QList<VideoPreviewImageItem> &items)
{
    m_imageMatchResultModel.resetVideoPreviewModel(items);
    Q_EMIT imageMatchResultModelChanged();
}

void VideoInfo::setPreviewImageTextModel(const QVector<OCRTextData> &textData)
{
    m_imageTextModel.resetPreviewImageTextModel(textData);
}

void VideoInfo::clearSearchResult()
{
    setTextMatchResultModel({});
    setImageMatchResultModel({});
}

bool VideoInfo::clearUserData(int timeRange)
{
    m_dayAppModel.clearDayAppModel();
    Q_EMIT dayAppModelChanged();
    return m_videoReader->clearUserData(timeRange);
}

void VideoInfo::startMemory()
{
    m_configManager->setRecordingMemory(true);
    m_configManager->setEnabled(true);
    Q_EMIT startMemoryScreen();
}

bool VideoInfo::isPreviewImgEmpty()
{
    return m_imageProvider->isPreviewImgNull();
}

void VideoInfo::setClipBoardText(const QList<QString> &allText)
{
    if (allText.isEmpty()) {
        return;
    }
    QString text;
    for (const QString &entry : allText) {
        // What a page's sparse array has between its entries.
        if (entry != QLatin1String("undefined") && entry != QLatin1String("NaN") &&
            !entry.isEmpty()) {
            text += entry + QLatin1Char('\n');
        }
    }
    QGuiApplication::clipboard()->setText(text);
}

bool VideoInfo::startBtnVisible()
{
    return !m_configManager->getEnabled();
}

int VideoInfo::getMaxOccupiedSpace()
{
    return static_cast<int>(m_configManager->getMaxStorageSize());
}

void VideoInfo::setMaxOccupiedSpace(int maxSize)
{
    m_configManager->setMaxStorageSize(static_cast<uint>(maxSize));
}

void VideoInfo::deleteHistory()
{
    Q_EMIT deleteHistoryAndReMemory();
}
