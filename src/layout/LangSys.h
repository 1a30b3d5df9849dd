#pragma once

// A language system of a layout script: the features that apply to one
// language, by index into the feature list. It has no offsets, so its node in
// a table graph is a leaf.

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
    // Reads at the buffer's position. False, with nothing changed, when the
    // six-byte header doesn't fit; otherwise sets isPresent and keeps the
    // indices that the bytes (and the budget) hold.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    // The same within `budget`, the bytes of entries that the rest of one
    // load may still keep; reduced by what this keeps.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    unsigned long Save(TableGraph& graph) const;
    bool IsLessThan(const GraphNode& other) const override;

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
