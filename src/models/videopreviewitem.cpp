#include "models/videopreviewitem.h"

#include <QDebug>

VideoPreviewItem::VideoPreviewItem(QObject *parent, const DateTimeFormatter *formatter)
    : QObject(parent), m_dateTimeFormatter(formatter)
{
}

QString VideoPreviewItem::previewImageDate() const
{
    if (!m_dateTimeFormatter) {
        qWarning() << "previewImageDate"
                   << "Failed to get DateTimeFormatter instance!";
        return m_previewImageDate;
    }
    return m_dateTimeFormatter->getFormatDateString(m_previewImageDate);
}

QString VideoPreviewItem::previewImageTime() const
{
    if (!m_dateTimeFormatter) {
        qWarning() << "previewImageTime"
                   << "Failed to get DateTimeFormatter instance!";
        return m_previewImageTime;
    }
    return m_dateTimeFormatter->getFormatTimeString(m_previewImageTime);
}

void VideoPreviewItem::setVideoPreviewImageSource(const QString &source)
{
    m_videoPreviewImageSource = source;
    Q_EMIT videoPreviewImageSourceChanged();
}

void VideoPreviewItem::setCurShowImageSource(const QString &source)
{
    m_curShowImageSource = source;
    Q_EMIT curShowImageSourceChanged();
}

void VideoPreviewItem::setPreviewImageDate(const QString &date)
{
    m_previewImageDate = date;
    Q_EMIT previewImageDateChanged();
}

void VideoPreviewItem::setPreviewImageTime(const QString &time)
{
    m_previewImageTime = time;
    Q_EMIT previewImageTimeChanged();
}

void VideoPreviewItem::setPreviewAppIcon(const QString &icon)
{
    if (m_previewAppIcon != icon) {
        m_previewAppIcon = icon;
        Q_EMIT previewAppIconChanged();
    }
}

void VideoPreviewItem::setPreviewAppName(const QString &name)
{
    if (m_previewAppName != name) {
        m_previewAppName = name;
        Q_EMIT previewAppNameChanged();
    }
}

void VideoPreviewItem::setCurShowAppIcon(const QString &icon)
{
    if (m_curShowAppIcon != icon) {
        m_curShowAppIcon = icon;
        Q_EMIT curShowAppIconChanged();
    }
}

void VideoPreviewItem::setCurShowAppName(const QString &name)
{
    if (m_curShowAppName != name) {
        m_curShowAppName = name;
        Q_EMIT curShowAppNameChanged();
    }
}

void VideoPreviewItem::setFrameLengthOfDay(int length)
{
    if (m_frameLengthOfDay != length) {
        m_frameLengthOfDay = length;
        Q_EMIT frameLengthOfDayChanged();
    }
}

void VideoPreviewItem::setImageDateIndex(int index)
{
    if (m_imageDateIndex != index) {
        m_imageDateIndex = index;
        Q_EMIT imageDateIndexChanged();
    }
}
