#include "tables/AdobeGlyphList2.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/Format.h"
#include "base/ToString.h"

namespace Typeframe {

bool AdobeGlyphList2::Find(const char* name, unsigned long& code) {
    if (!name) return false;
    const NameEntry* end = kNameTable + kNameTableSize;
    const NameEntry* it = std::lower_bound(kNameTable, end, name, [](const NameEntry& entry, const char* key) {
        return std::strcmp(entry.name, key) < 0;
    });
    if (it == end || std::strcmp(it->name, name) != 0) return false;
    code = it->code;
    return true;
}

const char* AdobeGlyphList2::GetString(unsigned long code) {
    const CodeEntry* end = kCodeTable + kCodeTableSize;
    const CodeEntry* it = std::lower_bound(kCodeTable, end, code,
                                           [](const CodeEntry& entry, unsigned long key) { return entry.code < key; });
    return it != end && it->code == code ? it->name : "";
}

Utf8String AdobeGlyphList2::ToName(unsigned long code) {
    const char* name = GetString(code);
    if (*name) return Utf8String(name);
    // 0 and 65535 take the long form although they would fit in four digits.
    if (code >= 1 && code <= 65534) {
        return Bedrock::FormatString("uni%1", Bedrock::ToStringBase(code, 16, 4, Bedrock::kPadZeros, true));
    }
    return Bedrock::FormatString("u%1", Bedrock::ToStringBase(code, 16, 8, Bedrock::kPadZeros, true));
}

unsigned long AdobeGlyphList2::ToUnicode(const Utf8String& name) {
    unsigned long code = 0;
    if (Find(name.c_str(), code)) return code;
    // The rest after the prefix goes to strtol as it is: neither its length
    // nor its digits are checked, so "univers" gives 0 (from "vers") and
    // "uni00410042" a value beyond Unicode.
    const char* text = name.c_str();
    if (std::strncmp(text, "uni", 3) == 0) return static_cast<unsigned long>(std::strtol(text + 3, nullptr, 16));
    if (text[0] == 'u') return static_cast<unsigned long>(std::strtol(text + 1, nullptr, 16));
    return 0;
}

}  // namespace Typeframe
