#pragma once
// Turns a picture or a search text into a vector of one shared space, through the on-device
// runtime; the caller waits for it.
// Owner: AIAbilityManager, by value. Threads: any for the two requests, at once too; one of its
// own, which brings the session up and ends.

#include "coreai/coreaiembedding.h"

#include <QImage>
#include <QString>
#include <QVector>

#include <atomic>
#include <memory>
#include <thread>

class EmbeddingModel
{
public:
    /// Returns at once; the session comes up in the background, in five attempts at most. One that
    /// does not is given up for good.
    EmbeddingModel();

    /// Waits for the background thread: up to 25 seconds, and the runtime's own time, where the
    /// session never came up.
    ~EmbeddingModel();
    Q_DISABLE_COPY_MOVE(EmbeddingModel)

    /// Starts the session, at most @p retries times with 5 seconds after each failed attempt, the
    /// last one included. False if none succeeded. Blocks.
    bool initSessionWithRetry(unsigned int retries);

    /// Brings the session up: the body of the background thread.
    void init();

    /// The vector of a picture or a text, as long as the runtime makes it: 1024 numbers. Empty,
    /// with a line on the log, before the session is ready and where the runtime fails. Both block
    /// for as long as the runtime works.
    QVector<float> getImageEmbeddingSync(const QImage &image) const;
    QVector<float> getTextEmbeddingSync(const QString &text) const;

private:
    struct SessionDeleter {
        void operator()(ImageEmbeddingSession *session) const;
    };

    bool isReady() const;

    std::unique_ptr<ImageEmbeddingSession, SessionDeleter> m_session;
    std::thread m_initThread;
    std::atomic<bool> m_sessionReady{false};
};
