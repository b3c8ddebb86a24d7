#pragma once
// The caller's side of a screenshot call in the tests: makes the pipe, calls and reads. Used from
// any one thread; every wait has a limit.

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QImage>

class PipeReader
{
public:
    PipeReader();
    ~PipeReader();
    Q_DISABLE_COPY(PipeReader)

    /// Calls screenshotFullscreen with the write end, then closes it here.
    QDBusMessage call(int screen, bool withoutPointer = true,
                      const QDBusConnection &bus = QDBusConnection::sessionBus());

    /// Reads until the end of the file; what came by then if @p timeout milliseconds pass without
    /// a byte.
    QByteArray readAll(int timeout = 10000);

    /// The picture in @p bytes; null unless they are a header and exactly its pixels.
    static QImage image(const QByteArray &bytes);

    /// Call and read in one.
    static QImage picture(int screen);

    /// True once every write end of the pipe is closed, whatever it still holds.
    static bool hasHungUp(int readEnd);

    bool sawEnd() const { return m_sawEnd; }
    int readEnd() const { return m_ends[0]; }
    void closeReadEnd();
    void closeWriteEnd();
    int writeEnd() const { return m_ends[1]; }

private:
    int m_ends[2] = {-1, -1};
    bool m_sawEnd = false;
};
