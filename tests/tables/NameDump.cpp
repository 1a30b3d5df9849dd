// Test helper for the naming table oracle: prints every name record of every
// font of a file, one line each, tab-separated:
//
//   font  record  platform  encoding  language  nameID  stored-bytes  ok|fail  utf8
//
// with the stored bytes and the decoded UTF-8 in hex (empty when the string
// does not decode). A font without a readable naming table prints
// "font  -  no-name". Exit status 1 when the file can't be opened.

#include <cstdio>
#include <string>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "tables/OTnameTable.h"

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
    const int count = file->GetFontCount();
    for (int index = 0; index < count; ++index) {
        auto font = file->GetFont(index);
        auto table = font ? font->GetTableT<OTnameTable>() : nullptr;
        if (!table || !table->IsLoaded()) {
            std::printf("%d\t-\tno-name\n", index);
            continue;
        }
        for (size_t i = 0; i < table->GetNameRecordCount(); ++i) {
            auto record = table->GetNameRecord(static_cast<unsigned short>(i));
            Utf8String raw;
            record->GetRawNameString(raw);
            Utf8String text;
            const bool decoded = record->GetNameString(text);
            std::printf("%d\t%zu\t%u\t%u\t%u\t%u\t%s\t%s\t%s\n", index, i, record->platformID, record->encodingID,
                        record->languageID, record->nameID, Hex(raw.GetBuffer(), raw.GetLength()).c_str(),
                        decoded ? "ok" : "fail", decoded ? Hex(text.GetBuffer(), text.GetLength()).c_str() : "");
        }
    }
    return 0;
}
