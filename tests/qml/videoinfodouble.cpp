#include "qml/videoinfodouble.h"

namespace
{
constexpr int framePixels = 8;
constexpr int gapPixels = 8;
} // namespace

VideoInfoDouble::VideoInfoDouble(CallRecord *record, VideoPreviewItem *previewItem)
    : m_record(record), m_previewItem(previewItem)
{
}

void VideoInfoDouble::appendDay(const TestDay &day)
{
    days.append(day);
    m_dayAppModel.addDayAppModel(day.date, day.runs);
    Q_EMIT dayAppModelChanged();
}

void VideoInfoDouble::growNewestRun()
{
    TestDay &day = days.last();
    day.runs.last().timeLength += framePixels;
    m_dayAppModel.updateModelLastAppItemLength(day.date, day.runs.last().timeLength);
    Q_EMIT dayAppModelChanged();
}

void VideoInfoDouble::startRun(const AppItemInfo &run)
{
    days.last().runs.append(run);
    m_dayAppModel.updateModelAddAppItem(days.last().date, run);
    Q_EMIT dayAppModelChanged();
}

void VideoInfoDouble::addTextHit(const VideoPreviewImageItem &hit)
{
    m_textHits.addItem(hit);
    Q_EMIT textMatchResultModelChanged();
}

void VideoInfoDouble::addImageHit(const VideoPreviewImageItem &hit)
{
    m_imageHits.addItem(hit);
    Q_EMIT imageMatchResultModelChanged();
}

void VideoInfoDouble::findNothing()
{
    Q_EMIT textSearchResultIsEmpty();
    Q_EMIT imageSearchResultIsEmpty();
}

void VideoInfoDouble::showText(const QVector<OCRTextData> &lines)
{
    m_imageText.resetPreviewImageTextModel(lines);
    Q_EMIT screenshotOCRTextDataReady();
}

void VideoInfoDouble::setDark(bool darkNow)
{
    dark = darkNow;
    Q_EMIT themeChanged();
}

void VideoInfoDouble::showPreDayAppData()
{
    m_record->add(QStringLiteral("showPreDayAppData"));
    if (olderDays.isEmpty()) {
        return;
    }
    const TestDay day = olderDays.takeLast();
    days.prepend(day);
    m_dayAppModel.insertDayAppModel(0, day.date, day.runs);
}

void VideoInfoDouble::showPreviewImageItem(int dateIndex, int appIndex, int lengthOfApp,
                                           int imageId)
{
    m_record->add(QStringLiteral("showPreviewImageItem"),
                  {dateIndex, appIndex, lengthOfApp, imageId});
    showPreview(&days.at(dateIndex).runs.at(appIndex), dateIndex, imageId);
}

void VideoInfoDouble::showPreviewImageItem(int dateIndex, int dayAppTimeAxisX, int imageId)
{
    m_record->add(QStringLiteral("showPreviewImageItem"), {dateIndex, dayAppTimeAxisX, imageId});
    showPreview(runAt(dateIndex, dayAppTimeAxisX), dateIndex, imageId);
}

void VideoInfoDouble::showPreview(const AppItemInfo *run, int dateIndex, int imageId)
{
    m_previewItem->setPreviewImageDate(run ? days.at(dateIndex).date : QString());
    m_previewItem->setPreviewImageTime(run ? QStringLiteral("14:05:09") : QString());
    m_previewItem->setVideoPreviewImageSource(QStringLiteral("videoImageProvider/previewImg") +
                                              (run ? QString::number(imageId) : QString()));
    m_previewItem->setPreviewAppName(run ? run->appName : QString());
    m_previewItem->setPreviewAppIcon(run ? run->appIcon : QString());
}

void VideoInfoDouble::showCurShowImageItem(int dateIndex, int dayAppTimeAxisX, int imageId)
{
    m_record->add(QStringLiteral("showCurShowImageItem"), {dateIndex, dayAppTimeAxisX, imageId});
    if (onShow) {
        onShow();
    }
    const AppItemInfo *run = runAt(dateIndex, dayAppTimeAxisX);
    if (run) {
        ++pictures;
        m_shownSource = QStringLiteral("videoImageProvider/curShowImg") + QString::number(imageId);
    }
    m_previewItem->setCurShowImageSource(m_shownSource);
    if (run) {
        m_previewItem->setCurShowAppName(run->appName);
        m_previewItem->setCurShowAppIcon(run->appIcon);
    }
}

void VideoInfoDouble::continueShowTextSearchResult(const QString &text)
{
    m_record->add(QStringLiteral("continueShowTextSearchResult"), {text});
}

void VideoInfoDouble::continueShowImageSearchResult(const QString &text)
{
    m_record->add(QStringLiteral("continueShowImageSearchResult"), {text});
}

void VideoInfoDouble::showTextSearchResult(const QString &text)
{
    m_record->add(QStringLiteral("showTextSearchResult"), {text});
    clearHits();
}

void VideoInfoDouble::showImageSearchResult(const QString &text)
{
    m_record->add(QStringLiteral("showImageSearchResult"), {text});
    clearHits();
}

void VideoInfoDouble::clearSearchTaskAndResult()
{
    m_record->add(QStringLiteral("clearSearchTaskAndResult"));
    clearHits();
}

void VideoInfoDouble::clearSearchTask()
{
    m_record->add(QStringLiteral("clearSearchTask"));
}

void VideoInfoDouble::clearHits()
{
    m_textHits.resetVideoPreviewModel({});
    m_imageHits.resetVideoPreviewModel({});
    Q_EMIT textMatchResultModelChanged();
    Q_EMIT imageMatchResultModelChanged();
}

void VideoInfoDouble::recognizingTextInImage(int type, const QString &imageId, float startx,
                                             float starty, float endx, float endy,
                                             const QString &taskID)
{
    m_record->add(QStringLiteral("recognizingTextInImage"),
                  {type, imageId, startx, starty, endx, endy, taskID});
    if (onRecognize) {
        onRecognize();
    }
}

void VideoInfoDouble::cancelRecognizeTextInImage(const QString &taskID)
{
    m_record->add(QStringLiteral("cancelRecognizeTextInImage"), {taskID});
}

void VideoInfoDouble::clearRecognizingTextResult()
{
    m_record->add(QStringLiteral("clearRecognizingTextResult"));
    m_imageText.resetPreviewImageTextModel({});
}

void VideoInfoDouble::setClipBoardText(const QList<QString> &allText)
{
    clipBoardText = QStringList(allText);
    m_record->add(QStringLiteral("setClipBoardText"), {clipBoardText.join(QLatin1Char('|'))});
}

bool VideoInfoDouble::clearUserData(int timeRange)
{
    m_record->add(QStringLiteral("clearUserData"), {timeRange});
    days.clear();
    m_dayAppModel.clearDayAppModel();
    Q_EMIT dayAppModelChanged();
    return true;
}

void VideoInfoDouble::startMemory()
{
    m_record->add(QStringLiteral("startMemory"));
}

void VideoInfoDouble::setMaxOccupiedSpace(int maxSize)
{
    m_record->add(QStringLiteral("setMaxOccupiedSpace"), {maxSize});
    maxOccupiedSpace = maxSize;
}

void VideoInfoDouble::showGuide()
{
    m_record->add(QStringLiteral("showGuide"));
}

void VideoInfoDouble::deleteHistory()
{
    m_record->add(QStringLiteral("deleteHistory"));
}

void VideoInfoDouble::adjustSystemTime()
{
    m_record->add(QStringLiteral("adjustSystemTime"));
}

void VideoInfoDouble::openSubsystemInstallPage()
{
    m_record->add(QStringLiteral("openSubsystemInstallPage"));
}

const AppItemInfo *VideoInfoDouble::runAt(int dateIndex, int x) const
{
    if (dateIndex < 0 || dateIndex >= days.size() || x < 0) {
        return nullptr;
    }
    int start = 0;
    for (const AppItemInfo &run : days.at(dateIndex).runs) {
        const int end = start + run.timeLength;
        if (x <= end) {
            return &run;
        }
        if (x < end + gapPixels) {
            return nullptr;
        }
        start = end + gapPixels;
    }
    return &days.at(dateIndex).runs.last();
}
