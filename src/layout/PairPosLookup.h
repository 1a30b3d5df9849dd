#pragma once

// GPOS lookup type 2: adjustments of glyph pairs, listed per first glyph in
// pair sets (format 1) or given per pair of glyph classes (format 2).

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/ClassDefinitionTable.h"
#include "layout/CoverageTable.h"
#include "layout/LookupSubTable.h"
#include "layout/PairSetTable.h"
#include "layout/ValueRecord.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class PairPosLookup : public LookupSubTable {
public:
    // Reads at the buffer's position; offsets count from there. False for a
    // format other than 1 or 2, and, with nothing changed, when the header
    // doesn't fit. Format 1 keeps the pair-set offsets the bytes hold; format
    // 2 keeps the whole rows of class values that the bytes (and the load
    // budget) hold and lowers class1Count to match. A child that is missing
    // or doesn't load stays empty.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // For a format other than 1 or 2 the node holds only the start of the
    // header, and 0 is returned rather than this node's index.
    unsigned long Save(TableGraph& graph) const override;
    uint16_t GetType() const override { return 2; }
    Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<PairPosLookup>(*this); }
    // Compares format, coverage, valueFormat1, valueFormat2, pairSets,
    // classDef1, classDef2, class1Count, class2Count, classValues; children
    // by node.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this lookup, then each pair set, then each class value.
    void Accept(GraphNodeVisitor& visitor) override;

    uint16_t format = 0;
    CoverageTable coverage;
    ValueRecord::ValueRecordFlags valueFormat1 = 0;
    ValueRecord::ValueRecordFlags valueFormat2 = 0;
    // Format 1.
    std::vector<PairSetTable> pairSets;
    // Format 2.
    ClassDefinitionTable classDef1;
    ClassDefinitionTable classDef2;
    uint16_t class1Count = 0;
    uint16_t class2Count = 0;
    // Two per class pair, class1 major, value1 before value2.
    std::vector<ValueRecord> classValues;
};

}  // namespace Typeframe
