#pragma once

// Adobe's glyph lists: glyph names to Unicode values and back.
//
// Names are looked up in the Adobe Glyph List 2.0, every name of it that
// stands for a single code point (entries for a sequence of code points are
// left out). A code point is named by the Adobe Glyph List For New Fonts,
// Adobe's choice of one name per code point among the many the full list
// may have, so U+0041 is "A" and U+00A0, which the full list names twice
// and the new-fonts list not at all, has no list name. Both tables are
// generated into AdobeGlyphListData.cpp by tools/gen_agl_table.py; lookups
// are binary searches, safe from any thread.

#include <cstddef>
#include <cstdint>

#include "base/String.h"

namespace Typeframe {

class AdobeGlyphList2 {
public:
    AdobeGlyphList2() = delete;

    // The code point of a list name; false for other names and for null.
    static bool Find(const char* name, unsigned long& code);
    // The list's name for a code point, or an empty string (never null).
    static const char* GetString(unsigned long code);
    // The list's name; otherwise "uni" with 4 upper-case hexadecimal digits
    // for 1 to 65534, and "u" with 8 for any other value, 0 and 65535
    // included.
    static Utf8String ToName(unsigned long code);
    // The list's code point; otherwise the hexadecimal number after a "uni"
    // or "u" prefix, read by strtol; otherwise 0.
    static unsigned long ToUnicode(const Utf8String& name);

private:
    struct NameEntry {
        const char* name;
        uint32_t code;
    };
    struct CodeEntry {
        uint32_t code;
        const char* name;
    };

    // Sorted by name in byte order.
    static const NameEntry kNameTable[];
    static const size_t kNameTableSize;
    // Sorted by code point, one entry each.
    static const CodeEntry kCodeTable[];
    static const size_t kCodeTableSize;
};

}  // namespace Typeframe
