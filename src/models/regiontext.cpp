// VideoReader's and VideoInfo's reading of the text in a part of a picture that the user selected.

#include "models/videoinfo.h"
#include "models/videoreader.h"
#include "models/wholepixels.h"

#include <QDebug>

namespace
{
// What a page calls a picture's place.
constexpr int CURRENT_IMAGE = 1;
constexpr int TEXT_HIT = 2;
constexpr int IMAGE_HIT = 3;
} // namespace

void VideoReader::requestOcrResult(const OCRTask &task)
{
    Q_EMIT screenshotOCRTextDataReady(m_ocrModule.getOCRTextDataSync(task));
}

void VideoReader::cancelRecognizeTextInImage(const QString &taskID)
{
    m_ocrModule.cancelRecognizeTextInImage(taskID);
}

void VideoInfo::connectRegionText()
{
    connect(m_videoReader, &VideoReader::screenshotOCRTextDataReady, this,
            [this](const QVector<OCRTextData> &textData) {
                setPreviewImageTextModel(textData);
                Q_EMIT screenshotOCRTextDataReady();
            });
}

void VideoInfo::recognizingTextInImage(int type, const QString &imageId, float startx, float starty,
                                       float endx, float endy, const QString &taskID)
{
    qDebug() << "Recognizing text in image" << type << imageId;
    const QImage image = getOcrImage(type, imageId);
    const float width = endx - startx;
    const float height = endy - starty;
    qDebug() << "Recognizing text in image" << startx << starty << width << height;
    OCRTask task;
    task.image = image.copy(wholePixels(startx), wholePixels(starty), wholePixels(width),
                            wholePixels(height));
    task.taskID = taskID;
    m_videoReader->requestOcrResult(task);
}

void VideoInfo::cancelRecognizeTextInImage(const QString &taskID)
{
    m_videoReader->cancelRecognizeTextInImage(taskID);
}

void VideoInfo::clearRecognizingTextResult()
{
    setPreviewImageTextModel({});
}

QImage VideoInfo::getOcrImage(int type, const QString &imageId)
{
    const QString key = imageId.mid(QLatin1String("videoImageProvider/").size());
    switch (type) {
    case CURRENT_IMAGE:
        return m_videoReader->getCurShowImage();
    case TEXT_HIT:
        return m_videoReader->getTextSearchResultImage(key);
    case IMAGE_HIT:
        return m_videoReader->getImageSearchResultImage(key);
    default:
        return {};
    }
}
