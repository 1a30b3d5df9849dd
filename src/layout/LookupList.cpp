#include "layout/LookupList.h"

#include <algorithm>
#include <functional>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr unsigned long kHeaderSize = 2;

}  // namespace

bool LookupList::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint64_t budget = SubTable::GetLoadBudget(*source);
    uint16_t count = 0;
    source->GetU16(count);
    isPresent = true;

    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)), sizeof(LookupTable), budget);
    lookups.clear();
    lookups.resize(kept);
    for (size_t i = 0; i < lookups.size(); ++i) {
        uint16_t offset = 0;
        source->GetU16(start + kHeaderSize + 2 * i, offset);
        lookups[i].font = font;
        lookups[i].owner = owner;
        // Each lookup loads its own copy even when offsets repeat; a zero offset reads the list's own bytes.
        source->Seek(start + offset);
        lookups[i].Load(source, budget);
    }
    return true;
}

unsigned long LookupList::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    const size_t count = std::min(lookups.size(), SubTable::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) offsets.emplace_back(out, base, 2, true);
    for (size_t i = 0; i < count; ++i) graph.AddOffset(index, offsets[i], lookups[i].Save(graph));
    return index;
}

bool LookupList::IsLessThan(const GraphNode& other) const {
    const LookupList& that = static_cast<const LookupList&>(other);
    if (font.Get() != that.font.Get()) return std::less<const OTFont*>()(font.Get(), that.font.Get());
    // Deliberate: lists of different owners are each less than the other, so they never count as equal.
    if (owner.Get() != that.owner.Get()) return true;
    if (isPresent != that.isPresent) return !isPresent;
    return std::lexicographical_compare(
        lookups.begin(), lookups.end(), that.lookups.begin(), that.lookups.end(),
        [](const LookupTable& a, const LookupTable& b) { return static_cast<const GraphNode&>(a) < b; });
}

bool LookupList::IsLessThanItself() const {
    return std::any_of(lookups.begin(), lookups.end(),
                       [](const LookupTable& lookup) { return lookup.IsLessThanItself(); });
}

void LookupList::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (LookupTable& lookup : lookups) lookup.Accept(visitor);
}

}  // namespace Typeframe
