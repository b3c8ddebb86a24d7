#pragma once
// Looks at the screen as it is, over a connection of its own, to see when a window has been
// painted. Owner: a measurement, on its stack. Thread: the one that made it.

#include <QVector>

#include <memory>

struct xcb_connection_t;

class ScreenWatch
{
public:
    /// Remembers what stands on the screen now. Ends the program with a message where there is
    /// none.
    ScreenWatch();
    ~ScreenWatch();
    Q_DISABLE_COPY_MOVE(ScreenWatch)

    /// Whether a window covers the screen now and has been painted: nearly nothing is as it was,
    /// and there are as many colours as no empty window has.
    bool isPainted() const;

    /// Whether there is a picture with text about the middle: its lines have many edges.
    bool hasPicture() const;

private:
    struct Closer {
        void operator()(xcb_connection_t *connection) const;
    };

    QVector<quint32> row(int y) const;
    QVector<quint32> rows() const;

    std::unique_ptr<xcb_connection_t, Closer> m_connection;
    quint32 m_root = 0;
    int m_width = 0;
    int m_height = 0;
    QVector<quint32> m_before;
};
