#include "support/logcapture.h"

#include <algorithm>

LogCapture *LogCapture::s_active = nullptr;

LogCapture::LogCapture()
{
    Q_ASSERT(!s_active);
    s_active = this;
    m_previous = qInstallMessageHandler(&LogCapture::handle);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previous);
    s_active = nullptr;
}

void LogCapture::handle(QtMsgType level, const QMessageLogContext &context, const QString &text)
{
    LogCapture *capture = s_active;
    if (!capture) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(capture->m_mutex);
        capture->m_entries.append({level, text});
    }
    if (capture->m_previous) {
        capture->m_previous(level, context, text);
    }
}

QStringList LogCapture::texts() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    QStringList result;
    for (const Entry &entry : m_entries) {
        result.append(entry.text);
    }
    return result;
}

QStringList LogCapture::texts(QtMsgType level) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    QStringList result;
    for (const Entry &entry : m_entries) {
        if (entry.level == level) {
            result.append(entry.text);
        }
    }
    return result;
}

int LogCapture::count(QtMsgType level, const QString &part) const
{
    const QStringList matching = texts(level);
    return static_cast<int>(
        std::count_if(matching.begin(), matching.end(),
                      [&part](const QString &text) { return text.contains(part); }));
}

void LogCapture::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_entries.clear();
}
