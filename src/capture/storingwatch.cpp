#include "capture/storingwatch.h"

#include <QDebug>

namespace
{
const char *reasonOf(StoringWatch::Loss loss)
{
    switch (loss) {
    case StoringWatch::Loss::NoPicture:
        return "the screen gives no picture";
    case StoringWatch::Loss::NoApplication:
        return "no desktop entry is known for the application in front";
    case StoringWatch::Loss::NotWritten:
        return "pictures or rows cannot be written, the disk may be full";
    }
    return "";
}
} // namespace

void StoringWatch::lost(Loss loss, qint64 nowMs)
{
    if (m_firstLossMs < 0 || nowMs - m_lastLossMs > PAUSE_MS) {
        m_firstLossMs = nowMs;
    }
    m_lastLossMs = nowMs;
    if (!m_isTold && nowMs - m_firstLossMs >= PATIENCE_MS) {
        m_isTold = true;
        qWarning() << "Recording is on, but no frame could be stored for"
                   << (nowMs - m_firstLossMs) / 60000 << "minutes:" << reasonOf(loss);
    }
}

void StoringWatch::stored()
{
    if (m_isTold) {
        qDebug() << "Frames are stored again";
    }
    reset();
}

void StoringWatch::reset()
{
    m_firstLossMs = -1;
    m_isTold = false;
}
