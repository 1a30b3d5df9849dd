#pragma once

// Glyph bytes written independently of the library (plain, uncompacted
// encodings), and small in-memory fonts that hold them: head, maxp, hhea,
// hmtx (optionally vhea and vmtx), loca and glyf, built from fields rather
// than from a file.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "base/Counted.h"
#include "core/OTFont.h"
#include "tables/OThheaTable.h"
#include "tables/OTheadTable.h"
#include "tables/OThmtxTable.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTvheaTable.h"
#include "tables/OTvmtxTable.h"
#include "truetype/OTglyfTable.h"
#include "truetype/OTlocaTable.h"
#include "TestUtil.h"

namespace TypeframeTest {

struct TestPoint {
    int x;
    int y;
    bool onCurve = true;
};

// A simple glyph: every flag written on its own (no repeats), every value as
// a word; the box is worked out from the points.
inline std::vector<uint8_t> SimpleGlyphBytes(const std::vector<std::vector<TestPoint>>& contours,
                                             const std::vector<uint8_t>& instructions = {}) {
    ByteWriter w;
    int xMin = 0, yMin = 0, xMax = 0, yMax = 0;
    bool first = true;
    for (const auto& contour : contours) {
        for (const auto& p : contour) {
            xMin = first ? p.x : std::min(xMin, p.x);
            yMin = first ? p.y : std::min(yMin, p.y);
            xMax = first ? p.x : std::max(xMax, p.x);
            yMax = first ? p.y : std::max(yMax, p.y);
            first = false;
        }
    }
    w.U16(static_cast<uint32_t>(contours.size()))
        .U16(uint16_t(xMin))
        .U16(uint16_t(yMin))
        .U16(uint16_t(xMax))
        .U16(uint16_t(yMax));
    int end = -1;
    for (const auto& contour : contours) {
        end += static_cast<int>(contour.size());
        w.U16(static_cast<uint32_t>(end));
    }
    w.U16(static_cast<uint32_t>(instructions.size())).Bytes(instructions);
    for (const auto& contour : contours) {
        for (const auto& p : contour) w.U8(p.onCurve ? 1 : 0);
    }
    int last = 0;
    for (const auto& contour : contours) {
        for (const auto& p : contour) {
            w.U16(uint16_t(p.x - last));
            last = p.x;
        }
    }
    last = 0;
    for (const auto& contour : contours) {
        for (const auto& p : contour) {
            w.U16(uint16_t(p.y - last));
            last = p.y;
        }
    }
    return w.Data();
}

// A box from (x0, y0) to (x1, y1) as one on-curve contour.
inline std::vector<uint8_t> BoxGlyphBytes(int x0, int y0, int x1, int y1) {
    return SimpleGlyphBytes({{{x0, y0}, {x0, y1}, {x1, y1}, {x1, y0}}});
}

struct TestComponent {
    uint16_t flags;  // layout bits are written as given
    uint16_t glyphIndex;
    int arg1;
    int arg2;
    std::vector<int16_t> scales;  // raw 2.14 values, as many as the flags ask for
};

// A composite glyph with the box given (composites store their own box).
inline std::vector<uint8_t> CompositeGlyphBytes(const std::vector<TestComponent>& components,
                                                const std::vector<uint8_t>& instructions = {},
                                                std::vector<int16_t> box = {0, 0, 0, 0}) {
    ByteWriter w;
    w.U16(0xFFFF);
    for (int16_t v : box) w.U16(uint16_t(v));
    for (const auto& c : components) {
        w.U16(c.flags).U16(c.glyphIndex);
        if (c.flags & 1) {
            w.U16(uint16_t(c.arg1)).U16(uint16_t(c.arg2));
        } else {
            w.U8(uint8_t(c.arg1)).U8(uint8_t(c.arg2));
        }
        for (int16_t s : c.scales) w.U16(uint16_t(s));
    }
    bool haveInstructions = false;
    for (const auto& c : components) haveInstructions = haveInstructions || (c.flags & 0x100);
    if (haveInstructions) w.U16(static_cast<uint32_t>(instructions.size())).Bytes(instructions);
    return w.Data();
}

struct TestFontOptions {
    // One metric per glyph; missing ones are advance 500, lsb 0.
    std::vector<Typeframe::OThmtxTable::LongHorMetric> metrics;
    bool hmtx = true;
    bool hhea = true;
    bool vertical = false;  // vhea and vmtx, advance height 1000, tsb 100
    int16_t ascender = 800;
    uint16_t unitsPerEm = 1000;
    // Raw loca offsets to use instead of the glyphs' lengths laid end to end.
    std::vector<uint32_t> offsets;
    // Bytes appended to glyf after the glyphs.
    size_t trailingBytes = 0;
};

struct TestFont {
    Bedrock::Counted<Typeframe::OTFont> font;
    Bedrock::Counted<Typeframe::OTheadTable> head;
    Bedrock::Counted<Typeframe::OTmaxpTable> maxp;
    Bedrock::Counted<Typeframe::OThheaTable> hhea;
    Bedrock::Counted<Typeframe::OThmtxTable> hmtx;
    Bedrock::Counted<Typeframe::OTvmtxTable> vmtx;
    Bedrock::Counted<Typeframe::OTlocaTable> loca;
    Bedrock::Counted<Typeframe::OTglyfTable> glyf;
    bool loaded = false;
};

// A font whose tables are made in memory from fields and saved once (so the
// font finds them without a file); glyf is then loaded from the glyphs'
// bytes. Glyph names are glyph00000, glyph00001 and so on.
inline TestFont MakeTestFont(const std::vector<std::vector<uint8_t>>& glyphs, const TestFontOptions& options = {}) {
    using namespace Typeframe;
    TestFont t;
    t.font = Bedrock::MakeCounted<OTFont>();
    auto* font = t.font.Get();
    t.head = Bedrock::MakeCounted<OTheadTable>(font);
    t.head->majorVersion = 1;
    t.head->magicNumber = 0x5F0F3CF5;
    t.head->unitsPerEm = options.unitsPerEm;
    t.head->SetIsDirty(true);
    t.font->AddTable(t.head);
    t.maxp = Bedrock::MakeCounted<OTmaxpTable>(font);
    t.maxp->version = 0x00010000;
    t.maxp->numGlyphs = static_cast<uint16_t>(glyphs.size());
    t.maxp->SetIsDirty(true);
    t.font->AddTable(t.maxp);
    if (options.hhea) {
        t.hhea = Bedrock::MakeCounted<OThheaTable>(font);
        t.hhea->majorVersion = 1;
        t.hhea->ascender = options.ascender;
        t.hhea->descender = static_cast<int16_t>(options.ascender - options.unitsPerEm);
        t.hhea->numberOfHMetrics = static_cast<uint16_t>(glyphs.size());
        t.hhea->SetIsDirty(true);
        t.font->AddTable(t.hhea);
    }
    if (options.hmtx) {
        t.hmtx = Bedrock::MakeCounted<OThmtxTable>(font);
        for (size_t i = 0; i < glyphs.size(); ++i) {
            t.hmtx->metrics.push_back(i < options.metrics.size() ? options.metrics[i]
                                                                 : OThmtxTable::LongHorMetric{500, 0});
        }
        t.hmtx->SetIsDirty(true);
        t.font->AddTable(t.hmtx);
    }
    if (options.vertical) {
        auto vhea = Bedrock::MakeCounted<OTvheaTable>(font);
        vhea->SetIsDirty(true);
        t.font->AddTable(vhea);
        t.vmtx = Bedrock::MakeCounted<OTvmtxTable>(font);
        t.vmtx->metrics.assign(glyphs.size(), OTvmtxTable::LongVerMetric{1000, 100});
        t.vmtx->SetIsDirty(true);
        t.font->AddTable(t.vmtx);
    }
    t.loca = Bedrock::MakeCounted<OTlocaTable>(font);
    std::vector<uint8_t> bytes;
    std::vector<uint32_t> offsets{0};
    for (const auto& glyph : glyphs) {
        bytes.insert(bytes.end(), glyph.begin(), glyph.end());
        offsets.push_back(static_cast<uint32_t>(bytes.size()));
    }
    bytes.insert(bytes.end(), options.trailingBytes, 0);
    t.loca->offsets = options.offsets.empty() ? offsets : options.offsets;
    t.loca->SetIsDirty(true);
    t.font->AddTable(t.loca);
    // Saved once, the tables have bytes, so the font finds them when clean.
    for (const auto& table : t.font->GetTables()) table->Save();
    t.glyf = Bedrock::MakeCounted<OTglyfTable>(font);
    t.loaded = t.glyf->Load(Bedrock::MakeCounted<Typeframe::BigEndianBuffer>(bytes.data(), bytes.size(), 4));
    t.font->AddTable(t.glyf);
    return t;
}

inline Typeframe::Utf8String GlyphName(unsigned index) {
    char text[16];
    std::snprintf(text, sizeof text, "glyph%05u", index);
    return Typeframe::Utf8String(text);
}

}  // namespace TypeframeTest
