// `typeframe info [--json] FONT`: what kind of file it is, and for each font
// its table directory, glyph count, units per em and PostScript name, and for
// a variable font its axes and named instances. It reads the directory and
// the few small tables those come from, nothing else. With --json the same
// report is one JSON document, for scripts.

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/String.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/OTTable.h"
#include "core/OffsetTable.h"
#include "core/TableRegistry.h"
#include "tables/OTnameTable.h"
#include "variations/OTfvarTable.h"

#include "Commands.h"
#include "ToolSupport.h"

namespace TypeframeTool {

namespace {

// "TrueType", "CFF", "CFF2" or "none"; glyf wins when a font has both kinds.
const char* OutlineKind(const Typeframe::OTFont& font) {
    using Typeframe::MakeTag;
    bool cff = false;
    bool cff2 = false;
    for (Typeframe::Tag tag : font.GetTableTags()) {
        if (tag == MakeTag("glyf")) return "TrueType";
        cff = cff || tag == MakeTag("CFF ");
        cff2 = cff2 || tag == MakeTag("CFF2");
    }
    if (cff) return "CFF";
    if (cff2) return "CFF2";
    return "none";
}

// Why a directory entry cannot be read, by the same rule as the lazy load;
// null when it can.
const char* EntryProblem(const Typeframe::DirectoryEntry& entry, uint64_t fileSize) {
    if (entry.offset == 0 || entry.length == 0) return "empty or at offset 0: not loadable";
    if (entry.offset > fileSize || entry.length > fileSize - entry.offset) return "past end of file";
    return nullptr;
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
    const std::string outlines = OutlineKind(*font);
    std::printf("  outlines: %s\n", outlines == "TrueType" ? "TrueType (glyf)" : outlines.c_str());
    std::printf("  glyphs: %u\n", static_cast<unsigned>(font->GetNumGlyphs()));
    std::printf("  units per em: %u\n", static_cast<unsigned>(font->GetUnitsPerEm()));
    const std::string postScriptName = NameText(font->GetTableT<Typeframe::OTnameTable>().Get(), 6);
    if (!postScriptName.empty()) std::printf("  PostScript name: %s\n", postScriptName.c_str());
    const auto& entries = offsetTable->GetDirectoryEntries();
    std::printf("  tables: %zu\n", entries.size());
    if (entries.empty()) return;
    // "parsed": the library reads the table into fields (and can rebuild
    // it); "bytes": it keeps the table as it came.
    std::printf("    %-4s  %-10s  %10s  %10s  %s\n", "tag", "checksum", "offset", "length", "form");
    for (const auto& entry : entries) {
        const char* problem = EntryProblem(*entry, opened.size);
        const char* form = Typeframe::TableRegistry::HasTableClass(entry->tag) ? "parsed" : "bytes";
        // The form is padded only when a problem follows it.
        std::printf("    %-4s  0x%08" PRIX32 "  %10" PRIu32 "  %10" PRIu32 "  %-*s%s%s%s\n",
                    TagText(entry->tag).c_str(), entry->checksum, entry->offset, entry->length, problem ? 6 : 0, form,
                    problem ? "  (" : "", problem ? problem : "", problem ? ")" : "");
    }
    if (font->IsVariable()) PrintVariations(*font);
}

// ---------------------------------------------------------------------------
// --json

// The length of the UTF-8 character at `at`, or 0 when the bytes there are not
// one; then `bad` is how many bytes to replace: the lead byte and the
// continuation bytes that still fitted it, so that a cut-off character costs
// one replacement, not several.
size_t Utf8CharLength(std::string_view text, size_t at, size_t& bad) {
    const unsigned char lead = static_cast<unsigned char>(text[at]);
    size_t following = 0;
    // The range of the first continuation byte is narrower for some leads:
    // that is what rules out overlong forms, surrogates and values past
    // U+10FFFF.
    unsigned char low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        following = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        following = 2;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        following = 3;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        bad = 1;
        return 0;
    }
    size_t length = 1;
    for (; length <= following && at + length < text.size(); ++length) {
        const unsigned char next = static_cast<unsigned char>(text[at + length]);
        if (next < low || next > high) break;
        low = 0x80;
        high = 0xBF;
    }
    if (length > following) return length;
    bad = length;
    return 0;
}

// Builds the JSON document in memory, so that a failure half way leaves
// nothing on stdout. Containers opened as compact, and all inside them, stay
// on one line: a table directory then reads as one row per table.
class JsonWriter {
public:
    void BeginObject(bool compact = false) { Open('{', compact); }
    void EndObject() { Close('}'); }
    void BeginArray(bool compact = false) { Open('[', compact); }
    void EndArray() { Close(']'); }

    void Key(std::string_view key) {
        Separate();
        AppendString(key);
        m_text += ": ";
        m_afterKey = true;
    }
    void String(std::string_view value) {
        Separate();
        AppendString(value);
    }
    void StringOrNull(const std::optional<std::string>& value) {
        if (value) {
            String(*value);
        } else {
            Null();
        }
    }
    void Null() {
        Separate();
        m_text += "null";
    }
    void Bool(bool value) {
        Separate();
        m_text += value ? "true" : "false";
    }
    void Number(uint64_t value) {
        Separate();
        char text[24];
        const auto result = std::to_chars(text, text + sizeof(text), value);
        m_text.append(text, result.ptr);
    }
    // A number already written as JSON wants it, such as FixedText's.
    void NumberText(const std::string& text) {
        Separate();
        m_text += text;
    }

    // The document, ended by a line break.
    std::string Finish() { return m_text + '\n'; }

private:
    struct Level {
        bool compact;
        bool empty;
    };

    void Open(char bracket, bool compact) {
        Separate();
        m_levels.push_back({compact || (!m_levels.empty() && m_levels.back().compact), true});
        m_text += bracket;
    }

    void Close(char bracket) {
        const Level level = m_levels.back();
        m_levels.pop_back();
        if (!level.empty && !level.compact) NewLine();
        m_text += bracket;
    }

    // What goes before a value: nothing after a key, else the comma after
    // the previous member and the line break and indent of the level.
    void Separate() {
        if (m_afterKey) {
            m_afterKey = false;
            return;
        }
        if (m_levels.empty()) return;
        Level& level = m_levels.back();
        if (!level.empty) m_text += level.compact ? ", " : ",";
        if (!level.compact) NewLine();
        level.empty = false;
    }

    void NewLine() {
        m_text += '\n';
        m_text.append(2 * m_levels.size(), ' ');
    }

    // Quotes, backslashes and control characters are escaped; UTF-8 stays as
    // it is. A name table decodes to whatever a hostile font wants, so bytes
    // that are not UTF-8 become U+FFFD and the document always parses.
    void AppendString(std::string_view text) {
        static const char kDigits[] = "0123456789abcdef";
        m_text += '"';
        for (size_t i = 0; i < text.size();) {
            const unsigned char c = static_cast<unsigned char>(text[i]);
            if (c == '"' || c == '\\') {
                m_text += '\\';
                m_text += static_cast<char>(c);
                ++i;
            } else if (c < 0x20 || c == 0x7f) {
                const char escaped[6] = {'\\', 'u', '0', '0', kDigits[c >> 4], kDigits[c & 15]};
                m_text.append(escaped, 6);
                ++i;
            } else if (c < 0x80) {
                m_text += static_cast<char>(c);
                ++i;
            } else {
                size_t bad = 0;
                const size_t length = Utf8CharLength(text, i, bad);
                if (length != 0) {
                    m_text.append(text.substr(i, length));
                    i += length;
                } else {
                    m_text += "\xEF\xBF\xBD";
                    i += bad;
                }
            }
        }
        m_text += '"';
    }

    std::string m_text;
    std::vector<Level> m_levels;
    bool m_afterKey = false;
};

// A string of the name table as it decodes, control characters and all;
// nothing when it can't be had.
std::optional<std::string> NameString(const Typeframe::OTnameTable* name, int nameID) {
    Bedrock::Utf8String text;
    if (!name || !name->GetString(nameID, text)) return std::nullopt;
    return text.ToStdString();
}

void WriteVariations(JsonWriter& json, const Typeframe::OTFont& font) {
    auto fvar = font.GetTableT<Typeframe::OTfvarTable>();
    if (!fvar) {
        json.Key("problem");
        json.String("'fvar' table cannot be read");
    }
    auto name = font.GetTableT<Typeframe::OTnameTable>();
    json.Key("axes");
    json.BeginArray();
    if (fvar) {
        for (const auto& axis : fvar->axes) {
            json.BeginObject(true);
            json.Key("tag");
            json.String(TagText(axis->axisTag));
            json.Key("min");
            json.NumberText(FixedText(axis->minValue));
            json.Key("default");
            json.NumberText(FixedText(axis->defaultValue));
            json.Key("max");
            json.NumberText(FixedText(axis->maxValue));
            json.Key("name");
            json.StringOrNull(NameString(name.Get(), axis->axisNameID));
            json.EndObject();
        }
    }
    json.EndArray();
    json.Key("namedInstances");
    json.BeginArray();
    if (fvar) {
        for (const auto& instance : fvar->instances) {
            json.BeginObject(true);
            json.Key("subfamily");
            json.StringOrNull(NameString(name.Get(), instance->subfamilyNameID));
            json.Key("postScriptName");
            // 0xFFFF says the record has no PostScript name.
            if (instance->hasPostScriptNameID && instance->postScriptNameID != 0xFFFF) {
                json.StringOrNull(NameString(name.Get(), instance->postScriptNameID));
            } else {
                json.Null();
            }
            // Keyed by axis tag. A font that gives two axes one tag repeats
            // the key, which parsers take (the last one wins); "axes" still
            // lists both.
            json.Key("coordinates");
            json.BeginObject();
            for (size_t i = 0; i < instance->coordinates.size() && i < fvar->axes.size(); ++i) {
                json.Key(TagText(fvar->axes[i]->axisTag));
                json.NumberText(FixedText(instance->coordinates[i]));
            }
            json.EndObject();
            json.EndObject();
        }
    }
    json.EndArray();
}

void WriteFont(JsonWriter& json, const OpenedFontFile& opened, int index) {
    auto font = opened.file->GetFont(index);
    auto offsetTable = font ? font->GetOffsetTable() : nullptr;
    json.BeginObject();
    json.Key("index");
    json.Number(static_cast<uint64_t>(index));
    if (!offsetTable) {
        // Every member is still there, empty, so that a script reads every
        // font the same way.
        json.Key("problem");
        json.String("no valid offset table");
    }
    json.Key("format");
    if (offsetTable) {
        json.String(DescribeFileKind(font->GetTag(), 0));
    } else {
        json.Null();
    }
    json.Key("sfntVersion");
    if (offsetTable) {
        char version[16];
        std::snprintf(version, sizeof(version), "0x%08" PRIX32, font->GetTag());
        json.String(version);
    } else {
        json.Null();
    }
    json.Key("outlines");
    json.String(offsetTable ? OutlineKind(*font) : "none");
    json.Key("glyphs");
    json.Number(offsetTable ? font->GetNumGlyphs() : 0u);
    json.Key("unitsPerEm");
    json.Number(offsetTable ? font->GetUnitsPerEm() : 0u);
    json.Key("postScriptName");
    json.StringOrNull(offsetTable ? NameString(font->GetTableT<Typeframe::OTnameTable>().Get(), 6) : std::nullopt);
    json.Key("tables");
    json.BeginArray();
    if (offsetTable) {
        // The font made one table object per directory entry, in the same
        // order; the class made for the tag says whether the library parses
        // it, without loading anything.
        const auto& entries = offsetTable->GetDirectoryEntries();
        const auto& tables = font->GetTables();
        for (size_t i = 0; i < entries.size(); ++i) {
            const Typeframe::DirectoryEntry& entry = *entries[i];
            const Typeframe::OTTable* table = i < tables.size() ? tables[i].Get() : nullptr;
            json.BeginObject(true);
            json.Key("tag");
            json.String(TagText(entry.tag));
            json.Key("checksum");
            json.Number(entry.checksum);
            json.Key("offset");
            json.Number(entry.offset);
            json.Key("length");
            json.Number(entry.length);
            json.Key("parsed");
            json.Bool(table && typeid(*table) != typeid(Typeframe::OTTable));
            const char* problem = EntryProblem(entry, opened.size);
            json.Key("loadable");
            json.Bool(!problem);
            if (problem) {
                json.Key("problem");
                json.String(problem);
            }
            json.EndObject();
        }
    }
    json.EndArray();
    const bool variable = offsetTable && font->IsVariable();
    json.Key("variable");
    json.Bool(variable);
    if (variable) WriteVariations(json, *font);
    json.EndObject();
}

// Writes the whole report at once; true when it all went out.
bool PrintJson(const OpenedFontFile& opened) {
    JsonWriter json;
    json.BeginObject();
    json.Key("kind");
    const bool collection = opened.file->GetFileTag() == Typeframe::MakeTag("ttcf");
    json.String(collection ? "collection" : "font");
    json.Key("collectionVersion");
    if (collection) {
        json.String(std::to_string(opened.collectionVersion >> 16) + '.' +
                    std::to_string(opened.collectionVersion & 0xffff));
    } else {
        json.Null();
    }
    json.Key("size");
    json.Number(opened.size);
    json.Key("fonts");
    json.BeginArray();
    for (int i = 0; i < opened.fontCount; ++i) WriteFont(json, opened, i);
    json.EndArray();
    json.EndObject();
    const std::string text = json.Finish();
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
}

}  // namespace

int RunInfo(const Arguments& arguments) {
    ParsedArguments parsed;
    if (!ParseArguments("info", arguments, {{"--json", false}}, parsed)) return 1;
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
    // --json is the only option info takes.
    if (!parsed.options.empty()) return PrintJson(opened) ? 0 : ReportError(path, "cannot write the report");

    std::printf("file: %s\n", path.c_str());
    std::printf("kind: %s\n", DescribeFileKind(opened.file->GetFileTag(), opened.collectionVersion).c_str());
    std::printf("size: %" PRIu64 " bytes\n", opened.size);
    std::printf("fonts: %d\n", opened.fontCount);
    for (int i = 0; i < opened.fontCount; ++i) PrintFont(opened, i);
    return std::fflush(stdout) == 0 ? 0 : ReportError(path, "cannot write the report");
}

}  // namespace TypeframeTool
