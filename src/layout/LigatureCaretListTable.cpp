#include "layout/LigatureCaretListTable.h"

#include "layout/CoveredOffsetList.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr uint16_t kDeviceFormat = 3;

// The bytes of the fields of each caret format; 0 for an unknown one.
unsigned long FieldsSize(uint16_t format) {
    switch (format) {
        case 1:
        case 2: return 4;
        case kDeviceFormat: return 6;
        default: return 0;
    }
}

// Reads up to `count` offsets at the buffer's position, as many as the bytes
// and `budget` (charged `objectSize` each) hold.
std::vector<uint16_t> ReadOffsets(BigEndianBuffer& in, uint16_t count, uint64_t objectSize, uint64_t& budget) {
    const uint64_t kept =
        SubTable::KeepWithinBudget(std::min<uint64_t>(count, in.GetRemaining() / sizeof(uint16_t)), objectSize, budget);
    std::vector<uint16_t> offsets(kept);
    for (uint16_t& offset : offsets) in.GetU16(offset);
    return offsets;
}

}  // namespace

bool CaretValueTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool CaretValueTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t readFormat = 0;
    if (!source->GetU16(start, readFormat)) return false;
    const unsigned long size = FieldsSize(readFormat);
    if (size == 0) {
        format = readFormat;
        return false;
    }
    if (!source->IsInBounds(start, size)) return false;
    format = readFormat;
    if (format == 2) {
        source->GetU16(start + 2, caretValuePointIndex);
    } else {
        source->GetS16(start + 2, coordinate);
    }
    if (format == kDeviceFormat) {
        uint16_t deviceOffset = 0;
        source->GetU16(start + 4, deviceOffset);
        // The device is read at its offset whatever the offset is. A zero
        // offset reads the caret's own fields, whose third (the zero offset)
        // is no device format, so the device stays absent.
        DeviceTable::LoadAt(source, start + deviceOffset, deviceTable, budget);
    }
    source->Seek(start + size);
    return true;
}

unsigned long CaretValueTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    switch (format) {
        case 1: out->SetS16(coordinate); return index;
        case 2: out->SetU16(caretValuePointIndex); return index;
        case kDeviceFormat: {
            out->SetS16(coordinate);
            const TableOffset deviceOffset(out, 0, 2, true);
            if (deviceTable.deltaFormat != 0) graph.AddOffset(index, deviceOffset, deviceTable.Save(graph));
            return index;
        }
        default:
            // An unknown format has no layout to write: the format stays
            // behind and 0 tells the caller that this caret is not to be
            // written.
            return 0;
    }
}

bool CaretValueTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const CaretValueTable&>(other);
    if (format != that.format) return format < that.format;
    if (coordinate != that.coordinate) return coordinate < that.coordinate;
    if (caretValuePointIndex != that.caretValuePointIndex) return caretValuePointIndex < that.caretValuePointIndex;
    return DeviceTable::Compare(deviceTable, that.deviceTable) < 0;
}

bool LigatureGlyphTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool LigatureGlyphTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const uint64_t start = source->Tell();
    uint16_t count = 0;
    if (!source->GetU16(count)) return false;
    // Carets that many offsets share load once per offset: each copy is
    // charged.
    const std::vector<uint16_t> offsets = ReadOffsets(*source, count, sizeof(CaretValueTable), budget);
    caretValues.assign(offsets.size(), CaretValueTable());
    bool whole = offsets.size() == count;
    for (size_t i = 0; i < offsets.size(); ++i) {
        if (offsets[i] == 0) continue;
        source->Seek(start + offsets[i]);
        whole &= caretValues[i].Load(source, budget);
    }
    isPresent = true;
    return whole;
}

unsigned long LigatureGlyphTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const size_t count = std::min(caretValues.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) offsets.emplace_back(out, 0, 2, true);
    for (size_t i = 0; i < count; ++i) {
        if (caretValues[i].format != 0) graph.AddOffset(index, offsets[i], caretValues[i].Save(graph));
    }
    return index;
}

bool LigatureGlyphTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const LigatureGlyphTable&>(other);
    if (isPresent != that.isPresent) return isPresent < that.isPresent;
    return std::lexicographical_compare(
        caretValues.begin(), caretValues.end(), that.caretValues.begin(), that.caretValues.end(),
        [](const CaretValueTable& a, const CaretValueTable& b) { return a.IsLessThan(b); });
}

void LigatureGlyphTable::Accept(GraphNodeVisitor& visitor) { visitor.Visit(*this); }

bool LigatureCaretListTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool LigatureCaretListTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source || !CoveredOffsetList::Load(source, coverage, ligGlyphs, budget)) return false;
    isPresent = true;
    return true;
}

unsigned long LigatureCaretListTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    CoveredOffsetList::Save(buffer, index, graph, coverage, ligGlyphs);
    return index;
}

bool LigatureCaretListTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const LigatureCaretListTable&>(other);
    return CoveredOffsetList::IsLessThan(isPresent, coverage, ligGlyphs, that.isPresent, that.coverage, that.ligGlyphs);
}

void LigatureCaretListTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (LigatureGlyphTable& ligGlyph : ligGlyphs) ligGlyph.Accept(visitor);
}

}  // namespace Typeframe
