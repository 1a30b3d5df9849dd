#include "layout/LangSys.h"

#include <algorithm>

namespace Typeframe {

namespace {

constexpr unsigned long kHeaderSize = 6;

}  // namespace

bool LangSys::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool LangSys::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source || !source->IsInBounds(source->Tell(), kHeaderSize)) return false;
    uint16_t count = 0;
    source->GetU16(lookupOrder);
    source->GetU16(requiredFeatureIndex);
    source->GetU16(count);
    // Only a load sets it: a default language system that no offset names stays not present.
    isPresent = true;

    // A count beyond the bytes or the budget keeps what they hold.
    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)), sizeof(uint16_t), budget);
    featureIndices.assign(kept, 0);
    for (uint16_t& index : featureIndices) source->GetU16(index);
    return true;
}

unsigned long LangSys::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(lookupOrder);
    out->SetU16(requiredFeatureIndex);
    // A list longer than a 16-bit count can say is cut there, so the count and the list agree.
    const size_t count = std::min(featureIndices.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) out->SetU16(featureIndices[i]);
    return index;
}

bool LangSys::IsLessThan(const GraphNode& other) const {
    const LangSys& that = static_cast<const LangSys&>(other);
    if (isPresent != that.isPresent) return !isPresent;
    if (lookupOrder != that.lookupOrder) return lookupOrder < that.lookupOrder;
    if (requiredFeatureIndex != that.requiredFeatureIndex) return requiredFeatureIndex < that.requiredFeatureIndex;
    return featureIndices < that.featureIndices;
}

}  // namespace Typeframe
