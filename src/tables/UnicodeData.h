#pragma once

// Unicode character names from the Unicode Character Database's
// UnicodeData.txt in the library's resources directory. The file is read
// and parsed once, at the first question, from whichever thread asks
// first; afterwards lookups are binary searches over shared, read-only data.

#include "base/String.h"

namespace Typeframe {

class UnicodeData {
public:
    UnicodeData() = delete;

    // Reads the file if that has not been done. A missing or unreadable file
    // leaves the table empty, and the result is still true: names then come
    // back empty. The file is not looked for again.
    static bool Load();
    // The character's name; "????" for the file's placeholder names
    // ("<control>", the "<..., First>"/"<..., Last>" ends of ranges) and for
    // empty ones; an empty string for a code the file does not list, which
    // includes the inside of the ranges.
    static Utf8String GetName(unsigned int code);
};

}  // namespace Typeframe
