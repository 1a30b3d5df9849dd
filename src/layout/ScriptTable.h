#pragma once

// A layout script: its default language system, when it has one, and its
// named language systems, kept in file order.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/LangSys.h"
#include "layout/LangSysRecord.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class ScriptTable : public SubTable {
public:
    // Reads at the buffer's position; offsets count from there. False, with
    // nothing changed, when the four-byte header doesn't fit. Otherwise the
    // records that the bytes (and the budget) hold are kept, each with the
    // language system its offset leads to; one that lies past the end stays
    // empty. A zero default offset leaves `defaultLangSys` not present.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // Saves the default language system, when present, then each record.
    unsigned long Save(TableGraph& graph) const;
    bool IsLessThan(const GraphNode& other) const override;

    LangSys defaultLangSys;
    // In file order, never sorted.
    std::vector<LangSysRecord> langSysRecords;
};

}  // namespace Typeframe
