#pragma once

// A layout feature: the lookups it runs, by index into the lookup list, and
// the parameters that some features carry. The feature's tag lives in the
// feature list's record, but a copy is kept here because the tag decides
// which parameters class a load makes.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "core/Tag.h"
#include "layout/FeatureParams.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class FeatureTable : public SubTable {
public:
    // Reads at the buffer's position; the parameters offset counts from
    // there. `tag` (and `font`) are set beforehand. False, with nothing
    // changed, when the four-byte header doesn't fit. Otherwise keeps the
    // indices that the bytes (and the budget) hold, and, for a non-zero
    // parameters offset, the parameters MakeFeatureParams(tag) makes; a tag
    // with no parameters class drops them. Parameters past the end stay at
    // their zero fields.
    bool Load(Bedrock::Counted<BigEndianBuffer> source);
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget);
    // Saves the parameters, when there are any, after the feature's own bytes.
    unsigned long Save(TableGraph& graph) const;
    // Compares `font` (as a pointer), `tag`, `featureParams` (as a pointer,
    // never by contents) and `lookupListIndices`.
    bool IsLessThan(const GraphNode& other) const override;

    // "ssxx" for a tag whose first two bytes are "ss", "cvxx" for "cv",
    // otherwise the tag itself. Only two bytes are looked at, so ssty is
    // taken as a stylistic set.
    static Tag GetFeaturePrefix(unsigned int tag);
    // New, empty parameters for the tag's prefix: ssxx, size or cvxx; null
    // for any other tag.
    static Bedrock::Counted<FeatureParams> MakeFeatureParams(unsigned int tag);

    Bedrock::NonCounted<OTFont> font;
    // 0 for a feature that is no list's record (an alternate from a feature
    // variation).
    Tag tag = 0;
    // Null when the feature has no parameters. Shared by copies.
    Bedrock::Counted<FeatureParams> featureParams;
    // In file order, never sorted.
    std::vector<uint16_t> lookupListIndices;
};

}  // namespace Typeframe
