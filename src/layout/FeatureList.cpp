#include "layout/FeatureList.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr unsigned long kHeaderSize = 2;
constexpr unsigned long kRecordSize = 6;

}  // namespace

bool FeatureList::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint64_t budget = SubTable::GetLoadBudget(*source);
    uint16_t count = 0;
    source->GetU16(count);
    isPresent = true;

    const uint64_t kept = SubTable::KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / kRecordSize),
                                                     sizeof(FeatureTable), budget);
    featureTables.clear();
    featureTables.resize(kept);
    const unsigned long records = start + kHeaderSize;
    for (size_t i = 0; i < featureTables.size(); ++i) {
        FeatureTable& feature = featureTables[i];
        uint16_t offset = 0;
        source->GetU32(records + i * kRecordSize, feature.tag);
        source->GetU16(records + i * kRecordSize + 4, offset);
        feature.font = font;
        // Kept in file order; a zero offset is followed too, reading the list's own bytes as a feature.
        source->Seek(start + offset);
        feature.Load(source, budget);
    }
    return true;
}

unsigned long FeatureList::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    const size_t count = std::min(featureTables.size(), SubTable::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        out->SetU32(featureTables[i].tag);
        offsets.emplace_back(out, base, 2, true);
    }
    for (size_t i = 0; i < count; ++i) graph.AddOffset(index, offsets[i], featureTables[i].Save(graph));
    return index;
}

bool FeatureList::IsLessThan(const GraphNode& other) const {
    const FeatureList& that = static_cast<const FeatureList&>(other);
    if (font.Get() != that.font.Get()) return std::less<const OTFont*>()(font.Get(), that.font.Get());
    if (isPresent != that.isPresent) return !isPresent;
    return std::lexicographical_compare(
        featureTables.begin(), featureTables.end(), that.featureTables.begin(), that.featureTables.end(),
        [](const FeatureTable& a, const FeatureTable& b) { return static_cast<const GraphNode&>(a) < b; });
}

bool FeatureList::SetFeatureTable(int index, const FeatureTable& table) {
    if (index < 0 || static_cast<size_t>(index) >= featureTables.size()) return false;
    // A copy first: `table` may be an element of this very list.
    FeatureTable copy = table;
    if (copy.tag == 0) copy.tag = featureTables[index].tag;
    featureTables[index] = std::move(copy);
    return true;
}

}  // namespace Typeframe
