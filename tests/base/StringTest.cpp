#include "base/String.h"

#include <set>
#include <unordered_set>

#include <gtest/gtest.h>

namespace {

using Bedrock::BaseCharTraits;
using Typeframe::Utf8String;

TEST(StringTest, ConstructionAndAccess) {
    const Utf8String empty;
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_STREQ(empty.c_str(), "");
    EXPECT_TRUE(Utf8String(nullptr).IsEmpty());
    // Every empty string shares the one stock body.
    EXPECT_EQ(Utf8String("").GetBuffer(), empty.GetBuffer());
    EXPECT_EQ(Utf8String("abc", 0).GetBuffer(), empty.GetBuffer());

    const Utf8String partial("abcdef", 3);
    EXPECT_EQ(partial.GetLength(), 3);
    EXPECT_STREQ(partial.c_str(), "abc");
    EXPECT_EQ(partial[2], 'c');
    EXPECT_EQ(Utf8String(std::string_view("xy\0z", 4)).GetLength(), 4);
    EXPECT_EQ(partial.ToStdString(), "abc");
    // Bodies come in steps of 8 bytes.
    EXPECT_EQ(Utf8String("12345678").GetCapacity(), 15);
    EXPECT_EQ(Utf8String("1234567").GetCapacity(), 7);
}

TEST(StringTest, CopiesShareUntilWritten) {
    Utf8String first("original");
    Utf8String second = first;
    EXPECT_EQ(first.GetBuffer(), second.GetBuffer());

    second.Append("+");
    EXPECT_EQ(first, "original");
    EXPECT_EQ(second, "original+");

    Utf8String third = first;
    third.GetWritableBuffer()[0] = 'O';
    EXPECT_EQ(first, "original");
    EXPECT_EQ(third, "Original");

    Utf8String fourth = first;
    fourth.Erase(0, 1);
    fourth.Insert(0, "x", 1);
    fourth.SetLength(3);
    EXPECT_EQ(first, "original");
    EXPECT_EQ(fourth, "xri");

    // An unshared string writes in place.
    Utf8String own("abc");
    const char* before = own.GetBuffer();
    own.Append("d");
    EXPECT_EQ(own.GetBuffer(), before);
}

TEST(StringTest, AppendInsertErase) {
    Utf8String text("middle");
    text.Insert(0, "<", 1).Append('>').Insert(1, "[]", -1).Insert(99, "!", 1).Insert(-5, "^", 1);
    EXPECT_EQ(text, "^<[]middle>!");
    text.Erase(1, 3);
    EXPECT_EQ(text, "^middle>!");
    text.Erase(7);
    EXPECT_EQ(text, "^middle");
    text.Erase(50, 2).Erase(-1, 2).Erase(0, 0);
    EXPECT_EQ(text, "^middle");
    text.Erase(0, 100);
    EXPECT_TRUE(text.IsEmpty());

    // Text taken from the string itself, with and without room to spare.
    Utf8String self("abcd");
    self.Append(self);
    EXPECT_EQ(self, "abcdabcd");
    self.Append(self.GetBuffer() + 2, 3);
    EXPECT_EQ(self, "abcdabcdcda");
    self.Insert(0, self.GetBuffer() + 8, 3);
    EXPECT_EQ(self, "cdaabcdabcdcda");

    Utf8String built;
    for (int i = 0; i < 1000; ++i) built += static_cast<char>('a' + i % 26);
    EXPECT_EQ(built.GetLength(), 1000);
    EXPECT_EQ(built[999], 'a' + 999 % 26);
    EXPECT_EQ(Utf8String("ab") + Utf8String("cd") + "ef", "abcdef");

    Utf8String sized("xy");
    sized.SetLength(5);
    EXPECT_EQ(sized.GetLength(), 5);
    EXPECT_EQ(sized[4], 0);
    EXPECT_EQ(sized.GetBuffer()[5], 0);
}

TEST(StringTest, TrimSplitFindSubstring) {
    Utf8String padded(" \t name \r\n");
    EXPECT_EQ(Utf8String(padded).TrimRight(), " \t name");
    EXPECT_EQ(Utf8String(padded).TrimLeft(), "name \r\n");
    EXPECT_EQ(padded.Trim(), "name");
    EXPECT_TRUE(Utf8String(" \n ").Trim().IsEmpty());

    // Empty fields are kept, so fields keep their positions.
    const auto fields = Utf8String("0041;;Lu;").Split(";");
    ASSERT_EQ(fields.size(), 4u);
    EXPECT_EQ(fields[0], "0041");
    EXPECT_TRUE(fields[1].IsEmpty());
    EXPECT_EQ(fields[2], "Lu");
    EXPECT_TRUE(fields[3].IsEmpty());
    EXPECT_EQ(Utf8String("a b,c").Split(" ,").size(), 3u);
    EXPECT_TRUE(Utf8String().Split(";").empty());
    EXPECT_EQ(Utf8String("whole").Split("").size(), 1u);

    const Utf8String text("one.two.three");
    EXPECT_EQ(text.Find('.'), 3);
    EXPECT_EQ(text.Find('.', 4), 7);
    EXPECT_EQ(text.Find('x'), -1);
    EXPECT_EQ(text.Find("two"), 4);
    EXPECT_EQ(text.Find("two", 5), -1);
    EXPECT_EQ(text.Find("", 2), 2);
    EXPECT_EQ(text.Substring(4, 3), "two");
    EXPECT_EQ(text.Substring(8), "three");
    EXPECT_EQ(text.Substring(-3, 3), "one");
    EXPECT_TRUE(text.Substring(20).IsEmpty());
    EXPECT_EQ(text.Substring(0).GetBuffer(), text.GetBuffer());
}

TEST(StringTest, OrderingAndHash) {
    // Bytes compare unsigned; a prefix sorts first.
    EXPECT_LT(Utf8String("ab"), Utf8String("abc"));
    EXPECT_LT(Utf8String("abc"), Utf8String("abd"));
    EXPECT_LT(Utf8String("z"), Utf8String("\xc3\xa9"));
    EXPECT_LT(Utf8String(""), Utf8String("a"));
    EXPECT_NE(Utf8String("a"), Utf8String("b"));
    EXPECT_EQ(Utf8String(std::string_view("a\0b", 3)) <=> Utf8String(std::string_view("a\0c", 3)),
              std::strong_ordering::less);
    EXPECT_TRUE(Utf8String("abc") == "abc");
    EXPECT_FALSE(Utf8String("abc") == "ab");

    EXPECT_LT(BaseCharTraits<char>::Compare("ab", 2, "abc", 3), 0);
    EXPECT_GT(BaseCharTraits<char>::Compare("\x80", 1, "\x7f", 1), 0);
    EXPECT_TRUE(BaseCharTraits<char>::IsEqual(nullptr, ""));

    const std::set<Utf8String> ordered{"b", "ab", "a", "abc"};
    EXPECT_EQ(*ordered.begin(), "a");
    EXPECT_EQ(*ordered.rbegin(), "b");

    EXPECT_EQ(Utf8String("glyph").GenerateHash(), Utf8String("glyph").GenerateHash());
    EXPECT_NE(Utf8String("glyph1").GenerateHash(), Utf8String("glyph2").GenerateHash());
    std::unordered_set<Utf8String> names{"A", "B", "A"};
    EXPECT_EQ(names.size(), 2u);
}

}  // namespace
