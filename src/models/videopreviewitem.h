#pragma once
// What the pages show beside a frame: of the hover's preview, of the large picture, or of one hit
// of a search. Owner: the backend, by value, for the one of the time axis; VideoPreviewModel for
// those of hits. Thread: main.

#include "models/datetimeformatter.h"

#include <QObject>
#include <QString>

class VideoPreviewItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString videoPreviewImageSource READ videoPreviewImageSource WRITE
                   setVideoPreviewImageSource NOTIFY videoPreviewImageSourceChanged)
    Q_PROPERTY(QString previewImageDate READ previewImageDate WRITE setPreviewImageDate NOTIFY
                   previewImageDateChanged)
    Q_PROPERTY(QString previewImageTime READ previewImageTime WRITE setPreviewImageTime NOTIFY
                   previewImageTimeChanged)
    Q_PROPERTY(QString previewAppIcon READ previewAppIcon WRITE setPreviewAppIcon NOTIFY
                   previewAppIconChanged)
    Q_PROPERTY(QString previewAppName READ previewAppName WRITE setPreviewAppName NOTIFY
                   previewAppNameChanged)
    Q_PROPERTY(QString curShowImageSource READ curShowImageSource WRITE setCurShowImageSource NOTIFY
                   curShowImageSourceChanged)
    Q_PROPERTY(QString curShowAppIcon READ curShowAppIcon WRITE setCurShowAppIcon NOTIFY
                   curShowAppIconChanged)
    Q_PROPERTY(QString curShowAppName READ curShowAppName WRITE setCurShowAppName NOTIFY
                   curShowAppNameChanged)
    Q_PROPERTY(int frameLengthOfDay READ frameLengthOfDay WRITE setFrameLengthOfDay NOTIFY
                   frameLengthOfDayChanged)
    Q_PROPERTY(
        int imageDateIndex READ imageDateIndex WRITE setImageDateIndex NOTIFY imageDateIndexChanged)

public:
    /// Without a @p formatter date and time read as they are stored, with a warning each time.
    explicit VideoPreviewItem(QObject *parent = nullptr, const DateTimeFormatter *formatter =
                                                             DateTimeFormatter::getInstance());

    // Ids for the image provider, without "image://".
    QString videoPreviewImageSource() const { return m_videoPreviewImageSource; }
    QString curShowImageSource() const { return m_curShowImageSource; }

    /// As the user reads it, made anew each time: when the desktop changes its choice of hours, the
    /// changed signals alone bring the new text.
    QString previewImageDate() const;
    QString previewImageTime() const;

    QString previewAppIcon() const { return m_previewAppIcon; }
    QString previewAppName() const { return m_previewAppName; }
    QString curShowAppIcon() const { return m_curShowAppIcon; }
    QString curShowAppName() const { return m_curShowAppName; }

    /// Pixels into the runs of the frame's day, and the day's place among the loaded ones; hits of
    /// a search only.
    int frameLengthOfDay() const { return m_frameLengthOfDay; }
    int imageDateIndex() const { return m_imageDateIndex; }

    // These four signal an equal value too, so that it is loaded again.

    void setVideoPreviewImageSource(const QString &source);
    void setCurShowImageSource(const QString &source);
    /// @p date is "yyyy/MM/dd".
    void setPreviewImageDate(const QString &date);
    /// @p time is "HH:mm:ss".
    void setPreviewImageTime(const QString &time);

    // These signal only what differs.

    void setPreviewAppIcon(const QString &icon);
    void setPreviewAppName(const QString &name);
    void setCurShowAppIcon(const QString &icon);
    void setCurShowAppName(const QString &name);
    void setFrameLengthOfDay(int length);
    void setImageDateIndex(int index);

Q_SIGNALS:
    void videoPreviewImageSourceChanged();
    void previewImageDateChanged();
    void previewImageTimeChanged();
    void previewAppIconChanged();
    void previewAppNameChanged();
    void curShowImageSourceChanged();
    void curShowAppIconChanged();
    void curShowAppNameChanged();
    void frameLengthOfDayChanged();
    void imageDateIndexChanged();

private:
    QString m_videoPreviewImageSource;
    QString m_previewImageDate;
    QString m_previewImageTime;
    QString m_previewAppIcon;
    QString m_previewAppName;
    QString m_curShowImageSource;
    QString m_curShowAppIcon;
    QString m_curShowAppName;
    int m_frameLengthOfDay = 0;
    int m_imageDateIndex = 0;
    const DateTimeFormatter *m_dateTimeFormatter;
};
