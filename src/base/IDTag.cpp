#include "base/IDTag.h"

namespace Bedrock {

void IDTag::AppendTo(Utf8String& out) const {
    if (tag == 0) {
        out.Append("<>", 2);
        return;
    }
    const char bytes[4] = {static_cast<char>(tag >> 24), static_cast<char>(tag >> 16), static_cast<char>(tag >> 8),
                           static_cast<char>(tag)};
    out.Append(bytes, 4);
}

Utf8String IDTag::ToString() const {
    Utf8String text;
    AppendTo(text);
    return text;
}

}  // namespace Bedrock
