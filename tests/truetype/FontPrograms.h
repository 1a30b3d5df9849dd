#pragma once

// The TrueType programs of a font file read straight from its bytes, without
// the library: 'fpgm', 'prep' and the instructions of every glyph, for the
// round-trip tests and the benchmark. Collections give one entry per font.
// Anything that does not fit in the file is skipped.

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace TypeframeTest {

struct FontPrograms {
    std::vector<uint8_t> fpgm;
    std::vector<uint8_t> prep;
    bool hasFpgm = false;
    bool hasPrep = false;
    std::vector<std::vector<uint8_t>> glyphs;  // glyphs with instructions only
};

namespace FontProgramsDetail {

class Reader {
public:
    explicit Reader(const std::vector<uint8_t>& bytes) : m_bytes(bytes) {}
    bool Has(uint64_t offset, uint64_t size) const {
        return offset <= m_bytes.size() && size <= m_bytes.size() - offset;
    }
    uint32_t U16(uint64_t offset) const {
        return Has(offset, 2) ? (uint32_t(m_bytes[offset]) << 8) | m_bytes[offset + 1] : 0;
    }
    uint32_t U32(uint64_t offset) const { return (U16(offset) << 16) | U16(offset + 2); }
    std::vector<uint8_t> Slice(uint64_t offset, uint64_t size) const {
        if (!Has(offset, size)) return {};
        return std::vector<uint8_t>(m_bytes.begin() + offset, m_bytes.begin() + offset + size);
    }

private:
    const std::vector<uint8_t>& m_bytes;
};

struct TableRange {
    uint64_t offset = 0;
    uint64_t length = 0;
    bool found = false;
};

inline TableRange FindTable(const Reader& in, uint64_t fontOffset, const char* tag) {
    const uint32_t wanted = (uint32_t(uint8_t(tag[0])) << 24) | (uint32_t(uint8_t(tag[1])) << 16) |
                            (uint32_t(uint8_t(tag[2])) << 8) | uint8_t(tag[3]);
    const uint32_t count = in.U16(fontOffset + 4);
    for (uint32_t i = 0; i < count; ++i) {
        const uint64_t entry = fontOffset + 12 + 16 * uint64_t(i);
        if (in.U32(entry) != wanted) continue;
        TableRange range{in.U32(entry + 8), in.U32(entry + 12), true};
        range.found = in.Has(range.offset, range.length);
        return range;
    }
    return {};
}

// The instructions of one glyph's data, or none.
inline bool GlyphInstructions(const Reader& in, uint64_t start, uint64_t end, std::vector<uint8_t>& out) {
    if (end < start + 10) return false;
    const auto contours = static_cast<int16_t>(in.U16(start));
    uint64_t p;
    if (contours >= 0) {
        p = start + 10 + 2 * uint64_t(contours);
    } else {
        // Components up to the last; instructions follow when its flags say so.
        p = start + 10;
        uint32_t flags = 0;
        do {
            if (p + 4 > end) return false;
            flags = in.U16(p);
            p += 4 + ((flags & 0x0001) ? 4 : 2);
            // A scale, an x and y scale, or a 2x2 matrix.
            p += (flags & 0x0008) ? 2 : (flags & 0x0040) ? 4 : (flags & 0x0080) ? 8 : 0;
        } while (flags & 0x0020);
        if (!(flags & 0x0100)) return false;
    }
    if (p + 2 > end) return false;
    const uint32_t length = in.U16(p);
    if (length == 0 || p + 2 + length > end) return false;
    out = in.Slice(p + 2, length);
    return true;
}

inline FontPrograms ReadFont(const Reader& in, uint64_t fontOffset) {
    FontPrograms font;
    if (const auto fpgm = FindTable(in, fontOffset, "fpgm"); fpgm.found) {
        font.fpgm = in.Slice(fpgm.offset, fpgm.length);
        font.hasFpgm = true;
    }
    if (const auto prep = FindTable(in, fontOffset, "prep"); prep.found) {
        font.prep = in.Slice(prep.offset, prep.length);
        font.hasPrep = true;
    }
    const auto head = FindTable(in, fontOffset, "head");
    const auto maxp = FindTable(in, fontOffset, "maxp");
    const auto loca = FindTable(in, fontOffset, "loca");
    const auto glyf = FindTable(in, fontOffset, "glyf");
    if (!head.found || !maxp.found || !loca.found || !glyf.found) return font;
    const bool longOffsets = in.U16(head.offset + 50) != 0;
    const uint32_t glyphs = in.U16(maxp.offset + 4);
    const uint64_t entrySize = longOffsets ? 4 : 2;
    if (loca.length < entrySize * (uint64_t(glyphs) + 1)) return font;
    auto offsetOf = [&](uint32_t glyph) -> uint64_t {
        const uint64_t at = loca.offset + entrySize * glyph;
        return longOffsets ? in.U32(at) : uint64_t(in.U16(at)) * 2;
    };
    for (uint32_t glyph = 0; glyph < glyphs; ++glyph) {
        const uint64_t start = offsetOf(glyph);
        const uint64_t end = offsetOf(glyph + 1);
        if (end <= start || end > glyf.length) continue;
        std::vector<uint8_t> program;
        if (GlyphInstructions(in, glyf.offset + start, glyf.offset + end, program)) {
            font.glyphs.push_back(std::move(program));
        }
    }
    return font;
}

}  // namespace FontProgramsDetail

inline bool ReadFileBytes(const std::string& path, std::vector<uint8_t>& bytes) {
    std::ifstream file(path, std::ios::binary);
    if (!file) return false;
    bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    return true;
}

// Every font of the file; empty when it is not an sfnt or collection.
inline std::vector<FontPrograms> ReadFontPrograms(const std::string& path) {
    std::vector<uint8_t> bytes;
    if (!ReadFileBytes(path, bytes)) return {};
    const FontProgramsDetail::Reader in(bytes);
    const uint32_t tag = in.U32(0);
    std::vector<FontPrograms> fonts;
    if (tag == 0x74746366) {  // 'ttcf'
        const uint32_t count = in.U32(8);
        for (uint32_t i = 0; i < count && in.Has(12 + 4 * uint64_t(i), 4); ++i) {
            fonts.push_back(FontProgramsDetail::ReadFont(in, in.U32(12 + 4 * uint64_t(i))));
        }
    } else if (tag == 0x00010000 || tag == 0x74727565 || tag == 0x4F54544F) {  // 1.0, 'true', 'OTTO'
        fonts.push_back(FontProgramsDetail::ReadFont(in, 0));
    }
    return fonts;
}

}  // namespace TypeframeTest
