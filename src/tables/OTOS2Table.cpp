#include "tables/OTOS2Table.h"

#include <vector>

#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/OTheadTable.h"
#include "tables/OThmtxTable.h"

namespace Typeframe {

namespace {

// Reads fields at their fixed offsets. The offset moves on whether or not a
// field fits, so a table cut short never shifts later fields onto the bytes
// of earlier ones: a field that is not wholly inside the buffer keeps what it
// held.
class FieldReader {
public:
    explicit FieldReader(const BigEndianBuffer& in) : m_in(in) {}

    void U16(uint16_t& value) { Next(m_in.GetU16(m_offset, value), 2); }
    void S16(int16_t& value) { Next(m_in.GetS16(m_offset, value), 2); }
    void U32(uint32_t& value) { Next(m_in.GetU32(m_offset, value), 4); }
    void Bytes(unsigned char* bytes, unsigned long count) { Next(m_in.Read(m_offset, count, bytes), count); }
    void Skip(unsigned long count) { m_offset += count; }

private:
    void Next(bool, unsigned long size) { m_offset += size; }

    const BigEndianBuffer& m_in;
    unsigned long m_offset = 0;
};

}  // namespace

OTOS2Table::OTOS2Table(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("OS/2")) {}

OTTable* OTOS2Table::VirtualClone() const { return new OTOS2Table(*this); }

bool OTOS2Table::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    const BigEndianBuffer& data = *Buffer();
    FieldReader in(data);
    in.U16(version);
    in.S16(xAvgCharWidth);
    in.U16(usWeightClass);
    in.U16(usWidthClass);
    in.U16(fsType);
    in.S16(ySubscriptXSize);
    in.S16(ySubscriptYSize);
    in.S16(ySubscriptXOffset);
    in.S16(ySubscriptYOffset);
    in.S16(ySuperscriptXSize);
    in.S16(ySuperscriptYSize);
    in.S16(ySuperscriptXOffset);
    in.S16(ySuperscriptYOffset);
    in.S16(yStrikeoutSize);
    in.S16(yStrikeoutPosition);
    in.S16(sFamilyClass);
    in.Bytes(panose.data(), panose.size());
    in.U32(ulUnicodeRange1);
    in.U32(ulUnicodeRange2);
    in.U32(ulUnicodeRange3);
    in.U32(ulUnicodeRange4);
    in.U32(achVendID);
    in.U16(fsSelection);
    in.U16(usFirstCharIndex);
    in.U16(usLastCharIndex);
    // The typographic block is there by length, not by version: the early
    // version 0 form ends before it. Any table too short to hold the whole
    // block counts as that form, whatever its version says.
    if (data.GetLength() >= kVersion0Size) {
        in.S16(sTypoAscender);
        in.S16(sTypoDescender);
        in.S16(sTypoLineGap);
        in.U16(usWinAscent);
        in.U16(usWinDescent);
        isLegacyLength = false;
    } else {
        sTypoAscender = 0;
        sTypoDescender = 0;
        sTypoLineGap = 0;
        usWinAscent = 0;
        usWinDescent = 0;
        isLegacyLength = true;
        in.Skip(10);
    }
    // From here on the version alone decides what is read; a table shorter
    // than its version says reads what its bytes give.
    if (version >= 1) {
        in.U32(ulCodePageRange1);
        in.U32(ulCodePageRange2);
    }
    if (version >= 2) {
        in.S16(sxHeight);
        in.S16(sCapHeight);
        in.U16(usDefaultChar);
        in.U16(usBreakChar);
        in.U16(usMaxContext);
    }
    // A version above 5 reads like version 5.
    if (version >= 5) {
        in.U16(usLowerOpticalPointSize);
        in.U16(usUpperOpticalPointSize);
    }
    SetIsDirty(false);
    return true;
}

bool OTOS2Table::Save() {
    if (!IsDirty()) return true;
    // An unknown version can't be written: false, and the loaded bytes stay.
    unsigned long length = 0;
    if (!GetLen(length)) return false;

    // The buffer is reset before the average is known, so a save that fails
    // for want of 'hmtx' leaves the buffer at the new length, its first bytes
    // those of the old table, and the table dirty.
    BigEndianBuffer& out = ResetBuffer(length);
    // The average is the one recomputed field; every other one, the
    // character range and usMaxContext included, goes out as held.
    if (!GetAverageCharWidth(xAvgCharWidth)) return false;

    out.SetU16(version);
    out.SetS16(xAvgCharWidth);
    out.SetU16(usWeightClass);
    out.SetU16(usWidthClass);
    out.SetU16(fsType);
    out.SetS16(ySubscriptXSize);
    out.SetS16(ySubscriptYSize);
    out.SetS16(ySubscriptXOffset);
    out.SetS16(ySubscriptYOffset);
    out.SetS16(ySuperscriptXSize);
    out.SetS16(ySuperscriptYSize);
    out.SetS16(ySuperscriptXOffset);
    out.SetS16(ySuperscriptYOffset);
    out.SetS16(yStrikeoutSize);
    out.SetS16(yStrikeoutPosition);
    out.SetS16(sFamilyClass);
    out.Write(panose.size(), panose.data());
    out.SetU32(ulUnicodeRange1);
    out.SetU32(ulUnicodeRange2);
    out.SetU32(ulUnicodeRange3);
    out.SetU32(ulUnicodeRange4);
    out.SetU32(achVendID);
    out.SetU16(fsSelection);
    out.SetU16(usFirstCharIndex);
    out.SetU16(usLastCharIndex);
    // Only version 0 has room to leave the typographic block out. A later
    // version loaded from a cut table is also marked legacy, but its layout
    // needs the block, so it is written (zero unless since set) and the
    // code-page ranges stay at their published offset.
    if (version != 0 || !isLegacyLength) {
        out.SetS16(sTypoAscender);
        out.SetS16(sTypoDescender);
        out.SetS16(sTypoLineGap);
        out.SetU16(usWinAscent);
        out.SetU16(usWinDescent);
    }
    if (version >= 1) {
        out.SetU32(ulCodePageRange1);
        out.SetU32(ulCodePageRange2);
    }
    if (version >= 2) {
        out.SetS16(sxHeight);
        out.SetS16(sCapHeight);
        out.SetU16(usDefaultChar);
        out.SetU16(usBreakChar);
        out.SetU16(usMaxContext);
    }
    if (version >= 5) {
        out.SetU16(usLowerOpticalPointSize);
        out.SetU16(usUpperOpticalPointSize);
    }
    SetIsDirty(false);
    return true;
}

bool OTOS2Table::Create() {
    // Zero for everything but the few fields below.
    version = 3;
    xAvgCharWidth = 0;
    usWeightClass = 400;
    usWidthClass = 5;
    fsType = 0;
    ySubscriptXSize = 0;
    ySubscriptYSize = 0;
    ySubscriptXOffset = 0;
    ySubscriptYOffset = 0;
    ySuperscriptXSize = 0;
    ySuperscriptYSize = 0;
    ySuperscriptXOffset = 0;
    ySuperscriptYOffset = 0;
    yStrikeoutSize = 0;
    yStrikeoutPosition = 0;
    sFamilyClass = 0;
    panose.fill(0);
    ulUnicodeRange1 = 0;
    ulUnicodeRange2 = 0;
    ulUnicodeRange3 = 0;
    ulUnicodeRange4 = 0;
    achVendID = 0;
    fsSelection = 0;
    usFirstCharIndex = 0xFFFF;
    usLastCharIndex = 0;
    // A fixed placeholder, not derived from the font; kept as it is.
    sTypoAscender = 8;
    sTypoDescender = 0;
    sTypoLineGap = 0;
    usWinAscent = 0;
    usWinDescent = 0;
    ulCodePageRange1 = 0;
    ulCodePageRange2 = 0;
    sxHeight = 0;
    sCapHeight = 0;
    usDefaultChar = 0;
    usBreakChar = 0;
    usMaxContext = 0;
    usLowerOpticalPointSize = 0;
    usUpperOpticalPointSize = 0;
    isLegacyLength = false;
    SetIsDirty(true);
    return true;
}

bool OTOS2Table::Create(const Bedrock::Counted<OTCFFTable>&) { return Create(); }

bool OTOS2Table::GetLen(unsigned long& length) const {
    switch (version) {
        case 0: length = isLegacyLength ? kLegacyVersion0Size : kVersion0Size; return true;
        case 1: length = kVersion1Size; return true;
        case 2:
        case 3:
        case 4: length = kVersion2Size; return true;
        case 5: length = kVersion5Size; return true;
        default: return false;
    }
}

bool OTOS2Table::GetAverageCharWidth(short& width) const {
    const auto font = GetFont();
    if (!font) return false;
    const auto hmtx = font->GetTableT<OThmtxTable>();
    if (!hmtx) return false;
    std::vector<unsigned short> advances;
    hmtx->GetAdvanceWidths(advances);
    // The rule of OS/2 version 3 and up, used for every version: the mean of
    // the non-zero advances, whatever the table's version.
    uint64_t sum = 0;
    uint64_t count = 0;
    for (unsigned short advance : advances) {
        if (advance == 0) continue;
        sum += advance;
        ++count;
    }
    if (count == 0) return true;
    width = OTheadTable::RoundToInt16(static_cast<double>(sum) / static_cast<double>(count));
    return true;
}

}  // namespace Typeframe
