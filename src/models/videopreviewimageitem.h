#pragma once
// What the pages need to show one frame, and where its picture is fetched from. Owner: whoever
// holds the copy. Thread: any; a value that also travels in queued signals.

#include <QMetaType>
#include <QString>

struct VideoPreviewImageItem {
    QString videoPreviewImageSource; ///< id for the image provider, without "image://"
    QString previewImageDate;        ///< day of capture, "yyyy/MM/dd"
    QString previewImageTime;        ///< time of capture, "HH:mm:ss"
    QString previewAppIcon;          ///< name in the icon theme or a "file://" address
    QString previewAppName;
    int frameLengthOfDay = 0; ///< pixels into its day's runs; 0 but for hits of a search
    int imageDateIndex = 0;   ///< place of its day among the loaded ones; 0 but for hits
};
Q_DECLARE_METATYPE(VideoPreviewImageItem)
