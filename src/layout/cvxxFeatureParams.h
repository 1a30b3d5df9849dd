#pragma once

// The parameters of the character variants cv01 to cv99 (and of any feature
// whose tag starts with "cv"): the names of the feature's labels and sample
// text, and the characters it applies to.
//
// Deliberately, the characters are read four bytes each and written three
// bytes each, so a load and a save don't round-trip (see Load and Save).

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/FeatureParams.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class cvxxFeatureParams : public FeatureParams {
public:
    // Compares `font` (as a pointer), then the fields in order, `characters` last.
    bool IsLessThan(const GraphNode& other) const override;
    Bedrock::Counted<FeatureParams> Clone() const override { return Bedrock::MakeCounted<cvxxFeatureParams>(*this); }
    // Reads the six fields and the count (false, with nothing changed, when
    // they don't fit), then as many characters as the bytes hold, each read
    // as a U32.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    // The same, keeping no more characters than `budget` allows.
    bool Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) override;
    // Writes the six fields, the count (at most 0xFFFF) and each character
    // as a U24.
    unsigned long Save(TableGraph& graph) const override;

    uint16_t format = 0;
    uint16_t featUILabelNameID = 0;
    uint16_t featUITooltipTextNameID = 0;
    uint16_t sampleTextNameID = 0;
    uint16_t numNamedParameters = 0;
    uint16_t firstParamUILabelNameID = 0;
    std::vector<uint32_t> characters;
};

}  // namespace Typeframe
