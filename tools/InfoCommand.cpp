// `typeframe info FONT`: what kind of file it is, and for each font its
// table directory, glyph count and units per em. It reads the directory and
// the two small tables those numbers come from, nothing else.

#include <cinttypes>
#include <cstdio>

#include "base/Counted.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/OffsetTable.h"

#include "Commands.h"
#include "ToolSupport.h"

namespace TypeframeTool {

namespace {

const char* OutlineKind(const Typeframe::OTFont& font) {
    using Typeframe::MakeTag;
    bool cff = false;
    bool cff2 = false;
    for (Typeframe::Tag tag : font.GetTableTags()) {
        if (tag == MakeTag("glyf")) return "TrueType (glyf)";
        cff = cff || tag == MakeTag("CFF ");
        cff2 = cff2 || tag == MakeTag("CFF2");
    }
    if (cff) return "CFF";
    if (cff2) return "CFF2";
    return "none";
}

// Why a directory entry cannot be read, by the same rule as the lazy load;
// empty when it can.
const char* EntryProblem(const Typeframe::DirectoryEntry& entry, uint64_t fileSize) {
    if (entry.offset == 0 || entry.length == 0) return "  (empty or at offset 0: not loadable)";
    if (entry.offset > fileSize || entry.length > fileSize - entry.offset) return "  (past end of file)";
    return "";
}

void PrintFont(const OpenedFontFile& opened, int index) {
    std::printf("\nfont %d\n", index);
    auto font = opened.file->GetFont(index);
    auto offsetTable = font ? font->GetOffsetTable() : nullptr;
    if (!offsetTable) {
        std::printf("  no valid offset table\n");
        return;
    }
    std::printf("  version: %s (0x%08" PRIX32 ")\n", DescribeFileKind(font->GetTag(), 0).c_str(), font->GetTag());
    std::printf("  outlines: %s\n", OutlineKind(*font));
    std::printf("  glyphs: %u\n", static_cast<unsigned>(font->GetNumGlyphs()));
    std::printf("  units per em: %u\n", static_cast<unsigned>(font->GetUnitsPerEm()));
    const auto& entries = offsetTable->GetDirectoryEntries();
    std::printf("  tables: %zu\n", entries.size());
    if (entries.empty()) return;
    std::printf("    %-4s  %-10s  %10s  %10s\n", "tag", "checksum", "offset", "length");
    for (const auto& entry : entries) {
        std::printf("    %-4s  0x%08" PRIX32 "  %10" PRIu32 "  %10" PRIu32 "%s\n", TagText(entry->tag).c_str(),
                    entry->checksum, entry->offset, entry->length, EntryProblem(*entry, opened.size));
    }
}

}  // namespace

int RunInfo(const Arguments& arguments) {
    ParsedArguments parsed;
    if (!ParseArguments("info", arguments, {}, parsed)) return 1;
    if (parsed.help) {
        std::fputs(FindCommand("info")->help, stdout);
        return 0;
    }
    if (parsed.positionals.empty()) return ReportError("info", "missing font file (see 'typeframe info --help')");
    if (parsed.positionals.size() > 1)
        return ReportError("info", "unexpected argument '" + parsed.positionals[1] + "'");

    const std::string& path = parsed.positionals[0];
    OpenedFontFile opened;
    if (!OpenFontFile(path, opened)) return 1;

    std::printf("file: %s\n", path.c_str());
    std::printf("kind: %s\n", DescribeFileKind(opened.file->GetFileTag(), opened.collectionVersion).c_str());
    std::printf("size: %" PRIu64 " bytes\n", opened.size);
    std::printf("fonts: %d\n", opened.fontCount);
    for (int i = 0; i < opened.fontCount; ++i) PrintFont(opened, i);
    return std::fflush(stdout) == 0 ? 0 : ReportError(path, "cannot write the report");
}

}  // namespace TypeframeTool
