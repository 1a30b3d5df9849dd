#pragma once

// The 258 standard Macintosh glyph names, in the order of their indexes: the
// names a 'post' table of format 1.0 gives the first glyphs, and the names
// that format 2.0 refers to by an index below 258 instead of storing them.

namespace Typeframe {

class MacGlyphList {
public:
    static constexpr unsigned long kCount = 258;

    MacGlyphList() = delete;

    static const char* const* begin();
    static const char* const* end();
    static unsigned long size() { return kCount; }

    // The index of a name, by exact byte comparison; false for a name
    // outside the list and for null. Safe from any thread.
    static bool Find(const char* name, unsigned long& index);
    // The name at an index; null above 257.
    static const char* GetString(unsigned long index);
};

}  // namespace Typeframe
