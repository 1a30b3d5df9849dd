#pragma once

// A channel for developers' messages to the host's log. Silent until the
// host sets a sink; nothing the library computes depends on it. Messages
// carry their own line ends.

#include <functional>

#include "base/Format.h"
#include "base/String.h"

namespace Bedrock {

// The sink may be called from any thread, and must not throw. An empty
// function makes the channel silent again.
void SetTraceSink(std::function<void(const char*)> sink);
bool IsTraceEnabled() noexcept;

void Trace(const char* message) noexcept;
void Trace(const Utf8String& message) noexcept;

// Formats as FormatString does, and only when a sink is set.
template <class First, class... Rest>
void Trace(const char* format, const First& first, const Rest&... rest) {
    if (IsTraceEnabled()) Trace(FormatString(format, first, rest...));
}

}  // namespace Bedrock
