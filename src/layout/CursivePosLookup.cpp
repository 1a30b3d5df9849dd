#include "layout/CursivePosLookup.h"

#include <algorithm>
#include <utility>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr size_t kMaxCount = 0xFFFF;
constexpr unsigned long kHeaderSize = 6;
constexpr unsigned long kRecordSize = 4;

// Saves `anchor` behind a placeholder made now, when there is an anchor.
void SaveAnchor(const Bedrock::Counted<BigEndianBuffer>& out, unsigned long index, const AnchorTable& anchor,
                TableGraph& graph) {
    const TableOffset offset(out, 0, 2, true);
    if (anchor.format != 0) graph.AddOffset(index, offset, anchor.Save(graph));
}

}  // namespace

bool CursivePosLookup::EntryExitRecord::operator<(const EntryExitRecord& other) const {
    if (entryAnchor < other.entryAnchor) return true;
    if (other.entryAnchor < entryAnchor) return false;
    return exitAnchor < other.exitAnchor;
}

bool CursivePosLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool CursivePosLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint16_t coverageOffset = 0;
    uint16_t count = 0;
    source->GetU16(format);
    source->GetU16(coverageOffset);
    source->GetU16(count);
    const uint64_t kept = SubTable::KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / kRecordSize),
                                                     sizeof(EntryExitRecord), budget);
    std::vector<uint16_t> offsets(2 * kept);
    for (uint16_t& offset : offsets) source->GetU16(offset);

    coverage = CoverageTable();
    coverage.font = font;
    if (coverageOffset != 0) {
        source->Seek(start + coverageOffset);
        CoverageTable loaded;
        loaded.font = font;
        if (loaded.Load(source)) coverage = std::move(loaded);
    }
    entryExitRecords.clear();
    entryExitRecords.resize(kept);
    for (size_t i = 0; i < kept; ++i) {
        AnchorTable* const anchors[] = {&entryExitRecords[i].entryAnchor, &entryExitRecords[i].exitAnchor};
        for (unsigned k = 0; k < 2; ++k) {
            // An anchor that doesn't load changes nothing, so stays format 0.
            if (offsets[2 * i + k] == 0) continue;
            source->Seek(start + offsets[2 * i + k]);
            anchors[k]->Load(source, budget);
        }
    }
    return true;
}

unsigned long CursivePosLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    // The order differs from the other lookups: each child is saved as soon
    // as its offset is written, so the coverage comes before the records and
    // each anchor before the next offset, and the graph's nodes follow suit.
    const TableOffset coverageOffset(out, 0, 2, true);
    graph.AddOffset(index, coverageOffset, coverage.Save(graph));
    const size_t count = std::min(entryExitRecords.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) {
        SaveAnchor(out, index, entryExitRecords[i].entryAnchor, graph);
        SaveAnchor(out, index, entryExitRecords[i].exitAnchor, graph);
    }
    return index;
}

bool CursivePosLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const CursivePosLookup&>(other);
    if (format != that.format) return format < that.format;
    if (coverage < that.coverage) return true;
    if (that.coverage < coverage) return false;
    return entryExitRecords < that.entryExitRecords;
}

void CursivePosLookup::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (EntryExitRecord& record : entryExitRecords) {
        record.entryAnchor.Accept(visitor);
        record.exitAnchor.Accept(visitor);
    }
}

}  // namespace Typeframe
