#pragma once

// A delta-set index map: for each glyph (or other item) the outer and inner
// index of its delta set in an item variation store. HVAR and VVAR hold up
// to four of them.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"

namespace Typeframe {

class OTFont;

class DeltaSetIndexMap : public Bedrock::Countable {
public:
    struct IndexEntry {
        uint16_t outerIndex = 0;
        uint16_t innerIndex = 0;
    };

    explicit DeltaSetIndexMap(Bedrock::NonCounted<OTFont> owner = nullptr) : font(owner) {}
    DeltaSetIndexMap(const DeltaSetIndexMap& other) = default;
    DeltaSetIndexMap& operator=(const DeltaSetIndexMap& other) = default;

    // Reads the map at the buffer's position. Reads are not checked: entries
    // past the end of the bytes read as (0, 0), and the result is true.
    virtual bool Load(Bedrock::Counted<BigEndianBuffer> buffer);

    // False on an empty map; otherwise the glyph's entry, where a glyph at or
    // past the end of the map takes the last one.
    bool GetIndexEntry(unsigned short glyph, IndexEntry& entry) const;

    // Bytes per entry and bits of the inner index, from entryFormat.
    unsigned int GetEntrySize() const { return ((entryFormat >> 4) & 3u) + 1; }
    unsigned int GetInnerBitCount() const { return (entryFormat & 15u) + 1; }

    Bedrock::NonCounted<OTFont> font;
    uint8_t format = 0;
    uint8_t entryFormat = 0;
    // The count the map declares; 16 bits in format 0, 32 in any other.
    uint32_t mapCount = 0;
    // The entries the bytes hold: never more than mapCount, and fewer when
    // the map is cut short.
    std::vector<IndexEntry> entries;
};

}  // namespace Typeframe
