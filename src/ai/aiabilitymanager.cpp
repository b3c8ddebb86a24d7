#include "ai/aiabilitymanager.h"

#include <utility>

AIAbilityManager::AIAbilityManager()
{
    initSemanticModule();
}

AIAbilityManager::~AIAbilityManager()
{
    m_semanticThread.quit();
    m_semanticThread.wait();
}

void AIAbilityManager::initSemanticModule()
{
    m_semanticThread.setObjectName(QStringLiteral("semantic"));
    m_imageSemanticModule = new ImageSemanticModule(nullptr);
    connect(&m_semanticThread, &QThread::finished, m_imageSemanticModule, &QObject::deleteLater);
    m_imageSemanticModule->moveToThread(&m_semanticThread);
    m_semanticThread.start(QThread::InheritPriority);
}

void AIAbilityManager::setImageOCRResultCallback(
    std::function<void(const QVector<OCRTextData> &)> callback)
{
    m_ocrModel.setImageOCRResultCallback(std::move(callback));
}

void AIAbilityManager::getOCRTextDataAsync(const QImage &image)
{
    m_ocrModel.requestOCRTextDataAsync(image);
}

QVector<float> AIAbilityManager::getTextEmbeddingSync(const QString &text) const
{
    return m_embeddingModel.getTextEmbeddingSync(text);
}

QVector<float> AIAbilityManager::getImageEmbeddingSync(const QImage &image) const
{
    return m_embeddingModel.getImageEmbeddingSync(image);
}

void AIAbilityManager::setImageSemanticResultCallback(std::function<void(const QString &)> callback)
{
    if (m_imageSemanticModule) {
        m_imageSemanticModule->setResultCallback(std::move(callback));
    }
}

void AIAbilityManager::getImageSemanticInfoAsync(const QImage &image)
{
    if (m_imageSemanticModule) {
        Q_EMIT m_imageSemanticModule->requestImageSemanticDataAsync(image);
    }
}
