// `typeframe save IN OUT [--index N] [--rebuild TAG,...|all]`: writes one
// font of a font file or collection as a standalone font. Untouched tables
// go out as the bytes they came in; the tables named by --rebuild are written
// from their parsed fields.

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

#include "base/Counted.h"
#include "base/FileOutStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/OTTable.h"
#include "core/TableRegistry.h"

#include "Commands.h"
#include "ToolSupport.h"

namespace TypeframeTool {

namespace {

struct RebuildRequest {
    bool all = false;
    std::vector<Typeframe::Tag> tags;
};

// "head,hhea", "cvt" or "all"; may be given several times.
bool ParseRebuild(const std::string& text, RebuildRequest& request) {
    if (text == "all") {
        request.all = true;
        return true;
    }
    size_t start = 0;
    while (true) {
        const size_t comma = text.find(',', start);
        const std::string item = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        Typeframe::Tag tag = 0;
        if (!ParseTableTag(item, tag)) {
            ReportError("save", "invalid table tag '" + item + "' in --rebuild");
            return false;
        }
        request.tags.push_back(tag);
        if (comma == std::string::npos) return true;
        start = comma + 1;
    }
}

bool HasParsedForm(const Typeframe::OTTable& table) { return typeid(table) != typeid(Typeframe::OTTable); }

std::string FontName(const OpenedFontFile& opened, int index) {
    return opened.fontCount > 1 ? "font " + std::to_string(index) : "the font";
}

// Marks the requested tables dirty so that saving writes them from their
// parsed fields. A table the library keeps only as bytes has no other form:
// naming one is an error, so that nobody believes a rebuild happened; "all"
// means every table that has a parsed form.
bool MarkForRebuild(const std::string& path, const OpenedFontFile& opened, int index, Typeframe::OTFont& font,
                    const RebuildRequest& request) {
    const std::vector<Typeframe::Tag> present = font.GetTableTags();
    std::set<Typeframe::Tag> wanted(request.tags.begin(), request.tags.end());
    for (Typeframe::Tag tag : request.tags) {
        if (std::find(present.begin(), present.end(), tag) == present.end()) {
            ReportError(path, FontName(opened, index) + " has no '" + TagText(tag) + "' table");
            return false;
        }
        if (!Typeframe::TableRegistry::HasTableClass(tag)) {
            ReportError(path, "the '" + TagText(tag) +
                                  "' table can't be rebuilt: the library keeps it only as its bytes, which are "
                                  "copied as they are");
            return false;
        }
    }
    if (request.all) wanted.insert(present.begin(), present.end());
    for (Typeframe::Tag tag : wanted) {
        auto table = font.GetTableForTag(tag);
        if (!table) {
            // With "all" an unreadable table is simply left out of the output,
            // as it would be without --rebuild; naming it is an error.
            if (request.all && std::find(request.tags.begin(), request.tags.end(), tag) == request.tags.end()) continue;
            ReportError(path, "the '" + TagText(tag) + "' table of " + FontName(opened, index) + " cannot be read");
            return false;
        }
        if (HasParsedForm(*table)) table->SetIsDirty(true);
    }
    return true;
}

}  // namespace

int RunSave(const Arguments& arguments) {
    ParsedArguments parsed;
    if (!ParseArguments("save", arguments, {{"--index", true}, {"--rebuild", true}}, parsed)) return 1;
    if (parsed.help) {
        std::fputs(FindCommand("save")->help, stdout);
        return 0;
    }
    if (parsed.positionals.size() < 2) {
        return ReportError(
            "save", std::string(parsed.positionals.empty() ? "missing input and output files" : "missing output file") +
                        " (see 'typeframe save --help')");
    }
    if (parsed.positionals.size() > 2)
        return ReportError("save", "unexpected argument '" + parsed.positionals[2] + "'");
    const std::string& inPath = parsed.positionals[0];
    const std::string& outPath = parsed.positionals[1];

    int index = 0;
    RebuildRequest rebuild;
    for (const auto& [name, value] : parsed.options) {
        if (name == "--index") {
            if (!ParseIndex(value, index)) return ReportError("save", "invalid font index '" + value + "'");
        } else if (name == "--rebuild") {
            if (!ParseRebuild(value, rebuild)) return 1;
        }
    }

    struct stat outStatus {};
    if (::stat(outPath.c_str(), &outStatus) == 0 && S_ISDIR(outStatus.st_mode)) {
        return ReportError(outPath, "is a directory");
    }

    OpenedFontFile opened;
    if (!OpenFontFile(inPath, opened)) return 1;
    if (index >= opened.fontCount) {
        return ReportError(inPath, "font index " + std::to_string(index) + " out of range (the file holds " +
                                       std::to_string(opened.fontCount) +
                                       (opened.fontCount == 1 ? " font)" : " fonts)"));
    }
    auto font = opened.file->GetFont(index);
    if (!font || !font->GetOffsetTable()) {
        return ReportError(inPath, FontName(opened, index) + " has no valid table directory");
    }
    if (font->GetTables().empty()) return ReportError(inPath, FontName(opened, index) + " has no tables");
    if (!MarkForRebuild(inPath, opened, index, *font, rebuild)) return 1;

    // Only a file object that holds exactly one font can save. A font of a
    // collection moves to a file object of its own, and since tables load
    // lazily through their font's file, every table is read first.
    auto saver = opened.file;
    if (opened.fontCount != 1) {
        for (Typeframe::Tag tag : font->GetTableTags()) font->GetTableForTag(tag);
        saver = Bedrock::MakeCounted<Typeframe::OTFile>();
        saver->AddFont(font);
    }

    if (const auto epoch = SourceDateEpoch()) saver->SetSaveTime(*epoch);
    // Written beside the output and renamed into place once complete, so a
    // failure leaves whatever stood there.
    errno = 0;
    auto stream = Bedrock::FileOutStream::CreateReplacing(outPath.c_str());
    if (!stream) return ReportError(outPath, std::string("cannot create: ") + std::strerror(errno ? errno : EIO));
    if (!saver->Save(stream)) {
        return ReportError(
            inPath, FontName(opened, index) + " could not be saved: " + saver->GetLastFailure().GetMessage().c_str());
    }
    errno = 0;
    if (!stream->Close())
        return ReportError(outPath, std::string("write failed: ") + std::strerror(errno ? errno : EIO));
    if (!stream->Commit()) {
        return ReportError(outPath, std::string("cannot rename the finished file into place: ") + std::strerror(errno));
    }
    return 0;
}

}  // namespace TypeframeTool
