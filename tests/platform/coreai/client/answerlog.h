#pragma once
// The answers that a text-recognition session's callback was given, in order. Written on the
// library's thread, read on the test's.

#include "coreai/coreaivision.h"

#include <QPoint>
#include <QStringList>
#include <QVector>

#include <mutex>

struct AnsweredLine {
    QString text;
    QVector<QPoint> corners;
    bool hasCorners = false;
};

struct Answered {
    bool isNull = false;
    bool hasArray = false; // false: the interface gave no lines at all
    QVector<AnsweredLine> lines;
};

class AnswerLog
{
public:
    static void take(TextRecognitionResult *result, void *userData)
    {
        Answered answered;
        answered.isNull = result == nullptr;
        int32_t count = -1;
        TextLine *const *lines =
            result ? text_recognition_result_get_text_lines(result, &count) : nullptr;
        answered.hasArray = lines != nullptr;
        for (int32_t index = 0; lines && index < count; ++index) {
            AnsweredLine line;
            line.text = QString::fromUtf8(text_line_get_value(lines[index]));
            int32_t corners = -1;
            const TextPoint *points = text_line_get_corner_points(lines[index], &corners);
            line.hasCorners = points != nullptr;
            for (int32_t corner = 0; points && corner < corners; ++corner) {
                line.corners << QPoint(points[corner].x, points[corner].y);
            }
            answered.lines << line;
        }
        auto *log = static_cast<AnswerLog *>(userData);
        const std::lock_guard lock(log->m_mutex);
        log->m_answers << answered;
    }

    int count() const
    {
        const std::lock_guard lock(m_mutex);
        return m_answers.size();
    }

    QVector<Answered> answers() const
    {
        const std::lock_guard lock(m_mutex);
        return m_answers;
    }

    // First line of each answer, "null" or "empty" where there is none.
    QStringList firstLines() const
    {
        QStringList texts;
        for (const Answered &answered : answers()) {
            texts << (answered.isNull            ? QStringLiteral("null")
                      : answered.lines.isEmpty() ? QStringLiteral("empty")
                                                 : answered.lines.first().text);
        }
        return texts;
    }

private:
    mutable std::mutex m_mutex; // not Qt's, which the thread sanitizer does not see
    QVector<Answered> m_answers;
};
