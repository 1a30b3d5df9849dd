#include "packing/TableOffset.h"

#include <utility>

namespace Typeframe {

TableOffset::TableOffset(Bedrock::Counted<BigEndianBuffer> fieldBuffer, unsigned long fieldBase,
                         unsigned long fieldWidth, bool present)
    : buffer(std::move(fieldBuffer)), base(fieldBase), width(fieldWidth), isPresent(present) {
    if (!isPresent || !buffer) return;
    position = buffer->Tell();
    if (width == 4) {
        buffer->SetU32(0);
    } else {
        buffer->SetU16(0);
    }
}

bool TableOffset::Set(unsigned int value) {
    if (!isPresent) return true;
    if (!buffer) return false;
    // A value below `base` wraps to a huge difference and so fails below.
    const uint64_t relative = static_cast<uint64_t>(value) - base;
    if (width == 4) return buffer->SetU32(position, static_cast<uint32_t>(relative));
    // Deliberately 0xFFFE, one below the 0xFFFF that the graph writer lets
    // through: a directly set 16-bit offset never takes the value 0xFFFF.
    if (relative > 0xFFFE) return false;
    return buffer->SetU16(position, static_cast<uint16_t>(relative));
}

}  // namespace Typeframe
