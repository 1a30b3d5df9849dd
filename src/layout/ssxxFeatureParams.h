#pragma once

// The parameters of the stylistic sets ss01 to ss20 (and of any feature whose
// tag starts with "ss"): a version and the name id of the set's label.

#include <cstdint>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/FeatureParams.h"
#include "packing/TableGraph.h"

namespace Typeframe {

class ssxxFeatureParams : public FeatureParams {
public:
    using FeatureParams::Load;

    // Compares `font` (as a pointer), `version`, `uiNameID`.
    bool IsLessThan(const GraphNode& other) const override;
    Bedrock::Counted<FeatureParams> Clone() const override { return Bedrock::MakeCounted<ssxxFeatureParams>(*this); }
    // Reads the two fields; false, with nothing changed, when they don't fit.
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override;
    unsigned long Save(TableGraph& graph) const override;

    uint16_t version = 0;
    uint16_t uiNameID = 0;
};

}  // namespace Typeframe
