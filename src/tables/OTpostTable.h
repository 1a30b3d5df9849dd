#pragma once

// The PostScript table ('post'): italic angle, underline, fixed pitch, the
// memory hints of PostScript printers and, in formats 1.0 and 2.0, the
// glyph names of a TrueType font. Loaded names are made unique and
// non-empty, so they can serve as keys: a repeated name becomes "name#1",
// "name#2", ..., an empty one "glyph00012" after its glyph index. Format 3.0
// has no names; formats 2.5 and 4.0 and unknown versions load without names
// and cannot be written from their fields.

#include <cstdint>
#include <map>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/String.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTpostTable : public OTTable {
public:
    // Raw version words of the formats.
    static constexpr uint32_t kVersion10 = 0x00010000;
    static constexpr uint32_t kVersion20 = 0x00020000;
    static constexpr uint32_t kVersion25 = 0x00025000;
    static constexpr uint32_t kVersion30 = 0x00030000;
    static constexpr uint32_t kVersion40 = 0x00040000;
    // The fixed part that every format starts with.
    static constexpr unsigned long kHeaderSize = 32;
    // Indexes below this name a glyph from the Macintosh list.
    static constexpr unsigned int kMacGlyphCount = 258;

    explicit OTpostTable(Bedrock::NonCounted<OTFont> font);
    OTpostTable(const OTpostTable& other) = default;

    OTTable* VirtualClone() const override;
    // A format 3.0 table without names, fixed pitch set; dirty.
    bool Create() override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    bool Save() override;

    uint32_t GetPreferredVersion() const { return kVersion30; }

    // The name of a glyph, or an empty string past the end of the list.
    Utf8String GetGlyphName(int glyph) const;
    // Replaces names with the table's names; true if there are any.
    bool GetGlyphNames(std::vector<Utf8String>& names) const;
    // Adds a name not yet in the list: inserted before the glyph at index
    // when that lies strictly inside the list, appended otherwise (index 0
    // included). A name outside the Macintosh list also joins extraNames.
    // False, and nothing changes, when the list has the name already.
    bool AddGlyphName(const Utf8String& name, int index);
    // Makes the names of glyphs 0 to maxp's numGlyphs - 1 unique and
    // non-empty; false without 'maxp'.
    bool BuildPSNameMapping();

    bool LoadFormat10();
    bool LoadFormat20(BigEndianBuffer& data);
    bool LoadFormat30();
    bool LoadFormat40();
    bool SaveFormat20(BigEndianBuffer& out);
    bool SaveFormat40();

    uint32_t version = 0;  // 16.16 version number as its raw word
    Fixed16_16 italicAngle;
    int16_t underlinePosition = 0;
    int16_t underlineThickness = 0;
    uint32_t isFixedPitch = 0;
    uint32_t minMemType42 = 0;
    uint32_t maxMemType42 = 0;
    uint32_t minMemType1 = 0;
    uint32_t maxMemType1 = 0;
    std::vector<Utf8String> glyphNames;  // by glyph index
    std::vector<Utf8String> extraNames;  // names outside the Macintosh list
    std::map<Utf8String, Utf8String> originalNames;
};

}  // namespace Typeframe
