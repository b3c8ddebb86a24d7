#include "paintedday.h"

PaintedDay::PaintedDay(const QList<int> &frames)
{
    for (int run = 0; run < frames.size(); ++run) {
        if (run > 0) {
            m_pixels.insert(m_pixels.size(), 8, 0);
        }
        for (int frame = 0; frame < frames.at(run); ++frame) {
            m_pixels.insert(m_pixels.size(), 8, ++m_frames);
        }
    }
    m_width = m_pixels.size();
}

int PaintedDay::frameAt(int x) const
{
    // A place x lies on the right edge of a pixel, so that a bar's end belongs to it.
    if (x > m_width + 7) {
        return m_frames;
    }
    if (x > m_width) {
        return 0;
    }
    if (x > 0 && m_pixels.at(x - 1) != 0) {
        return m_pixels.at(x - 1);
    }
    // The left edge of a bar is taken for its first pixel.
    return x < m_width ? m_pixels.at(x) : 0;
}

int PaintedDay::middleOf(int frame) const
{
    if (frame > m_frames) {
        return m_width + (frame - m_frames - 1) * 8 + 4;
    }
    return m_pixels.indexOf(frame) + 4;
}
