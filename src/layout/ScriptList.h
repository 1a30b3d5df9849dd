#pragma once

// The script list of GSUB and GPOS: one record per script, each a tag and the
// script it names, kept in file order.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/Tag.h"
#include "layout/ScriptTable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class ScriptList : public SubTable {
public:
    struct ScriptRecord {
        // By tag, then by script under the graph's node order.
        bool operator<(const ScriptRecord& other) const;

        Tag tag = 0;
        ScriptTable scriptTable;
    };

    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the two-byte count doesn't fit. Otherwise sets
    // isPresent and keeps the records that the bytes hold, each with the
    // script its offset leads to; one that lies past the end stays empty.
    // What one load keeps is bounded by SubTable::GetLoadBudget.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    unsigned long Save(TableGraph& graph) const;
    bool IsLessThan(const GraphNode& other) const override;

    // In file order, never sorted.
    std::vector<ScriptRecord> scriptRecords;
    // Whether the list was in the file.
    bool isPresent = false;
};

}  // namespace Typeframe
