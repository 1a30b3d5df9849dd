#pragma once

// The pairs that start with one covered glyph, in a format 1 pair
// adjustment: for each second glyph, the values of both glyphs.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/ValueRecord.h"
#include "packing/GraphNodeVisitable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class PairSetTable : public SubTable, public GraphNodeVisitable {
public:
    struct PairValueRecord {
        // Compares secondGlyph, value1, value2.
        bool operator<(const PairValueRecord& other) const;
        // The same order, three-way.
        static int Compare(const PairValueRecord& a, const PairValueRecord& b);

        uint16_t secondGlyph = 0;
        ValueRecord value1;
        ValueRecord value2;
    };

    PairSetTable() = default;
    PairSetTable(Bedrock::NonCounted<OTFont> setFont, ValueRecord::ValueRecordFlags format1,
                 ValueRecord::ValueRecordFlags format2);

    // Reads at the buffer's position; device offsets count from there. False,
    // with nothing changed, when the count doesn't fit; otherwise keeps the
    // records the bytes hold.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget` (see SubTable::GetLoadBudget), reduced by what
    // this keeps.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // Writes the count and up to 65535 records; value devices become children.
    unsigned long Save(TableGraph& graph) const;
    // Compares records, lexicographically.
    bool IsLessThan(const GraphNode& other) const override;
    // Visits this pair set, then value1 and value2 of each record.
    void Accept(GraphNodeVisitor& visitor) override;

    Bedrock::NonCounted<OTFont> font;
    ValueRecord::ValueRecordFlags valueFormat1 = 0;
    ValueRecord::ValueRecordFlags valueFormat2 = 0;
    std::vector<PairValueRecord> records;
};

}  // namespace Typeframe
