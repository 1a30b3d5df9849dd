#pragma once

// A plain holder of a host's bytes: a pointer and a length, no ownership.
// Hosts that keep raw tables hand them to the library in this form.

#include <cstddef>
#include <cstdint>

#include "base/Counted.h"

namespace Bedrock {

class BigEndianBuffer : public Countable {
public:
    BigEndianBuffer(const void* bytes, size_t length) : m_bytes(static_cast<const uint8_t*>(bytes)), m_length(length) {}

    const uint8_t* GetBuffer() const { return m_bytes; }
    size_t GetLength() const { return m_length; }

private:
    const uint8_t* m_bytes;
    size_t m_length;
};

}  // namespace Bedrock
