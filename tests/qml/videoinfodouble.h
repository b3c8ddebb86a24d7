#pragma once
// Double of the pages' facade: real models, days in memory, calls recorded. Owner: the fixture.
// Thread: main.

#include "ai/ocrtextdata.h"
#include "models/appiteminfo.h"
#include "models/dayappmodel.h"
#include "models/previewimagetextmodel.h"
#include "models/videopreviewitem.h"
#include "models/videopreviewmodel.h"
#include "qml/callrecord.h"

#include <QAbstractListModel>
#include <QObject>
#include <QVector>

#include <functional>

struct TestDay {
    QString date; ///< "yyyy/MM/dd"
    QList<AppItemInfo> runs;
};

class VideoInfoDouble : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QAbstractListModel *dayAppModel READ dayAppModel NOTIFY dayAppModelChanged)
    Q_PROPERTY(QAbstractListModel *textMatchResultModel READ textMatchResultModel NOTIFY
                   textMatchResultModelChanged)
    Q_PROPERTY(QAbstractListModel *imageMatchResultModel READ imageMatchResultModel NOTIFY
                   imageMatchResultModelChanged)
    Q_PROPERTY(QAbstractListModel *imageTextModel READ imageTextModel CONSTANT)

public:
    VideoInfoDouble(CallRecord *record, VideoPreviewItem *previewItem);

    QAbstractListModel *dayAppModel() { return &m_dayAppModel; }
    QAbstractListModel *textMatchResultModel() { return &m_textHits; }
    QAbstractListModel *imageMatchResultModel() { return &m_imageHits; }
    QAbstractListModel *imageTextModel() { return &m_imageText; }

    bool subsystemAvailable = true;
    bool startButton = false;
    bool dark = false;
    int maxOccupiedSpace = 10;
    bool previewEmpty = false;    ///< what the image provider noted last
    QVector<TestDay> olderDays;   ///< loaded from the back, one a call
    QVector<TestDay> days;        ///< on the axis, oldest first
    std::function<void()> onShow; ///< runs before a large picture is looked up
    int pictures = 0;             ///< large pictures asked for

    QStringList clipBoardText;         ///< the texts of the last setClipBoardText
    std::function<void()> onRecognize; ///< runs while a part of a picture is being read

    /// A hit at the end of a list.
    void addTextHit(const VideoPreviewImageItem &hit);
    void addImageHit(const VideoPreviewImageItem &hit);
    void findNothing();

    /// Brings the lines of a part of a picture to the pages.
    void showText(const QVector<OCRTextData> &lines);

    /// Puts a day at the newest end, as a first frame of a day does.
    void appendDay(const TestDay &day);
    /// One frame more in the newest run.
    void growNewestRun();
    /// A new run of one frame.
    void startRun(const AppItemInfo &run);
    void setDark(bool dark);

    Q_INVOKABLE void showPreDayAppData();
    Q_INVOKABLE void showPreviewImageItem(int dateIndex, int appIndex, int lengthOfApp,
                                          int imageId);
    Q_INVOKABLE void showPreviewImageItem(int dateIndex, int dayAppTimeAxisX, int imageId);
    Q_INVOKABLE void showCurShowImageItem(int dateIndex, int dayAppTimeAxisX, int imageId);
    Q_INVOKABLE void continueShowTextSearchResult(const QString &text);
    Q_INVOKABLE void continueShowImageSearchResult(const QString &text);
    Q_INVOKABLE void showTextSearchResult(const QString &text);
    Q_INVOKABLE void showImageSearchResult(const QString &text);
    Q_INVOKABLE void clearSearchTaskAndResult();
    Q_INVOKABLE void clearSearchTask();
    Q_INVOKABLE void recognizingTextInImage(int type, const QString &imageId, float startx,
                                            float starty, float endx, float endy,
                                            const QString &taskID);
    Q_INVOKABLE void cancelRecognizeTextInImage(const QString &taskID);
    Q_INVOKABLE void clearRecognizingTextResult();
    Q_INVOKABLE void setClipBoardText(const QList<QString> &allText);
    Q_INVOKABLE bool clearUserData(int timeRange);
    Q_INVOKABLE void startMemory();
    Q_INVOKABLE bool isPreviewImgEmpty() { return previewEmpty; }
    Q_INVOKABLE bool startBtnVisible() { return startButton; }
    Q_INVOKABLE int getMaxOccupiedSpace() { return maxOccupiedSpace; }
    Q_INVOKABLE void setMaxOccupiedSpace(int maxSize);
    Q_INVOKABLE void showGuide();
    Q_INVOKABLE QString getYestermarkVersion() { return QStringLiteral("1.0.0"); }
    Q_INVOKABLE int getThemeType() { return dark ? 1 : 2; }
    Q_INVOKABLE void deleteHistory();
    Q_INVOKABLE void adjustSystemTime();
    Q_INVOKABLE bool isSubsystemAvailable() { return subsystemAvailable; }
    Q_INVOKABLE void openSubsystemInstallPage();

Q_SIGNALS:
    void dayAppModelChanged();
    void textMatchResultModelChanged();
    void imageMatchResultModelChanged();
    void imageSearchResultIsEmpty();
    void textSearchResultIsEmpty();
    void screenshotOCRTextDataReady();
    void quitYestermark();
    void themeChanged();
    void backInTimeDetected();

private:
    /// The run under a pixel of a day's runs and gaps, null in a gap and before the first.
    const AppItemInfo *runAt(int dateIndex, int x) const;
    void clearHits();
    void showPreview(const AppItemInfo *run, int dateIndex, int imageId);

    CallRecord *m_record;
    VideoPreviewItem *m_previewItem;
    DayAppModel m_dayAppModel;
    VideoPreviewModel m_textHits;
    VideoPreviewModel m_imageHits;
    PreviewImageTextModel m_imageText;
    QString m_shownSource;
};
