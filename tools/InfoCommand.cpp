// `typeframe info FONT`: what kind of file it is, and for each font its
// table directory, glyph count, units per em and PostScript name, and for a
// variable font its axes and named instances. It reads the directory and the
// few small tables those come from, nothing else.

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/String.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/OffsetTable.h"
#include "tables/OTnameTable.h"
#include "variations/OTfvarTable.h"

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

// The shortest decimal that reads back as the same 16.16 value: 400, -10,
// 0.5, 12.34567. Five places always do; to_chars ignores the locale.
std::string FixedText(Typeframe::Fixed16_16 value) {
    const double number = value.ToDouble();
    char text[32];
    for (int places = 0; places <= 5; ++places) {
        const auto result = std::to_chars(text, text + sizeof(text), number, std::chars_format::fixed, places);
        if (result.ec != std::errc()) break;
        double back = 0;
        std::from_chars(text, result.ptr, back);
        if (places == 5 || std::llround(back * 65536.0) == value.GetRaw()) {
            std::string shown(text, result.ptr);
            return shown == "-0" ? "0" : shown;
        }
    }
    return std::to_string(number);
}

// A string of the name table, shown on one line; empty when it can't be had.
std::string NameText(const Typeframe::OTnameTable* name, int nameID) {
    Bedrock::Utf8String text;
    if (!name || !name->GetString(nameID, text)) return std::string();
    return Printable(text.c_str());
}

void PrintVariations(const Typeframe::OTFont& font) {
    auto fvar = font.GetTableT<Typeframe::OTfvarTable>();
    if (!fvar) {
        std::printf("  axes: ('fvar' table cannot be read)\n");
        return;
    }
    auto name = font.GetTableT<Typeframe::OTnameTable>();
    std::printf("  axes: %zu\n", fvar->axes.size());
    if (!fvar->axes.empty()) {
        std::printf("    %-4s  %10s  %10s  %10s  %s\n", "tag", "minimum", "default", "maximum", "name");
        for (const auto& axis : fvar->axes) {
            std::printf("    %-4s  %10s  %10s  %10s  %s\n", Printable(TagText(axis->axisTag)).c_str(),
                        FixedText(axis->minValue).c_str(), FixedText(axis->defaultValue).c_str(),
                        FixedText(axis->maxValue).c_str(), NameText(name.Get(), axis->axisNameID).c_str());
        }
    }
    std::printf("  named instances: %zu\n", fvar->instances.size());
    if (fvar->instances.empty()) return;
    struct Row {
        std::string subfamily, coordinates, postScriptName;
    };
    std::vector<Row> rows;
    size_t subfamilyWidth = 4, coordinatesWidth = 11;
    bool anyPostScriptName = false;
    for (const auto& instance : fvar->instances) {
        Row row;
        row.subfamily = NameText(name.Get(), instance->subfamilyNameID);
        if (row.subfamily.empty()) row.subfamily = "(name ID " + std::to_string(instance->subfamilyNameID) + ")";
        for (size_t i = 0; i < instance->coordinates.size() && i < fvar->axes.size(); ++i) {
            if (i != 0) row.coordinates += ' ';
            row.coordinates += Printable(TagText(fvar->axes[i]->axisTag)) + '=' + FixedText(instance->coordinates[i]);
        }
        // 0xFFFF says the record has no PostScript name.
        if (instance->hasPostScriptNameID && instance->postScriptNameID != 0xFFFF) {
            row.postScriptName = NameText(name.Get(), instance->postScriptNameID);
        }
        anyPostScriptName = anyPostScriptName || !row.postScriptName.empty();
        subfamilyWidth = std::max(subfamilyWidth, row.subfamily.size());
        coordinatesWidth = std::max(coordinatesWidth, row.coordinates.size());
        rows.push_back(std::move(row));
    }
    if (anyPostScriptName) {
        std::printf("    %-*s  %-*s  %s\n", static_cast<int>(subfamilyWidth), "name",
                    static_cast<int>(coordinatesWidth), "coordinates", "PostScript name");
    } else {
        std::printf("    %-*s  %s\n", static_cast<int>(subfamilyWidth), "name", "coordinates");
    }
    for (const auto& row : rows) {
        std::string line = "    ";
        line += row.subfamily + std::string(subfamilyWidth - row.subfamily.size() + 2, ' ');
        line += row.coordinates;
        if (!row.postScriptName.empty()) {
            line += std::string(coordinatesWidth - row.coordinates.size() + 2, ' ') + row.postScriptName;
        }
        std::printf("%s\n", line.c_str());
    }
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
    const std::string postScriptName = NameText(font->GetTableT<Typeframe::OTnameTable>().Get(), 6);
    if (!postScriptName.empty()) std::printf("  PostScript name: %s\n", postScriptName.c_str());
    const auto& entries = offsetTable->GetDirectoryEntries();
    std::printf("  tables: %zu\n", entries.size());
    if (entries.empty()) return;
    std::printf("    %-4s  %-10s  %10s  %10s\n", "tag", "checksum", "offset", "length");
    for (const auto& entry : entries) {
        std::printf("    %-4s  0x%08" PRIX32 "  %10" PRIu32 "  %10" PRIu32 "%s\n", TagText(entry->tag).c_str(),
                    entry->checksum, entry->offset, entry->length, EntryProblem(*entry, opened.size));
    }
    if (font->IsVariable()) PrintVariations(*font);
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
