#pragma once

// A byte sink written strictly forward.

#include <cstdint>

#include "base/Counted.h"

namespace Bedrock {

class OutStream : public virtual Countable {
public:
    // Writes count bytes in order; false if they could not all be written.
    virtual bool Write(const void* data, uint64_t count) = 0;
    // The number of bytes written so far.
    virtual uint64_t GetPosition() const = 0;
};

}  // namespace Bedrock
