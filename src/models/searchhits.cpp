// VideoReader's half of a search: the lists of hits, and their way from a video to the pages.

#include "models/videoreader.h"

#include "database/datahandler.h"
#include "models/searchinterruption.h"
#include "picturememory/packedpicture.h"

#include <QDebug>

#include <utility>

namespace
{
constexpr int FULL_PAGE = 30;         // the pages' grid of six columns is filled beyond this place
constexpr int HITS_BETWEEN_ENDS = 12; // two rows of that grid

SearchQuery queryOf(const QString &text)
{
    SearchQuery query;
    query.text = text;
    return query;
}

} // namespace

/// What tells the two kinds of hits apart.
struct VideoReader::HitList {
    QLatin1String id; ///< begins the last part of a hit's source
    QVector<ScreenShotData> VideoReader::*hits;
    QMap<QString, QImage> VideoReader::*images;
    void (VideoReader::*isReady)(VideoPreviewImageItem);
    const char *missingImage;

    static const HitList texts;
    static const HitList pictures;
};

const VideoReader::HitList VideoReader::HitList::texts{
    QLatin1String("textsearch"), &VideoReader::m_textSearchResults,
    &VideoReader::m_textSearchImages, &VideoReader::resetTextSearchModel,
    "Failed to obtain image results for text search:image id not exists !"};

const VideoReader::HitList VideoReader::HitList::pictures{
    QLatin1String("imagesearch"), &VideoReader::m_imageSearchResults,
    &VideoReader::m_imageSearchImages, &VideoReader::resetImageSearchModel,
    "Failed to obtain image results for image search:image id not exists !"};

int VideoReader::getTextSearchResultCount(const QString &text)
{
    m_textSearchResults.clear(); // not to be held beside the new ones
    m_textSearchResults = m_dataHandler->getOcrScreenShotData(queryOf(text), RowTexts::Left);
    return m_textSearchResults.size();
}

int VideoReader::getImageSearchResultCount(const QString &text)
{
    m_imageSearchResults.clear();
    m_imageSearchResults = m_dataHandler->getVisualScreenShotData(queryOf(text), RowTexts::Left);
    return m_imageSearchResults.size();
}

int VideoReader::getSearchResultCount(const QString &text)
{
    const int textHits = getTextSearchResultCount(text);
    return textHits + getImageSearchResultCount(text);
}

void VideoReader::getTextSearchResult(int start)
{
    streamHits(HitList::texts, start);
}

void VideoReader::getImageSearchResult(int start)
{
    streamHits(HitList::pictures, start);
}

void VideoReader::streamHits(const HitList &list, int start)
{
    // Other ids than those of the batch before: a page would show the pictures it has cached.
    m_searchGeneration =
        m_searchGeneration == QLatin1String("one") ? QStringLiteral("two") : QStringLiteral("one");
    const QVector<ScreenShotData> &hits = this->*list.hits;
    for (int place = start, sent = 0; place < hits.size(); ++place, ++sent) {
        const bool isEndOfRows = sent >= 1 && sent % HITS_BETWEEN_ENDS == 0;
        if (isSearchInterrupted() || (place >= FULL_PAGE && isEndOfRows)) {
            return;
        }
        const ScreenShotData &frame = hits.at(place);
        DecodedHit decoded{&list, frame,
                           // Packed: four lists of 36 and more stay, two kinds in two generations.
                           packedPicture(m_dataHandler->getScreenShotImageFromVideo(
                               frame.videoName, frame.frameIndexOfVideo)),
                           list.id + QString::number(place) + m_searchGeneration};
        if (isSearchInterrupted()) {
            return;
        }
        // The days, the pictures and the icon theme belong to the reader's thread, which looks up
        // the rest: so none of them needs a lock.
        {
            const std::lock_guard<std::mutex> lock(m_undeliveredMutex);
            m_undelivered.push_back(std::move(decoded));
        }
        QMetaObject::invokeMethod(this, "deliverHits");
    }
}

void VideoReader::deliverHits()
{
    for (;;) {
        std::unique_lock<std::mutex> lock(m_undeliveredMutex);
        if (m_undelivered.empty()) {
            return;
        }
        const DecodedHit decoded = std::move(m_undelivered.front());
        m_undelivered.pop_front();
        lock.unlock();
        deliverHit(decoded);
    }
}

void VideoReader::deliverHit(const DecodedHit &decoded)
{
    const HitList &list = *decoded.list;
    const ScreenShotData &frame = decoded.frame;
    VideoPreviewImageItem item;
    item.videoPreviewImageSource = QStringLiteral("videoImageProvider/") + decoded.id;
    item.previewImageDate = getStringDate(frame.realTime);
    item.previewImageTime = getStringTime(frame.realTime);
    item.previewAppIcon = getAppIconName(frame.desktopFilePath);
    item.previewAppName = getAppName(frame.desktopFilePath);
    item.frameLengthOfDay =
        getLengthByDayFrameNumber(frame.date, static_cast<int>(frame.frameIndexOfDay));
    item.imageDateIndex = getImageDateIndex(frame.date);
    (this->*list.images).insert(decoded.id, decoded.image);
    m_framesOfHits.insert(item.videoPreviewImageSource,
                          {frame.date, static_cast<int>(frame.frameIndexOfDay)});
    Q_EMIT(this->*list.isReady)(item);
}

std::optional<VideoReader::HitPlace> VideoReader::placeOfHit(const QString &source) const
{
    const auto frame = m_framesOfHits.constFind(source);
    if (frame == m_framesOfHits.constEnd()) {
        return std::nullopt;
    }
    const int dateIndex = getImageDateIndex(frame->day);
    if (dateIndex < 0) {
        return HitPlace();
    }
    return HitPlace{dateIndex, getLengthByDayFrameNumber(frame->day, frame->number)};
}

void VideoReader::dropUndeliveredHits()
{
    const std::lock_guard<std::mutex> lock(m_undeliveredMutex);
    m_undelivered.clear();
}

QImage VideoReader::imageOfHit(const HitList &list, const QString &id) const
{
    const QMap<QString, QImage> &images = this->*list.images;
    const auto found = images.constFind(id);
    if (found == images.constEnd()) {
        qWarning() << list.missingImage;
        return {};
    }
    return plainPicture(*found);
}

QImage VideoReader::getTextSearchResultImage(const QString &id) const
{
    return imageOfHit(HitList::texts, id);
}

QImage VideoReader::getImageSearchResultImage(const QString &id) const
{
    return imageOfHit(HitList::pictures, id);
}
