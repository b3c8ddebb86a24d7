// VideoReader's arithmetic between pixels of the axis and frames of a day, and the pictures that it
// leads to.

#include "models/videoreader.h"

#include "database/datahandler.h"
#include "models/wholepixels.h"

#include <QDebug>

#include <algorithm>
#include <cmath>

namespace
{
void warnOfDateIndex()
{
    qWarning() << "Get image frame error: date index is invalid !";
}
} // namespace

int VideoReader::getDayAppWidth(const QList<AppItemInfo> &appInfos) const
{
    if (appInfos.isEmpty()) {
        return 0;
    }
    return widthOfRuns(appInfos, appInfos.size()) + (appInfos.size() - 1) * m_appSpacing;
}

// The first count bars, without the gaps.
int VideoReader::widthOfRuns(const QList<AppItemInfo> &appInfos, int count) const
{
    int width = 0;
    for (int run = 0; run < std::min(count, appInfos.size()); ++run) {
        width += appInfos.at(run).timeLength;
    }
    return width;
}

VideoReader::Day VideoReader::dayAt(int dateIndex) const
{
    if (dateIndex < 0 || dateIndex >= m_dayAppItems.size()) {
        warnOfDateIndex();
        return m_dayAppItems.constEnd();
    }
    return std::next(m_dayAppItems.constBegin(), dateIndex);
}

// Pixels count from 1 here.
int VideoReader::frameWithin(qint64 length) const
{
    return static_cast<int>(std::ceil(static_cast<double>(length) / m_framePixelWidth));
}

// Pixel 0 of a bar belongs to its first frame too. Nothing in a gap, and in the 7 pixels after the
// last bar; beyond those it is the last frame.
std::optional<int> VideoReader::frameAt(const QList<AppItemInfo> &appInfos, int x) const
{
    int start = 0;
    int frames = 0;
    for (const AppItemInfo &run : appInfos) {
        const int end = start + run.timeLength;
        if (x <= end) {
            const int offset = run.timeLength - (end - x);
            return frames + frameWithin(offset == 0 ? 1 : offset);
        }
        if (end + m_appSpacing > x) {
            return std::nullopt;
        }
        frames += run.timeLength / m_framePixelWidth;
        start = end + m_appSpacing;
    }
    return frames;
}

int VideoReader::getLengthByDayFrameNumber(const QString &day, int frameNumber) const
{
    const auto found = m_dayAppItems.constFind(day);
    if (found == m_dayAppItems.constEnd()) {
        qWarning() << "getLengthByDayFrameNumber"
                   << "Failed to get length by frame number: date not exist!";
        return -1;
    }
    const QList<AppItemInfo> &runs = *found;
    const auto framesOf = [this, &runs](int run) {
        return runs.at(run).timeLength / m_framePixelWidth;
    };
    int width = 0;
    int rest = frameNumber;
    if (runs.size() >= 2 && frameNumber >= framesOf(0)) {
        // The last run is never asked whether it holds the frame: a day may be longer than known.
        int passed = framesOf(0);
        int run = 0;
        for (;; ++run) {
            width += runs.at(run).timeLength + m_appSpacing;
            if (run == runs.size() - 2 || passed + framesOf(run + 1) > frameNumber) {
                break;
            }
            passed += framesOf(run + 1);
        }
        rest = frameNumber - passed;
    }
    if (rest > 0) {
        // A damaged row may have any number.
        return wholePixels(width + (rest - 0.5) * m_framePixelWidth);
    }
    return width - m_appSpacing - m_framePixelWidth / 2; // the last frame of the run before
}

int VideoReader::getImageFrameInDay(int dateIndex, int appIndex, int frame) const
{
    const Day day = dayAt(dateIndex);
    return day == m_dayAppItems.constEnd() ? -1 : widthOfRuns(*day, appIndex) + frame;
}

int VideoReader::getFrameNumberOfDate(const QString &day, int appIndex, float ratio) const
{
    const QList<AppItemInfo> runs = m_dayAppItems.value(day);
    int width = 0;
    for (int run = std::max(appIndex, 0); run < runs.size(); ++run) {
        const int length = runs.at(run).timeLength;
        if (run > appIndex) {
            width += length;
        } else {
            width =
                static_cast<int>(static_cast<float>(width) + ratio * static_cast<float>(length));
        }
    }
    return width;
}

int VideoReader::getDayAllFrames(const QString &day, int unused) const
{
    Q_UNUSED(unused)
    const QList<AppItemInfo> runs = m_dayAppItems.value(day);
    return widthOfRuns(runs, runs.size());
}

VideoPreviewImageItem VideoReader::getVideoPreviewImgItem(int dateIndex, int appIndex,
                                                          int lengthOfApp, int imageId)
{
    const Day day = dayAt(dateIndex);
    if (day == m_dayAppItems.constEnd()) {
        return {};
    }
    // A page may tell any length.
    const qint64 total = qint64{widthOfRuns(*day, appIndex)} + (lengthOfApp == 0 ? 1 : lengthOfApp);
    return showPreview(day.key(), frameWithin(total), imageId);
}

VideoPreviewImageItem VideoReader::getVideoPreviewImgItem(int dateIndex, int dayAppTimeAxisX,
                                                          int imageId)
{
    if (dayAppTimeAxisX < 0) {
        return showNoPreview();
    }
    const Day day = dayAt(dateIndex);
    if (day == m_dayAppItems.constEnd()) {
        return showNoPreview();
    }
    const std::optional<int> frameNumber = frameAt(*day, dayAppTimeAxisX);
    return frameNumber ? showPreview(day.key(), *frameNumber, imageId) : showNoPreview();
}

VideoPreviewImageItem VideoReader::getCurShowImageSource(int dateIndex, int dayAppTimeAxisX,
                                                         int imageId)
{
    if (dayAppTimeAxisX < 0) {
        return m_curShowItem;
    }
    const Day day = dayAt(dateIndex);
    if (day == m_dayAppItems.constEnd()) {
        return {};
    }
    // Unlike the preview the large picture stays while the slider crosses a gap.
    if (const std::optional<int> frameNumber = frameAt(*day, dayAppTimeAxisX)) {
        m_curShowItem =
            showFrame(day.key(), *frameNumber,
                      QStringLiteral("videoImageProvider/curShowImg") + QString::number(imageId),
                      &m_curShowImage);
    }
    return m_curShowItem;
}

VideoPreviewImageItem VideoReader::showPreview(const QString &day, int frameNumber, int imageId)
{
    return showFrame(day, frameNumber,
                     QStringLiteral("videoImageProvider/previewImg") + QString::number(imageId),
                     &m_previewImage);
}

VideoPreviewImageItem VideoReader::showNoPreview()
{
    m_previewImage = QImage(); // by this the page learns that there is nothing to show
    VideoPreviewImageItem item;
    item.videoPreviewImageSource = QStringLiteral("videoImageProvider/previewImg");
    return item;
}

VideoPreviewImageItem VideoReader::showFrame(const QString &day, int frameNumber,
                                             const QString &source, QImage *image) const
{
    const ScreenShotImage frame =
        m_dataHandler->getScreenShotImageOfDay(day, static_cast<unsigned int>(frameNumber));
    *image = frame.image;
    VideoPreviewImageItem item;
    item.videoPreviewImageSource = source;
    item.previewImageDate = getStringDate(frame.realTime);
    item.previewImageTime = getStringTime(frame.realTime);
    item.previewAppIcon = getAppIconName(frame.desktopFilePath);
    item.previewAppName = getAppName(frame.desktopFilePath);
    return item;
}
