#include "tables/MacGlyphList.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace Typeframe {

namespace {

// Apple's standard order; a name's position is its index in 'post' tables.
// clang-format off
constexpr const char* kNames[MacGlyphList::kCount] = {
    ".notdef", ".null", "nonmarkingreturn", "space", "exclam", "quotedbl", "numbersign", "dollar", "percent",
    "ampersand", "quotesingle", "parenleft", "parenright", "asterisk", "plus", "comma", "hyphen", "period", "slash",
    "zero", "one", "two", "three", "four", "five", "six", "seven", "eight", "nine", "colon", "semicolon", "less",
    "equal", "greater", "question", "at", "A", "B", "C", "D", "E", "F", "G", "H", "I", "J", "K", "L", "M", "N", "O",
    "P", "Q", "R", "S", "T", "U", "V", "W", "X", "Y", "Z", "bracketleft", "backslash", "bracketright", "asciicircum",
    "underscore", "grave", "a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l", "m", "n", "o", "p", "q", "r",
    "s", "t", "u", "v", "w", "x", "y", "z", "braceleft", "bar", "braceright", "asciitilde", "Adieresis", "Aring",
    "Ccedilla", "Eacute", "Ntilde", "Odieresis", "Udieresis", "aacute", "agrave", "acircumflex", "adieresis", "atilde",
    "aring", "ccedilla", "eacute", "egrave", "ecircumflex", "edieresis", "iacute", "igrave", "icircumflex", "idieresis",
    "ntilde", "oacute", "ograve", "ocircumflex", "odieresis", "otilde", "uacute", "ugrave", "ucircumflex", "udieresis",
    "dagger", "degree", "cent", "sterling", "section", "bullet", "paragraph", "germandbls", "registered", "copyright",
    "trademark", "acute", "dieresis", "notequal", "AE", "Oslash", "infinity", "plusminus", "lessequal", "greaterequal",
    "yen", "mu", "partialdiff", "summation", "product", "pi", "integral", "ordfeminine", "ordmasculine", "Omega", "ae",
    "oslash", "questiondown", "exclamdown", "logicalnot", "radical", "florin", "approxequal", "Delta", "guillemotleft",
    "guillemotright", "ellipsis", "nonbreakingspace", "Agrave", "Atilde", "Otilde", "OE", "oe", "endash", "emdash",
    "quotedblleft", "quotedblright", "quoteleft", "quoteright", "divide", "lozenge", "ydieresis", "Ydieresis",
    "fraction", "currency", "guilsinglleft", "guilsinglright", "fi", "fl", "daggerdbl", "periodcentered",
    "quotesinglbase", "quotedblbase", "perthousand", "Acircumflex", "Ecircumflex", "Aacute", "Edieresis", "Egrave",
    "Iacute", "Icircumflex", "Idieresis", "Igrave", "Oacute", "Ocircumflex", "apple", "Ograve", "Uacute", "Ucircumflex",
    "Ugrave", "dotlessi", "circumflex", "tilde", "macron", "breve", "dotaccent", "ring", "cedilla", "hungarumlaut",
    "ogonek", "caron", "Lslash", "lslash", "Scaron", "scaron", "Zcaron", "zcaron", "brokenbar", "Eth", "eth", "Yacute",
    "yacute", "Thorn", "thorn", "minus", "multiply", "onesuperior", "twosuperior", "threesuperior", "onehalf",
    "onequarter", "threequarters", "franc", "Gbreve", "gbreve", "Idotaccent", "Scedilla", "scedilla", "Cacute",
    "cacute", "Ccaron", "ccaron", "dcroat",
};
// clang-format on

bool NameLess(uint16_t a, uint16_t b) { return std::strcmp(kNames[a], kNames[b]) < 0; }

// The indexes ordered by name, for binary search. Made on first use; the
// initialisation of a function-local static is thread-safe.
const std::array<uint16_t, MacGlyphList::kCount>& SortedIndexes() {
    static const std::array<uint16_t, MacGlyphList::kCount> sorted = [] {
        std::array<uint16_t, MacGlyphList::kCount> indexes{};
        for (uint16_t i = 0; i < MacGlyphList::kCount; ++i) indexes[i] = i;
        std::sort(indexes.begin(), indexes.end(), NameLess);
        return indexes;
    }();
    return sorted;
}

}  // namespace

const char* const* MacGlyphList::begin() { return kNames; }

const char* const* MacGlyphList::end() { return kNames + kCount; }

bool MacGlyphList::Find(const char* name, unsigned long& index) {
    if (!name) return false;
    const auto& sorted = SortedIndexes();
    const auto it = std::lower_bound(sorted.begin(), sorted.end(), name, [](uint16_t entry, const char* key) {
        return std::strcmp(kNames[entry], key) < 0;
    });
    if (it == sorted.end() || std::strcmp(kNames[*it], name) != 0) return false;
    index = *it;
    return true;
}

const char* MacGlyphList::GetString(unsigned long index) { return index < kCount ? kNames[index] : nullptr; }

}  // namespace Typeframe
