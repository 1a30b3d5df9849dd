#include "tables/OTgaspTable.h"

#include <algorithm>

#include "core/Tag.h"

namespace Typeframe {

namespace {

constexpr unsigned long kHeaderSize = 4;
constexpr unsigned long kRangeSize = 4;

}  // namespace

OTgaspTable::OTgaspTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("gasp")) {}

OTTable* OTgaspTable::VirtualClone() const { return new OTgaspTable(*this); }

bool OTgaspTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    BigEndianBuffer& in = *Buffer();
    in.Seek(0);
    uint16_t numRanges = 0;
    if (!in.GetU16(version) || !in.GetU16(numRanges)) return false;
    // Loading appends: ranges already held stay in front of the file's.
    // Room is reserved only for the ranges the bytes can hold, whatever the
    // count claims.
    gaspRanges.reserve(gaspRanges.size() + std::min<unsigned long>(numRanges, in.GetRemaining() / kRangeSize));
    for (uint16_t i = 0; i < numRanges; ++i) {
        GaspRange range;
        if (!in.GetU16(range.rangeMaxPPEM) || !in.GetU16(range.rangeGaspBehavior)) return false;
        gaspRanges.push_back(range);
    }
    SetIsDirty(false);
    return true;
}

bool OTgaspTable::Save() {
    if (!IsDirty()) return true;
    // Written in the order held: ranges are not sorted by size here.
    if (gaspRanges.size() > 0xFFFF) return false;
    BigEndianBuffer& out = ResetBuffer(kHeaderSize + kRangeSize * gaspRanges.size());
    out.SetU16(version);
    out.SetU16(static_cast<uint16_t>(gaspRanges.size()));
    for (const GaspRange& range : gaspRanges) {
        out.SetU16(range.rangeMaxPPEM);
        out.SetU16(range.rangeGaspBehavior);
    }
    SetIsDirty(false);
    return true;
}

bool OTgaspTable::GetGaspRangeMaxPPEM(unsigned short index, unsigned short& value) const {
    if (index >= gaspRanges.size()) return false;
    value = gaspRanges[index].rangeMaxPPEM;
    return true;
}

bool OTgaspTable::SetGaspRangeMaxPPEM(unsigned short index, unsigned short value) {
    if (index >= gaspRanges.size()) return false;
    gaspRanges[index].rangeMaxPPEM = value;
    SetIsDirty(true);
    return true;
}

}  // namespace Typeframe
