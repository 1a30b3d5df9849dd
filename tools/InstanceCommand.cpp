// `typeframe instance IN OUT [--index N | --name PSNAME] [TAG=VALUE ...]` and
// `typeframe instance IN --all-named OUTDIR`: static instances of a variable
// font, made by the library's FontInstancer. The file is first opened here
// only to tell apart the reasons the instancer may refuse a font (not a font,
// no such font, a static font), which it reports all alike.

#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <cstdlib>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "base/Counted.h"
#include "base/FileOutStream.h"
#include "base/FixedPoint.h"
#include "base/String.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "instancer/FontInstancer.h"
#include "tables/OTnameTable.h"
#include "variations/OTfvarTable.h"

#include "Commands.h"
#include "ToolSupport.h"

namespace TypeframeTool {

namespace {

struct AxisSetting {
    Typeframe::Tag tag = 0;
    double value = 0;
    std::string text;  // as given, for messages
};

struct InstanceRequest {
    std::string inPath;
    std::string outPath;  // one instance
    std::string outDir;   // --all-named
    bool allNamed = false;
    bool byName = false;
    int index = 0;
    std::string name;
    std::vector<AxisSetting> settings;
};

// A decimal number ("500", "-12.5", "1e2"), read the same way whatever the
// locale: no hexadecimal, infinity or NaN, and nothing after the number.
bool ParseAxisValue(const std::string& text, double& value) {
    const char* first = text.data();
    const char* last = first + text.size();
    // from_chars takes no '+'; one is allowed before an unsigned number.
    if (first != last && *first == '+') {
        ++first;
        if (first != last && *first == '-') return false;
    }
    double parsed = 0;
    const auto [end, error] = std::from_chars(first, last, parsed, std::chars_format::general);
    if (error != std::errc() || end != last || first == last || !std::isfinite(parsed)) return false;
    value = parsed;
    return true;
}

// An argument with '=' and no '/' sets an axis; anything else is a file.
bool IsAxisSetting(const std::string& argument) {
    return argument.find('=') != std::string::npos && argument.find('/') == std::string::npos;
}

bool ParseAxisSetting(const std::string& argument, std::vector<AxisSetting>& settings) {
    const size_t equals = argument.find('=');
    const std::string tagText = argument.substr(0, equals);
    const std::string valueText = argument.substr(equals + 1);
    AxisSetting setting;
    setting.text = valueText;
    if (!ParseTableTag(tagText, setting.tag)) {
        ReportError("instance", "invalid axis tag '" + tagText + "' in '" + argument + "' (one to four characters)");
        return false;
    }
    if (!ParseAxisValue(valueText, setting.value)) {
        ReportError("instance",
                    "the value '" + valueText + "' for axis '" + TagText(setting.tag) + "' is not a number");
        return false;
    }
    // Axis values are 16.16 numbers in the font; a value beyond what one
    // holds can only be a mistake.
    if (setting.value < -32768.0 || setting.value > 32767.0 + 65535.0 / 65536.0) {
        ReportError("instance", "the value '" + valueText + "' for axis '" + TagText(setting.tag) +
                                    "' is out of range (axis values lie between -32768 and 32768)");
        return false;
    }
    for (const auto& earlier : settings) {
        if (earlier.tag == setting.tag) {
            ReportError("instance", "axis '" + TagText(setting.tag) + "' is given twice");
            return false;
        }
    }
    settings.push_back(setting);
    return true;
}

bool ParseRequest(const ParsedArguments& parsed, InstanceRequest& request) {
    bool byIndex = false;
    for (const auto& [option, value] : parsed.options) {
        if (option == "--index") {
            if (!ParseIndex(value, request.index)) {
                ReportError("instance", "invalid font index '" + value + "'");
                return false;
            }
            byIndex = true;
        } else if (option == "--name") {
            if (value.empty()) {
                ReportError("instance", "--name needs a PostScript name");
                return false;
            }
            request.name = value;
            request.byName = true;
        } else if (option == "--all-named") {
            if (value.empty()) {
                ReportError("instance", "--all-named needs an output folder");
                return false;
            }
            request.outDir = value;
            request.allNamed = true;
        }
    }
    if (byIndex && request.byName) {
        ReportError("instance", "--index and --name both choose the font; give one of them");
        return false;
    }

    std::vector<std::string> files;
    for (const auto& argument : parsed.positionals) {
        if (!IsAxisSetting(argument)) {
            files.push_back(argument);
        } else if (!ParseAxisSetting(argument, request.settings)) {
            return false;
        }
    }
    const size_t wanted = request.allNamed ? 1 : 2;
    if (files.size() < wanted) {
        const char* missing = files.empty()
                                  ? (request.allNamed ? "missing input file" : "missing input and output files")
                                  : "missing output file";
        ReportError("instance", std::string(missing) + " (see 'typeframe instance --help')");
        return false;
    }
    if (files.size() > wanted) {
        ReportError("instance", "unexpected argument '" + files[wanted] + "'");
        return false;
    }
    if (request.allNamed && !request.settings.empty()) {
        ReportError("instance", "--all-named takes the axis values of each named instance; '" +
                                    TagText(request.settings[0].tag) + "=' can't be given with it");
        return false;
    }
    request.inPath = files[0];
    if (!request.allNamed) request.outPath = files[1];
    return true;
}

std::string FontName(const OpenedFontFile& opened, int index) {
    return opened.fontCount > 1 ? "font " + std::to_string(index) : "the font";
}

bool ReadPostScriptName(const Bedrock::Counted<Typeframe::OTFont>& font, std::string& text) {
    auto name = font ? font->GetTableT<Typeframe::OTnameTable>() : nullptr;
    Bedrock::Utf8String found;
    if (!name || !name->GetString(6, found)) return false;
    text = found.c_str();
    return true;
}

// The index of the font that --name asks for: the first whose name ID 6 is
// that name, as the instancer picks it.
bool FindFontByName(const InstanceRequest& request, const OpenedFontFile& opened, int& index) {
    std::string known;
    for (int i = 0; i < opened.fontCount; ++i) {
        std::string name;
        if (!ReadPostScriptName(opened.file->GetFont(i), name)) continue;
        if (name == request.name) {
            index = i;
            return true;
        }
        known += (known.empty() ? "" : ", ") + name;
    }
    ReportError(request.inPath, "no font named '" + request.name + "' (" +
                                    (known.empty() ? std::string("no font of the file has a PostScript name")
                                                   : (opened.fontCount > 1 ? "fonts: " : "font: ") + known) +
                                    ")");
    return false;
}

// Opens the input, finds the font asked for and makes sure it is variable.
bool CheckFont(const InstanceRequest& request, int& index) {
    OpenedFontFile opened;
    if (!OpenFontFile(request.inPath, opened)) return false;
    index = request.index;
    if (request.byName) {
        if (!FindFontByName(request, opened, index)) return false;
    } else if (index >= opened.fontCount) {
        ReportError(request.inPath, "font index " + std::to_string(index) + " out of range (the file holds " +
                                        std::to_string(opened.fontCount) +
                                        (opened.fontCount == 1 ? " font)" : " fonts)"));
        return false;
    }
    auto font = opened.file->GetFont(index);
    if (!font || !font->GetOffsetTable() || font->GetTables().empty()) {
        ReportError(request.inPath, FontName(opened, index) + " has no valid table directory");
        return false;
    }
    if (!font->IsVariable()) {
        ReportError(request.inPath, FontName(opened, index) + " is static (it has no 'fvar' table)");
        return false;
    }
    if (!font->GetTableT<Typeframe::OTfvarTable>()) {
        ReportError(request.inPath, "the 'fvar' table of " + FontName(opened, index) + " cannot be read");
        return false;
    }
    return true;
}

// Applies SOURCE_DATE_EPOCH: a fixed save time, and a fixed seed for the
// letters of shortened PostScript names, so that two runs give the same
// bytes.
void MakeReproducible(Typeframe::FontInstancer& instancer) {
    if (const auto epoch = SourceDateEpoch()) {
        instancer.SetSaveTime(*epoch);
        instancer.SetRandomSeed(static_cast<uint32_t>(*epoch));
    }
}

bool LoadInstancer(const InstanceRequest& request, int index, Typeframe::FontInstancer& instancer) {
    MakeReproducible(instancer);
    const bool loaded = request.byName
                            ? instancer.LoadFont(Bedrock::Utf8String(request.inPath), Bedrock::Utf8String(request.name))
                            : instancer.LoadFont(Bedrock::Utf8String(request.inPath), index);
    if (!loaded) {
        // The checks above passed, so the file changed in between or one of
        // its tables can't be read; the instancer says which.
        ReportError(request.inPath, std::string("the font cannot be loaded for instancing: ") +
                                        instancer.GetLastFailure().GetMessage().c_str());
        return false;
    }
    return true;
}

// The tables an instance still carries variation data in, because the
// instancer does not resolve them yet; each with what is left in it.
std::vector<std::string> UninstancedTables(const Typeframe::OTFont& font) {
    using Typeframe::MakeTag;
    std::vector<std::string> kept;
    // True when the table's version is at least `minor` (of major 1) and the
    // 32-bit offset at `at` is set.
    // Only the header bytes are read, so the tables need no parsing.
    auto hasOffset = [&](Typeframe::Tag tag, uint16_t minor, unsigned long at) {
        auto table = font.GetTableOrBytesForTag(tag);
        auto buffer = table ? table->GetBuffer() : nullptr;
        if (!buffer || buffer->GetLength() < at + 4) return false;
        const unsigned char* bytes = buffer->GetBuffer();
        const unsigned version =
            (unsigned(bytes[0]) << 24) | (unsigned(bytes[1]) << 16) | (unsigned(bytes[2]) << 8) | bytes[3];
        const unsigned offset = (unsigned(bytes[at]) << 24) | (unsigned(bytes[at + 1]) << 16) |
                                (unsigned(bytes[at + 2]) << 8) | bytes[at + 3];
        return version >= (0x00010000u | minor) && (version >> 16) == 1 && offset != 0;
    };
    if (hasOffset(MakeTag("BASE"), 1, 8)) kept.push_back("BASE (variation store)");
    if (hasOffset(MakeTag("GDEF"), 3, 14)) kept.push_back("GDEF (variation store)");
    if (hasOffset(MakeTag("GPOS"), 1, 10)) kept.push_back("GPOS (feature variations)");
    if (hasOffset(MakeTag("GSUB"), 1, 10)) kept.push_back("GSUB (feature variations)");
    if (font.GetTableForTag(MakeTag("CFF2"))) kept.push_back("CFF2 (outlines and blends)");
    return kept;
}

// One line on stderr when the instance keeps variation data the instancer
// can't resolve yet: the file is written, but it is not yet a fully static
// font, and some checkers reject it.
void NoteUninstanced(const std::string& path, const Typeframe::OTFont& font) {
    const auto kept = UninstancedTables(font);
    if (kept.empty()) return;
    std::string list;
    for (const auto& table : kept) list += (list.empty() ? "" : ", ") + table;
    std::fprintf(stderr, "typeframe: note: %s: kept uninstanced, not yet resolved by the instancer: %s\n",
                 Printable(path).c_str(), list.c_str());
}

std::string AxisList(const Typeframe::OTfvarTable& fvar) {
    std::string list;
    for (const auto& axis : fvar.axes) list += (list.empty() ? "" : ", ") + TagText(axis->axisTag);
    return list.empty() ? "none" : list;
}

// One user value per axis: the default, or the value given for its tag. A
// value outside the axis's range is refused rather than clamped, so that
// the file is never named after a location it does not hold; the extremes
// are there to ask for.
bool BuildLocation(const std::string& path, const Typeframe::OTfvarTable& fvar,
                   const std::vector<AxisSetting>& settings, std::vector<double>& location) {
    location.clear();
    for (const auto& axis : fvar.axes) location.push_back(axis->defaultValue.ToDouble());
    for (const auto& setting : settings) {
        bool found = false;
        for (size_t i = 0; i < fvar.axes.size(); ++i) {
            const auto& axis = *fvar.axes[i];
            if (axis.axisTag != setting.tag) continue;
            if (setting.value < axis.minValue.ToDouble() || setting.value > axis.maxValue.ToDouble()) {
                ReportError(path, "the value " + setting.text + " for axis '" + TagText(setting.tag) +
                                      "' is outside its range, " + FixedText(axis.minValue) + " to " +
                                      FixedText(axis.maxValue));
                return false;
            }
            location[i] = setting.value;
            found = true;
        }
        if (!found) {
            ReportError(path, "no axis '" + TagText(setting.tag) + "' (axes: " + AxisList(fvar) + ")");
            return false;
        }
    }
    return true;
}

// Writes the font alone to a temporary file beside `outPath`, closed but not
// yet in place: the caller commits it. Null, reported, on failure; the
// temporary file goes with the stream.
Bedrock::Counted<Bedrock::FileOutStream> WriteFont(const Bedrock::Counted<Typeframe::OTFont>& font,
                                                   const std::string& inPath, const std::string& outPath) {
    errno = 0;
    auto stream = Bedrock::FileOutStream::CreateReplacing(outPath.c_str());
    if (!stream) {
        ReportError(outPath, std::string("cannot create: ") + std::strerror(errno ? errno : EIO));
        return nullptr;
    }
    // Saving goes through a file object that holds only this font, and that
    // makes itself the font's file; the font's own file is put back after,
    // so that nothing reaches the saver once it is gone.
    auto saver = Bedrock::MakeCounted<Typeframe::OTFile>();
    const auto previousFile = font->GetFile();
    saver->AddFont(font);
    if (const auto epoch = SourceDateEpoch()) saver->SetSaveTime(*epoch);
    const bool saved = saver->Save(stream);
    font->SetFile(previousFile);
    if (!saved) {
        ReportError(inPath,
                    std::string("the instance could not be saved: ") + saver->GetLastFailure().GetMessage().c_str());
        return nullptr;
    }
    errno = 0;
    if (!stream->Close()) {
        ReportError(outPath, std::string("write failed: ") + std::strerror(errno ? errno : EIO));
        return nullptr;
    }
    return stream;
}

// Puts a written file in place; reported on failure.
bool CommitFont(Bedrock::FileOutStream& stream, const std::string& outPath) {
    if (stream.Commit()) return true;
    ReportError(outPath, std::string("cannot rename the finished file into place: ") + std::strerror(errno));
    return false;
}

int RunOne(const InstanceRequest& request) {
    struct stat outStatus {};
    if (::stat(request.outPath.c_str(), &outStatus) == 0 && S_ISDIR(outStatus.st_mode)) {
        return ReportError(request.outPath, "is a directory");
    }
    int index = 0;
    if (!CheckFont(request, index)) return 1;
    Typeframe::FontInstancer instancer;
    if (!LoadInstancer(request, index, instancer)) return 1;
    auto font = instancer.GetFont();
    auto fvar = font->GetTableT<Typeframe::OTfvarTable>();
    std::vector<double> location;
    if (!fvar) return ReportError(request.inPath, "the 'fvar' table cannot be read");
    if (!BuildLocation(request.inPath, *fvar, request.settings, location)) return 1;
    if (!instancer.MakeInstance(location)) {
        return ReportError(request.inPath, instancer.GetLastFailure().GetMessage().c_str());
    }
    const std::string postScriptName = instancer.GetPostScriptName().c_str();
    if (postScriptName.empty()) {
        return ReportError(request.inPath, "the instance has no PostScript name (the font has no name ID 6 to set)");
    }

    auto output = WriteFont(font, request.inPath, request.outPath);
    if (!output || !CommitFont(*output, request.outPath)) return 1;
    NoteUninstanced(request.outPath, *font);
    std::printf("%s\n", Printable(postScriptName).c_str());
    return std::fflush(stdout) == 0 ? 0 : ReportError(request.outPath, "cannot write the report");
}

// A PostScript name comes from the font, so it must not be able to name a
// file outside the output folder, or a hidden one.
bool IsUsableFileName(const std::string& name) {
    if (name.empty() || name[0] == '.') return false;
    for (char c : name) {
        if (c == '/' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return false;
    }
    return true;
}

std::string InstanceLabel(const Typeframe::OTFont& font, const Typeframe::OTfvarTable::InstanceRecord& record,
                          size_t index) {
    std::string label = "named instance " + std::to_string(index);
    Bedrock::Utf8String subfamily;
    auto name = font.GetTableT<Typeframe::OTnameTable>();
    if (name && name->GetString(record.subfamilyNameID, subfamily))
        label += std::string(" ('") + subfamily.c_str() + "')";
    return label;
}

struct WrittenInstance {
    std::string postScriptName;
    std::string outPath;
    Bedrock::Counted<Bedrock::FileOutStream> output;
};

// Makes and writes every named instance to temporary files, and renames them
// into place only once all of them are written, so that a failure leaves
// none behind. One parse: each instance is made from a clone of the font
// loaded once.
int WriteAllNamed(const InstanceRequest& request, Typeframe::FontInstancer& base) {
    auto font = base.GetFont();
    auto fvar = font->GetTableT<Typeframe::OTfvarTable>();
    if (!fvar) return ReportError(request.inPath, "the 'fvar' table cannot be read");
    if (fvar->instances.empty()) return ReportError(request.inPath, "the font has no named instances");
    const char* extension = font->ContainsPostScriptOutlines() ? ".otf" : ".ttf";
    const std::string folder = request.outDir.back() == '/' ? request.outDir : request.outDir + "/";

    std::vector<WrittenInstance> written;
    std::map<std::string, size_t> owners;  // PostScript name -> instance index
    for (size_t i = 0; i < fvar->instances.size(); ++i) {
        const auto& record = *fvar->instances[i];
        std::vector<double> location;
        for (const auto& coordinate : record.coordinates) location.push_back(coordinate.ToDouble());

        Typeframe::FontInstancer instancer;
        MakeReproducible(instancer);
        if (!instancer.LoadFont(font->Clone()) || !instancer.MakeInstance(location)) {
            return ReportError(request.inPath, InstanceLabel(*font, record, i) + ": " +
                                                   instancer.GetLastFailure().GetMessage().c_str());
        }
        const std::string postScriptName = instancer.GetPostScriptName().c_str();
        if (postScriptName.empty()) {
            return ReportError(request.inPath, InstanceLabel(*font, record, i) +
                                                   " has no PostScript name (the font has no name ID 6 to set)");
        }
        if (!IsUsableFileName(postScriptName)) {
            return ReportError(request.inPath, InstanceLabel(*font, record, i) + " has the PostScript name '" +
                                                   postScriptName + "', which can't be used as a file name");
        }
        const auto [owner, added] = owners.emplace(postScriptName, i);
        if (!added) {
            return ReportError(request.inPath, "named instances " + std::to_string(owner->second) + " and " +
                                                   std::to_string(i) + " both have the PostScript name '" +
                                                   postScriptName + "'; nothing written");
        }
        const std::string outPath = folder + postScriptName + extension;
        auto output = WriteFont(instancer.GetFont(), request.inPath, outPath);
        if (!output) return 1;
        written.push_back({postScriptName, outPath, std::move(output)});
    }

    for (size_t i = 0; i < written.size(); ++i) {
        if (CommitFont(*written[i].output, written[i].outPath)) continue;
        // Take back the ones already in place: all or nothing.
        for (size_t j = 0; j < i; ++j) std::remove(written[j].outPath.c_str());
        return 1;
    }
    if (!written.empty()) NoteUninstanced(request.outDir, *font);
    for (const auto& instance : written) std::printf("%s\n", instance.postScriptName.c_str());
    return std::fflush(stdout) == 0 ? 0 : ReportError(request.outDir, "cannot write the report");
}

int RunAllNamed(const InstanceRequest& request) {
    struct stat folderStatus {};
    bool made = false;
    if (::stat(request.outDir.c_str(), &folderStatus) == 0) {
        if (!S_ISDIR(folderStatus.st_mode)) return ReportError(request.outDir, "is not a directory");
    } else if (errno != ENOENT) {
        return ReportError(request.outDir, std::strerror(errno));
    }
    int index = 0;
    if (!CheckFont(request, index)) return 1;
    Typeframe::FontInstancer base;
    if (!LoadInstancer(request, index, base)) return 1;
    if (!S_ISDIR(folderStatus.st_mode)) {
        if (::mkdir(request.outDir.c_str(), 0777) != 0) {
            return ReportError(request.outDir, std::string("cannot create the folder: ") + std::strerror(errno));
        }
        made = true;
    }
    const int status = WriteAllNamed(request, base);
    // A folder made for a run that wrote nothing goes again.
    if (status != 0 && made) ::rmdir(request.outDir.c_str());
    return status;
}

}  // namespace

int RunInstance(const Arguments& arguments) {
    ParsedArguments parsed;
    if (!ParseArguments("instance", arguments, {{"--index", true}, {"--name", true}, {"--all-named", true}}, parsed)) {
        return 1;
    }
    if (parsed.help) {
        std::fputs(FindCommand("instance")->help, stdout);
        return 0;
    }
    InstanceRequest request;
    if (!ParseRequest(parsed, request)) return 1;
    return request.allNamed ? RunAllNamed(request) : RunOne(request);
}

}  // namespace TypeframeTool
