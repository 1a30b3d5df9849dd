#pragma once

// The maximum profile ('maxp'): the glyph count and, from version 1.0 on, the
// limits the TrueType rasteriser needs. The glyph limits are filled in by the
// 'glyf' table before this one is saved.

#include <cstdint>

#include "base/Counted.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTmaxpTable : public OTTable {
public:
    // Raw version words from which the table has all fifteen fields.
    static constexpr uint32_t kLongFormVersion = 0x00005001;
    static constexpr unsigned long kShortFormSize = 6;
    static constexpr unsigned long kLongFormSize = 32;

    explicit OTmaxpTable(Bedrock::NonCounted<OTFont> font);
    OTmaxpTable(const OTmaxpTable& other) = default;

    OTTable* VirtualClone() const override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    bool Save() override;

    // Whether the version has the thirteen limits (any raw word from
    // kLongFormVersion up, not only 1.0).
    bool HasLimits() const { return version >= kLongFormVersion; }

    uint32_t version = 0;  // 16.16 version number as its raw word
    uint16_t numGlyphs = 0;
    uint16_t maxPoints = 0;
    uint16_t maxContours = 0;
    uint16_t maxCompositePoints = 0;
    uint16_t maxCompositeContours = 0;
    uint16_t maxZones = 0;
    uint16_t maxTwilightPoints = 0;
    uint16_t maxStorage = 0;
    uint16_t maxFunctionDefs = 0;
    uint16_t maxInstructionDefs = 0;
    uint16_t maxStackElements = 0;
    uint16_t maxSizeOfInstructions = 0;
    uint16_t maxComponentElements = 0;
    uint16_t maxComponentDepth = 0;
};

}  // namespace Typeframe
