#pragma once
// What is said to a stream's other end while the two agree on a format. Any thread.

#include <QSize>

#include <array>
#include <vector>

struct spa_pod;

/// Of the pictures that are read, in pixels.
constexpr quint32 LONGEST_EDGE = 16384;

/// Parameters in the form that the stream functions take. Points into itself.
class StreamParameters
{
public:
    StreamParameters() = default;
    StreamParameters(const StreamParameters &) = delete;
    StreamParameters &operator=(const StreamParameters &) = delete;

    /// What can be read: raw pictures of any size, in memory that can be mapped, at most
    /// @p framesPerSecond; and, for a producer that will not be slowed down, the same at its rate.
    void offerFormats(quint32 framesPerSecond);

    /// Buffers and what comes with each frame, once the format is agreed.
    void askForBuffers();

    const spa_pod **data() { return m_pods.data(); }
    quint32 count() const { return quint32(m_pods.size()); }

private:
    std::array<quint8, 4096> m_memory{};
    std::vector<const spa_pod *> m_pods;
};
