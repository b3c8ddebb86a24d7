#pragma once
// Reads the text of a part of a picture while the user waits: the call returns with the lines, and
// events go on being handled meanwhile. Its session with the on-device runtime is its own, so that
// it never waits for the recorder's pictures.
// Owner: VideoReader, by value. Threads: the owner's (main), which asks and cancels; one of its
// own, which brings the session up and ends; the runtime's, on which results are delivered.

#include "ai/ocrtask.h"
#include "ai/textrecognition.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QVector>

#include <atomic>
#include <mutex>
#include <thread>

class OcrModule : public QObject
{
    Q_OBJECT

public:
    /// Returns at once; the session comes up in the background. One that does not is given up for
    /// good after a single attempt.
    explicit OcrModule(QObject *parent = nullptr);

    /// Waits for the background thread, for as long as the runtime takes to answer it. No result
    /// arrives after this.
    ~OcrModule() override;

    /// The lines of the task's image, their corners in its pixels. Blocks in a nested event loop
    /// until a result, a cancel or the program's end, whichever task they belong to. Empty if there
    /// is no text, the task was cancelled, the runtime failed, the session is not up yet or the
    /// image cannot be encoded; the last two are told on the log.
    QVector<OCRTextData> getOCRTextDataSync(const OCRTask &task);

    /// Ends the wait for the oldest task of this ID at once; its answer is dropped when it comes.
    /// A warning where no task has the ID.
    void cancelRecognizeTextInImage(const QString &taskID);

    /// Starts the session, at most @p retries times with 5 seconds after each failed attempt, the
    /// last one included. False if none succeeded. Blocks.
    bool initSessionWithRetry(unsigned int retries);

    /// Brings the session up: the body of the background thread.
    void init();

Q_SIGNALS:
    /// A task that nobody cancelled has its result. Emitted on the runtime's thread; queued, it
    /// needs the meta-type "QVector<OCRTextData>&".
    void ocrResultReady(QVector<OCRTextData> &ocrTextDatas, const QString &taskID);

    /// A cancel found its task. Emitted on the canceller's thread.
    void ocrTaskCancelled(const QString &taskID);

private:
    static void onRecognized(TextRecognitionResult *result, void *userData);
    void takeResult(TextRecognitionResult *result);

    qint32 m_initStatus = -1; ///< the runtime's last answer to a start
    /// The requests without an answer, oldest first: answers bear nothing to tell them apart by
    /// but their order.
    QList<OCRTask> m_tasks;
    std::thread m_initThread;
    std::atomic<bool> m_sessionReady{false};
    TextRecognition::ConfigPtr m_modelConfig;
    TextRecognition::SessionPtr m_session;
    /// Keeps an answer out until its task stands in the list and somebody listens. Never locked
    /// during an emission.
    std::mutex m_tasksMutex;
};
