// VideoInfo's half of a search: the thread that looks up hits and shows them.

#include "models/videoinfo.h"

#include "models/videoreader.h"

#include <QCoreApplication>
#include <QThread>

namespace
{
bool isToStop()
{
    return QThread::currentThread()->isInterruptionRequested();
}
} // namespace

/// What tells a search in texts from one in pictures.
struct VideoInfo::SearchKind {
    int (VideoReader::*count)(const QString &text);
    void (VideoReader::*show)(int start);
    VideoPreviewModel VideoInfo::*shown;
    void (VideoInfo::*isEmpty)();

    static const SearchKind texts;
    static const SearchKind pictures;
};

const VideoInfo::SearchKind VideoInfo::SearchKind::texts{
    &VideoReader::getTextSearchResultCount, &VideoReader::getTextSearchResult,
    &VideoInfo::m_textMatchResultModel, &VideoInfo::textSearchResultIsEmpty};

const VideoInfo::SearchKind VideoInfo::SearchKind::pictures{
    &VideoReader::getImageSearchResultCount, &VideoReader::getImageSearchResult,
    &VideoInfo::m_imageMatchResultModel, &VideoInfo::imageSearchResultIsEmpty};

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
    m_searchThread = QThread::create(body);
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
            (m_videoReader->*first.show)(0);
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
        if (isToStop() || (!m_areHitsCounted && !countBothHits(text, first, second))) {
            return;
        }
        (m_videoReader->*first.show)((this->*first.shown).rowCount());
    });
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
    if (isToStop()) {
        return false;
    }
    if (count == 0) {
        QMetaObject::invokeMethod(this, [this, &kind, search = m_clearedSearches.load()] {
            if (search == m_clearedSearches) {
                Q_EMIT(this->*kind.isEmpty)();
            }
        });
    }
    return true;
}

void VideoInfo::deleteSearchThread()
{
    if (!m_searchThread) {
        return;
    }
    if (m_searchThread->isRunning()) {
        m_searchThread->requestInterruption();
        m_searchThread->quit();
        m_searchThread->wait();
    }
    m_searchThread->deleteLater();
    m_searchThread = nullptr;
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
