#include "coreai/reading/framereader.h"

#include "coreai/reading/linecut.h"

namespace coreai
{
void FrameReader::cut(const cv::Mat &picture)
{
    m_lines.clear();
    m_next = 0;
    m_unread = 0;
    for (CutLine &cutLine : cutLines(picture)) {
        Line &line = m_lines.emplace_back();
        line.box = cutLine.box;
        line.key = LineKey::of(cutLine.bitmap);
        line.text = m_cache->find(line.key);
        if (!line.text) {
            line.bitmap = std::move(cutLine.bitmap);
            ++m_unread;
        }
    }
    m_cut = true;
}

void FrameReader::readNext(const Recognize &recognize)
{
    while (m_lines[m_next].text) {
        ++m_next;
    }
    read(m_next, recognize);
}

void FrameReader::read(std::size_t index, const Recognize &recognize)
{
    Line &line = m_lines[index];
    if (line.text || line.bitmap.empty()) {
        return;
    }
    line.text = m_cache->find(line.key);
    if (!line.text) {
        line.text = recognize(line.bitmap);
        if (line.text) {
            m_cache->store(line.key, *line.text);
        } else {
            line.text = LineText();
        }
    }
    line.bitmap.release();
    --m_unread;
}

void FrameReader::dropBitmaps()
{
    if (isComplete()) {
        return;
    }
    for (Line &line : m_lines) {
        line.bitmap.release();
    }
    m_cut = false;
}
} // namespace coreai
