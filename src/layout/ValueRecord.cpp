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

bool ValueRecord::IsLessThan(const GraphNode& other) const {
    const auto& that = static_cast<const ValueRecord&>(other);
    if (valueFormat != that.valueFormat) return valueFormat < that.valueFormat;
    if (xPlacement != that.xPlacement) return xPlacement < that.xPlacement;
    if (yPlacement != that.yPlacement) return yPlacement < that.yPlacement;
    if (xAdvance != that.xAdvance) return xAdvance < that.xAdvance;
    if (yAdvance != that.yAdvance) return yAdvance < that.yAdvance;
    const DeviceTable* const mine[] = {&xPlaDevice, &yPlaDevice, &xAdvDevice, &yAdvDevice};
    const DeviceTable* const theirs[] = {&that.xPlaDevice, &that.yPlaDevice, &that.xAdvDevice, &that.yAdvDevice};
    for (unsigned i = 0; i < 4; ++i) {
        if (*mine[i] < *theirs[i]) return true;
        if (*theirs[i] < *mine[i]) return false;
    }
    return false;
}

void ValueRecord::Accept(GraphNodeVisitor& visitor) { visitor.Visit(*this); }

}  // namespace Typeframe
