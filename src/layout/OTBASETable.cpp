#include "layout/OTBASETable.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/Trace.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

using Axis = OTBASETable::Axis;
using BaselineTags = Axis::BaselineTags;
using BaseCoord = Axis::BaseCoord;
using MinMax = Axis::MinMax;
using BaseValues = Axis::BaseValues;
using BaseScriptRecord = Axis::BaseScriptRecord;
using BaseScriptTable = BaseScriptRecord::BaseScriptTable;

constexpr unsigned long kTagSize = 4;
constexpr unsigned long kScriptRecordSize = 6;
constexpr unsigned long kLangSysRecordSize = 6;
constexpr unsigned long kFeatMinMaxRecordSize = 8;
// Every offset this table writes is 16-bit.
constexpr uint64_t kOffsetLimit = 0x10000;

template <class Part>
void LoadAt(const Bedrock::Counted<BigEndianBuffer>& source, unsigned long position, Part& part, uint64_t& budget) {
    source->Seek(position);
    part.Load(source, budget);
}

// Three-way comparisons below: negative, 0 or positive, first difference
// deciding.

template <class T, class Compare>
int OrderVectors(const std::vector<T>& a, const std::vector<T>& b, Compare compare) {
    const size_t common = std::min(a.size(), b.size());
    for (size_t i = 0; i < common; ++i) {
        if (const int order = compare(a[i], b[i])) return order;
    }
    return ThreeWay(a.size(), b.size());
}

int Compare(const BaseCoord& a, const BaseCoord& b) {
    if (const int order = ThreeWay(a.format, b.format)) return order;
    if (const int order = ThreeWay(a.coordinate, b.coordinate)) return order;
    if (const int order = ThreeWay(a.referenceGlyph, b.referenceGlyph)) return order;
    if (const int order = ThreeWay(a.baseCoordPoint, b.baseCoordPoint)) return order;
    return DeviceTable::Compare(a.deviceTable, b.deviceTable);
}

int Compare(const MinMax::FeatMinMax& a, const MinMax::FeatMinMax& b) {
    if (const int order = ThreeWay(a.tag, b.tag)) return order;
    if (const int order = Compare(a.minCoord, b.minCoord)) return order;
    return Compare(a.maxCoord, b.maxCoord);
}

int Compare(const MinMax& a, const MinMax& b) {
    if (const int order = ThreeWay(a.isPresent, b.isPresent)) return order;
    if (const int order = Compare(a.minCoord, b.minCoord)) return order;
    if (const int order = Compare(a.maxCoord, b.maxCoord)) return order;
    return OrderVectors(a.featMinMaxRecords, b.featMinMaxRecords,
                        [](const MinMax::FeatMinMax& x, const MinMax::FeatMinMax& y) { return Compare(x, y); });
}

int Compare(const BaseValues& a, const BaseValues& b) {
    if (const int order = ThreeWay(a.defaultBaselineIndex, b.defaultBaselineIndex)) return order;
    return OrderVectors(a.baseCoords, b.baseCoords,
                        [](const BaseCoord& x, const BaseCoord& y) { return Compare(x, y); });
}

int Compare(const BaseScriptTable::BaseLangSysRecord& a, const BaseScriptTable::BaseLangSysRecord& b) {
    if (const int order = ThreeWay(a.tag, b.tag)) return order;
    return Compare(a.minMax, b.minMax);
}

int Compare(const BaseScriptTable& a, const BaseScriptTable& b) {
    if (const int order = Compare(a.baseValues, b.baseValues)) return order;
    if (const int order = Compare(a.defaultMinMax, b.defaultMinMax)) return order;
    return OrderVectors(a.langSysRecords, b.langSysRecords,
                        [](const BaseScriptTable::BaseLangSysRecord& x, const BaseScriptTable::BaseLangSysRecord& y) {
                            return Compare(x, y);
                        });
}

int Compare(const BaseScriptRecord& a, const BaseScriptRecord& b) {
    if (const int order = ThreeWay(a.tag, b.tag)) return order;
    return Compare(a.baseScriptTable, b.baseScriptTable);
}

int Compare(const Axis& a, const Axis& b) {
    if (const int order = ThreeWay(a.baselineTags.tags, b.baselineTags.tags)) return order;
    return OrderVectors(a.baseScriptRecords, b.baseScriptRecords,
                        [](const BaseScriptRecord& x, const BaseScriptRecord& y) { return Compare(x, y); });
}

// Lays out the nodes that `root` reaches, in the graph's breadth-first
// topological order, and fills in every offset as 16 bits. Null when an
// offset doesn't fit: there is no second order to try.
Bedrock::Counted<BigEndianBuffer> LayOut(const TableGraph& graph, unsigned long root) {
    const std::vector<unsigned long> order = graph.Kahn(root);
    // Every save traces the order it lays out, one line of node indices, so
    // that a layout that fails can be followed node by node.
    for (unsigned long node : order) Bedrock::Trace("%1 ", node);
    Bedrock::Trace("\n");

    const auto out = Bedrock::MakeCounted<BigEndianBuffer>();
    std::vector<uint64_t> start(graph.nodes.size(), std::numeric_limits<uint64_t>::max());
    for (unsigned long node : order) {
        start[node] = out->Tell();
        if (graph.nodes[node]) out->Write(graph.nodes[node]->GetBuffer());
    }
    for (unsigned long node : order) {
        for (const TableEdge& edge : graph.edges[node]) {
            if (edge.target >= start.size()) return nullptr;
            // Unsigned: a target placed before its source, or not at all,
            // wraps round to a value that fails the test.
            const uint64_t value = start[edge.target] - start[node] - edge.offset.base;
            if (value >= kOffsetLimit) return nullptr;
            out->SetU16(static_cast<unsigned long>(start[node] + edge.offset.position), static_cast<uint16_t>(value));
        }
    }
    return out;
}

}  // namespace

// ---- Axis::BaselineTags ----

bool BaselineTags::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool BaselineTags::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    isPresent = true;
    uint16_t count = 0;
    if (!source->GetU16(count)) return false;
    const uint64_t kept =
        SubTable::KeepWithinBudget(std::min<uint64_t>(count, source->GetRemaining() / kTagSize), sizeof(Tag), budget);
    tags.resize(kept);
    for (Tag& tag : tags) source->GetU32(tag);
    return true;
}

unsigned long BaselineTags::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    BigEndianBuffer& out = StartSave();
    const size_t count = std::min(tags.size(), kMaxCount);
    out.SetU16(static_cast<uint16_t>(count));
    for (size_t i = 0; i < count; ++i) out.SetU32(tags[i]);
    return index;
}

bool BaselineTags::IsLessThan(const GraphNode& other) const {
    return tags < static_cast<const BaselineTags&>(other).tags;
}

// ---- Axis::BaseCoord ----

BaseCoord::BaseCoord(unsigned short coordFormat, short value)
    : format(coordFormat), coordinate(value), isPresent(true) {}

bool BaseCoord::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool BaseCoord::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    isPresent = true;
    const unsigned long start = source->Tell();
    if (!source->GetU16(format) || !source->GetS16(coordinate)) return false;
    if (format == 2) {
        source->GetU16(referenceGlyph);
        source->GetU16(baseCoordPoint);
    } else if (format == 3) {
        uint16_t deviceOffset = 0;
        source->GetU16(deviceOffset);
        // Read at its offset whatever the offset is. One of 0 names this
        // coordinate, whose third field (that very 0) is no device format,
        // so the device stays empty.
        deviceTable = DeviceTable();
        DeviceTable::LoadAt(source, uint64_t(start) + deviceOffset, deviceTable, budget);
    }
    return true;
}

unsigned long BaseCoord::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    out->SetS16(coordinate);
    if (format == 2) {
        out->SetU16(referenceGlyph);
        out->SetU16(baseCoordPoint);
    } else if (format == 3) {
        // Deliberately unconditional: a format 3 coordinate always gets a
        // device, so an empty one is written as a device of its own (sizes
        // 0 to 0, format 1, one zero delta).
        const TableOffset deviceOffset(out, 0, 2, true);
        graph.AddOffset(index, deviceOffset, deviceTable.Save(graph));
    }
    return index;
}

bool BaseCoord::IsLessThan(const GraphNode& other) const {
    return Compare(*this, static_cast<const BaseCoord&>(other)) < 0;
}

void BaseCoord::Accept(GraphNodeVisitor& visitor) { visitor.Visit(*this); }

// ---- Axis::MinMax ----

bool MinMax::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool MinMax::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    isPresent = true;
    const unsigned long start = source->Tell();
    uint16_t minOffset = 0;
    uint16_t maxOffset = 0;
    uint16_t count = 0;
    if (!source->GetU16(minOffset) || !source->GetU16(maxOffset) || !source->GetU16(count)) return false;
    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / kFeatMinMaxRecordSize), sizeof(FeatMinMax), budget);
    featMinMaxRecords.assign(kept, FeatMinMax());
    std::vector<uint16_t> offsets(2 * kept);
    for (size_t i = 0; i < kept; ++i) {
        source->GetU32(featMinMaxRecords[i].tag);
        source->GetU16(offsets[2 * i]);
        source->GetU16(offsets[2 * i + 1]);
    }
    for (size_t i = 0; i < kept; ++i) {
        if (offsets[2 * i] != 0) LoadAt(source, start + offsets[2 * i], featMinMaxRecords[i].minCoord, budget);
        if (offsets[2 * i + 1] != 0) LoadAt(source, start + offsets[2 * i + 1], featMinMaxRecords[i].maxCoord, budget);
    }
    minCoord = BaseCoord();
    maxCoord = BaseCoord();
    if (minOffset != 0) LoadAt(source, start + minOffset, minCoord, budget);
    if (maxOffset != 0) LoadAt(source, start + maxOffset, maxCoord, budget);
    return true;
}

unsigned long MinMax::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const TableOffset minOffset(out, 0, 2, true);
    const TableOffset maxOffset(out, 0, 2, true);
    const size_t count = std::min(featMinMaxRecords.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(2 * count);
    for (size_t i = 0; i < count; ++i) {
        out->SetU32(featMinMaxRecords[i].tag);
        offsets.emplace_back(out, 0, 2, true);
        offsets.emplace_back(out, 0, 2, true);
    }
    for (size_t i = 0; i < count; ++i) {
        const FeatMinMax& record = featMinMaxRecords[i];
        if (record.minCoord.isPresent) graph.AddOffset(index, offsets[2 * i], record.minCoord.Save(graph));
        if (record.maxCoord.isPresent) graph.AddOffset(index, offsets[2 * i + 1], record.maxCoord.Save(graph));
    }
    if (minCoord.isPresent) graph.AddOffset(index, minOffset, minCoord.Save(graph));
    if (maxCoord.isPresent) graph.AddOffset(index, maxOffset, maxCoord.Save(graph));
    return index;
}

bool MinMax::IsLessThan(const GraphNode& other) const { return Compare(*this, static_cast<const MinMax&>(other)) < 0; }

void MinMax::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    minCoord.Accept(visitor);
    maxCoord.Accept(visitor);
    for (FeatMinMax& record : featMinMaxRecords) {
        record.minCoord.Accept(visitor);
        record.maxCoord.Accept(visitor);
    }
}

// ---- Axis::BaseValues ----

bool BaseValues::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool BaseValues::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    isPresent = true;
    const unsigned long start = source->Tell();
    uint16_t count = 0;
    if (!source->GetU16(defaultBaselineIndex) || !source->GetU16(count)) return false;
    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / sizeof(uint16_t)), sizeof(BaseCoord), budget);
    std::vector<uint16_t> offsets(kept);
    for (uint16_t& offset : offsets) source->GetU16(offset);
    baseCoords.assign(kept, BaseCoord());
    // Every entry names a coordinate, so an offset of 0 isn't "none": that
    // coordinate is read at the start of these values.
    for (size_t i = 0; i < kept; ++i) LoadAt(source, start + offsets[i], baseCoords[i], budget);
    return true;
}

unsigned long BaseValues::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(defaultBaselineIndex);
    const size_t count = std::min(baseCoords.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) offsets.emplace_back(out, 0, 2, true);
    for (size_t i = 0; i < count; ++i) graph.AddOffset(index, offsets[i], baseCoords[i].Save(graph));
    return index;
}

bool BaseValues::IsLessThan(const GraphNode& other) const {
    return Compare(*this, static_cast<const BaseValues&>(other)) < 0;
}

void BaseValues::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (BaseCoord& coord : baseCoords) coord.Accept(visitor);
}

// ---- Axis::BaseScriptRecord::BaseScriptTable ----

bool BaseScriptTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool BaseScriptTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    uint16_t valuesOffset = 0;
    uint16_t minMaxOffset = 0;
    uint16_t count = 0;
    if (!source->GetU16(valuesOffset) || !source->GetU16(minMaxOffset) || !source->GetU16(count)) return false;
    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / kLangSysRecordSize), sizeof(BaseLangSysRecord), budget);
    langSysRecords.assign(kept, BaseLangSysRecord());
    std::vector<uint16_t> offsets(kept);
    for (size_t i = 0; i < kept; ++i) {
        source->GetU32(langSysRecords[i].tag);
        source->GetU16(offsets[i]);
    }
    baseValues = BaseValues();
    defaultMinMax = MinMax();
    if (valuesOffset != 0) LoadAt(source, start + valuesOffset, baseValues, budget);
    if (minMaxOffset != 0) LoadAt(source, start + minMaxOffset, defaultMinMax, budget);
    for (size_t i = 0; i < kept; ++i) {
        if (offsets[i] != 0) LoadAt(source, start + offsets[i], langSysRecords[i].minMax, budget);
    }
    return true;
}

unsigned long BaseScriptTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const TableOffset valuesOffset(out, 0, 2, true);
    const TableOffset minMaxOffset(out, 0, 2, true);
    const size_t count = std::min(langSysRecords.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        out->SetU32(langSysRecords[i].tag);
        offsets.emplace_back(out, 0, 2, true);
    }
    if (baseValues.isPresent) graph.AddOffset(index, valuesOffset, baseValues.Save(graph));
    if (defaultMinMax.isPresent) graph.AddOffset(index, minMaxOffset, defaultMinMax.Save(graph));
    for (size_t i = 0; i < count; ++i) graph.AddOffset(index, offsets[i], langSysRecords[i].minMax.Save(graph));
    return index;
}

bool BaseScriptTable::IsLessThan(const GraphNode& other) const {
    return Compare(*this, static_cast<const BaseScriptTable&>(other)) < 0;
}

void BaseScriptTable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    baseValues.Accept(visitor);
    defaultMinMax.Accept(visitor);
}

// ---- Axis::BaseScriptRecord ----

bool BaseScriptRecord::IsLessThan(const GraphNode& other) const {
    return Compare(*this, static_cast<const BaseScriptRecord&>(other)) < 0;
}

void BaseScriptRecord::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    baseScriptTable.Accept(visitor);
}

// ---- Axis ----

bool Axis::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool Axis::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    isPresent = true;
    const unsigned long start = source->Tell();
    uint16_t tagListOffset = 0;
    uint16_t scriptListOffset = 0;
    if (!source->GetU16(tagListOffset) || !source->GetU16(scriptListOffset)) return false;
    baselineTags = BaselineTags();
    if (tagListOffset != 0) LoadAt(source, start + tagListOffset, baselineTags, budget);

    baseScriptRecords.clear();
    if (scriptListOffset == 0) return true;
    const unsigned long listStart = start + scriptListOffset;
    source->Seek(listStart);
    uint16_t count = 0;
    if (!source->GetU16(count)) return true;
    const uint64_t kept = SubTable::KeepWithinBudget(
        std::min<uint64_t>(count, source->GetRemaining() / kScriptRecordSize), sizeof(BaseScriptRecord), budget);
    baseScriptRecords.resize(kept);
    std::vector<uint16_t> offsets(kept);
    for (size_t i = 0; i < kept; ++i) {
        source->GetU32(baseScriptRecords[i].tag);
        source->GetU16(offsets[i]);
    }
    // Script offsets count from the list, not from the axis.
    for (size_t i = 0; i < kept; ++i) {
        LoadAt(source, listStart + offsets[i], baseScriptRecords[i].baseScriptTable, budget);
    }
    return true;
}

unsigned long Axis::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    const unsigned long base = out->Tell();
    TableOffset tagListOffset(out, base, 2, true);
    TableOffset scriptListOffset(out, base, 2, true);

    // The tag list is written here, present or not, right after the two
    // offsets. Its own node is left in the graph with no edge to it, so it
    // is never laid out on its own.
    tagListOffset.Set(out->Tell());
    baselineTags.Save(graph);
    out->Write(baselineTags.buffer);

    // The script list follows, inline too; its offsets count from the list.
    // Past 0xFFFE (more than kMaxWritableTags tags) Set writes nothing.
    scriptListOffset.Set(out->Tell());
    const unsigned long listBase = out->Tell();
    const size_t count = std::min(baseScriptRecords.size(), kMaxCount);
    out->SetU16(static_cast<uint16_t>(count));
    std::vector<TableOffset> offsets;
    offsets.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        out->SetU32(baseScriptRecords[i].tag);
        offsets.emplace_back(out, listBase, 2, true);
    }
    for (size_t i = 0; i < count; ++i) {
        graph.AddOffset(index, offsets[i], baseScriptRecords[i].baseScriptTable.Save(graph));
    }
    return index;
}

bool Axis::IsLessThan(const GraphNode& other) const { return Compare(*this, static_cast<const Axis&>(other)) < 0; }

void Axis::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (BaseScriptRecord& record : baseScriptRecords) record.Accept(visitor);
}

// ---- OTBASETable ----

OTBASETable::OTBASETable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("BASE")) {}

OTTable* OTBASETable::VirtualClone() const { return new OTBASETable(*this); }

bool OTBASETable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!OTTable::Load(source)) return false;
    majorVersion = 0;
    minorVersion = 0;
    horizAxis = Axis();
    vertAxis = Axis();
    itemVariationStore = ItemVariationStore();

    source->Seek(0);
    uint16_t horizOffset = 0;
    uint16_t vertOffset = 0;
    uint32_t storeOffset = 0;
    source->GetU16(majorVersion);
    source->GetU16(minorVersion);
    source->GetU16(horizOffset);
    source->GetU16(vertOffset);
    if (minorVersion != 0) source->GetU32(storeOffset);

    // One budget for both axes: their scripts may share tables.
    uint64_t budget = SubTable::GetLoadBudget(*source);
    if (horizOffset != 0) LoadAt(source, horizOffset, horizAxis, budget);
    if (vertOffset != 0) LoadAt(source, vertOffset, vertAxis, budget);
    if (storeOffset != 0) {
        source->Seek(storeOffset);
        itemVariationStore.Load(source);
    }
    return true;
}

bool OTBASETable::Save() {
    if (!IsDirty()) return true;
    if (horizAxis.baselineTags.tags.size() > Axis::kMaxWritableTags ||
        vertAxis.baselineTags.tags.size() > Axis::kMaxWritableTags)
        return false;

    TableGraph graph;
    const unsigned long root = graph.AddTable(*this);
    // The header, the graph's root, goes into a new buffer: the old one may
    // be held elsewhere, and stays the table's if the layout fails.
    const Bedrock::Counted<BigEndianBuffer> previous = OTTable::GetBuffer();
    const auto header = Bedrock::MakeCounted<BigEndianBuffer>();
    SetBuffer(header);
    const unsigned long base = header->Tell();
    header->SetU16(majorVersion);
    header->SetU16(minorVersion);
    TableOffset horizOffset(header, base, 2, true);
    TableOffset vertOffset(header, base, 2, true);
    // The store is never written back (instancing resolves it), so its
    // offset stays zero, though the field keeps its place.
    const TableOffset storeOffset(header, base, 4, minorVersion != 0);

    // Both axes are written, present or not, so neither offset is ever 0.
    // The values set here are provisional: the layout fills in every edge.
    horizOffset.Set(header->Tell());
    graph.AddOffset(root, horizOffset, horizAxis.Save(graph));
    vertOffset.Set(header->Tell());
    graph.AddOffset(root, vertOffset, vertAxis.Save(graph));

    Bedrock::Counted<BigEndianBuffer> out = LayOut(graph, root);
    if (!out) {
        SetBuffer(previous);
        return false;
    }
    SetBuffer(std::move(out));
    SetIsDirty(false);
    return true;
}

Bedrock::Counted<BigEndianBuffer> OTBASETable::GetBuffer() const { return OTTable::GetBuffer(); }

bool OTBASETable::IsLessThan(const GraphNode&) const { return false; }

void OTBASETable::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    horizAxis.Accept(visitor);
    vertAxis.Accept(visitor);
}

void OTBASETable::SetVersion(unsigned short major, unsigned short minor) {
    majorVersion = major;
    minorVersion = minor;
    SetIsDirty(true);
}

void OTBASETable::SetItemVariationStore(const ItemVariationStore& store) {
    itemVariationStore = store;
    SetIsDirty(true);
}

}  // namespace Typeframe
