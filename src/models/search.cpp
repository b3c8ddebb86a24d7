// VideoInfo's half of a search: the thread that looks up hits and shows them.

#include "models/videoinfo.h"

#include "models/searchinterruption.h"
#include "models/videopreviewitem.h"
#include "models/videoreader.h"

#include <QCoreApplication>
#include <QThread>

#include <utility>

/// What tells a search in texts from one in pictures.
struct VideoInfo::SearchKind {
    int (VideoReader::*count)(const QString &text);
    void (VideoReader::*show)(int start);
    VideoPreviewModel VideoInfo::*shown;
    bool inTexts;

    static const SearchKind texts;
    static const SearchKind pictures;
};

const VideoInfo::SearchKind VideoInfo::SearchKind::texts{&VideoReader::getTextSearchResultCount,
                                                         &VideoReader::getTextSearchResult,
                                                         &VideoInfo::m_textMatchResultModel, true};

const VideoInfo::SearchKind VideoInfo::SearchKind::pictures{
    &VideoReader::getImageSearchResultCount, &VideoReader::getImageSearchResult,
    &VideoInfo::m_imageMatchResultModel, false};

void VideoInfo::connectHits()
{
    connect(m_videoReader, &VideoReader::resetTextSearchModel, this,
            [this](const VideoPreviewImageItem &item) {
                m_textMatchResultModel.addItem(item);
                Q_EMIT textMatchResultModelChanged();
            });
    connect(m_videoReader, &VideoReader::resetImageSearchModel, this,
            [this](const VideoPreviewImageItem &item) {
                m_imageMatchResultModel.addItem(item);
                Q_EMIT imageMatchResultModelChanged();
            });
    // A search uses the reader and the store below it, which the backend takes down before this.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
            &VideoInfo::deleteSearchThread);
}

// Older days shift the places of the others on the axis, and give those of their own hits.
void VideoInfo::placeHits()
{
    for (const VideoPreviewModel *hits : {&m_textMatchResultModel, &m_imageMatchResultModel}) {
        for (VideoPreviewItem *hit : hits->items()) {
            if (const auto place = m_videoReader->placeOfHit(hit->videoPreviewImageSource())) {
                hit->setImageDateIndex(place->dateIndex);
                hit->setFrameLengthOfDay(place->lengthOfDay);
            }
        }
    }
}

void VideoInfo::showTextSearchResult(const QString &text)
{
    startSearch(text, SearchKind::texts, SearchKind::pictures);
}

void VideoInfo::showImageSearchResult(const QString &text)
{
    startSearch(text, SearchKind::pictures, SearchKind::texts);
}

void VideoInfo::continueShowTextSearchResult(const QString &text)
{
    continueSearch(text, SearchKind::texts, SearchKind::pictures);
}

void VideoInfo::continueShowImageSearchResult(const QString &text)
{
    continueSearch(text, SearchKind::pictures, SearchKind::texts);
}

void VideoInfo::startSearchThread(const std::function<void()> &body)
{
    if (m_searchThread) {
        m_formerThreads.append(m_searchThread); // waits for its end with the new one
    }
    m_searchThread = QThread::create([this, body] {
        // One reader and one store below it: a continuation waits for what it did not stop.
        const std::lock_guard<std::mutex> lock(m_searchMutex);
        body();
    });
    m_searchThread->setObjectName(QStringLiteral("search"));
    m_searchThread->start();
}

void VideoInfo::startSearch(const QString &text, const SearchKind &first, const SearchKind &second)
{
    clearSearchTaskAndResult();
    if (text.isEmpty()) {
        return;
    }
    m_areHitsCounted = false;
    startSearchThread([this, text, &first, &second] {
        if (countBothHits(text, first, second)) {
            showHits(first, 0);
        }
    });
}

void VideoInfo::continueSearch(const QString &text, const SearchKind &first,
                               const SearchKind &second)
{
    if (text.isEmpty()) {
        return;
    }
    startSearchThread([this, text, &first, &second] {
        if (isSearchInterrupted() || (!m_areHitsCounted && !countBothHits(text, first, second))) {
            return;
        }
        showHits(first, (this->*first.shown).rowCount());
    });
}

void VideoInfo::showHits(const SearchKind &kind, int start)
{
    (m_videoReader->*kind.show)(start);
}

// A count that was stopped tells nothing and is made anew when the search is continued, so that a
// search can be stopped at once and still shows all that it would have shown.
bool VideoInfo::countBothHits(const QString &text, const SearchKind &first,
                              const SearchKind &second)
{
    m_areHitsCounted = countHits(text, first) && countHits(text, second);
    return m_areHitsCounted;
}

bool VideoInfo::countHits(const QString &text, const SearchKind &kind)
{
    const int count = (m_videoReader->*kind.count)(text);
    if (isSearchInterrupted()) {
        return false;
    }
    if (count == 0) {
        QMetaObject::invokeMethod(this, "tellNothingFound", Qt::QueuedConnection,
                                  Q_ARG(bool, kind.inTexts), Q_ARG(int, m_clearedSearches));
    }
    return true;
}

void VideoInfo::tellNothingFound(bool inTexts, int search)
{
    if (search != m_clearedSearches) {
        return;
    }
    if (inTexts) {
        Q_EMIT textSearchResultIsEmpty();
    } else {
        Q_EMIT imageSearchResultIsEmpty();
    }
}

void VideoInfo::deleteSearchThread()
{
    if (!m_searchThread) {
        return;
    }
    QVector<QThread *> threads = std::exchange(m_formerThreads, {});
    threads.append(std::exchange(m_searchThread, nullptr));
    for (QThread *thread : std::as_const(threads)) {
        thread->requestInterruption();
    }
    for (QThread *thread : std::as_const(threads)) {
        thread->quit();
        thread->wait();
        thread->deleteLater();
    }
    { // what it wrote is seen here, also by tools that do not know QThread::wait()
        const std::lock_guard<std::mutex> lock(m_searchMutex);
    }
}

void VideoInfo::clearSearchTask()
{
    deleteSearchThread();
}

void VideoInfo::clearSearchTaskAndResult()
{
    deleteSearchThread();
    // What the ended search found may still be under way to this thread.
    ++m_clearedSearches;
    m_videoReader->dropUndeliveredHits();
    clearSearchResult();
}
