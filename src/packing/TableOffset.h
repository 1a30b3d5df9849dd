#pragma once

// One offset field inside a node's buffer: where it lies, how wide it is and
// from where it counts. Constructing a present offset writes its zero
// placeholder at the buffer's position, so offsets are made in field order.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"

namespace Typeframe {

class TableOffset {
public:
    TableOffset() = default;
    // When `isPresent`, records the buffer's position and writes a zero U32
    // (width 4) or U16 (any other width) there; otherwise writes nothing, so
    // a field that exists only in some versions needs no branch around it.
    TableOffset(Bedrock::Counted<BigEndianBuffer> fieldBuffer, unsigned long fieldBase, unsigned long fieldWidth,
                bool present);

    // Stores `value - base` in the field directly, for writers that do not go
    // through the graph. An absent field: true, nothing written. Width 4: no
    // range test. Otherwise false, with nothing written, above 0xFFFE.
    bool Set(unsigned int value);

    // The buffer in which the field lies.
    Bedrock::Counted<BigEndianBuffer> buffer;
    // The position from which the offset counts (0 for a subtable that owns its buffer).
    uint64_t base = 0;
    // The position of the field; 0 until a placeholder has been written.
    uint64_t position = 0;
    // Bytes in the field: 2 or 4.
    uint64_t width = 2;
    // Whether the field exists in this table at all.
    bool isPresent = false;
};

}  // namespace Typeframe
