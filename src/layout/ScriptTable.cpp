#include "layout/ScriptTable.h"

#include <algorithm>
#include <utility>

#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr unsigned long kHeaderSize = 4;
constexpr unsigned long kRecordSize = 6;

}  // namespace

bool ScriptTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool ScriptTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint16_t defaultOffset = 0;
    uint16_t count = 0;
    source->GetU16(defaultOffset);
    source->GetU16(count);

    const uint64_t kept = SubTable::KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / kRecordSize),
                                                     sizeof(LangSysRecord), budget);
    langSysRecords.clear();
    langSysRecords.resize(kept);
    const unsigned long records = start + kHeaderSize;
    for (size_t i = 0; i < langSysRecords.size(); ++i) {
        uint16_t offset = 0;
        source->GetU32(records + i * kRecordSize, langSysRecords[i].tag);
        source->GetU16(records + i * kRecordSize + 4, offset);
        // Kept in file order; each record loads its own copy even when offsets repeat.
        source->Seek(start + offset);
        langSysRecords[i].Load(source, budget);
    }

    defaultLangSys = LangSys();
    if (defaultOffset != 0) {
        source->Seek(start + defaultOffset);
        defaultLangSys.Load(source, budget);
    }
    return true;
}

unsigned long ScriptTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    // Always written: a script without a default language system keeps a zero offset here.
    const TableOffset defaultOffset(out, base, 2, true);
    const size_t count = std::min(langSysRecords.size(), SubTable::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        out->SetU32(langSysRecords[i].tag);
        offsets.emplace_back(out, base, 2, true);
    }

    if (defaultLangSys.isPresent) graph.AddOffset(index, defaultOffset, defaultLangSys.Save(graph));
    for (size_t i = 0; i < count; ++i) graph.AddOffset(index, offsets[i], langSysRecords[i].Save(graph));
    return index;
}

bool ScriptTable::IsLessThan(const GraphNode& other) const {
    const ScriptTable& that = static_cast<const ScriptTable&>(other);
    if (defaultLangSys < that.defaultLangSys) return true;
    if (that.defaultLangSys < defaultLangSys) return false;
    return std::lexicographical_compare(
        langSysRecords.begin(), langSysRecords.end(), that.langSysRecords.begin(), that.langSysRecords.end(),
        [](const LangSysRecord& a, const LangSysRecord& b) { return static_cast<const GraphNode&>(a) < b; });
}

}  // namespace Typeframe
