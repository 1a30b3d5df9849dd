#include "layout/sizeFeatureParams.h"

#include <tuple>

namespace Typeframe {

namespace {

constexpr unsigned long kSize = 10;

}  // namespace

bool sizeFeatureParams::IsLessThan(const GraphNode& other) const {
    const sizeFeatureParams& that = static_cast<const sizeFeatureParams&>(other);
    if (const int fonts = CompareFonts(font.Get(), that.font.Get())) return fonts < 0;
    return std::tie(designSize, subfamilyID, subfamilyNameID, rangeStart, rangeEnd) <
           std::tie(that.designSize, that.subfamilyID, that.subfamilyNameID, that.rangeStart, that.rangeEnd);
}

bool sizeFeatureParams::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source || !source->IsInBounds(source->Tell(), kSize)) return false;
    source->GetU16(designSize);
    source->GetU16(subfamilyID);
    source->GetU16(subfamilyNameID);
    source->GetU16(rangeStart);
    source->GetU16(rangeEnd);
    return true;
}

unsigned long sizeFeatureParams::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    out.SetU16(designSize);
    out.SetU16(subfamilyID);
    out.SetU16(subfamilyNameID);
    out.SetU16(rangeStart);
    out.SetU16(rangeEnd);
    return index;
}

}  // namespace Typeframe
