#include "coreai/reading/framereader.h"

#include "coreai/reading/linecut.h"

#include <algorithm>

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
    if (!line.text && !line.bitmap.empty() && !takeFromCache(line)) {
        settle(line, recognize(line.bitmap));
    }
}

bool FrameReader::takeFromCache(Line &line)
{
    line.text = m_cache->find(line.key);
    if (line.text) {
        line.bitmap.release();
        --m_unread;
    }
    return line.text.has_value();
}

void FrameReader::settle(Line &line, const std::optional<LineText> &text)
{
    if (text) {
        m_cache->store(line.key, *text);
    }
    line.text = text.value_or(LineText());
    line.bitmap.release();
    --m_unread;
}

void FrameReader::readNextTogether(const RecognizeAll &recognize)
{
    const std::vector<std::size_t> chosen = nextTogether();
    if (chosen.empty()) {
        return;
    }
    std::vector<cv::Mat> bitmaps;
    bitmaps.reserve(chosen.size());
    for (const std::size_t index : chosen) {
        bitmaps.push_back(m_lines[index].bitmap);
    }
    const auto texts = recognize(bitmaps);
    for (std::size_t place = 0; place < std::min(chosen.size(), texts.size()); ++place) {
        settle(m_lines[chosen[place]], texts[place]);
    }
}

// A line that stands there twice is chosen once; the other is in the cache then.
std::vector<std::size_t> FrameReader::nextTogether()
{
    std::vector<std::size_t> chosen;
    double together = 0;
    for (std::size_t index = m_next; index < m_lines.size(); ++index) {
        Line &line = m_lines[index];
        const auto isSame = [&](std::size_t other) { return m_lines[other].key == line.key; };
        if (line.text || takeFromCache(line) || std::any_of(chosen.begin(), chosen.end(), isSame)) {
            continue;
        }
        const bool last = m_unread == int(chosen.size()) + 1;
        if (chosen.size() >= 2 && together >= mostTogether && !last) {
            break;
        }
        together += double(line.box.width) / line.box.height;
        chosen.push_back(index);
    }
    return chosen;
}

void FrameReader::dropBitmaps()
{
    if (!isComplete()) {
        startAgain();
    }
}

void FrameReader::startAgain()
{
    for (Line &line : m_lines) {
        line.bitmap.release();
    }
    m_cut = false;
}
} // namespace coreai
