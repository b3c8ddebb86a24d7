#pragma once
// The one door to the AI abilities: text of a picture, vectors of pictures and texts. Brings each
// result of the text recognition together with the record of the frame that it belongs to.
// Owner: the process, from first use to exit. Thread: requests from the one that made it (main);
// results arrive on the runtime's thread and their signals are emitted there; embeddings on any.

#include "ai/aiabilitymanager.h"
#include "ai/ocrtextdata.h"
#include "database/screenshotdata.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QString>
#include <QVector>

#include <memory>
#include <mutex>

class AIAbilityProvider : public QObject
{
    Q_OBJECT

public:
    /// The first call starts the AI modules in the background.
    static AIAbilityProvider *getInstance();

    /// The vector of a query text, 1024 numbers; empty on failure and until the runtime is up.
    /// Blocks for as long as the runtime works.
    QVector<float> embeddingText(const QString &text) const;

    /// The vector of a picture in the same space, under the same conditions.
    QVector<float> embeddingImage(const QImage &image) const;

Q_SIGNALS:
    /// Asks for the text of a lone image.
    void requestImageOCRData(const QImage &image);

    /// Connected to nothing.
    void requestImageSemanticData(const QImage &image);

    /// Asks for the text of a frame; @p data is its record. Returns when the picture is handed
    /// over.
    void requestScreenshotOCRData(const QImage &image, ScreenShotData &data);

    /// The lines of a lone image. Emitted on the runtime's thread.
    void imageOCRDataReady(const QVector<OCRTextData> &ocrTextDatas);

    /// Never emitted.
    void imageSemanticDataReady(const QString &imageSemanticInfo);

    /// The record of a frame with its text filled in. Emitted on the runtime's thread; queued, it
    /// needs the meta-type "ScreenShotData&".
    void screenshotOCRDataReady(ScreenShotData &data);

protected:
    AIAbilityProvider();
    ~AIAbilityProvider() override;

private:
    /// Keeps an append, a take and the list's end apart. Held by the result callback too, which
    /// may still run while the members go. Never locked during a request or an emission.
    struct PendingGuard {
        std::mutex mutex;
        bool isClosed = false;
    };

    void connectRequests();
    void requestOCR(const QImage &image, const ScreenShotData &data);
    void onOCRResult(PendingGuard *guard, const QVector<OCRTextData> &lines);

    AIAbilityManager m_manager;
    /// The records of all requests without a result, oldest first. A request that dies before the
    /// runtime leaves its record here, and every later result then lands on the record before its
    /// own: results bear nothing to tell them apart by.
    QList<ScreenShotData> m_pendingScreenshots;
    std::shared_ptr<PendingGuard> m_pendingGuard;
};
