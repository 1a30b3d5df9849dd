#include "variations/OTavarTable.h"

#include <algorithm>
#include <utility>

#include "core/Tag.h"

namespace Typeframe {

OTavarTable::OTavarTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("avar")) {}

OTTable* OTavarTable::VirtualClone() const { return new OTavarTable(*this); }

bool OTavarTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    BigEndianBuffer& in = *Buffer();
    in.Seek(0);
    uint16_t reservedWord = 0;
    uint16_t axisCount = 0;
    in.GetU16(majorVersion);
    in.GetU16(minorVersion);
    in.GetU16(reservedWord);
    in.GetU16(axisCount);
    // segmentMaps is deliberately not cleared: a second Load appends.
    for (unsigned axis = 0; axis < axisCount; ++axis) {
        uint16_t positionMapCount = 0;
        // The table ends before this axis: the axis count promised too much.
        if (!in.GetU16(positionMapCount)) break;
        // Only pairs whose four bytes are present are made, so the count
        // from the file never sizes memory beyond the table.
        const unsigned long present = std::min<unsigned long>(positionMapCount, in.GetRemaining() / 4);
        std::vector<AxisValueMapRecord> map;
        map.reserve(present);
        for (unsigned long i = 0; i < present; ++i) {
            AxisValueMapRecord record;
            in.GetFixed2_14(record.fromCoordinate);
            in.GetFixed2_14(record.toCoordinate);
            map.push_back(record);
        }
        segmentMaps.push_back(std::move(map));
        if (present < positionMapCount) break;
    }
    return true;
}

bool OTavarTable::Save() { return true; }

double OTavarTable::NormalizeValue(int axisIndex, double value) const {
    if (axisIndex < 0 || static_cast<size_t>(axisIndex) >= segmentMaps.size()) return value;
    const auto& map = segmentMaps[static_cast<size_t>(axisIndex)];
    if (map.empty()) return value;
    const AxisValueMapRecord* previous = &map.front();
    for (const AxisValueMapRecord& record : map) {
        const double x = record.fromCoordinate.ToDouble();
        // An exact hit returns at once, so of two records with the same
        // fromCoordinate the first decides.
        if (x == value) return record.toCoordinate.ToDouble();
        if (x > value) {
            // Kept as is: a value below the first fromCoordinate meets the
            // first record as both ends of the segment and gives 0/0, not a
            // number. Maps start at -1 and callers clamp to [-1, 1] first.
            const double x0 = previous->fromCoordinate.ToDouble();
            const double y0 = previous->toCoordinate.ToDouble();
            const double y1 = record.toCoordinate.ToDouble();
            return y0 + (value - x0) * (y1 - y0) / (x - x0);
        }
        previous = &record;
    }
    // Above the last fromCoordinate the value is neither mapped nor clamped.
    return value;
}

}  // namespace Typeframe
