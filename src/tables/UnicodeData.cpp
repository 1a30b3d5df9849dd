#include "tables/UnicodeData.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/FileSystem.h"

namespace Typeframe {

namespace {

struct Entry {
    uint32_t code;
    uint32_t offset;  // into Table::names
    uint32_t length;
};

struct Table {
    std::string names;           // every name, back to back
    std::vector<Entry> entries;  // sorted by code, one per code
};

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string ReadWholeFile(const char* path) {
    std::string text;
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "rb"));
    if (!file) return text;
    char chunk[65536];
    size_t count;
    while ((count = std::fread(chunk, 1, sizeof(chunk), file.get())) != 0) text.append(chunk, count);
    return text;
}

// One line: "code;name;..." with the code in hexadecimal.
void ParseLine(std::string_view line, Table& table) {
    if (line.empty()) return;
    const size_t first = line.find(';');
    const std::string_view codeField = line.substr(0, first);
    std::string_view name;
    if (first != std::string_view::npos) {
        const size_t second = line.find(';', first + 1);
        name = line.substr(first + 1, second == std::string_view::npos ? std::string_view::npos : second - first - 1);
    }
    // A code field that is not hexadecimal reads as 0, as strtoul would.
    uint32_t code = 0;
    std::from_chars(codeField.data(), codeField.data() + codeField.size(), code, 16);
    if (name.empty() || (name.front() == '<' && name.back() == '>')) name = "????";
    table.entries.push_back({code, static_cast<uint32_t>(table.names.size()), static_cast<uint32_t>(name.size())});
    table.names.append(name);
}

Table Parse() {
    Table table;
    auto path = Bedrock::FileSystem::GetResourcesDirectory();
    path.Append("UnicodeData.txt");
    const std::string text = ReadWholeFile(path.c_str());
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        ParseLine(std::string_view(text).substr(start, end - start), table);
        start = end + 1;
    }
    // A code listed again replaces its earlier name: after a stable sort the
    // last of each run of equal codes is the one kept.
    auto& entries = table.entries;
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.code < b.code; });
    std::vector<Entry> unique;
    unique.reserve(entries.size());
    for (size_t i = 0; i < entries.size(); ++i) {
        if (i + 1 < entries.size() && entries[i + 1].code == entries[i].code) continue;
        unique.push_back(entries[i]);
    }
    entries = std::move(unique);
    return table;
}

// Parsed at the first call; the initialisation of a function-local static is
// thread-safe, so concurrent first callers wait for one parse.
const Table& GetTable() {
    static const Table table = Parse();
    return table;
}

}  // namespace

bool UnicodeData::Load() {
    GetTable();
    return true;
}

Utf8String UnicodeData::GetName(unsigned int code) {
    const Table& table = GetTable();
    const auto it = std::lower_bound(table.entries.begin(), table.entries.end(), code,
                                     [](const Entry& entry, unsigned int key) { return entry.code < key; });
    if (it == table.entries.end() || it->code != code) return Utf8String();
    return Utf8String(table.names.data() + it->offset, static_cast<int>(it->length));
}

}  // namespace Typeframe
