#pragma once
// The one object through which the pages reach the program: the models that they list, what they
// ask of VideoReader, the settings that they edit and what they open on the desktop.
// Owner: the backend, as its parent; the pages know it as "VideoInfo". Thread: main, beside
// which one search at a time has a thread of its own.

#include "ai/ocrtextdata.h"
#include "models/dayappmodel.h"
#include "models/previewimagetextmodel.h"
#include "models/videopreviewimageitem.h"
#include "models/videopreviewmodel.h"

#include <QAbstractListModel>
#include <QImage>
#include <QObject>
#include <QString>
#include <QVector>

#include <atomic>
#include <functional>
#include <mutex>

class ConfigManager;
class DateTimeFormatter;
class QGSettings;
class QThread;
class VideoImageProvider;
class VideoPreviewItem;
class VideoReader;

class VideoInfo : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QAbstractListModel *textMatchResultModel READ textMatchResultModel NOTIFY
                   textMatchResultModelChanged)
    Q_PROPERTY(QAbstractListModel *imageMatchResultModel READ imageMatchResultModel NOTIFY
                   imageMatchResultModelChanged)
    Q_PROPERTY(QAbstractListModel *dayAppModel READ dayAppModel NOTIFY dayAppModelChanged)
    Q_PROPERTY(QAbstractListModel *imageTextModel READ imageTextModel CONSTANT)

public:
    /// Loads the newest days before it returns. All four are used until the application is about to
    /// quit, the provider for as long as pages ask; the destructor needs none of them.
    VideoInfo(VideoImageProvider *imageProvider, VideoReader *videoReader,
              VideoPreviewItem *videoPreviewItem, ConfigManager *configManager,
              QObject *parent = nullptr);
    ~VideoInfo() override;

    QAbstractListModel *textMatchResultModel() { return &m_textMatchResultModel; }
    QAbstractListModel *imageMatchResultModel() { return &m_imageMatchResultModel; }
    QAbstractListModel *dayAppModel() { return &m_dayAppModel; }
    QAbstractListModel *imageTextModel() { return &m_imageTextModel; }

    void initSignals();
    void initGsettings();

    /// Settles which days there are to load. A day that begins later arrives by signal.
    void saveStartAndEndDate();

    /// Empties both lists of hits.
    void clearSearchResult();

    /// Stops the search that runs, if any, and waits for its thread.
    void deleteSearchThread();

    void setTextMatchResultModel(const QList<VideoPreviewImageItem> &items);
    void setImageMatchResultModel(const QList<VideoPreviewImageItem> &items);
    void setPreviewImageTextModel(const QVector<OCRTextData> &textData);

    /// The picture that a page means by @p type: 1 the large one, 2 and 3 that of a text hit and of
    /// an image hit, whose source is @p imageId. Null for any other type.
    QImage getOcrImage(int type, const QString &imageId);

    /// Loads older days onto the axis until they are wider than two screens or none is left, and
    /// places the hits anew, whose days that has shifted or loaded. A day without frames is a
    /// warning on the log and no row.
    Q_INVOKABLE void showPreDayAppData();

    // The frame under the pointer or the slider goes into the item that the pages show: by the
    // pixel in a bar, or by the pixel in a day's bars and gaps. The page's picture has been loaded
    // when these return.

    Q_INVOKABLE void showPreviewImageItem(int dateIndex, int appIndex, int lengthOfApp,
                                          int imageId);
    Q_INVOKABLE void showPreviewImageItem(int dateIndex, int dayAppTimeAxisX, int imageId);
    Q_INVOKABLE void showCurShowImageItem(int dateIndex, int dayAppTimeAxisX, int imageId);

    // A search in texts and in pictures. Both lists of hits are looked up, then the one that the
    // name says is shown, hit by hit. Beginning one ends the one before and empties both models; an
    // empty text does only that.

    Q_INVOKABLE void continueShowTextSearchResult(const QString &text);
    Q_INVOKABLE void continueShowImageSearchResult(const QString &text);
    Q_INVOKABLE void showTextSearchResult(const QString &text);
    Q_INVOKABLE void showImageSearchResult(const QString &text);
    Q_INVOKABLE void clearSearchTaskAndResult();
    /// Stops the search and keeps what is shown; needed before one is continued.
    Q_INVOKABLE void clearSearchTask();

    /// Reads the text between two corners of a picture, in its pixels, cut off to whole ones; see
    /// getOcrImage() for the first two. Events go on being handled, so that it can be cancelled;
    /// when it returns the text model has been filled.
    Q_INVOKABLE void recognizingTextInImage(int type, const QString &imageId, float startx,
                                            float starty, float endx, float endy,
                                            const QString &taskID);
    Q_INVOKABLE void cancelRecognizeTextInImage(const QString &taskID);
    Q_INVOKABLE void clearRecognizingTextResult();

    /// Empties the axis, then deletes; @p timeRange is a number of TimeRange. False if that failed.
    Q_INVOKABLE bool clearUserData(int timeRange);

    Q_INVOKABLE void startMemory();

    /// Whether the preview loaded last was null.
    Q_INVOKABLE bool isPreviewImgEmpty();

    /// Each text and a line feed; entries that a page never filled are left out.
    Q_INVOKABLE void setClipBoardText(const QList<QString> &allText);

    Q_INVOKABLE bool startBtnVisible();

    // Gigabytes.
    Q_INVOKABLE int getMaxOccupiedSpace();
    Q_INVOKABLE void setMaxOccupiedSpace(int maxSize);

    Q_INVOKABLE void showGuide();

    /// Of the installed package; empty if there is none. Blocks for dpkg, 30 seconds at most.
    Q_INVOKABLE QString getYestermarkVersion();

    /// 1 on a dark desktop, else 2.
    Q_INVOKABLE int getThemeType();

    /// Only asks for it: the backend deletes.
    Q_INVOKABLE void deleteHistory();

    /// Opens the control centre's page of date and time, whose name depends on its version. Blocks
    /// for dpkg-query, 30 seconds at most.
    Q_INVOKABLE void adjustSystemTime();

    Q_INVOKABLE bool isSubsystemAvailable();
    Q_INVOKABLE void openSubsystemInstallPage();

Q_SIGNALS:
    void textMatchResultModelChanged();
    void imageMatchResultModelChanged();
    /// The search found nothing in pictures, or in texts.
    void imageSearchResultIsEmpty();
    void textSearchResultIsEmpty();
    void videoPreviewImageSourceChanged();
    void startMemoryScreen();
    void screenshotOCRTextDataReady();
    void dayAppModelChanged();
    void maxOccupiedSpaceChanged(int maxSize);
    void quitYestermark();
    void themeChanged();
    void backInTimeDetected();
    void deleteHistoryAndReMemory();
    void calledAdjustSystemTime();

private Q_SLOTS:
    void tellNothingFound(bool inTexts, int search);

private:
    struct SearchKind;

    void connectRegionText();

    void connectHits();
    void placeHits();
    void startSearchThread(const std::function<void()> &body);
    void showHits(const SearchKind &kind, int start);
    void startSearch(const QString &text, const SearchKind &first, const SearchKind &second);
    void continueSearch(const QString &text, const SearchKind &first, const SearchKind &second);
    bool countHits(const QString &text, const SearchKind &kind);
    bool countBothHits(const QString &text, const SearchKind &first, const SearchKind &second);
    void connectLiveGrowth();
    void showPreview(const VideoPreviewImageItem &item);

    QThread *m_searchThread = nullptr;        ///< the search of the moment, running or at its end
    QVector<QThread *> m_formerThreads;       ///< of searches continued without being stopped
    std::atomic<bool> m_areHitsCounted{true}; ///< no: the last search was stopped before
    std::atomic<int> m_clearedSearches{0};    ///< tells a notice under way that it comes too late
    std::mutex m_searchMutex;                 ///< held by a search for as long as it runs
    VideoReader *m_videoReader;
    VideoPreviewItem *m_videoPreviewItem;
    VideoPreviewModel m_textMatchResultModel;
    VideoPreviewModel m_imageMatchResultModel;
    PreviewImageTextModel m_imageTextModel;
    VideoImageProvider *m_imageProvider;
    ConfigManager *m_configManager;
    DayAppModel m_dayAppModel;
    QString m_startDate; ///< first day with frames, "yyyy-MM-dd"
    QString m_endDate;   ///< the next older day to load; walks backwards
    int m_screenWidth;
    DateTimeFormatter *m_dateTimeFormatter;
    QGSettings *m_styleSettings = nullptr; ///< null: the desktop has no such setting
};
