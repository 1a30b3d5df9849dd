#pragma once

// The parameters of the "size" feature: the design size and the range of
// sizes the face is meant for, with the name of its subfamily.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/FeatureParams.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class sizeFeatureParams : public FeatureParams {
public:
    using FeatureParams::Load;

    // Compares `font` (as a pointer), then the five fields in order.
    bool IsLessThan(const GraphNode& other) const override;
    Bedrock::Counted<FeatureParams> Clone() const override { return Bedrock::MakeCounted<sizeFeatureParams>(*this); }
    // Reads the five fields; false, with nothing changed, when they don't fit.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    unsigned long Save(TableGraph& graph) const override;

    // In tenths of a point, like the range.
    uint16_t designSize = 0;
    uint16_t subfamilyID = 0;
    uint16_t subfamilyNameID = 0;
    uint16_t rangeStart = 0;
    uint16_t rangeEnd = 0;
};

}  // namespace Typeframe
