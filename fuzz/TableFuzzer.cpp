// One table at a time: the first four bytes choose the table class (a tag
// the table factory has a class for, or one picked by their value), the
// rest are the table's bytes. The table is made by the factory inside a
// small real font, so that it finds the sibling tables it asks for; it is
// loaded, set into the font, marked dirty and saved, and what it wrote is
// loaded into a fresh table of the same class.

#include <cstddef>
#include <cstdint>
#include <typeinfo>
#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/OTTable.h"
#include "core/TableManager.h"
#include "core/Tag.h"

#include "FuzzSupport.h"

namespace TypeframeFuzz {

// A small variable TrueType font, built into the program by fuzz/CMakeLists.txt.
extern const unsigned char kContextFont[];
extern const size_t kContextFontSize;

}  // namespace TypeframeFuzz

namespace {

// Every table tag in use; those the factory makes a class for are kept.
constexpr const char* kCandidateTags[] = {
    "avar", "BASE", "CBDT", "CBLC", "CFF ", "CFF2", "cmap", "COLR", "CPAL", "cvar", "cvt ", "DSIG", "EBDT",
    "EBLC", "EBSC", "fpgm", "fvar", "gasp", "GDEF", "glyf", "GPOS", "GSUB", "gvar", "hdmx", "head", "hhea",
    "hmtx", "HVAR", "JSTF", "kern", "loca", "LTSH", "MATH", "maxp", "MERG", "meta", "MVAR", "name", "OS/2",
    "PCLT", "post", "prep", "sbix", "STAT", "SVG ", "VDMX", "vhea", "vmtx", "VORG", "VVAR", "ankr", "bsln",
    "feat", "fmtx", "gcid", "just", "kerx", "lcar", "ltag", "morx", "opbd", "prop", "trak", "Zapf", "Silf",
    "Glat", "Gloc", "Feat", "Sill", "TSI0", "TSI1", "TSI2", "TSI3", "TSI5", "VARC"};

std::vector<Typeframe::Tag> KnownTags() {
    std::vector<Typeframe::Tag> known;
    auto file = Bedrock::MakeCounted<Typeframe::OTFile>();
    auto font = Bedrock::MakeCounted<Typeframe::OTFont>(file.Get());
    for (const char* text : kCandidateTags) {
        const Typeframe::Tag tag = Typeframe::MakeTag(text[0], text[1], text[2], text[3]);
        auto table = file->GetTableManager()->CreateTable(font.Get(), tag);
        if (!table) continue;
        const Typeframe::OTTable& object = *table;
        if (typeid(object) != typeid(Typeframe::OTTable)) known.push_back(tag);
    }
    return known;
}

Bedrock::Counted<Typeframe::OTTable> LoadTable(Typeframe::OTFile& file, Typeframe::OTFont& font, Typeframe::Tag tag,
                                               const unsigned char* bytes, size_t length) {
    auto table = file.GetTableManager()->CreateTable(&font, tag);
    auto buffer = Bedrock::MakeCounted<Typeframe::BigEndianBuffer>(bytes, static_cast<unsigned long>(length), 4);
    if (!table || !table->Load(buffer)) return nullptr;
    return table;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::vector<Typeframe::Tag> known = KnownTags();
    if (size < 4 || known.empty()) return 0;
    Typeframe::Tag tag = uint32_t(data[0]) << 24 | uint32_t(data[1]) << 16 | uint32_t(data[2]) << 8 | data[3];
    bool isKnown = false;
    for (Typeframe::Tag candidate : known) isKnown = isKnown || candidate == tag;
    if (!isKnown) tag = known[tag % known.size()];

    auto file = TypeframeFuzz::OpenBytes(TypeframeFuzz::kContextFont, TypeframeFuzz::kContextFontSize);
    auto font = file->GetFont(0);
    if (!font) return 0;
    auto table = LoadTable(*file, *font, tag, data + 4, size - 4);
    if (!table) return 0;
    font->SetTable(table);
    table->SetIsDirty(true);
    if (!table->Save()) return 0;
    if (auto written = table->GetBuffer()) {
        std::vector<unsigned char> copy(written->GetBuffer(), written->GetBuffer() + written->GetLength());
        LoadTable(*file, *font, tag, copy.data(), copy.size());
    }
    return 0;
}
