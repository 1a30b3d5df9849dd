#include "ToolSupport.h"

#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <cstdio>
#include <cstring>

#include "base/FileInStream.h"
#include "core/BigEndianBuffer.h"

namespace TypeframeTool {

namespace {

const OptionSpec* FindOption(const std::vector<OptionSpec>& specs, const std::string& name) {
    for (const auto& spec : specs) {
        if (name == spec.name) return &spec;
    }
    return nullptr;
}

}  // namespace

std::string Printable(const std::string& text) {
    std::string shown = text;
    for (char& c : shown) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    }
    return shown;
}

int ReportError(const std::string& subject, const std::string& reason) {
    std::fprintf(stderr, "typeframe: %s: %s\n", Printable(subject).c_str(), Printable(reason).c_str());
    std::fflush(stderr);
    return 1;
}

bool ParseArguments(const char* command, const Arguments& arguments, const std::vector<OptionSpec>& specs,
                    ParsedArguments& parsed) {
    bool optionsEnded = false;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (optionsEnded || argument.size() < 2 || argument[0] != '-') {
            parsed.positionals.push_back(argument);
            continue;
        }
        if (argument == "--") {
            optionsEnded = true;
            continue;
        }
        if (argument == "--help" || argument == "-h") {
            parsed.help = true;
            continue;
        }
        const size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        const OptionSpec* spec = FindOption(specs, name);
        if (!spec) {
            ReportError(command, "unknown option '" + name + "'");
            return false;
        }
        if (!spec->takesValue) {
            if (equals != std::string::npos) {
                ReportError(command, "option '" + name + "' takes no value");
                return false;
            }
            parsed.options.emplace_back(name, std::string());
            continue;
        }
        if (equals != std::string::npos) {
            parsed.options.emplace_back(name, argument.substr(equals + 1));
        } else if (i + 1 < arguments.size()) {
            parsed.options.emplace_back(name, arguments[++i]);
        } else {
            ReportError(command, "option '" + name + "' needs a value");
            return false;
        }
    }
    return true;
}

bool ParseIndex(const std::string& text, int& index) {
    if (text.empty() || text.size() > 9) return false;
    int value = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
        value = value * 10 + (c - '0');
    }
    index = value;
    return true;
}

bool ParseTableTag(const std::string& text, Typeframe::Tag& tag) {
    if (text.empty() || text.size() > 4) return false;
    char chars[4] = {' ', ' ', ' ', ' '};
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c > 0x7e) return false;
        chars[i] = static_cast<char>(c);
    }
    tag = Typeframe::MakeTag(chars[0], chars[1], chars[2], chars[3]);
    return true;
}

// The time that SOURCE_DATE_EPOCH gives, as build systems set it for
// reproducible output; unset when it is absent or not a plain number.
std::optional<int64_t> SourceDateEpoch() {
    const char* text = std::getenv("SOURCE_DATE_EPOCH");
    if (!text || !*text) return std::nullopt;
    int64_t seconds = 0;
    const char* end = text + std::strlen(text);
    const auto [last, error] = std::from_chars(text, end, seconds);
    if (error != std::errc() || last != end || seconds < 0) return std::nullopt;
    return seconds;
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

std::string TagText(Typeframe::Tag tag) { return Typeframe::TagToString(tag).c_str(); }

bool OpenFontFile(const std::string& path, OpenedFontFile& opened) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        ReportError(path, std::strerror(errno));
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        ReportError(path, "is a directory");
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        ReportError(path, "not a regular file");
        return false;
    }
    errno = 0;
    auto stream = Bedrock::FileInStream::Open(path.c_str(), false);
    if (!stream) {
        ReportError(path, errno != 0 ? std::strerror(errno) : "cannot be opened");
        return false;
    }
    auto file = Bedrock::MakeCounted<Typeframe::OTFile>();
    file->Load(stream);
    opened.size = file->GetBufferSize();
    opened.fontCount = file->GetFontCount();
    if (file->GetFileTag() == Typeframe::MakeTag("ttcf")) {
        if (opened.size >= 8) file->ReadBuffer(0, 8)->GetU32(4, opened.collectionVersion);
        if (opened.fontCount == 0) {
            if (opened.collectionVersion != 0x00010000 && opened.collectionVersion != 0x00020000) {
                ReportError(path, "unsupported font collection version");
            } else {
                ReportError(path, "font collection holds no fonts");
            }
            return false;
        }
    } else if (opened.fontCount == 0) {
        ReportError(path, "not a font file");
        return false;
    }
    opened.file = file;
    return true;
}

std::string DescribeFileKind(Typeframe::Tag fileTag, uint32_t collectionVersion) {
    using Typeframe::MakeTag;
    if (fileTag == 0x00010000) return "TrueType";
    if (fileTag == MakeTag("true")) return "TrueType (Apple 'true')";
    if (fileTag == MakeTag("OTTO")) return "OpenType (CFF)";
    if (fileTag == MakeTag("typ1")) return "PostScript Type 1 (sfnt)";
    if (fileTag == MakeTag("ttcf")) {
        char text[64];
        std::snprintf(text, sizeof(text), "collection (ttcf %u.%u)", collectionVersion >> 16,
                      collectionVersion & 0xffff);
        return text;
    }
    return "unknown";
}

}  // namespace TypeframeTool
