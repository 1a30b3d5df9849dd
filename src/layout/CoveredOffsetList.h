#pragma once

// The shape two GDEF lists share (attachment points, ligature carets): a
// coverage offset, a count, and one offset per covered glyph to an entry of
// its own. Not a class: the list classes call these.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "layout/CoverageTable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"
#include "packing/TableOffset.h"

namespace Typeframe::CoveredOffsetList {

// Reads the coverage offset, the count and the offsets at the buffer's
// position, loads the coverage and each entry from its non-zero offset (a
// zero one leaves an absent entry). Entries that many offsets share load once
// per offset, so each is charged to `budget`, and no more are kept than the
// bytes of their offsets justify. False, with nothing changed, when the
// header doesn't fit.
template <class Entry>
bool Load(const Bedrock::Counted<BigEndianBuffer>& source, CoverageTable& coverage, std::vector<Entry>& entries,
          uint64_t& budget) {
    const uint64_t start = source->Tell();
    uint16_t coverageOffset = 0;
    uint16_t count = 0;
    if (!source->GetU16(start, coverageOffset) || !source->GetU16(start + 2, count)) return false;
    source->Seek(start + 4);
    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)), sizeof(Entry), budget);
    std::vector<uint16_t> offsets(kept);
    for (uint16_t& offset : offsets) source->GetU16(offset);
    if (coverageOffset != 0) {
        source->Seek(start + coverageOffset);
        coverage.Load(source);
    }
    entries.assign(kept, Entry());
    for (size_t i = 0; i < kept; ++i) {
        if (offsets[i] == 0) continue;
        source->Seek(start + offsets[i]);
        entries[i].Load(source, budget);
    }
    return true;
}

// Writes into `out`, the buffer of node `index`, the coverage offset, the
// count and the entry offsets, then saves the coverage and each present
// entry with their edges; an absent entry keeps a zero offset.
template <class Entry>
void Save(const Bedrock::Counted<BigEndianBuffer>& out, unsigned long index, TableGraph& graph,
          const CoverageTable& coverage, const std::vector<Entry>& entries) {
    const TableOffset coverageOffset(out, 0, 2, true);
    const size_t count = std::min(entries.size(), SubTable::kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) offsets.emplace_back(out, 0, 2, true);
    graph.AddOffset(index, coverageOffset, coverage.Save(graph));
    for (size_t i = 0; i < count; ++i) {
        if (entries[i].isPresent) graph.AddOffset(index, offsets[i], entries[i].Save(graph));
    }
}

// Compares presence, the coverage, then the entries lexicographically.
template <class Entry>
bool IsLessThan(bool isPresent, const CoverageTable& coverage, const std::vector<Entry>& entries, bool thatIsPresent,
                const CoverageTable& thatCoverage, const std::vector<Entry>& thatEntries) {
    if (isPresent != thatIsPresent) return isPresent < thatIsPresent;
    if (coverage < thatCoverage) return true;
    if (thatCoverage < coverage) return false;
    return std::lexicographical_compare(entries.begin(), entries.end(), thatEntries.begin(), thatEntries.end(),
                                        [](const Entry& a, const Entry& b) { return a.IsLessThan(b); });
}

}  // namespace Typeframe::CoveredOffsetList
