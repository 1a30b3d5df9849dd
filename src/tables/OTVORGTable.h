#pragma once

// The vertical origin table ('VORG') of CFF fonts: a default origin and the
// glyphs whose origin differs from it. Save picks the default afresh as the
// most common origin, so the list stays as short as it can be.

#include <cstdint>
#include <map>

#include "base/Counted.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTVORGTable : public OTTable {
public:
    explicit OTVORGTable(Bedrock::NonCounted<OTFont> font);
    OTVORGTable(const OTVORGTable& other) = default;

    OTTable* VirtualClone() const override;
    // Keeps only the bytes read (header and whole pairs) as the buffer.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // Needs 'maxp'. Leaves the table dirty.
    bool Save() override;

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    int16_t defaultVertOriginY = 0;
    std::map<uint16_t, int16_t> vertOriginYMetrics;  // glyph index -> origin
};

}  // namespace Typeframe
