#include "base/InStreamSeekable.h"

namespace Bedrock {

bool InStreamSeekable::ResolveSeek(int origin, int64_t offset, uint64_t position, uint64_t size, uint64_t& result) {
    uint64_t base;
    switch (origin) {
        case kSeekFromStart: base = 0; break;
        case kSeekFromCurrent: base = position < size ? position : size; break;
        case kSeekFromEnd: base = size; break;
        default: return false;
    }
    if (offset < 0) {
        const uint64_t back = uint64_t(0) - static_cast<uint64_t>(offset);
        if (back > base) return false;
        result = base - back;
    } else {
        const uint64_t forward = static_cast<uint64_t>(offset);
        if (forward > size - base) return false;
        result = base + forward;
    }
    return true;
}

}  // namespace Bedrock
