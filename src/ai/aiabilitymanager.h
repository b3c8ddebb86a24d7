#pragma once
// Holds the AI modules, each of which comes up in the background by itself. Nothing waits for
// them: until they are ready, requests are dropped or give empty vectors.
// Owner: AIAbilityProvider, by value. Thread: as the module that a call goes to.

#include "ai/embeddingmodel.h"
#include "ai/imagesemanticmodule.h"
#include "ai/ocrmodel.h"

#include <QObject>
#include <QThread>

#include <functional>

class AIAbilityManager : public QObject
{
    Q_OBJECT

public:
    AIAbilityManager();

    /// Ends the semantic thread and waits for it, then for the modules' own threads.
    ~AIAbilityManager() override;

    /// See OcrModel.
    void setImageOCRResultCallback(std::function<void(const QVector<OCRTextData> &)> callback);
    void getOCRTextDataAsync(const QImage &image);

    /// See EmbeddingModel.
    QVector<float> getTextEmbeddingSync(const QString &text) const;
    QVector<float> getImageEmbeddingSync(const QImage &image) const;

    /// See ImageSemanticModule. Nothing calls these two yet.
    void setImageSemanticResultCallback(std::function<void(const QString &)> callback);
    void getImageSemanticInfoAsync(const QImage &image);

private:
    void initSemanticModule();

    ImageSemanticModule *m_imageSemanticModule = nullptr; ///< on m_semanticThread, deleted there
    QThread m_semanticThread;
    EmbeddingModel m_embeddingModel;
    OcrModel m_ocrModel;
};
