#pragma once
// A day of the axis painted pixel by pixel, as the plain way to know which frame lies where. Owner:
// a test. Any thread.

#include <QList>
#include <QVector>

class PaintedDay
{
public:
    /// @p frames of each run, in order; at least one run.
    explicit PaintedDay(const QList<int> &frames);

    int width() const { return m_width; } ///< to the end of the last bar
    int frames() const { return m_frames; }

    /// The frame that the pixel at @p x asks for; 0 in a gap.
    int frameAt(int x) const;

    /// Where the middle of frame @p frame lies; beyond the last frame as if the last bar went on.
    int middleOf(int frame) const;

private:
    QVector<int> m_pixels; ///< by pixel: the frame, 0 for empty space
    int m_width = 0;
    int m_frames = 0;
};
