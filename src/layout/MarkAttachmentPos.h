#pragma once

// What the mark attachment subtables (mark to base, mark to ligature, mark to
// mark) and their anchor arrays have in common: one header shape, and anchors
// loaded under a budget. Not a class of its own; the subtable classes call it.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "layout/AnchorTable.h"
#include "layout/CoverageTable.h"
#include "layout/MarkArrayTable.h"
#include "packing/TableGraph.h"
#include "packing/TableOffset.h"

namespace Typeframe::MarkAttachmentPos {

// The most entries a 16-bit count can announce; Save writes no more.
constexpr uint64_t kMaxCount = 0xFFFF;

// Loads the anchor at `offset` from `start` into `anchor`, charging its
// device deltas to `budget`; a zero offset leaves the anchor missing (format
// 0). Many offsets may name one anchor with two long device tables, each
// loaded as a copy of its own, so once the budget can't take an anchor that
// anchor and every later one of the same load stay missing: the budget is
// emptied and false returned. The anchor's own result is ignored, as a child
// that reads badly keeps what it could.
inline bool LoadAnchor(const Bedrock::Counted<BigEndianBuffer>& source, uint64_t start, uint16_t offset,
                       AnchorTable& anchor, uint64_t& budget) {
    if (offset == 0) return true;
    if (budget == 0) return false;
    source->Seek(start + offset);
    anchor.Load(source);
    const uint64_t cost = anchor.xDeviceTable.deltas.size() + anchor.yDeviceTable.deltas.size();
    if (cost > budget) {
        anchor = AnchorTable();
        budget = 0;
        return false;
    }
    budget -= cost;
    return true;
}

// Compares anchors by their fields, for lexicographical comparisons of lists.
inline bool AnchorLess(const AnchorTable& a, const AnchorTable& b) { return a.IsLessThan(b); }

// How much of a run of anchor offsets one load read.
enum class RowsRead {
    kNone,     // the offsets don't fit in the bytes: nothing changed
    kPartial,  // the budget cut rows or left anchors missing
    kWhole,
};

// Reads, at the buffer's position, a count and then `count` times
// `classCount` anchor offsets counting from there, row-major, into `anchors`
// (one entry per offset). Shared by the base and mark2 arrays and by each
// ligature attachment (whose rows are components). The product is taken in
// 64 bits, so no count can wrap it. Each row costs the budget its anchors
// plus `rowOverhead` (what else the caller keeps per row); rows that the
// budget can't hold are left out, whole.
inline RowsRead LoadAnchorRows(const Bedrock::Counted<BigEndianBuffer>& source, uint16_t classCount,
                               uint64_t rowOverhead, uint16_t& rowCount, std::vector<AnchorTable>& anchors,
                               uint64_t& budget) {
    if (!source) return RowsRead::kNone;
    const uint64_t start = source->Tell();
    uint16_t count = 0;
    if (!source->GetU16(count)) return RowsRead::kNone;
    const uint64_t offsetCount = uint64_t(count) * classCount;
    if (source->GetRemaining() / 2 < offsetCount) {
        source->Seek(start);
        return RowsRead::kNone;
    }
    // An offset is 2 bytes in the file and a whole anchor in memory, and many
    // offsets may point at one array: the budget bounds what one load keeps.
    const uint64_t rowCost = uint64_t(classCount) * sizeof(AnchorTable) + rowOverhead;
    const uint64_t kept = rowCost == 0 ? count : std::min<uint64_t>(count, budget / rowCost);
    budget -= kept * rowCost;
    rowCount = static_cast<uint16_t>(kept);
    anchors.clear();
    anchors.resize(kept * classCount);
    bool whole = kept == count;
    const uint64_t offsets = start + 2;
    for (uint64_t i = 0; i < anchors.size(); ++i) {
        uint16_t offset = 0;
        source->GetU16(offsets + 2 * i, offset);
        whole &= LoadAnchor(source, start, offset, anchors[i], budget);
    }
    return whole ? RowsRead::kWhole : RowsRead::kPartial;
}

// Reads the header at the buffer's position (format, the two coverage
// offsets, markClassCount, the two array offsets, all counting from the
// subtable's start) and then each child in that order. The second array takes
// its class count from markClassCount. Offsets are followed as they stand,
// zero included, as a lookup follows its subtable offsets. False, with
// nothing changed, when the header doesn't fit; otherwise false when a child
// wasn't read whole (what was read is kept).
template <class SecondArray>
bool Load(const Bedrock::Counted<BigEndianBuffer>& source, const Bedrock::NonCounted<OTFont>& font, uint16_t& format,
          CoverageTable& firstCoverage, CoverageTable& secondCoverage, uint16_t& markClassCount,
          MarkArrayTable& firstArray, SecondArray& secondArray, uint64_t& budget) {
    constexpr unsigned long kHeaderSize = 12;
    if (!source) return false;
    const uint64_t start = source->Tell();
    if (!source->IsInBounds(start, kHeaderSize)) return false;
    uint16_t firstCoverageOffset = 0, secondCoverageOffset = 0, firstArrayOffset = 0, secondArrayOffset = 0;
    source->GetU16(format);
    source->GetU16(firstCoverageOffset);
    source->GetU16(secondCoverageOffset);
    source->GetU16(markClassCount);
    source->GetU16(firstArrayOffset);
    source->GetU16(secondArrayOffset);

    bool whole = true;
    firstCoverage.font = font;
    source->Seek(start + firstCoverageOffset);
    whole &= firstCoverage.Load(source);
    secondCoverage.font = font;
    source->Seek(start + secondCoverageOffset);
    whole &= secondCoverage.Load(source);
    source->Seek(start + firstArrayOffset);
    whole &= firstArray.Load(source, budget);
    secondArray.classCount = markClassCount;
    source->Seek(start + secondArrayOffset);
    whole &= secondArray.Load(source, budget);
    return whole;
}

// Writes the header into `out` (the subtable's own, emptied buffer, node
// `index`), then saves each child in header order and links it.
template <class SecondArray>
void Save(TableGraph& graph, unsigned long index, const Bedrock::Counted<BigEndianBuffer>& out, uint16_t format,
          const CoverageTable& firstCoverage, const CoverageTable& secondCoverage, uint16_t markClassCount,
          const MarkArrayTable& firstArray, const SecondArray& secondArray) {
    const unsigned long base = out->Tell();
    out->SetU16(format);
    const TableOffset firstCoverageOffset(out, base, 2, true);
    const TableOffset secondCoverageOffset(out, base, 2, true);
    out->SetU16(markClassCount);
    const TableOffset firstArrayOffset(out, base, 2, true);
    const TableOffset secondArrayOffset(out, base, 2, true);
    graph.AddOffset(index, firstCoverageOffset, firstCoverage.Save(graph));
    graph.AddOffset(index, secondCoverageOffset, secondCoverage.Save(graph));
    graph.AddOffset(index, firstArrayOffset, firstArray.Save(graph));
    graph.AddOffset(index, secondArrayOffset, secondArray.Save(graph));
}

}  // namespace Typeframe::MarkAttachmentPos
