#include "base/Trace.h"

#include <atomic>
#include <memory>
#include <mutex>

namespace Bedrock {

namespace {

using Sink = std::function<void(const char*)>;

struct TraceState {
    std::mutex mutex;
    std::shared_ptr<const Sink> sink;
};

std::atomic<bool> g_enabled{false};

// Never destroyed, so that a trace from a static destructor stays safe.
TraceState& GetState() {
    static TraceState* state = new TraceState;
    return *state;
}

}  // namespace

void SetTraceSink(std::function<void(const char*)> sink) {
    std::shared_ptr<const Sink> shared;
    if (sink) shared = std::make_shared<const Sink>(std::move(sink));
    TraceState& state = GetState();
    std::lock_guard lock(state.mutex);
    g_enabled.store(shared != nullptr);
    state.sink = std::move(shared);
}

bool IsTraceEnabled() noexcept { return g_enabled.load(); }

void Trace(const char* message) noexcept {
    if (!message || !g_enabled.load()) return;
    std::shared_ptr<const Sink> sink;
    {
        TraceState& state = GetState();
        std::lock_guard lock(state.mutex);
        sink = state.sink;
    }
    // Called outside the lock, so that a sink may trace or reset itself.
    if (sink) (*sink)(message);
}

void Trace(const Utf8String& message) noexcept { Trace(message.GetBuffer()); }

}  // namespace Bedrock
