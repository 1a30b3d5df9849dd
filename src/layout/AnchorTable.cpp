#include "layout/AnchorTable.h"

#include <utility>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

// The bytes of the fixed fields of each format; an unknown one has the
// format and the coordinates.
unsigned long FieldsSize(uint16_t format) {
    if (format == 2) return 8;
    if (format == 3) return 10;
    return 6;
}

}  // namespace

bool AnchorTable::Load(Bedrock::Counted<BigEndianBuffer> source) {
    return SubTable::LoadWithOwnBudget(*this, std::move(source));
}

bool AnchorTable::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return false;
    const unsigned long start = source->Tell();
    uint16_t readFormat = 0;
    if (!source->GetU16(start, readFormat) || !source->IsInBounds(start, FieldsSize(readFormat))) return false;
    format = readFormat;
    source->GetS16(start + 2, xCoordinate);
    source->GetS16(start + 4, yCoordinate);
    if (format == 2) source->GetU16(start + 6, anchorPoint);
    if (format == 3) {
        uint16_t xOffset = 0;
        uint16_t yOffset = 0;
        source->GetU16(start + 6, xOffset);
        source->GetU16(start + 8, yOffset);
        if (xOffset != 0) DeviceTable::LoadAt(source, start + uint64_t(xOffset), xDeviceTable, budget);
        if (yOffset != 0) DeviceTable::LoadAt(source, start + uint64_t(yOffset), yDeviceTable, budget);
    }
    source->Seek(start + FieldsSize(format));
    return true;
}

unsigned long AnchorTable::Save(TableGraph& graph) const {
    const unsigned long index = graph.AddTable(*this);
    StartSave();
    const Bedrock::Counted<BigEndianBuffer> out = buffer;
    out->SetU16(format);
    out->SetS16(xCoordinate);
    out->SetS16(yCoordinate);
    if (format == 2) out->SetU16(anchorPoint);
    if (format != 3) return index;
    // Deliberate: a format 3 anchor carries its devices inside its own bytes,
    // after its fields, instead of pointing at shared device nodes. So an
    // anchor is self-contained, and a device used by two anchors is written
    // once in each. The device still enters the graph when it saves its
    // bytes, as a node that no edge reaches and the writer never lays out.
    TableOffset xOffset(out, 0, 2, true);
    TableOffset yOffset(out, 0, 2, true);
    const std::pair<const DeviceTable*, TableOffset*> devices[] = {{&xDeviceTable, &xOffset},
                                                                   {&yDeviceTable, &yOffset}};
    for (const auto& [device, offset] : devices) {
        if (device->deltaFormat == 0) continue;
        // An anchor with two devices stays far below 0xFFFE bytes, so Set
        // can't fail here.
        offset->Set(static_cast<unsigned int>(out->Tell()));
        device->Save(graph);
        out->Write(Bedrock::Counted<const BigEndianBuffer>(device->buffer));
    }
    return index;
}

bool AnchorTable::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const AnchorTable&>(other);
    if (format != that.format) return format < that.format;
    if (xCoordinate != that.xCoordinate) return xCoordinate < that.xCoordinate;
    if (yCoordinate != that.yCoordinate) return yCoordinate < that.yCoordinate;
    if (anchorPoint != that.anchorPoint) return anchorPoint < that.anchorPoint;
    if (xDeviceTable < that.xDeviceTable) return true;
    if (that.xDeviceTable < xDeviceTable) return false;
    return yDeviceTable < that.yDeviceTable;
}

void AnchorTable::Accept(GraphNodeVisitor& visitor) { visitor.Visit(*this); }

}  // namespace Typeframe
