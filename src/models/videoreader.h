#pragma once
// The geometry of the time axis, both ways: which frame lies under a pixel of a day, and where on
// the axis a frame lies. A frame is 8 pixels wide; a day is a row of bars, one a run of one
// application, with 8 pixels between them. It keeps the runs of the days loaded so far, the two
// pictures on show, and the hits of the last search with their pictures; days, frames and hits come
// through DataHandler alone.
// Owner: the backend, as its parent. Thread: main, which blocks while a frame is decoded; what is
// marked so runs on the thread of a search, one at a time.

#include "ai/ocrmodule.h"
#include "database/screenshotdata.h"
#include "models/appiteminfo.h"
#include "models/videopreviewimageitem.h"

#include <QHash>
#include <QImage>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QVector>

#include <deque>
#include <mutex>
#include <optional>

class DataHandler;

class VideoReader : public QObject
{
    Q_OBJECT

public:
    /// Where a hit lies on the axis, as its record tells it; -1 while its day is not loaded.
    struct HitPlace {
        int dateIndex = -1;
        int lengthOfDay = -1;
    };

    /// @p dataHandler is used until the application is about to quit; the destructor does not need
    /// it.
    explicit VideoReader(DataHandler *dataHandler, QObject *parent = nullptr);

    // Days are "yyyy-MM-dd"; a dateIndex is a day's place among the loaded ones, oldest first, and
    // holds until another day is loaded. An appIndex is a run's place in its day.

    /// A moment as local "yyyy/MM/dd" and "HH:mm:ss".
    static QString getStringDate(qint64 secs);
    static QString getStringTime(qint64 secs);

    /// The application's name in the user's language, else its plain one, empty or not.
    QString getAppName(const QString &desktopEntry) const;

    /// Name in the icon theme, "file://" address of a picture, or a general icon's name.
    QString getAppIconName(const QString &desktopEntry) const;

    /// The first and the last day with frames, empty if there are none.
    QString getStartDate() const;
    QString getEndDate() const;

    /// Loads a day; one without frames leaves the loaded ones as they are.
    QList<AppItemInfo> getDayAppInfo(const QString &day);
    void saveAppInfo(const QString &day, const QList<AppItemInfo> &appInfos);

    /// Pixels from a day's first bar to the end of its last, gaps included.
    int getDayAppWidth(const QList<AppItemInfo> &appInfos) const;

    /// -1 for a day that is not loaded.
    int getImageDateIndex(const QString &day) const;

    /// The middle of a frame's 8 pixels, counted from the day's first bar, gaps included; frames
    /// count from 1. Beyond the day's known frames it goes on where the last bar ends. -1 with a
    /// warning for a day that is not loaded.
    int getLengthByDayFrameNumber(const QString &day, int frameNumber) const;

    // Arithmetic over bars alone, without the gaps.

    /// Pixels of the bars before @p appIndex, and @p frame. -1 with a warning for no loaded day.
    int getImageFrameInDay(int dateIndex, int appIndex, int frame) const;
    /// A share of one bar and all bars after it, in pixels.
    int getFrameNumberOfDate(const QString &day, int appIndex, float ratio) const;
    /// All bars of a day, in pixels; 0 for a day that is not loaded.
    int getDayAllFrames(const QString &day, int unused) const;

    /// A frame was stored: the last loaded day's last run grows by one if the day knows fewer than
    /// @p frameNumber.
    void updateFrameNumberOfDay(uint frameNumber);

    /// Another application came to the front: today gets a run of one frame.
    void addNewAppData(const QString &desktopEntry);

    // The frame under a pixel becomes the preview or the large picture; @p imageId only makes its
    // source differ from the one before. A day that is not loaded is a warning.

    /// Preview of pixel @p lengthOfApp of a bar. For no loaded day an empty record, and the preview
    /// stays what it was.
    VideoPreviewImageItem getVideoPreviewImgItem(int dateIndex, int appIndex, int lengthOfApp,
                                                 int imageId);

    /// Preview of pixel @p dayAppTimeAxisX of a day, gaps included. In a gap, before the day and
    /// for no loaded day there is none: its picture becomes null, and the record has a source
    /// alone.
    VideoPreviewImageItem getVideoPreviewImgItem(int dateIndex, int dayAppTimeAxisX, int imageId);

    /// The large picture at pixel @p dayAppTimeAxisX of a day. In a gap and before the day it stays
    /// what it was, and its record is given again; for no loaded day it stays, with an empty
    /// record.
    VideoPreviewImageItem getCurShowImageSource(int dateIndex, int dayAppTimeAxisX, int imageId);

    QImage getPreviewImage() const { return m_previewImage; }
    QImage getCurShowImage() const { return m_curShowImage; }

    // On the thread of a search: what matches a text becomes the list of hits, of which these give
    // the length. Asking that thread to stop ends them early, with a shorter list.

    int getTextSearchResultCount(const QString &text);
    int getImageSearchResultCount(const QString &text);
    int getSearchResultCount(const QString &text);

    // On the thread of a search: decodes hits from number @p start on, one after the other, and
    // signals each on the reader's own thread. They come by the dozen, until 30 places are filled:
    // 36 from the beginning, 12 from a start of 18 or more. Ends between two hits when its thread
    // is asked to stop.

    void getTextSearchResult(int start);
    void getImageSearchResult(int start);

    /// What has been decoded and not signalled yet never will be. Only while no search runs.
    void dropUndeliveredHits();

    // The picture of a signalled hit, by the last part of its source. Null with a warning for any
    // other id. Pictures are kept for the session, but a hit at the same place of its list, two
    // batches later, replaces one.

    QImage getTextSearchResultImage(const QString &id) const;
    QImage getImageSearchResultImage(const QString &id) const;

    /// Where a signalled hit lies now, by its source, with the days that have been loaded since.
    /// Nothing for any other source.
    std::optional<HitPlace> placeOfHit(const QString &source) const;

    /// Reads the text of a part of a picture and emits it. Blocks in a nested event loop until the
    /// result or a cancel is there.
    void requestOcrResult(const OCRTask &task);

    /// Ends the wait for the task of this ID; a warning where there is none.
    void cancelRecognizeTextInImage(const QString &taskID);

    /// Forgets the loaded days, whatever the range, and deletes that range. False, with nothing
    /// changed, above the last TimeRange, and if the deletion fails.
    bool clearUserData(int timeRange);

Q_SIGNALS:
    /// A further hit can be shown: its picture is there.
    void resetTextSearchModel(VideoPreviewImageItem item);
    void resetImageSearchModel(VideoPreviewImageItem item);
    /// A part of a picture was read; no lines also for a failure and for a cancel.
    void screenshotOCRTextDataReady(QVector<OCRTextData> textData);
    /// The last run of the last loaded day has this many pixels now.
    void updateAppLength(int length);
    /// Today has a further run.
    void addAppItem(AppItemInfo appItem);
    /// Today has its first run.
    void addDayAppItem(AppItemInfo appItem);

private Q_SLOTS:
    void deliverHits();

private:
    struct HitList;
    struct DecodedHit {
        const HitList *list;
        ScreenShotData frame;
        QImage image;
        QString id; ///< the last part of its source
    };

    struct FrameOfHit {
        QString day;
        int number; ///< of the day
    };

    using Day = QMap<QString, QList<AppItemInfo>>::const_iterator;

    AppItemInfo appItemInfo(const QString &desktopEntry, int timeLength) const;
    Day dayAt(int dateIndex) const;
    int widthOfRuns(const QList<AppItemInfo> &appInfos, int count) const;
    std::optional<int> frameAt(const QList<AppItemInfo> &appInfos, int x) const;
    int frameWithin(qint64 length) const;
    VideoPreviewImageItem showPreview(const QString &day, int frameNumber, int imageId);
    VideoPreviewImageItem showNoPreview();
    VideoPreviewImageItem showFrame(const QString &day, int frameNumber, const QString &source,
                                    QImage *image) const;
    void streamHits(const HitList &list, int start);
    void deliverHit(const DecodedHit &decoded);
    QImage imageOfHit(const HitList &list, const QString &id) const;

    QMap<QString, QList<AppItemInfo>> m_dayAppItems; ///< by day, so in their order
    QImage m_previewImage;
    QImage m_curShowImage;
    QMap<QString, QImage> m_textSearchImages; ///< packed, by the last part of a hit's source
    QMap<QString, QImage> m_imageSearchImages;
    QHash<QString, FrameOfHit> m_framesOfHits; ///< by a hit's source
    DataHandler *m_dataHandler;
    OcrModule m_ocrModule;
    // The search's thread alone; the next one begins after it has ended.
    QString m_searchGeneration = QStringLiteral("one"); ///< "one" or "two", another each batch
    QVector<ScreenShotData> m_textSearchResults;
    QVector<ScreenShotData> m_imageSearchResults;
    std::mutex m_undeliveredMutex;
    std::deque<DecodedHit> m_undelivered; ///< under m_undeliveredMutex
    int m_screenWidth = 0;                ///< of the primary screen at the start
    int m_framePixelWidth = 8;
    int m_appSpacing = 8; ///< the pages' space between two bars
    QString m_localizedNameKey;
    QString m_iconKey;
    QString m_nameKey;
    VideoPreviewImageItem m_curShowItem; ///< what the large picture shows
};
