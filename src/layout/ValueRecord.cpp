#include "layout/ValueRecord.h"

#include <bit>
#include <utility>

#include "packing/GraphNodeVisitor.h"
#include "packing/TableOffset.h"

namespace Typeframe {

namespace {

constexpr ValueRecord::ValueRecordFlags kValueFlags = 0x000F;
constexpr ValueRecord::ValueRecordFlags kDeviceFlags = 0x00F0;

}  // namespace

ValueRecord::ValueRecord(ValueRecordFlags flags, unsigned long recordBase) : base(recordBase), valueFormat(flags) {}

unsigned long ValueRecord::GetSize(ValueRecordFlags flags) {
    return 2ul * std::popcount(static_cast<unsigned>(flags & (kValueFlags | kDeviceFlags)));
}

bool ValueRecord::Load(Bedrock::Counted<BigEndianBuffer> source) {
    if (!source) return true;
    uint64_t budget = SubTable::GetLoadBudget(*source);
    return Load(std::move(source), budget);
}

bool ValueRecord::Load(Bedrock::Counted<BigEndianBuffer> source, uint64_t& budget) {
    if (!source) return true;
    // Fields are read at fixed places, so that a record cut short by the end
    // of the buffer still ends where the next one would start.
    unsigned long at = source->Tell();
    int16_t* const values[] = {&xPlacement, &yPlacement, &xAdvance, &yAdvance};
    for (unsigned i = 0; i < 4; ++i) {
        if (!(valueFormat & (kXPlacement << i))) continue;
        source->GetS16(at, *values[i]);
        at += 2;
    }
    uint16_t offsets[4] = {};
    for (unsigned i = 0; i < 4; ++i) {
        if (!(valueFormat & (kXPlacementDevice << i))) continue;
        source->GetU16(at, offsets[i]);
        at += 2;
    }
    DeviceTable* const devices[] = {&xPlaDevice, &yPlaDevice, &xAdvDevice, &yAdvDevice};
    for (unsigned i = 0; i < 4; ++i) {
        if (offsets[i] != 0) DeviceTable::LoadAt(source, base + offsets[i], *devices[i], budget);
    }
    source->Seek(at);
    return true;
}

bool ValueRecord::Save(Bedrock::Counted<BigEndianBuffer> target, unsigned long node, unsigned long recordBase,
                       TableGraph& graph) const {
    if (!target) return true;
    const int16_t values[] = {xPlacement, yPlacement, xAdvance, yAdvance};
    for (unsigned i = 0; i < 4; ++i) {
        if (valueFormat & (kXPlacement << i)) target->SetS16(values[i]);
    }
    const DeviceTable* const devices[] = {&xPlaDevice, &yPlaDevice, &xAdvDevice, &yAdvDevice};
    for (unsigned i = 0; i < 4; ++i) {
        if (!(valueFormat & (kXPlacementDevice << i))) continue;
        // The device is saved as soon as its offset exists: the record has no
        // second pass, and a flag without a device keeps the zero placeholder.
        const TableOffset offset(target, recordBase, 2, true);
        if (devices[i]->deltaFormat != 0) graph.AddOffset(node, offset, devices[i]->Save(graph));
    }
    return true;
}

int ValueRecord::Compare(const ValueRecord& a, const ValueRecord& b) {
    if (a.valueFormat != b.valueFormat) return a.valueFormat < b.valueFormat ? -1 : 1;
    if (a.xPlacement != b.xPlacement) return a.xPlacement < b.xPlacement ? -1 : 1;
    if (a.yPlacement != b.yPlacement) return a.yPlacement < b.yPlacement ? -1 : 1;
    if (a.xAdvance != b.xAdvance) return a.xAdvance < b.xAdvance ? -1 : 1;
    if (a.yAdvance != b.yAdvance) return a.yAdvance < b.yAdvance ? -1 : 1;
    // Devices are held by value, so comparing them as nodes is comparing
    // them as devices.
    if (const int order = DeviceTable::Compare(a.xPlaDevice, b.xPlaDevice)) return order;
    if (const int order = DeviceTable::Compare(a.yPlaDevice, b.yPlaDevice)) return order;
    if (const int order = DeviceTable::Compare(a.xAdvDevice, b.xAdvDevice)) return order;
    return DeviceTable::Compare(a.yAdvDevice, b.yAdvDevice);
}

bool ValueRecord::IsLessThan(const GraphNode& other) const {
    return Compare(*this, static_cast<const ValueRecord&>(other)) < 0;
}

void ValueRecord::Accept(GraphNodeVisitor& visitor) { visitor.Visit(*this); }

}  // namespace Typeframe
