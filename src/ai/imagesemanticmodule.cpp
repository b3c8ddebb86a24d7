#include "ai/imagesemanticmodule.h"

#include "ai/multimodel.h"

#include <QDebug>
#include <QElapsedTimer>

ImageSemanticModule::ImageSemanticModule(QObject *parent)
    : QObject(parent), m_multiModel(new MultiModel(this))
{
    connect(this, &ImageSemanticModule::requestImageSemanticDataAsync, this,
            &ImageSemanticModule::imageSemanticSlot);
}

void ImageSemanticModule::setResultCallback(ResultCallback callback)
{
    m_resultCallback.swap(callback);
}

void ImageSemanticModule::imageSemanticSlot(const QImage &image)
{
    if (image.isNull()) {
        return;
    }
    QElapsedTimer timer;
    timer.start();
    const QString summary = m_multiModel->getImageSemanticInfo(image);
    qDebug() << "Multimodel Elapsed time: " << timer.elapsed() << "ms";
    m_resultCallback(summary);
}
