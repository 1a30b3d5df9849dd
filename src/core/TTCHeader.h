#pragma once

// The header of a font collection: its version and the offsets of the
// offset tables of its fonts.

#include <vector>

#include "base/Counted.h"
#include "core/Tag.h"

namespace Typeframe {

class OTFile;

class TTCHeader : public Bedrock::Countable {
public:
    // Null unless the file starts with a collection header of version 1.0 or 2.0.
    static Bedrock::Counted<TTCHeader> ReadTTCHeader(Bedrock::NonCounted<OTFile> file);

    int GetDirectoryCount() const { return static_cast<int>(directoryOffsets.size()); }
    // 0 for a negative or out-of-range index.
    uint32_t GetDirectoryOffset(int index) const;

    Tag tag = 0;
    uint32_t version = 0;
    std::vector<uint32_t> directoryOffsets;
    // Kept from a version 2.0 header, never used.
    uint32_t dsigTag = 0;
    uint32_t dsigOffset = 0;
    uint32_t dsigLength = 0;
};

}  // namespace Typeframe
