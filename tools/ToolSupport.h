#pragma once

// What the commands of the typeframe tool share: option parsing, the one-line
// error report, opening a font file and reading table tags from the command
// line.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "core/OTFile.h"
#include "core/Tag.h"
#include "Commands.h"

namespace TypeframeTool {

// The text with each control character shown as '?', for text from a font
// or the command line that goes out as one line.
std::string Printable(const std::string& text);

// Prints "typeframe: SUBJECT: REASON" as one line on stderr and returns the
// failure exit status, 1. Control characters in either part are shown as '?'
// so that a strange file name cannot split the line.
int ReportError(const std::string& subject, const std::string& reason);

struct OptionSpec {
    const char* name;  // with the dashes: "--index"
    bool takesValue;
};

struct ParsedArguments {
    std::vector<std::string> positionals;
    std::vector<std::pair<std::string, std::string>> options;  // in command-line order
    bool help = false;
};

// Splits arguments into positionals and known options ("--name value",
// "--name=value"); "--help" and "-h" set `help`, "--" ends the options.
// Reports an unknown option or a missing value and returns false.
bool ParseArguments(const char* command, const Arguments& arguments, const std::vector<OptionSpec>& specs,
                    ParsedArguments& parsed);

// A non-negative decimal number that fits an int, nothing else.
bool ParseIndex(const std::string& text, int& index);

// One to four characters, padded with spaces to a table tag ("cvt" is "cvt ").
bool ParseTableTag(const std::string& text, Typeframe::Tag& tag);

std::string TagText(Typeframe::Tag tag);

// The shortest decimal that reads back as the same 16.16 value: 400, -10,
// 0.5, 12.34567, whatever the locale.
std::string FixedText(Typeframe::Fixed16_16 value);

// The time that SOURCE_DATE_EPOCH gives, as build systems set it for
// reproducible output: saved fonts are stamped with it. Unset when it is
// absent or not a plain number of seconds.
std::optional<int64_t> SourceDateEpoch();

struct OpenedFontFile {
    Bedrock::Counted<Typeframe::OTFile> file;
    int fontCount = 0;
    // The version of a collection header (0x00010000 or 0x00020000), else 0.
    uint32_t collectionVersion = 0;
    uint64_t size = 0;
};

// Opens `path` and reads its header. Reports why on failure: a missing or
// unreadable file, a directory, or a file that is not a font or collection.
bool OpenFontFile(const std::string& path, OpenedFontFile& opened);

// "TrueType", "OpenType (CFF)", "collection (ttcf 2.0)" and so on.
std::string DescribeFileKind(Typeframe::Tag fileTag, uint32_t collectionVersion);

}  // namespace TypeframeTool
