#include "variations/DeltaSetIndexMap.h"

#include <algorithm>

namespace Typeframe {

bool DeltaSetIndexMap::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    format = 0;
    entryFormat = 0;
    mapCount = 0;
    entries.clear();
    if (!buffer) return true;
    BigEndianBuffer& in = *buffer;
    in.GetU8(format);
    in.GetU8(entryFormat);
    if (format == 0) {
        uint16_t count = 0;
        in.GetU16(count);
        mapCount = count;
    } else {
        in.GetU32(mapCount);
    }

    const unsigned int size = GetEntrySize();
    const unsigned int innerBits = GetInnerBitCount();
    // An entry that does not fit fails to read, and so does every one after
    // it: only the entries the bytes hold are kept.
    const unsigned long present = std::min<unsigned long>(mapCount, in.GetRemaining() / size);
    entries.reserve(present);
    for (unsigned long i = 0; i < present; ++i) {
        uint32_t value = 0;
        switch (size) {
            case 1: {
                uint8_t byte = 0;
                in.GetU8(byte);
                value = byte;
                break;
            }
            case 2: {
                uint16_t word = 0;
                in.GetU16(word);
                value = word;
                break;
            }
            case 3: in.GetU24(value); break;
            default: in.GetU32(value); break;
        }
        IndexEntry entry;
        entry.outerIndex = static_cast<uint16_t>((value >> innerBits) & 0xFFFFu);
        entry.innerIndex = static_cast<uint16_t>(value & ((uint32_t(1) << innerBits) - 1));
        entries.push_back(entry);
    }
    return true;
}

bool DeltaSetIndexMap::GetIndexEntry(unsigned short glyph, IndexEntry& entry) const {
    if (mapCount == 0) return false;
    // Deliberate: a glyph past the end of the map takes the last entry.
    const uint32_t index = std::min<uint32_t>(glyph, mapCount - 1);
    entry = index < entries.size() ? entries[index] : IndexEntry();
    return true;
}

}  // namespace Typeframe
