#include "layout/ScriptList.h"

#include <algorithm>

#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr unsigned long kHeaderSize = 2;
constexpr unsigned long kRecordSize = 6;

}  // namespace

bool ScriptList::ScriptRecord::operator<(const ScriptRecord& other) const {
    if (tag != other.tag) return tag < other.tag;
    return static_cast<const GraphNode&>(scriptTable) < other.scriptTable;
}

bool ScriptList::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint64_t budget = SubTable::GetLoadBudget(*source);
    uint16_t count = 0;
    source->GetU16(count);
    isPresent = true;

    const uint64_t kept = SubTable::KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / kRecordSize),
                                                     sizeof(ScriptRecord), budget);
    scriptRecords.clear();
    scriptRecords.resize(kept);
    const unsigned long records = start + kHeaderSize;
    for (size_t i = 0; i < scriptRecords.size(); ++i) {
        uint16_t offset = 0;
        source->GetU32(records + i * kRecordSize, scriptRecords[i].tag);
        source->GetU16(records + i * kRecordSize + 4, offset);
        // Kept in file order; a zero offset is followed too, reading the list's own bytes as a script.
        source->Seek(start + offset);
        scriptRecords[i].scriptTable.Load(source, budget);
    }
    return true;
}

unsigned long ScriptList::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    const size_t count = std::min(scriptRecords.size(), SubTable::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        out->SetU32(scriptRecords[i].tag);
        offsets.emplace_back(out, base, 2, true);
    }
    for (size_t i = 0; i < count; ++i) graph.AddOffset(index, offsets[i], scriptRecords[i].scriptTable.Save(graph));
    return index;
}

bool ScriptList::IsLessThan(const GraphNode& other) const {
    const ScriptList& that = static_cast<const ScriptList&>(other);
    if (isPresent != that.isPresent) return !isPresent;
    return std::lexicographical_compare(scriptRecords.begin(), scriptRecords.end(), that.scriptRecords.begin(),
                                        that.scriptRecords.end());
}

}  // namespace Typeframe
