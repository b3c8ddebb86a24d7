#pragma once
// Owners for what PipeWire hands out. Only on the thread of the loop that the handles belong to.

#include <pipewire/pipewire.h>

#include <memory>

struct PwLoopDelete {
    void operator()(pw_loop *loop) const
    {
        pw_loop_leave(loop);
        pw_loop_destroy(loop);
    }
};

struct PwContextDelete {
    void operator()(pw_context *context) const { pw_context_destroy(context); }
};

struct PwCoreDelete {
    void operator()(pw_core *core) const { pw_core_disconnect(core); }
};

struct PwStreamDelete {
    void operator()(pw_stream *stream) const { pw_stream_destroy(stream); }
};

using PwLoopPtr = std::unique_ptr<pw_loop, PwLoopDelete>; ///< entered when it was made
using PwContextPtr = std::unique_ptr<pw_context, PwContextDelete>;
using PwCorePtr = std::unique_ptr<pw_core, PwCoreDelete>;
using PwStreamPtr = std::unique_ptr<pw_stream, PwStreamDelete>;
