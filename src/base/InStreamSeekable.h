#pragma once

// A readable, seekable byte source.

#include <cstdint>

#include "base/Counted.h"

namespace Bedrock {

class InStreamSeekable : public virtual Countable {
public:
    enum SeekOrigin : int { kSeekFromStart = 1, kSeekFromCurrent = 2, kSeekFromEnd = 3 };

    // Reads up to count bytes to dest and returns how many were read; a short
    // read leaves the rest of dest as it was.
    virtual uint64_t Read(void* dest, uint64_t count) = 0;
    // Moves to offset from the origin. False, with the position unchanged,
    // for an unknown origin or a position before the start or past the end.
    virtual bool Seek(int origin, int64_t offset) = 0;
    virtual uint64_t GetSize() const = 0;
    virtual uint64_t GetPosition() const = 0;

protected:
    // The position a seek leads to from position in a stream of size bytes,
    // computed so that it cannot wrap; false if there is none.
    static bool ResolveSeek(int origin, int64_t offset, uint64_t position, uint64_t size, uint64_t& result);
};

}  // namespace Bedrock
