#include "core/Util.h"

#include <bit>

namespace Typeframe {

unsigned short Util::MaxPower2LE(unsigned short n) {
    return n == 0 ? 0 : static_cast<unsigned short>(std::bit_floor(n));
}

unsigned short Util::Log2(unsigned short n) { return n <= 1 ? 0 : static_cast<unsigned short>(std::bit_width(n) - 1); }

}  // namespace Typeframe
