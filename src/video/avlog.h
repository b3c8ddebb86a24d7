#pragma once
// Where FFmpeg's own messages go: the Qt log, in the category "libav", apart from the program's
// messages, which are in the default category. Process-wide; any thread.

/// Sets FFmpeg's log level to @p level (AV_LOG_...) and sends what passes it to the Qt log.
void routeAvLog(int level);
