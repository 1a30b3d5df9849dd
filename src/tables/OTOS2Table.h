#pragma once

// The OS/2 and Windows metrics table ('OS/2'), versions 0 to 5. Every field is
// echoed as held except xAvgCharWidth, which a dirty save recomputes from the
// advances in 'hmtx'. A version 0 table may be of the early 68-byte form that
// ends before the typographic metrics; isLegacyLength keeps that form.

#include <array>
#include <cstdint>

#include "base/Counted.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;
class OTCFFTable;

class OTOS2Table : public OTTable {
public:
    // Byte lengths of the forms, by the version that ends each one.
    static constexpr unsigned long kLegacyVersion0Size = 68;
    static constexpr unsigned long kVersion0Size = 78;
    static constexpr unsigned long kVersion1Size = 86;
    static constexpr unsigned long kVersion2Size = 96;
    static constexpr unsigned long kVersion5Size = 100;
    static constexpr uint16_t kHighestVersion = 5;

    explicit OTOS2Table(Bedrock::NonCounted<OTFont> font);
    OTOS2Table(const OTOS2Table& other) = default;

    OTTable* VirtualClone() const override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    bool Save() override;
    // A version 3 table of fixed defaults for a font made from nothing.
    bool Create() override;
    // The same defaults; the CFF table is not consulted.
    bool Create(const Bedrock::Counted<OTCFFTable>& cff);

    // The length that Save writes for the version; false above version 5.
    bool GetLen(unsigned long& length) const;
    // The rounded mean of the non-zero advances in 'hmtx'. False without
    // 'hmtx'; with no non-zero advance `width` is left alone and the result
    // is true.
    bool GetAverageCharWidth(short& width) const;

    uint16_t version = 0;
    int16_t xAvgCharWidth = 0;
    uint16_t usWeightClass = 0;
    uint16_t usWidthClass = 0;
    uint16_t fsType = 0;
    int16_t ySubscriptXSize = 0;
    int16_t ySubscriptYSize = 0;
    int16_t ySubscriptXOffset = 0;
    int16_t ySubscriptYOffset = 0;
    int16_t ySuperscriptXSize = 0;
    int16_t ySuperscriptYSize = 0;
    int16_t ySuperscriptXOffset = 0;
    int16_t ySuperscriptYOffset = 0;
    int16_t yStrikeoutSize = 0;
    int16_t yStrikeoutPosition = 0;
    int16_t sFamilyClass = 0;
    std::array<uint8_t, 10> panose{};
    uint32_t ulUnicodeRange1 = 0;
    uint32_t ulUnicodeRange2 = 0;
    uint32_t ulUnicodeRange3 = 0;
    uint32_t ulUnicodeRange4 = 0;
    uint32_t achVendID = 0;
    uint16_t fsSelection = 0;
    uint16_t usFirstCharIndex = 0;
    uint16_t usLastCharIndex = 0;
    // The typographic block: absent from the early version 0 form.
    int16_t sTypoAscender = 0;
    int16_t sTypoDescender = 0;
    int16_t sTypoLineGap = 0;
    uint16_t usWinAscent = 0;
    uint16_t usWinDescent = 0;
    // Version 1 and up.
    uint32_t ulCodePageRange1 = 0;
    uint32_t ulCodePageRange2 = 0;
    // Version 2 and up.
    int16_t sxHeight = 0;
    int16_t sCapHeight = 0;
    uint16_t usDefaultChar = 0;
    uint16_t usBreakChar = 0;
    uint16_t usMaxContext = 0;
    // Version 5 and up.
    uint16_t usLowerOpticalPointSize = 0;
    uint16_t usUpperOpticalPointSize = 0;
    // Not in the file: the table is of the 68-byte form without the
    // typographic block.
    bool isLegacyLength = false;
};

}  // namespace Typeframe
