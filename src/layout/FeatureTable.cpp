#include "layout/FeatureTable.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "layout/cvxxFeatureParams.h"
#include "layout/sizeFeatureParams.h"
#include "layout/ssxxFeatureParams.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr unsigned long kHeaderSize = 4;
// What one parameters object costs the load budget, whatever its class.
constexpr uint64_t kParamsCost =
    std::max({sizeof(ssxxFeatureParams), sizeof(sizeFeatureParams), sizeof(cvxxFeatureParams)});

template <class T>
int ComparePointers(const T* a, const T* b) {
    if (a == b) return 0;
    return std::less<const T*>()(a, b) ? -1 : 1;
}

}  // namespace

Tag FeatureTable::GetFeaturePrefix(unsigned int tag) {
    // Two bytes only: "ssty" is a stylistic set here, on purpose.
    const unsigned int head = tag >> 16;
    if (head == (MakeTag("ss  ") >> 16)) return MakeTag("ssxx");
    if (head == (MakeTag("cv  ") >> 16)) return MakeTag("cvxx");
    return tag;
}

Bedrock::Counted<FeatureParams> FeatureTable::MakeFeatureParams(unsigned int tag) {
    switch (GetFeaturePrefix(tag)) {
        case MakeTag("ssxx"): return Bedrock::MakeCounted<ssxxFeatureParams>();
        case MakeTag("size"): return Bedrock::MakeCounted<sizeFeatureParams>();
        case MakeTag("cvxx"): return Bedrock::MakeCounted<cvxxFeatureParams>();
        default: return nullptr;
    }
}

bool FeatureTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool FeatureTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint16_t paramsOffset = 0;
    uint16_t count = 0;
    source->GetU16(paramsOffset);
    source->GetU16(count);

    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)), sizeof(uint16_t), budget);
    lookupListIndices.assign(kept, 0);
    for (uint16_t& index : lookupListIndices) source->GetU16(index);

    featureParams = nullptr;
    if (paramsOffset == 0 || budget < kParamsCost) return true;
    // A tag with no parameters class gets none: its parameters are lost on the next save.
    Bedrock::Counted<FeatureParams> params = MakeFeatureParams(tag);
    if (!params) return true;
    budget -= kParamsCost;
    params->font = font;
    source->Seek(start + paramsOffset);
    params->Load(source, budget);
    featureParams = params;
    return true;
}

unsigned long FeatureTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    // Always written: a feature without parameters keeps a zero offset here.
    const TableOffset paramsOffset(out, base, 2, true);
    const size_t count = std::min(lookupListIndices.size(), SubTable::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) out->SetU16(lookupListIndices[i]);
    if (featureParams) graph.AddOffset(index, paramsOffset, featureParams->Save(graph));
    return index;
}

bool FeatureTable::IsLessThan(const GraphNode& other) const {
    const FeatureTable& that = static_cast<const FeatureTable&>(other);
    if (const int fonts = ComparePointers<OTFont>(font.Get(), that.font.Get())) return fonts < 0;
    if (tag != that.tag) return tag < that.tag;
    // By pointer: separate parameters objects are never merged, however alike.
    if (const int params = ComparePointers<FeatureParams>(featureParams.Get(), that.featureParams.Get())) {
        return params < 0;
    }
    return lookupListIndices < that.lookupListIndices;
}

}  // namespace Typeframe
