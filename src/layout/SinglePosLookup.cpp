#include "layout/SinglePosLookup.h"

#include <algorithm>
#include <utility>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr size_t kMaxCount = 0xFFFF;

}  // namespace

bool SinglePosLookup::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool SinglePosLookup::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    uint16_t readFormat = 0;
    if (!source->GetU16(start, readFormat) || !source->IsInBounds(start, readFormat == 2 ? 8 : 6)) return false;
    format = readFormat;
    uint16_t coverageOffset = 0;
    uint16_t count = 1;
    source->GetU16(start + 2, coverageOffset);
    source->GetU16(start + 4, valueFormat);
    if (format == 2) source->GetU16(start + 6, count);
    source->Seek(start + (format == 2 ? 8 : 6));

    // Records without fields take no bytes, so the budget alone bounds them.
    const unsigned long recordSize = ValueRecord::GetSize(valueFormat);
    const uint64_t fit = recordSize == 0 ? count : source->GetRemaining() / recordSize;
    const uint64_t kept = SubTable::KeepWithinBudget(std::min<uint64_t>(count, fit), sizeof(ValueRecord), budget);
    values.assign(kept, ValueRecord(valueFormat, start));
    for (ValueRecord& value : values) value.Load(source, budget);

    // A coverage that is missing or doesn't load stays empty.
    coverage = CoverageTable();
    coverage.font = font;
    if (coverageOffset != 0) {
        source->Seek(start + coverageOffset);
        CoverageTable loaded;
        loaded.font = font;
        if (loaded.Load(source)) coverage = std::move(loaded);
    }
    return true;
}

unsigned long SinglePosLookup::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    const TableOffset coverageOffset(out, 0, 2, true);
    out->SetU16(valueFormat);
    if (format == 2) {
        const size_t count = std::min(values.size(), kMaxCount);
        out->SetU16(static_cast<uint16_t>(count));
        for (size_t i = 0; i < count; ++i) values[i].Save(out, index, 0, graph);
    } else if (values.empty()) {
        ValueRecord(valueFormat, 0).Save(out, index, 0, graph);
    } else {
        values.front().Save(out, index, 0, graph);
    }
    graph.AddOffset(index, coverageOffset, coverage.Save(graph));
    return index;
}

bool SinglePosLookup::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const SinglePosLookup&>(other);
    if (format != that.format) return format < that.format;
    if (coverage < that.coverage) return true;
    if (that.coverage < coverage) return false;
    if (valueFormat != that.valueFormat) return valueFormat < that.valueFormat;
    return std::lexicographical_compare(values.begin(), values.end(), that.values.begin(), that.values.end());
}

void SinglePosLookup::Accept(GraphNodeVisitor& visitor) {
    visitor.Visit(*this);
    for (ValueRecord& value : values) value.Accept(visitor);
}

}  // namespace Typeframe
