#pragma once

// The item variation store shared by HVAR, VVAR, MVAR, GDEF, BASE and CFF2:
// a list of regions in the design space and blocks of delta rows, each row
// holding one delta per region the block names. Read-only: nothing writes a
// store back; users read deltas from it and drop the table.
//
// The file's counts are kept as declared, but memory follows the bytes that
// are present: what lies past the end of the bytes is not stored, and the
// accessors give zeros for it, as a read past the end would have.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "core/BigEndianBuffer.h"
#include "variations/DeltaSetIndexMap.h"

namespace Typeframe {

class ItemVariationStore : public Bedrock::Countable {
public:
    class VariationRegion : public Bedrock::Countable {
    public:
        // The extent of a region on one axis, in normalised coordinates.
        struct Region {
            Fixed2_14 start;
            Fixed2_14 peak;
            Fixed2_14 end;
        };

        // False when the axis is out of range.
        bool GetRegion(unsigned short axis, Region& region) const;

        // One triple per axis. A region cut short by the end of the bytes
        // holds only the triples that were begun.
        std::vector<Region> axes;
    };

    class VariationRegionList : public Bedrock::Countable {
    public:
        // Reads at the buffer's position; reads are not checked.
        bool Load(BigEndianBuffer& buffer);

        unsigned short GetRegionCount() const { return regionCount; }
        // A region that lies past the end of the bytes comes back without
        // axes, which weighs the same as all-zero triples.
        bool GetVariationRegion(unsigned short index, VariationRegion& region) const;
        // The axis count of the first region; 0 when there are none.
        unsigned short GetAxisCount() const;

        uint16_t axisCount = 0;
        uint16_t regionCount = 0;
        std::vector<VariationRegion> regions;  // those the bytes reach
    };

    class VariationData : public Bedrock::Countable {
    public:
        // Reads at the buffer's position; reads are not checked. `budget` is
        // the number of values the caller still lets it keep, and is reduced
        // by what it keeps: blocks that overlap in a hostile store cannot
        // multiply memory. Rows beyond the budget read as zeros.
        bool Load(BigEndianBuffer& buffer, unsigned long& budget);

        // Values per row stored in the wide form (32-bit with long words,
        // else 16-bit); the rest are in the narrow one.
        unsigned short GetWordCount() const { return wordDeltaCount & 0x0FFFu; }
        bool HasLongWords() const { return (wordDeltaCount & 0x8000u) != 0; }

        // False when i is not below regionIndexCount.
        bool GetRegionIndex(unsigned short i, unsigned short& regionIndex) const;
        // The item's row, regionIndexCount values; false when the item is not
        // below itemCount.
        bool GetDeltaSet(unsigned short item, std::vector<int>& deltas) const;

        uint16_t itemCount = 0;
        uint16_t wordDeltaCount = 0;
        uint16_t regionIndexCount = 0;
        std::vector<uint16_t> regionIndexes;      // those the bytes hold
        std::vector<std::vector<int>> deltaSets;  // rows read; a row may be short
    };

    ItemVariationStore() = default;
    ItemVariationStore(const ItemVariationStore& other) = default;
    ItemVariationStore& operator=(const ItemVariationStore& other) = default;

    // Reads the store that starts at the buffer's position. Reads are not
    // checked: a cut store yields zeros and the result is true. Data blocks
    // whose offsets lie past the end of the bytes are not loaded.
    virtual bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // Stores are never written.
    virtual bool Save() { return false; }

    // The store's bytes, from its start to where Load stopped.
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const { return buffer; }
    bool GetVariationRegion(unsigned short index, VariationRegion& region) const;
    bool GetVariationData(unsigned short index, VariationData& variationData) const;
    // One delta per region of the region list (regionCount values), each
    // region's delta taken from the row the entry selects; regions the row
    // does not name are 0, and a region index past the list is passed over.
    // False when the outer or inner index is out of range.
    bool GetDeltaSet(DeltaSetIndexMap::IndexEntry entry, std::vector<int>& deltas) const;

    uint16_t format = 0;
    uint32_t regionListOffset = 0;
    uint16_t dataCount = 0;
    std::vector<uint32_t> dataOffsets;  // those the bytes hold
    VariationRegionList regionList;
    std::vector<VariationData> data;  // one per offset in dataOffsets
    Bedrock::Counted<BigEndianBuffer> buffer;
};

}  // namespace Typeframe
