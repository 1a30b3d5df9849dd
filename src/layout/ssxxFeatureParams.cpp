#include "layout/ssxxFeatureParams.h"

#include <tuple>

namespace Typeframe {

namespace {

constexpr unsigned long kSize = 4;

}  // namespace

bool ssxxFeatureParams::IsLessThan(const GraphNode& other) const {
    const ssxxFeatureParams& that = static_cast<const ssxxFeatureParams&>(other);
    if (const int fonts = CompareFonts(font.Get(), that.font.Get())) return fonts < 0;
    return std::tie(version, uiNameID) < std::tie(that.version, that.uiNameID);
}

bool ssxxFeatureParams::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source || !source->IsInBounds(source->Tell(), kSize)) return false;
    source->GetU16(version);
    source->GetU16(uiNameID);
    return true;
}

unsigned long ssxxFeatureParams::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    out.SetU16(version);
    out.SetU16(uiNameID);
    return index;
}

}  // namespace Typeframe
