#pragma once
// Reads the text of whole screenshots through the on-device runtime: a picture goes out without
// waiting, its lines come back by callback.
// Owner: AIAbilityManager, by value. Threads: the owner's, which asks; one of its own, which brings
// the session up and ends; the runtime's, on which results are delivered.

#include "ai/textrecognition.h"

#include <QImage>
#include <QVector>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

class OcrModel
{
public:
    using ResultCallback = std::function<void(const QVector<OCRTextData> &)>;

    /// Returns at once; the session comes up in the background. One that does not is given up for
    /// good after a single attempt.
    OcrModel();

    /// Waits for the background thread, for as long as the runtime takes to answer it.
    ~OcrModel();
    Q_DISABLE_COPY_MOVE(OcrModel)

    /// @p callback gets the lines of every picture that reached the runtime, an empty vector for
    /// one without text, on the runtime's thread. To be set before results can arrive; before the
    /// session is ready that is a warning, and results come all the same once it is.
    void setImageOCRResultCallback(std::function<void(const QVector<OCRTextData> &)> callback);

    /// Hands @p image to the runtime, encoded as PNG on the calling thread: some 20 ms at
    /// 1920x1080. A picture that does not get that far, for want of a session or of a format to
    /// write it in, is a line on the log, and nothing ever comes back for it.
    void requestOCRTextDataAsync(const QImage &image);

    /// Starts the session, at most @p retries times with 5 seconds after each failed attempt, the
    /// last one included. False if none succeeded. Blocks.
    bool initSessionWithRetry(unsigned int retries);

    /// Brings the session up: the body of the background thread.
    void init();

    /// A result of the runtime for the model that @p userData points to, on the runtime's thread.
    static void callback(TextRecognitionResult *result, void *userData);

private:
    void registerCallback();

    // Reached by std::atomic_load and std::atomic_store only: the owner sets it while the
    // background thread looks whether it is there.
    std::shared_ptr<const ResultCallback> m_resultCallback;
    qint32 m_initStatus = 0; ///< the runtime's last answer to a start
    std::thread m_initThread;
    std::atomic<bool> m_sessionReady{false};
    TextRecognition::ConfigPtr m_modelConfig;
    TextRecognition::SessionPtr m_session;
};
