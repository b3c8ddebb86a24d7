#pragma once
// A bridge that answers on some bus, as one who asks for its pictures sees it. Owned by the
// measurement; main thread.

#include <QDBusConnection>
#include <QImage>

class MeasuredBridge
{
public:
    explicit MeasuredBridge(const QDBusConnection &bus) : m_bus(bus) {}

    /// Has changes told from now on. False if it refuses.
    bool watch() const;

    /// Fills @p image, which has the screen's size, with the primary screen through a pipe. False
    /// if the bridge has none.
    bool fetch(QImage &image) const;

    /// One picture, from the call on the bus to the last byte in the reader's buffer, as median and
    /// 95th percentile beside the same number of bytes between two threads through a pipe of the
    /// same size. Ends the program if no picture comes.
    void printPicture(const QImage &page) const;

    /// The bridge's CPU during so many @p seconds of a screen of @p size that stays as it is.
    void printStillScreen(const QSize &size, int seconds) const;

private:
    uint processId() const;
    QString backend() const;

    QDBusConnection m_bus;
};
