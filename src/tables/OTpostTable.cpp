#include "tables/OTpostTable.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "base/Format.h"
#include "base/ToString.h"
#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/MacGlyphList.h"
#include "tables/OTmaxpTable.h"

namespace Typeframe {

namespace {

Bedrock::Counted<OTmaxpTable> GetMaxp(const OTTable& table) {
    auto font = table.GetFont();
    return font ? font->GetTableT<OTmaxpTable>() : nullptr;
}

Utf8String NumberedGlyphName(unsigned int glyph) {
    return Bedrock::FormatString("glyph%1", Bedrock::ToStringBase(glyph, 10, 5, Bedrock::kPadZeros, true));
}

}  // namespace

OTpostTable::OTpostTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("post")) {}

OTTable* OTpostTable::VirtualClone() const { return new OTpostTable(*this); }

bool OTpostTable::Create() {
    version = kVersion30;
    italicAngle = Fixed16_16();
    underlinePosition = 0;
    underlineThickness = 0;
    isFixedPitch = 1;
    minMemType42 = 0;
    maxMemType42 = 0;
    minMemType1 = 0;
    maxMemType1 = 0;
    glyphNames.clear();
    extraNames.clear();
    originalNames.clear();
    SetIsDirty(true);
    return true;
}

bool OTpostTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!OTTable::Load(std::move(buffer))) return false;
    glyphNames.clear();
    extraNames.clear();
    originalNames.clear();
    // A short table keeps the values of the fields it does not reach.
    const BigEndianBuffer& in = *Buffer();
    in.GetU32(0, version);
    in.GetFixed16_16(4, italicAngle);
    in.GetS16(8, underlinePosition);
    in.GetS16(10, underlineThickness);
    in.GetU32(12, isFixedPitch);
    in.GetU32(16, minMemType42);
    in.GetU32(20, maxMemType42);
    in.GetU32(24, minMemType1);
    in.GetU32(28, maxMemType1);
    const unsigned long start = std::min(kHeaderSize, in.GetLength());
    auto rest = in.Read(start, in.GetLength() - start);
    if (!rest) return false;

    switch (version) {
        case kVersion10: return LoadFormat10();
        case kVersion20: return LoadFormat20(*rest);
        case kVersion30: return LoadFormat30();
        case kVersion40: return LoadFormat40();
        // Format 2.5 (glyph names as offsets into the Macintosh list) and
        // unknown versions load with their fixed fields only: no names.
        default: return true;
    }
}

bool OTpostTable::LoadFormat10() {
    auto maxp = GetMaxp(*this);
    if (!maxp) return false;
    // Only the first 258 glyphs are named, even when the font has more; the
    // rest stay without names rather than being made up here.
    const unsigned long count = std::min<unsigned long>(maxp->numGlyphs, MacGlyphList::kCount);
    glyphNames.reserve(glyphNames.size() + count);
    for (unsigned long i = 0; i < count; ++i) glyphNames.emplace_back(MacGlyphList::GetString(i));
    return true;
}

bool OTpostTable::LoadFormat20(BigEndianBuffer& data) {
    auto maxp = GetMaxp(*this);
    if (!maxp) return false;
    data.Seek(0);
    int16_t storedCount = 0;
    if (!data.GetS16(storedCount)) return false;
    // The count is a signed word: 32768 and up read as negative and, like 0,
    // give a table without names. A count above maxp's is lowered to it.
    const int count = std::min<int>(storedCount, maxp->numGlyphs);
    if (count <= 0) return false;
    const unsigned long indexBytes = 2ul * static_cast<unsigned long>(count);
    if (!data.IsInBounds(data.Tell(), indexBytes)) return false;

    std::vector<uint16_t> indexes(static_cast<size_t>(count));
    uint16_t highest = 0;
    for (auto& index : indexes) {
        data.GetU16(index);
        highest = std::max(highest, index);
    }
    // Every string takes at least its length byte, so the bytes left bound
    // how many there can be, whatever the indexes promise.
    std::vector<Utf8String> extras;
    if (highest >= kMacGlyphCount) {
        extras.reserve(std::min<unsigned long>(highest - kMacGlyphCount + 1, data.GetRemaining()));
    }
    // Every string up to the end is read, used or not; one running past the
    // end fails the table.
    while (data.GetRemaining() > 0) {
        Utf8String name;
        if (!data.ReadPascalString(name)) return false;
        extras.push_back(std::move(name));
    }

    std::vector<Utf8String> names;
    names.reserve(indexes.size());
    for (uint16_t index : indexes) {
        if (index < kMacGlyphCount) {
            names.emplace_back(MacGlyphList::GetString(index));
        } else if (static_cast<size_t>(index - kMacGlyphCount) < extras.size()) {
            names.push_back(extras[index - kMacGlyphCount]);
        } else {
            // An index past the strings names nothing; BuildPSNameMapping
            // numbers the glyph.
            names.emplace_back();
        }
    }
    glyphNames = std::move(names);
    extraNames = std::move(extras);
    BuildPSNameMapping();
    return true;
}

bool OTpostTable::LoadFormat30() {
    glyphNames.clear();
    return true;
}

bool OTpostTable::LoadFormat40() {
    // Format 4.0 maps glyphs to character codes of composite fonts; the
    // codes are not read, and the table has no names.
    return true;
}

bool OTpostTable::BuildPSNameMapping() {
    auto maxp = GetMaxp(*this);
    if (!maxp) return false;
    const unsigned int count = maxp->numGlyphs;
    // Glyphs the table does not reach get numbered names, like empty ones.
    if (glyphNames.size() < count) glyphNames.resize(count);
    std::unordered_set<std::string> seen;
    seen.reserve(count);
    // For each name seen, the next number to try. The numbers below it are
    // all taken (names are never removed from seen), so starting there finds
    // the first free one without trying them again.
    std::unordered_map<std::string, unsigned int> nextNumber;
    for (unsigned int glyph = 0; glyph < count; ++glyph) {
        Utf8String name = glyphNames[glyph];
        if (name.IsEmpty()) name = NumberedGlyphName(glyph);
        std::string key = name.ToStdString();
        if (seen.count(key) != 0) {
            unsigned int& number = nextNumber[key];
            if (number == 0) number = 1;
            Utf8String candidate;
            do {
                candidate = Bedrock::FormatString("%1#%2", name, number++);
            } while (seen.count(candidate.ToStdString()) != 0);
            name = candidate;
            key = name.ToStdString();
        }
        glyphNames[glyph] = name;
        seen.insert(std::move(key));
    }
    // The file's name of a renamed glyph is not kept: originalNames stays
    // empty, so a table saved again stores the unique names ("a#1"), not the
    // duplicates it was read with.
    return true;
}

Utf8String OTpostTable::GetGlyphName(int glyph) const {
    if (glyph < 0 || static_cast<size_t>(glyph) >= glyphNames.size()) return Utf8String();
    return glyphNames[static_cast<size_t>(glyph)];
}

bool OTpostTable::GetGlyphNames(std::vector<Utf8String>& names) const {
    names = glyphNames;
    return !names.empty();
}

bool OTpostTable::AddGlyphName(const Utf8String& name, int index) {
    if (std::find(glyphNames.begin(), glyphNames.end(), name) != glyphNames.end()) return false;
    // Index 0 appends too: a new name never takes the place of .notdef.
    if (index > 0 && static_cast<size_t>(index) < glyphNames.size()) {
        glyphNames.insert(glyphNames.begin() + index, name);
    } else {
        glyphNames.push_back(name);
    }
    unsigned long macIndex = 0;
    if (!MacGlyphList::Find(name.c_str(), macIndex)) extraNames.push_back(name);
    return true;
}

bool OTpostTable::Save() {
    if (!IsDirty()) return true;
    BigEndianBuffer& out = ResetBuffer(kHeaderSize);
    out.SetU32(0, version);
    out.SetFixed16_16(4, italicAngle);
    out.SetS16(8, underlinePosition);
    out.SetS16(10, underlineThickness);
    out.SetU32(12, isFixedPitch);
    out.SetU32(16, minMemType42);
    out.SetU32(20, maxMemType42);
    out.SetU32(24, minMemType1);
    out.SetU32(28, maxMemType1);
    out.InvalidateChecksum();
    switch (version) {
        case kVersion10:
        case kVersion30: SetIsDirty(false); return true;
        case kVersion20: return SaveFormat20(out);
        case kVersion40: return SaveFormat40();
        // Format 2.5 and unknown versions can't be written from the fields:
        // the save fails and the table stays dirty, holding only the fixed
        // part.
        default: return false;
    }
}

bool OTpostTable::SaveFormat20(BigEndianBuffer& out) {
    auto maxp = GetMaxp(*this);
    if (!maxp) return false;
    const std::vector<Utf8String>& fontNames = GetFont()->GetGlyphNames();
    if (fontNames.empty()) return false;

    // The extra names keep their order, those in the Macintosh list dropped;
    // a name stored twice keeps both strings, and glyphs take the first.
    std::vector<Utf8String> extras;
    std::map<Utf8String, unsigned long> positions;
    for (const auto& name : extraNames) {
        unsigned long macIndex = 0;
        if (MacGlyphList::Find(name.c_str(), macIndex)) continue;
        positions.emplace(name, extras.size());
        extras.push_back(name);
    }

    const unsigned int count = maxp->numGlyphs;
    std::vector<uint16_t> indexes;
    indexes.reserve(count);
    for (unsigned int glyph = 0; glyph < count; ++glyph) {
        // A glyph past the font's names is stored with an empty name.
        Utf8String name = glyph < fontNames.size() ? fontNames[glyph] : Utf8String();
        if (auto original = originalNames.find(name); original != originalNames.end()) name = original->second;
        unsigned long index = 0;
        if (auto position = positions.find(name); position != positions.end()) {
            index = kMacGlyphCount + position->second;
        } else if (!MacGlyphList::Find(name.c_str(), index)) {
            index = kMacGlyphCount + extras.size();
            positions.emplace(name, extras.size());
            extras.push_back(name);
        }
        if (index > 0xFFFF) return false;
        indexes.push_back(static_cast<uint16_t>(index));
    }

    out.SetU16(kHeaderSize, static_cast<uint16_t>(count));
    out.Resize(out.GetLength() + 2ul * count);
    unsigned long offset = kHeaderSize + 2;
    for (uint16_t index : indexes) {
        out.SetU16(offset, index);
        offset += 2;
    }
    out.Seek(offset);
    for (const auto& name : extras) {
        if (!out.WritePascalString(name)) return false;
    }
    out.InvalidateChecksum();
    extraNames = std::move(extras);
    SetIsDirty(false);
    return true;
}

bool OTpostTable::SaveFormat40() {
    // The character codes of format 4.0 are not kept, so it can't be written.
    return false;
}

}  // namespace Typeframe
