// Test helper for the glyph-name oracle (glyphnames_oracle.py).
//
//   GlyphNameDump FONT    for every font of the file, a line
//                           font  index  post-version|none  maxp-numGlyphs|none  name-count
//                         and then one line per glyph name, the name in hex:
//                           glyph  index  hex
//   GlyphNameDump --mac   the Macintosh standard names, one a line
//   GlyphNameDump --aglfn every code point up to 0x10FFFF that the Adobe
//                         Glyph List names: code (hex), tab, name
//   GlyphNameDump --agl   for each name read from standard input, a line
//                         name, tab, its code (hex) or "-"
//
// Fields are tab-separated. Exit status 1 when the file can't be opened.

#include <cstdio>
#include <cstring>
#include <string>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "tables/AdobeGlyphList2.h"
#include "tables/MacGlyphList.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTpostTable.h"

using namespace Typeframe;

namespace {

std::string Hex(const char* bytes, size_t length) {
    static const char kDigits[] = "0123456789abcdef";
    std::string out;
    for (size_t i = 0; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        out += kDigits[byte >> 4];
        out += kDigits[byte & 15];
    }
    return out;
}

int DumpFont(const char* program, const char* path) {
    auto stream = Bedrock::FileInStream::Open(path);
    if (!stream) {
        std::fprintf(stderr, "%s: cannot open %s\n", program, path);
        return 1;
    }
    auto file = Bedrock::MakeCounted<OTFile>();
    file->Load(stream);
    const int count = file->GetFontCount();
    for (int index = 0; index < count; ++index) {
        auto font = file->GetFont(index);
        if (!font) continue;
        auto post = font->GetTableT<OTpostTable>();
        auto maxp = font->GetTableT<OTmaxpTable>();
        const auto& names = font->GetGlyphNames();
        std::string version = "none";
        if (post) {
            char text[16];
            std::snprintf(text, sizeof(text), "%08x", static_cast<unsigned int>(post->version));
            version = text;
        }
        const std::string glyphs = maxp ? std::to_string(maxp->numGlyphs) : "none";
        std::printf("font\t%d\t%s\t%s\t%zu\n", index, version.c_str(), glyphs.c_str(), names.size());
        for (size_t glyph = 0; glyph < names.size(); ++glyph) {
            std::printf("glyph\t%zu\t%s\n", glyph, Hex(names[glyph].GetBuffer(), names[glyph].GetLength()).c_str());
        }
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FONT | --mac | --aglfn | --agl\n", argv[0]);
        return 2;
    }
    if (std::strcmp(argv[1], "--mac") == 0) {
        for (const char* const* name = MacGlyphList::begin(); name != MacGlyphList::end(); ++name) {
            std::printf("%s\n", *name);
        }
        return 0;
    }
    if (std::strcmp(argv[1], "--aglfn") == 0) {
        for (unsigned long code = 0; code <= 0x10FFFF; ++code) {
            const char* name = AdobeGlyphList2::GetString(code);
            if (*name) std::printf("%lx\t%s\n", code, name);
        }
        return 0;
    }
    if (std::strcmp(argv[1], "--agl") == 0) {
        char line[512];
        while (std::fgets(line, sizeof(line), stdin)) {
            line[std::strcspn(line, "\r\n")] = 0;
            unsigned long code = 0;
            if (AdobeGlyphList2::Find(line, code)) {
                std::printf("%s\t%lx\n", line, code);
            } else {
                std::printf("%s\t-\n", line);
            }
        }
        return 0;
    }
    return DumpFont(argv[0], argv[1]);
}
