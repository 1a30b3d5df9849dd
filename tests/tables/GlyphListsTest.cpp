// The glyph-name lists: the Macintosh standard names, the Adobe Glyph List
// lookups with their "uni"/"u" fallbacks, and Unicode character names from
// the resources. The whole generated tables are compared with fontTools by
// the glyph-name oracle; these cases pin the lookups and the fallbacks.

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "base/FileSystem.h"
#include "tables/AdobeGlyphList2.h"
#include "tables/MacGlyphList.h"
#include "tables/UnicodeData.h"
#include "TestUtil.h"

using namespace Typeframe;

namespace {

TEST(MacGlyphList, OrderAndLookups) {
    EXPECT_EQ(MacGlyphList::size(), 258u);
    EXPECT_EQ(MacGlyphList::end() - MacGlyphList::begin(), 258);
    EXPECT_STREQ(MacGlyphList::GetString(0), ".notdef");
    EXPECT_STREQ(MacGlyphList::GetString(1), ".null");
    EXPECT_STREQ(MacGlyphList::GetString(2), "nonmarkingreturn");
    EXPECT_STREQ(MacGlyphList::GetString(257), "dcroat");
    EXPECT_EQ(MacGlyphList::GetString(258), nullptr);

    // Every name finds its own index: the names are distinct and the search
    // order is right.
    for (unsigned long i = 0; i < MacGlyphList::size(); ++i) {
        unsigned long index = 999;
        ASSERT_TRUE(MacGlyphList::Find(MacGlyphList::GetString(i), index)) << i;
        EXPECT_EQ(index, i);
    }
    unsigned long index = 7;
    EXPECT_FALSE(MacGlyphList::Find("uni0041", index));
    EXPECT_FALSE(MacGlyphList::Find("", index));
    EXPECT_FALSE(MacGlyphList::Find("Zcaron ", index));
    EXPECT_FALSE(MacGlyphList::Find(nullptr, index));
    EXPECT_EQ(index, 7u);
}

// The first lookups of the lists may come from several threads at once.
TEST(GlyphLists, FirstLookupsFromManyThreads) {
    std::vector<std::thread> threads;
    std::vector<int> failures(8, 0);
    for (size_t t = 0; t < failures.size(); ++t) {
        threads.emplace_back([t, &failures] {
            for (unsigned long i = 0; i < MacGlyphList::size(); ++i) {
                unsigned long index = 0;
                if (!MacGlyphList::Find(MacGlyphList::GetString(i), index) || index != i) ++failures[t];
                unsigned long code = 0;
                if (!AdobeGlyphList2::Find("Aacute", code) || code != 0xC1) ++failures[t];
            }
            if (UnicodeData::GetName(0x41) != UnicodeData::GetName(0x41)) ++failures[t];
        });
    }
    for (auto& thread : threads) thread.join();
    for (int failed : failures) EXPECT_EQ(failed, 0);
}

TEST(AdobeGlyphList2, NamesToCodePoints) {
    unsigned long code = 0;
    EXPECT_TRUE(AdobeGlyphList2::Find("A", code));
    EXPECT_EQ(code, 0x41u);
    // Names of the full list that the new-fonts list does not give.
    EXPECT_TRUE(AdobeGlyphList2::Find("afii10017", code));
    EXPECT_EQ(code, 0x410u);
    EXPECT_TRUE(AdobeGlyphList2::Find("nbspace", code));
    EXPECT_EQ(code, 0xA0u);
    EXPECT_TRUE(AdobeGlyphList2::Find("zukatakana", code));
    EXPECT_EQ(code, 0x30BAu);
    // Entries for a sequence of code points are left out.
    code = 5;
    EXPECT_FALSE(AdobeGlyphList2::Find("dalethatafpatah", code));
    EXPECT_FALSE(AdobeGlyphList2::Find("uni0041", code));
    EXPECT_FALSE(AdobeGlyphList2::Find("a ", code));
    EXPECT_FALSE(AdobeGlyphList2::Find(nullptr, code));
    EXPECT_EQ(code, 5u);
}

TEST(AdobeGlyphList2, CodePointsToNames) {
    EXPECT_STREQ(AdobeGlyphList2::GetString(0x41), "A");
    EXPECT_STREQ(AdobeGlyphList2::GetString(0x20AC), "Euro");
    // The new-fonts list names U+00A0 not at all, though the full list has
    // two names for it.
    EXPECT_STREQ(AdobeGlyphList2::GetString(0xA0), "");
    EXPECT_STREQ(AdobeGlyphList2::GetString(0), "");

    EXPECT_EQ(AdobeGlyphList2::ToName(0x41), "A");
    EXPECT_EQ(AdobeGlyphList2::ToName(0xE000), "uniE000");
    EXPECT_EQ(AdobeGlyphList2::ToName(0xA0), "uni00A0");
    EXPECT_EQ(AdobeGlyphList2::ToName(1), "uni0001");
    EXPECT_EQ(AdobeGlyphList2::ToName(0xFFFE), "uniFFFE");
    // 0 and 65535 take the long form, as does everything above.
    EXPECT_EQ(AdobeGlyphList2::ToName(0), "u00000000");
    EXPECT_EQ(AdobeGlyphList2::ToName(0xFFFF), "u0000FFFF");
    EXPECT_EQ(AdobeGlyphList2::ToName(0x10000), "u00010000");
    EXPECT_EQ(AdobeGlyphList2::ToName(0x1F600), "u0001F600");
}

TEST(AdobeGlyphList2, NamesBackToCodePoints) {
    EXPECT_EQ(AdobeGlyphList2::ToUnicode("Aacute"), 0xC1u);
    EXPECT_EQ(AdobeGlyphList2::ToUnicode("uni00A0"), 0xA0u);
    EXPECT_EQ(AdobeGlyphList2::ToUnicode("u1F600"), 0x1F600u);
    EXPECT_EQ(AdobeGlyphList2::ToUnicode("notaname"), 0u);
    EXPECT_EQ(AdobeGlyphList2::ToUnicode(""), 0u);
    // The rest after the prefix is not checked: "univers" is "uni" with
    // "vers", which reads as 0; eight digits after "uni" give a value beyond
    // Unicode; "u" takes whatever hexadecimal follows. A list name comes
    // first ("universal" is U+2200).
    EXPECT_EQ(AdobeGlyphList2::ToUnicode("univers"), 0u);
    EXPECT_EQ(AdobeGlyphList2::ToUnicode("universal"), 0x2200u);
    EXPECT_EQ(AdobeGlyphList2::ToUnicode("uni00410042"), 0x410042u);
    EXPECT_EQ(AdobeGlyphList2::ToUnicode("uni0041.alt"), 0x41u);
    EXPECT_EQ(AdobeGlyphList2::ToUnicode("udieresis"), 0xFCu);  // a list name first
    EXPECT_EQ(AdobeGlyphList2::ToUnicode("ubeef"), 0xBEEFu);

    // Every code of the Basic Multilingual Plane, and a few above, comes
    // back from its name: the two tables agree.
    for (unsigned long code = 0; code <= 0x10000; ++code) {
        const Utf8String name = AdobeGlyphList2::ToName(code);
        ASSERT_EQ(AdobeGlyphList2::ToUnicode(name), code) << name.c_str();
    }
    EXPECT_EQ(AdobeGlyphList2::ToUnicode(AdobeGlyphList2::ToName(0x10FFFF)), 0x10FFFFu);
}

bool HaveUnicodeData() {
    auto path = Bedrock::FileSystem::GetResourcesDirectory();
    path.Append("UnicodeData.txt");
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return false;
    std::fclose(file);
    return true;
}

TEST(UnicodeData, CharacterNames) {
    if (!HaveUnicodeData()) GTEST_SKIP() << "UnicodeData.txt is not in the resources directory";
    EXPECT_TRUE(UnicodeData::Load());
    EXPECT_EQ(UnicodeData::GetName(0x41), "LATIN CAPITAL LETTER A");
    EXPECT_EQ(UnicodeData::GetName(0x1F600), "GRINNING FACE");
    EXPECT_EQ(UnicodeData::GetName(0x10FFFD), "????");  // <Plane 16 Private Use, Last>
    // Placeholder names in angle brackets read as "????"; the inside of a
    // range and codes the file lacks have no name.
    EXPECT_EQ(UnicodeData::GetName(0), "????");
    EXPECT_EQ(UnicodeData::GetName(0x4E00), "????");
    EXPECT_EQ(UnicodeData::GetName(0x4E01), "");
    EXPECT_EQ(UnicodeData::GetName(0x0378), "");
    EXPECT_EQ(UnicodeData::GetName(0x110000), "");
    EXPECT_EQ(UnicodeData::GetName(0xFFFFFFFF), "");
}

}  // namespace
