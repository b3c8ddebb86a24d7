#include "video/avlog.h"

#include <QLoggingCategory>

#include <cstdarg>

extern "C" {
#include <libavutil/log.h>
}

namespace
{
Q_LOGGING_CATEGORY(libavLog, "libav")

void toQtLog(void *object, int level, const char *format, va_list arguments)
{
    if (level > av_log_get_level()) {
        return;
    }
    // A message may come in pieces; FFmpeg remembers here whether the next begins a line.
    static thread_local int startsLine = 1;
    char line[1024];
    av_log_format_line2(object, level, format, arguments, line, sizeof line, &startsLine);
    qCDebug(libavLog).noquote() << QString::fromUtf8(line).trimmed();
}
} // namespace

void routeAvLog(int level)
{
    av_log_set_level(level);
    av_log_set_callback(&toQtLog);
}
