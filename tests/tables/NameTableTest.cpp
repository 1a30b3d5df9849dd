// The naming table and its string encodings: the converter of each record,
// the converters built into the library, lookup order, what a dirty Save
// lays out, the dirty-flag rules of the editing calls, and hostile tables.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "base/MemoryInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "tables/OTnameTable.h"
#include "tables/StringEncoding.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;
using TypeframeTest::HexBytes;

namespace {

struct Record {
    uint16_t platform, encoding, language, nameID;
    std::vector<uint8_t> bytes;
};

std::vector<uint8_t> Ascii(const std::string& text) { return std::vector<uint8_t>(text.begin(), text.end()); }

std::vector<uint8_t> Utf16(const std::string& ascii) {
    std::vector<uint8_t> bytes;
    for (char c : ascii) {
        bytes.push_back(0);
        bytes.push_back(static_cast<uint8_t>(c));
    }
    return bytes;
}

// A format 0 table with the strings stored one after the other.
std::vector<uint8_t> TableBytes(const std::vector<Record>& records) {
    ByteWriter w;
    w.U16(0).U16(static_cast<uint32_t>(records.size())).U16(6 + 12 * static_cast<uint32_t>(records.size()));
    uint32_t offset = 0;
    for (const auto& r : records) {
        w.U16(r.platform).U16(r.encoding).U16(r.language).U16(r.nameID);
        w.U16(static_cast<uint32_t>(r.bytes.size())).U16(offset);
        offset += static_cast<uint32_t>(r.bytes.size());
    }
    for (const auto& r : records) w.Bytes(r.bytes);
    return w.Data();
}

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

Bedrock::Counted<OTnameTable> Loaded(const std::vector<uint8_t>& bytes) {
    auto table = Bedrock::MakeCounted<OTnameTable>(nullptr);
    EXPECT_TRUE(table->Load(ToBuffer(bytes)));
    return table;
}

std::vector<uint8_t> Saved(OTnameTable& table) {
    table.SetIsDirty(true);
    EXPECT_TRUE(table.Save());
    EXPECT_FALSE(table.IsDirty());
    return BufferBytes(*table.GetBuffer());
}

std::vector<uint8_t> NameBytes(const OTnameTable& table, unsigned short index) {
    auto record = table.GetNameRecord(index);
    if (!record || !record->name) return {};
    return std::vector<uint8_t>(record->name->bytes.begin(), record->name->bytes.end());
}

std::string Decoded(const OTnameTable& table, unsigned short index) {
    Utf8String text;
    auto record = table.GetNameRecord(index);
    if (!record || !record->GetNameString(text)) return "<undecodable>";
    return text.ToStdString();
}

std::string Lookup(const OTnameTable& table, int nameID) {
    Utf8String text;
    if (!table.GetString(nameID, text)) return "<none>";
    return text.ToStdString();
}

}  // namespace

// ---------------------------------------------------------------------------
// StringEncoding

TEST(StringEncodingTest, BuiltInConvertersOpenAndRoundTrip) {
    // The converters that the library brings along, with a sample each and
    // the bytes the Macintosh and Windows code pages give it.
    struct Sample {
        const char* converter;
        const char* text;
        const char* bytes;
    };
    const Sample samples[] = {
        {"macos-37_5-10.2", "Þórður", "de9772dd7572"},     // Mac Icelandic
        {"macos-36_2-10.2", "Čćđšž", "c8e6f0b9be"},        // Mac Croatian
        {"macos-38_2-10.2", "ăâîșț", "be8994bfdf"},        // Mac Romanian
        {"macos-21-10.5", "ภาษาไทย", "c0d2c9d2e4b7c2"},    // Mac Thai
        {"windows-10001-2000", "日本語", "93fa967b8cea"},  // Mac Japanese
        {"windows-10002-2000", "中文", "a4a4a4e5"},        // Mac Chinese (traditional)
        {"windows-10003-2000", "한국어", "c7d1b1b9beee"},  // Mac Korean
        {"windows-10004-2000", "عربي", "d9d1c8ea"},        // Mac Arabic
        {"windows-10005-2000", "עברית", "f2e1f8e9fa"},     // Mac Hebrew
        {"windows-10008-2000", "中文", "d6d0cec4"},        // Mac Chinese (simplified)
        {"windows-1361", "한국어", "d0658a82b4e1"},        // Johab
    };
    for (const auto& sample : samples) {
        SCOPED_TRACE(sample.converter);
        auto encoding = StringEncoding::Make(Utf8String(sample.converter));
        ASSERT_TRUE(encoding->IsValid()) << "status " << encoding->GetStatus();
        std::vector<char> bytes;
        ASSERT_TRUE(encoding->FromUTF8(Utf8String(sample.text), bytes));
        EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.end()), HexBytes(sample.bytes));
        Utf8String text;
        ASSERT_TRUE(encoding->ToUTF8(bytes, text));
        EXPECT_EQ(text, sample.text);
    }
}

TEST(StringEncodingTest, ConversionsFailRatherThanSubstitute) {
    std::vector<char> bytes = {'x'};
    auto roman = StringEncoding::Make(Utf8String("mac_roman"));
    EXPECT_FALSE(roman->FromUTF8(Utf8String("A日本"), bytes));
    EXPECT_EQ(bytes, std::vector<char>({'A'}));  // cut to what was written

    auto japanese = StringEncoding::Make(Utf8String("windows-10001-2000"));
    EXPECT_FALSE(japanese->FromUTF8(Utf8String("\xF0\x9F\x98\x80"), bytes));  // an emoji
    Utf8String text;
    EXPECT_FALSE(japanese->ToUTF8({'\x81', ' '}, text));  // lead byte, bad trail byte

    auto utf16 = StringEncoding::Make(Utf8String("UTF-16BE"));
    EXPECT_FALSE(utf16->ToUTF8({'\0', 'A', '\0'}, text));                // odd length
    EXPECT_FALSE(utf16->ToUTF8({'\xD8', '\0', '\0', 'A'}, text));        // lone surrogate
    EXPECT_FALSE(utf16->FromUTF8(Utf8String("\xC3"), bytes));            // broken UTF-8
    EXPECT_TRUE(utf16->ToUTF8({'\xD8', '\x3D', '\xDE', '\x00'}, text));  // a pair
    EXPECT_EQ(text, "\xF0\x9F\x98\x80");
}

TEST(StringEncodingTest, UnknownConverterIsInvalidAndConvertsNothing) {
    auto encoding = StringEncoding::Make(Utf8String("no-such-encoding"));
    EXPECT_FALSE(encoding->IsValid());
    Utf8String text("left");
    std::vector<char> bytes;
    EXPECT_FALSE(encoding->ToUTF8({'a'}, text));
    EXPECT_FALSE(encoding->FromUTF8(Utf8String("a"), bytes));
}

TEST(StringEncodingTest, ConvertersThatOpenWithAWarningAreValid) {
    // ICU opens these through an ambiguous alias and says so with a warning.
    for (const char* name : {"windows-936", "windows-949", "windows-950"}) {
        SCOPED_TRACE(name);
        auto encoding = StringEncoding::Make(Utf8String(name));
        EXPECT_TRUE(encoding->IsValid());
    }
    Utf8String text;
    EXPECT_TRUE(StringEncoding::Make(Utf8String("windows-936"))->ToUTF8({'\xD6', '\xD0', '\xCE', '\xC4'}, text));
    EXPECT_EQ(text, "中文");
}

TEST(StringEncodingTest, LongTextsAndEarlierOutput) {
    std::string long_text;
    for (int i = 0; i < 500; ++i) long_text += (i % 3 == 0) ? "é" : "ab";
    auto utf16 = StringEncoding::Make(Utf8String("UTF-16BE"));
    std::vector<char> bytes(3, 'z');
    ASSERT_TRUE(utf16->FromUTF8(Utf8String(long_text.c_str()), bytes));
    EXPECT_EQ(bytes.size(), 2u * (167 + 2 * 333));
    Utf8String text("earlier contents, longer than nothing");
    ASSERT_TRUE(utf16->ToUTF8(bytes, text));
    EXPECT_EQ(text.ToStdString(), long_text);
    ASSERT_TRUE(utf16->ToUTF8({}, text));
    EXPECT_TRUE(text.IsEmpty());
}

// ---------------------------------------------------------------------------
// Encodings of the records

TEST(OTnameTableEncodingTest, ConverterNamesByPlatformEncodingAndLanguage) {
    EXPECT_EQ(OTnameTable::GetEncodingName(0, 77, 5), "UTF-16BE");
    EXPECT_EQ(OTnameTable::GetEncodingName(3, 1, 1033), "UTF-16BE");
    EXPECT_EQ(OTnameTable::GetEncodingName(3, 10, 0), "UTF-16BE");
    EXPECT_EQ(OTnameTable::GetEncodingName(3, 6, 0), "windows-1361");
    EXPECT_EQ(OTnameTable::GetEncodingName(3, 7, 0), "");
    EXPECT_EQ(OTnameTable::GetEncodingName(2, 1, 0), "");
    EXPECT_EQ(OTnameTable::GetEncodingName(4, 0, 0), "");
    EXPECT_EQ(OTnameTable::GetEncodingName(1, 0, 0), "mac_roman");
    EXPECT_EQ(OTnameTable::GetEncodingName(1, 0, 15), "macos-37_5-10.2");
    EXPECT_EQ(OTnameTable::GetEncodingName(1, 0, 40), "macos-29-10.2");
    EXPECT_EQ(OTnameTable::GetEncodingName(1, 8, 0), "");
    // The language matters only with Roman.
    EXPECT_EQ(OTnameTable::GetEncodingName(1, 1, 15), "windows-10001-2000");
    // Language 37 is Romanian, encoding 37 Icelandic: the lists differ.
    EXPECT_EQ(OTnameTable::GetEncodingName(1, 0, 37), "macos-38_2-10.2");
    EXPECT_EQ(OTnameTable::GetEncodingName(1, 37, 0), "macos-37_5-10.2");
    EXPECT_EQ(OTnameTable::GetMacEncoding(38, 0), "macos-38_2-10.2");
    EXPECT_EQ(OTnameTable::GetWindowsEncoding(2), "windows-932");
}

TEST(OTnameTableEncodingTest, OneByteDecodesByTheRecordsConverter) {
    Utf8String text;
    ASSERT_TRUE(OTnameTable::DecodeString({'\xAE'}, text, 1, 0, 37));
    EXPECT_EQ(text, "Ă");  // Romanian
    ASSERT_TRUE(OTnameTable::DecodeString({'\xAE'}, text, 1, 37, 0));
    EXPECT_EQ(text, "Æ");  // Icelandic
    ASSERT_TRUE(OTnameTable::DecodeString({'\xAE'}, text, 1, 0, 0));
    EXPECT_EQ(text, "Æ");  // Roman
    EXPECT_FALSE(OTnameTable::DecodeString({'A'}, text, 2, 0, 0));
    EXPECT_FALSE(OTnameTable::DecodeString({'A'}, text, 1, 30, 0));
    std::vector<char> bytes;
    EXPECT_FALSE(OTnameTable::EncodeString(Utf8String("A"), bytes, 7, 0, 0));
    ASSERT_TRUE(OTnameTable::EncodeString(Utf8String("Ă"), bytes, 1, 0, 37));
    EXPECT_EQ(bytes, std::vector<char>({'\xAE'}));
    EXPECT_FALSE(OTnameTable::EncodeString(Utf8String("Ă"), bytes, 1, 0, 0));
}

TEST(OTnameTableEncodingTest, ArabicAndHebrewDecodeBothHalvesOfAscii) {
    // Plain ASCII bytes and their right-to-left twins in the upper half
    // both decode; text is encoded with the twins, as the tables say.
    for (uint16_t encoding : {4, 5}) {
        SCOPED_TRACE(encoding);
        Utf8String text;
        ASSERT_TRUE(OTnameTable::DecodeString({'A', ' ', '1', '\x7F'}, text, 1, encoding, 0));
        EXPECT_EQ(text, "A 1\x7F");
        ASSERT_TRUE(OTnameTable::DecodeString({'\xA0'}, text, 1, encoding, 0));
        EXPECT_EQ(text, " ");
        std::vector<char> bytes;
        ASSERT_TRUE(OTnameTable::EncodeString(Utf8String(" "), bytes, 1, encoding, 0));
        EXPECT_EQ(bytes, std::vector<char>({'\xA0'}));
    }
}

TEST(OTnameTableEncodingTest, AppleTranscodingHintsAreLeftOut) {
    // Apple's tables mark some characters with a private-use hint; decoded
    // names come without it.
    Utf8String text;
    ASSERT_TRUE(OTnameTable::DecodeString({'\xFF'}, text, 1, 1, 0));  // Japanese
    EXPECT_EQ(text, "…");
    ASSERT_TRUE(OTnameTable::DecodeString({'\x83'}, text, 1, 21, 0));  // Thai
    EXPECT_EQ(text, "\u0E48");
    ASSERT_TRUE(OTnameTable::DecodeString({'\xC0'}, text, 1, 5, 0));  // Hebrew
    EXPECT_EQ(text, "\u05DC\u05B9");
    // A byte whose only mapping is a private-use character keeps it.
    ASSERT_TRUE(OTnameTable::DecodeString({'\x81'}, text, 1, 2, 0));  // Chinese (traditional)
    EXPECT_EQ(text, "\uF880");
}

// ---------------------------------------------------------------------------
// Loading and lookup

TEST(OTnameTableTest, LoadKeepsStoredBytesPerRecord) {
    auto table = Loaded(TableBytes({{1, 0, 0, 1, Ascii("Fam")}, {3, 1, 1033, 1, Utf16("Fam")}}));
    EXPECT_FALSE(table->IsDirty());
    ASSERT_EQ(table->GetNameRecordCount(), 2u);
    EXPECT_EQ(table->GetNameRecord(2), nullptr);
    auto record = table->GetNameRecord(1);
    EXPECT_EQ(record->platformID, 3);
    EXPECT_EQ(record->languageID, 1033);
    EXPECT_EQ(record->stringLength, 6);
    EXPECT_EQ(record->stringOffset, 3);
    EXPECT_EQ(NameBytes(*table, 1), Utf16("Fam"));
    EXPECT_EQ(Decoded(*table, 0), "Fam");
    EXPECT_EQ(Decoded(*table, 1), "Fam");
    // Raw bytes are appended one char each, with no conversion.
    Utf8String raw(">");
    EXPECT_TRUE(record->GetRawNameString(raw));
    EXPECT_EQ(raw.ToStdString(), std::string(">\0F\0a\0m", 7));
}

TEST(OTnameTableTest, UsEnglishIsPreferredWhateverTheOrder) {
    const Record english{3, 1, 1033, 4, Utf16("English")};
    const Record italian{3, 1, 1040, 4, Utf16("Italiano")};
    EXPECT_EQ(Lookup(*Loaded(TableBytes({italian, english})), 4), "English");
    EXPECT_EQ(Lookup(*Loaded(TableBytes({english, italian})), 4), "English");
    // Without English, any Windows language, in table order.
    EXPECT_EQ(Lookup(*Loaded(TableBytes({italian, {3, 1, 1031, 4, Utf16("Deutsch")}})), 4), "Italiano");
}

TEST(OTnameTableTest, WildcardsMatchAnyEncodingAndLanguage) {
    auto table = Loaded(TableBytes({{3, 10, 2057, 4, Utf16("Full")}}));
    Utf8String text;
    EXPECT_TRUE(table->GetString(3, OTnameTable::kAny, OTnameTable::kAny, 4, text));
    EXPECT_EQ(text, "Full");
    EXPECT_TRUE(table->GetString(OTnameTable::kAny, 10, OTnameTable::kAny, 4, text));
    EXPECT_FALSE(table->GetString(3, 1, OTnameTable::kAny, 4, text));
    EXPECT_FALSE(table->GetString(3, 10, 2057, OTnameTable::kAny, text));  // the name ID must match
}

TEST(OTnameTableTest, MacintoshOnlyNamesAreFoundAsRomanEnglish) {
    auto table = Loaded(TableBytes({{1, 0, 5, 1, Ascii("Nederlands")},
                                    {1, 0, 0, 4, Ascii("Mac Name")},
                                    {1, 0, 0, 2, Ascii("Bold")},
                                    {1, 0, 0, 5, Ascii("Version 2")}}));
    Utf8String text;
    EXPECT_TRUE(table->GetNameString(text));
    EXPECT_EQ(text, "Mac Name");
    EXPECT_TRUE(table->GetStyleString(text));
    EXPECT_EQ(text, "Bold");
    EXPECT_TRUE(table->GetVersionString(text));
    EXPECT_EQ(text, "Version 2");
    EXPECT_EQ(Lookup(*table, 1), "<none>");  // language 5 is not tried
    EXPECT_EQ(Lookup(*table, -1), "<none>");
    EXPECT_EQ(Lookup(*table, 0x10004), "<none>");
}

TEST(OTnameTableTest, RecordThatDoesNotDecodeIsPassedOver) {
    const std::vector<uint8_t> oddLength = {0, 'B', 0};
    auto table = Loaded(TableBytes({{3, 1, 1033, 4, oddLength}, {3, 10, 1033, 4, Utf16("Good")}}));
    EXPECT_EQ(Decoded(*table, 0), "<undecodable>");
    EXPECT_EQ(Lookup(*table, 4), "Good");
}

TEST(OTnameTableTest, IsoPlatformLoadsAndSavesUnchangedButDoesNotDecode) {
    const auto bytes = TableBytes({{2, 0, 0, 1, Ascii("Iso")}, {3, 1, 1033, 1, Utf16("Win")}});
    auto table = Loaded(bytes);
    EXPECT_EQ(Decoded(*table, 0), "<undecodable>");
    EXPECT_EQ(NameBytes(*table, 0), Ascii("Iso"));
    EXPECT_TRUE(table->Save());  // clean: the bytes stay as read
    EXPECT_EQ(BufferBytes(*table->GetBuffer()), bytes);
    EXPECT_EQ(Saved(*table), bytes);  // and a dirty save of this layout writes the same
}

// ---------------------------------------------------------------------------
// Saving

TEST(OTnameTableTest, SharedStorageIsUndoneByADirtySave) {
    ByteWriter w;
    w.U16(0).U16(2).U16(30);
    w.U16(3).U16(1).U16(1033).U16(1).U16(6).U16(0);
    w.U16(3).U16(1).U16(1033).U16(16).U16(6).U16(0);
    w.Bytes(Utf16("Fam"));
    auto table = Loaded(w.Data());
    EXPECT_EQ(Decoded(*table, 1), "Fam");
    const auto saved = Saved(*table);
    EXPECT_EQ(saved.size(), w.Size() + 6);
    EXPECT_EQ(table->GetNameRecord(0)->stringOffset, 0);
    EXPECT_EQ(table->GetNameRecord(1)->stringOffset, 6);
    auto reloaded = Loaded(saved);
    EXPECT_EQ(Decoded(*reloaded, 0), "Fam");
    EXPECT_EQ(Decoded(*reloaded, 1), "Fam");
}

TEST(OTnameTableTest, CreateMakesMacintoshThenWindowsNames) {
    auto table = Bedrock::MakeCounted<OTnameTable>(nullptr);
    EXPECT_TRUE(table->Create());
    EXPECT_TRUE(table->IsDirty());
    ASSERT_EQ(table->GetNameRecordCount(), 16u);
    const uint16_t ids[] = {1, 2, 3, 4, 5, 6, 16, 17};
    for (unsigned short i = 0; i < 16; ++i) {
        auto record = table->GetNameRecord(i);
        EXPECT_EQ(record->platformID, i < 8 ? 1 : 3);
        EXPECT_EQ(record->languageID, i < 8 ? 0 : 1033);
        EXPECT_EQ(record->nameID, ids[i % 8]);
    }
    ASSERT_TRUE(table->Save());
    const auto saved = BufferBytes(*table->GetBuffer());
    EXPECT_EQ(std::vector<uint8_t>(saved.begin(), saved.begin() + 6), HexBytes("0000 0010 00C6"));
    auto reloaded = Loaded(saved);
    EXPECT_EQ(Lookup(*reloaded, 4), "Font Regular");
    EXPECT_EQ(Lookup(*reloaded, 6), "Font-Regular");
    EXPECT_EQ(Decoded(*reloaded, 4), "Version 1.0");  // the Macintosh record
    EXPECT_EQ(NameBytes(*reloaded, 4), Ascii("Version 1.0"));
}

TEST(OTnameTableTest, FormatOneIsWrittenWithoutItsLanguageTags) {
    ByteWriter w;
    w.U16(1).U16(1).U16(24);
    w.U16(0).U16(4).U16(0x8000).U16(1).U16(4).U16(0);
    w.U16(1).U16(4).U16(4);  // one language tag record
    w.Bytes(Utf16("Aa")).Bytes(Utf16("en"));
    auto table = Loaded(w.Data());
    EXPECT_EQ(table->format, 1);
    EXPECT_EQ(Saved(*table), HexBytes("0001 0001 0012  0000 0004 8000 0001 0004 0000  0041 0061"));
}

TEST(OTnameTableTest, EmptyTableSavesItsHeaderOnly) {
    auto table = Loaded(TableBytes({{3, 1, 1033, 1, Utf16("A")}}));
    EXPECT_TRUE(table->RemoveString(1));
    EXPECT_TRUE(table->IsDirty());
    ASSERT_TRUE(table->Save());
    EXPECT_EQ(BufferBytes(*table->GetBuffer()), HexBytes("0000 0000 0006"));
}

// ---------------------------------------------------------------------------
// Editing

TEST(OTnameTableTest, AddStringOfAnExistingKeyReencodesOrKeepsTheOldBytes) {
    auto table = Loaded(TableBytes({{1, 0, 0, 4, Ascii("Old")}, {3, 1, 1033, 4, Utf16("Old")}}));
    EXPECT_TRUE(table->AddString(3, 1, 1033, 4, Utf8String("Neu")));
    EXPECT_TRUE(table->IsDirty());
    EXPECT_EQ(NameBytes(*table, 1), Utf16("Neu"));
    EXPECT_TRUE(table->GetNameRecord(1)->name->isDirty);

    // Not representable in Mac Roman: true, the table dirty, the bytes kept.
    table->SetIsDirty(false);
    EXPECT_TRUE(table->AddString(1, 0, 0, 4, Utf8String("日本")));
    EXPECT_TRUE(table->IsDirty());
    EXPECT_EQ(NameBytes(*table, 0), Ascii("Old"));
    EXPECT_FALSE(table->GetNameRecord(0)->name->isDirty);
    EXPECT_EQ(table->GetNameRecordCount(), 2u);
}

TEST(OTnameTableTest, AddStringOfANewKeyAppendsWithoutDirtyingTheTable) {
    auto table = Loaded(TableBytes({{3, 1, 1033, 4, Utf16("Full")}}));
    EXPECT_TRUE(table->AddString(1, 0, 0, 1, Utf8String("Fam")));
    EXPECT_TRUE(table->AddString(1, 0, 0, 2, Utf8String("日本")));  // holds no bytes
    EXPECT_FALSE(table->IsDirty());
    ASSERT_EQ(table->GetNameRecordCount(), 3u);
    EXPECT_EQ(table->GetNameRecord(1)->nameID, 1);  // last, not sorted in
    EXPECT_EQ(NameBytes(*table, 1), Ascii("Fam"));
    EXPECT_TRUE(NameBytes(*table, 2).empty());
    auto reloaded = Loaded(Saved(*table));
    ASSERT_EQ(reloaded->GetNameRecordCount(), 3u);
    EXPECT_EQ(reloaded->GetNameRecord(0)->platformID, 3);
    EXPECT_EQ(Decoded(*reloaded, 1), "Fam");
    EXPECT_EQ(reloaded->GetNameRecord(2)->stringLength, 0);
}

TEST(OTnameTableTest, RemoveStringTakesEveryRecordOfTheIdAndKeepsTheOrder) {
    auto table = Loaded(TableBytes({{1, 0, 0, 1, Ascii("a")},
                                    {1, 0, 0, 2, Ascii("b")},
                                    {3, 1, 1033, 1, Utf16("a")},
                                    {3, 1, 1033, 3, Utf16("c")}}));
    EXPECT_FALSE(table->RemoveString(9));
    EXPECT_FALSE(table->IsDirty());
    EXPECT_EQ(table->GetNameRecordCount(), 4u);
    EXPECT_TRUE(table->RemoveString(1));
    EXPECT_TRUE(table->IsDirty());
    ASSERT_EQ(table->GetNameRecordCount(), 2u);
    EXPECT_EQ(table->GetNameRecord(0)->nameID, 2);
    EXPECT_EQ(table->GetNameRecord(1)->nameID, 3);
}

TEST(OTnameTableTest, ReplaceStringEncodesEachRecordByItsOwnEncoding) {
    auto table = Loaded(TableBytes({{1, 0, 0, 6, Ascii("Old-Mac")},
                                    {1, 1, 11, 6, Ascii("Old-Jp")},
                                    {3, 1, 1033, 6, Utf16("Old-Win")},
                                    {3, 1, 1033, 4, Utf16("Keep")}}));
    EXPECT_TRUE(table->ReplaceString(6, Utf8String("New-Ö")));
    EXPECT_TRUE(table->IsDirty());
    EXPECT_EQ(NameBytes(*table, 0), HexBytes("4E65772D 85"));  // Mac Roman Ö
    EXPECT_TRUE(NameBytes(*table, 1).empty());                 // no Ö in Mac Japanese: the record is left empty
    EXPECT_EQ(NameBytes(*table, 2), HexBytes("004E 0065 0077 002D 00D6"));
    EXPECT_EQ(Decoded(*table, 3), "Keep");

    EXPECT_FALSE(table->ReplaceString(99, Utf8String("x")));
    auto empty = Bedrock::MakeCounted<OTnameTable>(nullptr);
    EXPECT_FALSE(empty->ReplaceString(6, Utf8String("x")));
    EXPECT_FALSE(empty->IsDirty());
}

TEST(OTnameTableTest, CloneIsIndependentOfItsOriginal) {
    auto table = Loaded(TableBytes({{3, 1, 1033, 4, Utf16("Orig")}}));
    auto clone = Bedrock::StaticCast<OTnameTable>(table->Clone());
    table->ReplaceString(4, Utf8String("Changed"));
    table = nullptr;
    EXPECT_EQ(Decoded(*clone, 0), "Orig");
    EXPECT_TRUE(clone->ReplaceString(4, Utf8String("Mine")));
    EXPECT_EQ(Decoded(*Loaded(Saved(*clone)), 0), "Mine");
}

// ---------------------------------------------------------------------------
// Hostile tables

TEST(OTnameTableTest, HostileCountsAndOffsetsFailQuietly) {
    // A count far past the end: only the records present are made.
    ByteWriter w;
    w.U16(0).U16(0xFFFF).U16(0xFFF0);
    w.U16(3).U16(1).U16(1033).U16(4).U16(4).U16(0);
    w.U16(3).U16(1).U16(1033).U16(5);  // a record cut short
    auto table = Loaded(w.Data());
    EXPECT_EQ(table->GetNameRecordCount(), 1u);
    // Its string lies past the end: no bytes, which decode to nothing.
    EXPECT_TRUE(NameBytes(*table, 0).empty());
    EXPECT_EQ(Lookup(*table, 4), "");
    EXPECT_TRUE(table->Save());

    // Offset and length that would wrap, and a length past the end.
    ByteWriter wrap;
    wrap.U16(0).U16(2).U16(0xFFFF);
    wrap.U16(3).U16(1).U16(1033).U16(1).U16(0xFFFF).U16(0xFFFF);
    wrap.U16(1).U16(0).U16(0).U16(2).U16(0x8000).U16(0);
    auto wrapped = Loaded(wrap.Data());
    ASSERT_EQ(wrapped->GetNameRecordCount(), 2u);
    EXPECT_TRUE(NameBytes(*wrapped, 0).empty());
    EXPECT_TRUE(NameBytes(*wrapped, 1).empty());
    const auto saved = Saved(*wrapped);
    EXPECT_EQ(saved.size(), 6u + 2 * 12);

    // Too short for a header.
    auto tiny = Loaded(HexBytes("0000 01"));
    EXPECT_EQ(tiny->GetNameRecordCount(), 0u);
    EXPECT_FALSE(Bedrock::MakeCounted<OTnameTable>(nullptr)->Load(nullptr));
}

// ---------------------------------------------------------------------------
// Through a font

TEST(OTnameTableTest, FontGivesItsPostScriptNameFromTheTable) {
    auto file = Bedrock::MakeCounted<OTFile>();
    auto stream = Bedrock::FileInStream::Open(TYPEFRAME_TEST_DATA_DIR "/TestTTF.ttf");
    ASSERT_TRUE(stream);
    ASSERT_TRUE(file->Load(stream));
    auto font = file->GetFont(0);
    ASSERT_TRUE(font);
    ASSERT_TRUE(font->GetTableT<OTnameTable>());
    Utf8String name;
    EXPECT_TRUE(font->GetPostScriptName(name));
    EXPECT_EQ(name, "TestTTF-Regular");

    // A font without a naming table has no name.
    ByteWriter w;
    w.U32(0x00010000).U16(0).U16(0).U16(0).U16(0);
    auto bare = Bedrock::MakeCounted<OTFile>();
    bare->Load(Bedrock::MakeCounted<Bedrock::MemoryInStream>(w.Data()));
    auto bareFont = bare->GetFont(0);
    ASSERT_TRUE(bareFont);
    EXPECT_FALSE(bareFont->GetPostScriptName(name));
}
