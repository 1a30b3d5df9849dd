#pragma once

// GPOS lookup type 3: entry and exit anchors of covered glyphs, joined glyph
// to glyph in cursive scripts.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/AnchorTable.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class CursivePosLookup : public LookupSubTable {
public:
    struct EntryExitRecord {
        // Compares entryAnchor, then exitAnchor, by node.
        bool operator<(const EntryExitRecord& other) const;

        // Format 0 where the file has no anchor.
        AnchorTable entryAnchor;
        AnchorTable exitAnchor;
    };

    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the header doesn't fit; otherwise keeps the
    // records whose offsets the bytes hold. An anchor or coverage that is
    // missing or doesn't load stays empty.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // Unlike its kin, saves each child as soon as its offset is written:
    // the coverage first, then each record's entry and exit anchors.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return 3; }
    Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<CursivePosLookup>(*this); }
    // Compares format, coverage by node, entryExitRecords.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this lookup, then the entry and exit anchor of each record.
    void Accept(GraphNodeVisitor& visitor) override;

    uint16_t format = 0;
    CoverageTable coverage;
    std::vector<EntryExitRecord> entryExitRecords;
};

}  // namespace Typeframe
