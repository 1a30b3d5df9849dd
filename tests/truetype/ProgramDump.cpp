// Test helper for the instruction oracle: prints the assembly text of a
// font's 'fpgm' and 'prep' as this library makes it, each program after a
// line "== fpgm" or "== prep", one line of text per line. A program that is
// absent prints nothing; one that does not disassemble prints
// "== TAG failed". Exit status 1 when the file can't be opened.

#include <algorithm>
#include <cstdio>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "tables/OTfpgmTable.h"
#include "tables/OTprepTable.h"

using namespace Typeframe;

namespace {

template <class T>
void Dump(const OTFont& font, const char* tag) {
    const Tag wanted = MakeTag(tag[0], tag[1], tag[2], tag[3]);
    const auto tags = font.GetTableTags();
    if (std::find(tags.begin(), tags.end(), wanted) == tags.end()) return;
    const auto table = font.GetTableForTag(wanted);
    const auto* program = table ? dynamic_cast<const T*>(table.Get()) : nullptr;
    if (!table || !program || !program->compiler) {
        std::printf("== %s failed\n", tag);
        return;
    }
    std::printf("== %s\n", tag);
    for (const auto& line : program->compiler->assembly) std::printf("%s\n", line.GetBuffer());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FONT\n", argv[0]);
        return 2;
    }
    auto stream = Bedrock::FileInStream::Open(argv[1]);
    if (!stream) {
        std::fprintf(stderr, "%s: cannot open %s\n", argv[0], argv[1]);
        return 1;
    }
    auto file = Bedrock::MakeCounted<OTFile>();
    file->Load(stream);
    auto font = file->GetFontCount() > 0 ? file->GetFont(0) : nullptr;
    if (!font) return 1;
    Dump<OTfpgmTable>(*font, "fpgm");
    Dump<OTprepTable>(*font, "prep");
    return 0;
}
