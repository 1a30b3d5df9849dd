#pragma once

// The grid-fitting and scan-conversion procedure table ('gasp'): for ranges
// of sizes in pixels per em, how the rasteriser should hint and smooth. The
// ranges are kept and written in the order held; no sorting is enforced.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTgaspTable : public OTTable {
public:
    struct GaspRange {
        uint16_t rangeMaxPPEM = 0;
        uint16_t rangeGaspBehavior = 0;
    };

    explicit OTgaspTable(Bedrock::NonCounted<OTFont> font);
    OTgaspTable(const OTgaspTable& other) = default;

    OTTable* VirtualClone() const override;
    // Appends the file's ranges to gaspRanges, which is not emptied first.
    // False when the header or a range lies past the end of the bytes; the
    // whole ranges before that point are kept.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // False when there are more ranges than a 16-bit count can say.
    bool Save() override;

    // The upper size limit of a range; false, and `value` left alone, when
    // the index is at or past the end.
    bool GetGaspRangeMaxPPEM(unsigned short index, unsigned short& value) const;
    // Stores the limit and marks the table dirty; false past the end.
    bool SetGaspRangeMaxPPEM(unsigned short index, unsigned short value);

    uint16_t version = 0;
    std::vector<GaspRange> gaspRanges;
};

}  // namespace Typeframe
