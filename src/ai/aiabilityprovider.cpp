#include "ai/aiabilityprovider.h"

#include <QDebug>

AIAbilityProvider *AIAbilityProvider::getInstance()
{
    static AIAbilityProvider instance;
    return &instance;
}

AIAbilityProvider::AIAbilityProvider() : m_pendingGuard(std::make_shared<PendingGuard>())
{
    m_manager.setImageOCRResultCallback(
        [this, guard = m_pendingGuard](const QVector<OCRTextData> &lines) {
            onOCRResult(guard.get(), lines);
        });
    connectRequests();
}

AIAbilityProvider::~AIAbilityProvider()
{
    // The list goes before the manager, until whose end results still come.
    const std::lock_guard<std::mutex> lock(m_pendingGuard->mutex);
    m_pendingGuard->isClosed = true;
}

void AIAbilityProvider::connectRequests()
{
    connect(this, &AIAbilityProvider::requestImageOCRData, this,
            [this](const QImage &image) { requestOCR(image, ScreenShotData()); });
    connect(this, &AIAbilityProvider::requestScreenshotOCRData, this,
            [this](const QImage &image, ScreenShotData &data) { requestOCR(image, data); });
}

void AIAbilityProvider::requestOCR(const QImage &image, const ScreenShotData &data)
{
    {
        const std::lock_guard<std::mutex> lock(m_pendingGuard->mutex);
        m_pendingScreenshots.append(data);
    }
    m_manager.getOCRTextDataAsync(image);
}

void AIAbilityProvider::onOCRResult(PendingGuard *guard, const QVector<OCRTextData> &lines)
{
    ScreenShotData data;
    {
        const std::lock_guard<std::mutex> lock(guard->mutex);
        if (guard->isClosed) {
            return;
        }
        if (m_pendingScreenshots.isEmpty()) {
            qWarning() << "OCR result without a request";
            return;
        }
        data = m_pendingScreenshots.takeFirst();
    }
    // Every frame's record names its video, so an empty name marks a lone image.
    if (data.videoName.isEmpty()) {
        Q_EMIT imageOCRDataReady(lines);
        return;
    }
    for (const OCRTextData &line : lines) {
        data.ocrText += line.text + QLatin1String("; ");
    }
    Q_EMIT screenshotOCRDataReady(data);
}

QVector<float> AIAbilityProvider::embeddingText(const QString &text) const
{
    return m_manager.getTextEmbeddingSync(text);
}

QVector<float> AIAbilityProvider::embeddingImage(const QImage &image) const
{
    return m_manager.getImageEmbeddingSync(image);
}
