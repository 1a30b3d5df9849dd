#pragma once

// A language system of a layout script: the features that apply to one
// language, by index into the feature list. It has no offsets, so its node in
// a table graph is a leaf.
//
// The script-side classes (ScriptList, ScriptTable, LangSysRecord) all
// include this header and share its budget, which keeps one load of a script
// list proportional to its bytes.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class LangSys : public SubTable {
public:
    // The most entries a 16-bit count can announce; Save writes no more.
    static constexpr size_t kMaxCount = 0xFFFF;

    // Reads at the buffer's position. False, with nothing changed, when the
    // six-byte header doesn't fit; otherwise sets isPresent and keeps the
    // indices that the bytes (and the budget) hold.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget`, the bytes of entries that the rest of one
    // load may still keep; reduced by what this keeps.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    unsigned long Save(TableGraph& graph) const;
    bool IsLessThan(const GraphNode& other) const override;

    // How many bytes of records and indices one load of a script list (or of
    // any part of one) may keep: 16 MiB plus twice the buffer's length.
    // Records that point at one shared child load a copy each, so a hostile
    // list could multiply a small file into a huge object tree. A list that
    // shares nothing stays well under 16 MiB (its 16-bit offsets reach less
    // than half a MiB of bytes), which leaves real fonts ample room to share.
    static uint64_t GetLoadBudget(const BigEndianBuffer& bytes);

    // False until a Load succeeds: a script without a default language
    // system keeps a default that is not present.
    bool isPresent = false;
    uint16_t lookupOrder = 0;
    // 0xFFFF: no required feature, for a language system made in memory.
    uint16_t requiredFeatureIndex = 0xFFFF;
    // In file order, never sorted.
    std::vector<uint16_t> featureIndices;
};

}  // namespace Typeframe
