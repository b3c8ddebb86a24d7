#pragma once
// One picture of the fake desktop on its way into a pipe, with the fault that a test ordered.
// Owned by the fake's thread pool; runs on one of its threads.

#include <QImage>
#include <QRunnable>

#include <atomic>
#include <functional>
#include <memory>

/// What the fake does with the pipe of a screenshot call.
struct FakePicturePlan {
    QImage image;               ///< written in its own format and row layout
    int formatField = -1;       ///< value for the header's format field; -1 for the image's own
    qint64 bytesToWrite = -1;   ///< close after so many bytes; -1 for all
    int firstDelay = 0;         ///< milliseconds before the first byte
    int chunkDelay = 0;         ///< milliseconds before each of the eight parts of the pixels
    std::function<void()> done; ///< called on the writing thread after the pipe was closed
};

class FakePicture : public QRunnable
{
public:
    using StopFlag = std::shared_ptr<std::atomic_bool>;

    /// Takes over @p descriptor. Writing ends early once @p stop is true.
    FakePicture(int descriptor, FakePicturePlan plan, StopFlag stop);
    ~FakePicture() override;
    Q_DISABLE_COPY(FakePicture)

    void run() override;

private:
    QByteArray header() const;
    bool write(const char *bytes, qint64 count);
    bool writePixels();
    bool pause(int milliseconds) const;

    int m_descriptor;
    FakePicturePlan m_plan;
    StopFlag m_stop;
    qint64 m_left;
};
