// The fixed-size header tables: field order, what Save recomputes, and the
// deliberate oddities of dates, the maxp forms and vhea's buffer.

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "core/OTFont.h"
#include "tables/OTheadTable.h"
#include "tables/OThheaTable.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTvheaTable.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;

namespace {

// A head with a distinct value in every field; dates are after 1970.
const char* const kHead =
    "0001 0000 0001 8000 1234 5678 5F0F 3CF5 000B 03E8"
    "0000 0000 D5A3 B2C1 0000 0000 D5A3 B2C2"
    "FF9C FF38 0384 0320"
    "0001 0008 0002 0001 0000";

template <class T>
Bedrock::Counted<T> Loaded(const std::string& hex, Bedrock::NonCounted<OTFont> font = nullptr) {
    auto table = Bedrock::MakeCounted<T>(font);
    EXPECT_TRUE(table->Load(HexBuffer(hex)));
    return table;
}

std::vector<uint8_t> SavedBytes(OTTable& table) {
    table.SetIsDirty(true);
    EXPECT_TRUE(table.Save());
    EXPECT_FALSE(table.IsDirty());
    return BufferBytes(*table.GetBuffer());
}

}  // namespace

TEST(HeaderTablesTest, NullBufferFailsToLoad) {
    std::vector<Bedrock::Counted<OTTable>> tables = {
        Bedrock::MakeCounted<OTheadTable>(nullptr), Bedrock::MakeCounted<OThheaTable>(nullptr),
        Bedrock::MakeCounted<OTvheaTable>(nullptr), Bedrock::MakeCounted<OTmaxpTable>(nullptr)};
    for (auto& table : tables) {
        EXPECT_FALSE(table->Load(nullptr));
        EXPECT_FALSE(table->IsLoaded());
    }
}

TEST(OTheadTableTest, LoadsFieldsInOrderAndSavesThemBack) {
    auto head = Loaded<OTheadTable>(kHead);
    EXPECT_EQ(head->GetTag(), MakeTag("head"));
    EXPECT_EQ(head->majorVersion, 1);
    EXPECT_EQ(head->minorVersion, 0);
    EXPECT_EQ(head->fontRevision.ToDouble(), 1.5);
    EXPECT_EQ(head->checkSumAdjustment, 0x12345678u);
    EXPECT_EQ(head->magicNumber, 0x5F0F3CF5u);
    EXPECT_EQ(head->flags, 11);
    EXPECT_EQ(head->unitsPerEm, 1000);
    EXPECT_EQ(head->created, 0xD5A3B2C1LL - 2082844800);
    EXPECT_EQ(head->modified, 0xD5A3B2C2LL - 2082844800);
    EXPECT_EQ(head->xMin, -100);
    EXPECT_EQ(head->yMin, -200);
    EXPECT_EQ(head->xMax, 900);
    EXPECT_EQ(head->yMax, 800);
    EXPECT_EQ(head->macStyle, 1);
    EXPECT_EQ(head->lowestRecPPEM, 8);
    EXPECT_EQ(head->fontDirectionHint, 2);
    EXPECT_EQ(head->indexToLocFormat, 1);
    EXPECT_EQ(head->glyphDataFormat, 0);

    // Without a font the box is recomputed as zero; modified is written as
    // it was, not refreshed.
    EXPECT_EQ(SavedBytes(*head), HexBytes("0001 0000 0001 8000 1234 5678 5F0F 3CF5 000B 03E8"
                                          "0000 0000 D5A3 B2C1 0000 0000 D5A3 B2C2"
                                          "0000 0000 0000 0000"
                                          "0001 0008 0002 0001 0000"));
    EXPECT_EQ(head->xMin, 0);
    EXPECT_EQ(head->yMax, 0);
}

TEST(OTheadTableTest, CleanSaveKeepsUnknownVersionByteForByte) {
    const std::string odd =
        "0009 0000 0001 0000 0000 0000 DEAD BEEF 0000 0400"
        "0000 0000 0000 0000 FFFF FFFF FFFF FFFF"
        "0001 0002 0003 0004 0000 0000 0000 0000 0000 CAFE";
    auto head = Loaded<OTheadTable>(odd);
    EXPECT_EQ(head->majorVersion, 9);
    EXPECT_EQ(head->magicNumber, 0xDEADBEEFu);
    EXPECT_TRUE(head->Save());
    EXPECT_EQ(BufferBytes(*head->GetBuffer()), HexBytes(odd));
}

TEST(OTheadTableTest, DatesBefore1970BecomeTheUnixEpoch) {
    // A 1904 date of 0 and a negative date both load as 1970 and are saved
    // as 1970: the stored values are lost.
    auto head = Loaded<OTheadTable>(
        "0001 0000 0001 0000 0000 0000 5F0F 3CF5 0000 0400"
        "0000 0000 0000 0000 FFFF FFFF FFFF FFFF"
        "0000 0000 0000 0000 0000 0000 0000 0000 0000");
    EXPECT_EQ(head->created, 0);
    EXPECT_EQ(head->modified, 0);
    const auto bytes = SavedBytes(*head);
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin() + 20, bytes.begin() + 36),
              HexBytes("0000 0000 7C25 B080 0000 0000 7C25 B080"));

    EXPECT_EQ(OTheadTable::TimeToSecondsSince1904(0), 2082844800LL);
    EXPECT_EQ(OTheadTable::SecondsSince1904ToTime(2082844800LL), 0L);
}

TEST(OTheadTableTest, ChecksumLeavesTheAdjustmentOut) {
    // Buffer checksum: 7 (adjustment) + 0xFFFFFFFE (magic) = 5, mod 2^32.
    auto head = Loaded<OTheadTable>(
        "0000 0000 0000 0000 0000 0007 FFFF FFFE 0000 0000"
        "0000 0000 0000 0000 0000 0000 0000 0000"
        "0000 0000 0000 0000 0000 0000 0000 0000 0000");
    ASSERT_EQ(head->GetBuffer()->GetChecksum(), 5u);
    EXPECT_EQ(head->GetChecksum(), 0xFFFFFFFEu);

    // The file writer stores the adjustment after the directory took the
    // checksum: writing one must not move the table's checksum.
    SavedBytes(*head);
    const uint32_t before = head->GetChecksum();
    head->checkSumAdjustment = 0x89ABCDEF;
    SavedBytes(*head);
    EXPECT_EQ(head->GetBuffer()->GetChecksum(), before + 0x89ABCDEFu);  // not a stale sum
    EXPECT_EQ(head->GetChecksum(), before);
}

TEST(OTheadTableTest, TruncatedTableKeepsFieldsItDoesNotReach) {
    auto head = Bedrock::MakeCounted<OTheadTable>(nullptr);
    head->created = 42;
    head->xMin = -7;
    head->glyphDataFormat = 3;
    // 20 bytes: through unitsPerEm.
    EXPECT_TRUE(head->Load(HexBuffer("0001 0000 0001 0000 0000 0000 5F0F 3CF5 0003 0800")));
    EXPECT_EQ(head->unitsPerEm, 2048);
    EXPECT_EQ(head->created, 42);
    EXPECT_EQ(head->xMin, -7);
    EXPECT_EQ(head->glyphDataFormat, 3);
    EXPECT_TRUE(head->Load(HexBuffer("")));
}

TEST(OTheadTableTest, BoundsOfAFontWithoutOutlinesAreZero) {
    auto head = Loaded<OTheadTable>(kHead);
    auto none = head->GetBounds();
    EXPECT_EQ(none.xMin, 0);
    EXPECT_EQ(none.yMax, 0);
    EXPECT_EQ(head->xMin, -100);  // GetBounds does not touch the fields

    auto font = Bedrock::MakeCounted<OTFont>();
    auto withFont = Loaded<OTheadTable>(kHead, font);
    EXPECT_TRUE(font->AddTable(withFont));
    const auto bounds = withFont->GetBounds();
    EXPECT_EQ(bounds.xMin, 0);
    EXPECT_EQ(bounds.yMin, 0);
    EXPECT_EQ(bounds.xMax, 0);
    EXPECT_EQ(bounds.yMax, 0);
}

TEST(OTheadTableTest, CloneCopiesFieldsAndBytes) {
    auto head = Loaded<OTheadTable>(kHead);
    head->unitsPerEm = 2048;
    head->SetIsDirty(true);
    auto clone = Bedrock::StaticCast<OTheadTable>(head->Clone());
    EXPECT_EQ(clone->unitsPerEm, 2048);
    EXPECT_EQ(clone->created, head->created);
    EXPECT_EQ(clone->fontRevision, head->fontRevision);
    EXPECT_TRUE(clone->IsDirty());
    EXPECT_NE(clone->GetBuffer().Get(), head->GetBuffer().Get());
    EXPECT_TRUE(clone->IsEqual(*head));
}

TEST(OTheadTableTest, RoundingToSixteenBitsIsDefinedForEveryDouble) {
    EXPECT_EQ(OTheadTable::RoundToInt16(2.5), 3);
    EXPECT_EQ(OTheadTable::RoundToInt16(-2.5), -2);
    EXPECT_EQ(OTheadTable::RoundToInt16(-0.6), -1);
    EXPECT_EQ(OTheadTable::RoundToInt16(32767.4), 32767);
    // In 64-bit range: wraps modulo 2^16.
    EXPECT_EQ(OTheadTable::RoundToInt16(40000.0), -25536);
    EXPECT_EQ(OTheadTable::RoundToInt16(-32769.0), 32767);
    // Beyond it, or not a number: 0.
    EXPECT_EQ(OTheadTable::RoundToInt16(std::numeric_limits<double>::max()), 0);
    EXPECT_EQ(OTheadTable::RoundToInt16(-std::numeric_limits<double>::infinity()), 0);
    EXPECT_EQ(OTheadTable::RoundToInt16(std::nan("")), 0);
}

namespace {

const char* const kHhea =
    "0001 0000 0320 FF38 005A 03E8 FFF6 FFEC 0384 0064 0015 0003"
    "0001 0002 0003 0004 0000 0102";

}  // namespace

TEST(OThheaTableTest, LoadsFieldsInOrderAndRecomputesFourOnSave) {
    auto hhea = Loaded<OThheaTable>(kHhea);
    EXPECT_EQ(hhea->GetTag(), MakeTag("hhea"));
    EXPECT_EQ(hhea->majorVersion, 1);
    EXPECT_EQ(hhea->ascender, 800);
    EXPECT_EQ(hhea->descender, -200);
    EXPECT_EQ(hhea->lineGap, 90);
    EXPECT_EQ(hhea->advanceWidthMax, 1000);
    EXPECT_EQ(hhea->minLeftSideBearing, -10);
    EXPECT_EQ(hhea->minRightSideBearing, -20);
    EXPECT_EQ(hhea->xMaxExtent, 900);
    EXPECT_EQ(hhea->caretSlopeRise, 100);
    EXPECT_EQ(hhea->caretSlopeRun, 21);
    EXPECT_EQ(hhea->caretOffset, 3);
    EXPECT_EQ(hhea->reserved1, 1);
    EXPECT_EQ(hhea->reserved4, 4);
    EXPECT_EQ(hhea->metricDataFormat, 0);
    EXPECT_EQ(hhea->numberOfHMetrics, 258);

    // Without a font the extremes become 0; everything else is echoed,
    // numberOfHMetrics and the reserved words included.
    EXPECT_EQ(SavedBytes(*hhea), HexBytes("0001 0000 0320 FF38 005A 0000 0000 0000 0000 0064 0015 0003"
                                          "0001 0002 0003 0004 0000 0102"));
}

TEST(OThheaTableTest, FontWithoutHmtxSavesZeroExtremes) {
    auto font = Bedrock::MakeCounted<OTFont>();
    auto hhea = Loaded<OThheaTable>(kHhea, font);
    EXPECT_TRUE(font->AddTable(hhea));
    SavedBytes(*hhea);
    EXPECT_EQ(hhea->advanceWidthMax, 0);
    EXPECT_EQ(hhea->minLeftSideBearing, 0);
    EXPECT_EQ(hhea->minRightSideBearing, 0);
    EXPECT_EQ(hhea->xMaxExtent, 0);
    EXPECT_EQ(hhea->GetLength(), 36u);
}

TEST(OThheaTableTest, CleanSaveKeepsBytesAndLoadClearsDirty) {
    const std::string odd = std::string("0002 0005") + (kHhea + 9) + "ABCD";
    auto hhea = Bedrock::MakeCounted<OThheaTable>(nullptr);
    hhea->SetIsDirty(true);
    EXPECT_TRUE(hhea->Load(HexBuffer(odd)));
    EXPECT_FALSE(hhea->IsDirty());
    EXPECT_EQ(hhea->majorVersion, 2);
    EXPECT_TRUE(hhea->Save());
    EXPECT_EQ(BufferBytes(*hhea->GetBuffer()), HexBytes(odd));
}

TEST(OThheaTableTest, TruncatedTableKeepsFieldsItDoesNotReach) {
    auto hhea = Bedrock::MakeCounted<OThheaTable>(nullptr);
    hhea->numberOfHMetrics = 7;
    hhea->caretSlopeRise = 1;
    EXPECT_TRUE(hhea->Load(HexBuffer("0001 0000 0320 FF38 00")));
    EXPECT_EQ(hhea->descender, -200);
    EXPECT_EQ(hhea->lineGap, 0);
    EXPECT_EQ(hhea->caretSlopeRise, 1);
    EXPECT_EQ(hhea->numberOfHMetrics, 7);
}

TEST(OThheaTableTest, NumberOfHMetricsDropsTheTrailingRepeats) {
    EXPECT_EQ(OThheaTable::NumberOfHMetricsFor({500, 600, 700, 510, 520, 530, 540, 800, 800, 800}), 8);
    EXPECT_EQ(OThheaTable::NumberOfHMetricsFor({600, 600, 600, 600}), 1);
    EXPECT_EQ(OThheaTable::NumberOfHMetricsFor({600}), 1);
    EXPECT_EQ(OThheaTable::NumberOfHMetricsFor({600, 600, 700}), 3);
    EXPECT_EQ(OThheaTable::NumberOfHMetricsFor({}), 0);
}

TEST(OThheaTableTest, CaretSlopeFromItalicAngle) {
    int16_t rise = 0;
    int16_t run = 0;
    OThheaTable::CaretSlopeFor(1e-7, rise, run);
    EXPECT_EQ(rise, 1);
    EXPECT_EQ(run, 0);
    OThheaTable::CaretSlopeFor(-12.0, rise, run);
    EXPECT_EQ(rise, 100);
    EXPECT_EQ(run, 21);
    OThheaTable::CaretSlopeFor(12.0, rise, run);
    EXPECT_EQ(run, -21);
    OThheaTable::CaretSlopeFor(std::nan(""), rise, run);
    EXPECT_EQ(rise, 100);
    EXPECT_EQ(run, 0);
}

namespace {

const char* const kVhea =
    "0001 1000 0320 FF38 0000 FFFF 000A 0014 0384 0000 0001 0000"
    "0000 0000 0000 0000 0000 0102";

}  // namespace

TEST(OTvheaTableTest, LoadsFieldsInOrderAndEchoesThemOnSave) {
    auto vhea = Loaded<OTvheaTable>(kVhea);
    EXPECT_EQ(vhea->GetTag(), MakeTag("vhea"));
    EXPECT_EQ(vhea->version, 0x00011000u);
    EXPECT_EQ(vhea->vertTypoAscender, 800);
    EXPECT_EQ(vhea->vertTypoDescender, -200);
    EXPECT_EQ(vhea->advanceHeightMax, -1);  // signed in this table
    EXPECT_EQ(vhea->minTopSideBearing, 10);
    EXPECT_EQ(vhea->minBottomSideBearing, 20);
    EXPECT_EQ(vhea->yMaxExtent, 900);
    EXPECT_EQ(vhea->caretSlopeRun, 1);
    EXPECT_EQ(vhea->numOfLongVerMetrics, 258);
    EXPECT_EQ(SavedBytes(*vhea), HexBytes(kVhea));
}

TEST(OTvheaTableTest, LoadDropsBytesBehindTheRecord) {
    auto vhea = Loaded<OTvheaTable>(std::string(kVhea) + "DEAD BEEF");
    EXPECT_EQ(vhea->GetLength(), 36u);
    EXPECT_TRUE(vhea->Save());  // clean: the trailing bytes are already gone
    EXPECT_EQ(BufferBytes(*vhea->GetBuffer()), HexBytes(kVhea));
}

TEST(OTvheaTableTest, TruncatedTableKeepsWhatItRead) {
    auto vhea = Bedrock::MakeCounted<OTvheaTable>(nullptr);
    vhea->numOfLongVerMetrics = 5;
    vhea->vertTypoDescender = 9;
    EXPECT_TRUE(vhea->Load(HexBuffer("0001 0000 0320 FF")));
    EXPECT_TRUE(vhea->IsLoaded());
    EXPECT_EQ(vhea->GetLength(), 6u);
    EXPECT_EQ(vhea->vertTypoAscender, 800);
    EXPECT_EQ(vhea->vertTypoDescender, 9);
    EXPECT_EQ(vhea->numOfLongVerMetrics, 5);
}

namespace {

const char* const kMaxpLong = "0001 0000 0102 0010 0011 0012 0013 0002 0014 0015 0016 0017 0018 0019 001A 001B";

}  // namespace

TEST(OTmaxpTableTest, LongFormLoadsFieldsInOrderAndSaves32Bytes) {
    auto maxp = Loaded<OTmaxpTable>(kMaxpLong);
    EXPECT_EQ(maxp->GetTag(), MakeTag("maxp"));
    EXPECT_EQ(maxp->version, 0x00010000u);
    EXPECT_EQ(maxp->numGlyphs, 258);
    EXPECT_EQ(maxp->maxPoints, 0x10);
    EXPECT_EQ(maxp->maxContours, 0x11);
    EXPECT_EQ(maxp->maxCompositePoints, 0x12);
    EXPECT_EQ(maxp->maxCompositeContours, 0x13);
    EXPECT_EQ(maxp->maxZones, 2);
    EXPECT_EQ(maxp->maxTwilightPoints, 0x14);
    EXPECT_EQ(maxp->maxStorage, 0x15);
    EXPECT_EQ(maxp->maxFunctionDefs, 0x16);
    EXPECT_EQ(maxp->maxInstructionDefs, 0x17);
    EXPECT_EQ(maxp->maxStackElements, 0x18);
    EXPECT_EQ(maxp->maxSizeOfInstructions, 0x19);
    EXPECT_EQ(maxp->maxComponentElements, 0x1A);
    EXPECT_EQ(maxp->maxComponentDepth, 0x1B);
    EXPECT_EQ(SavedBytes(*maxp), HexBytes(kMaxpLong));
}

TEST(OTmaxpTableTest, VersionWordChoosesBetweenSixAnd32Bytes) {
    auto maxp = Loaded<OTmaxpTable>(kMaxpLong);
    // 0.5: only version and glyph count, though the limits still hold values.
    maxp->version = 0x00005000;
    EXPECT_EQ(SavedBytes(*maxp), HexBytes("0000 5000 0102"));
    EXPECT_EQ(maxp->maxPoints, 0x10);
    // Any word from 0x5001 up has the limits.
    maxp->version = 0x00005001;
    EXPECT_EQ(maxp->GetLength(), 6u);
    EXPECT_EQ(SavedBytes(*maxp).size(), 32u);
}

TEST(OTmaxpTableTest, ShortFormLoadLeavesLimitsInMemory) {
    auto maxp = Bedrock::MakeCounted<OTmaxpTable>(nullptr);
    maxp->maxPoints = 77;
    EXPECT_TRUE(maxp->Load(HexBuffer("0000 5000 0010 FFFF FFFF")));
    EXPECT_EQ(maxp->numGlyphs, 16);
    EXPECT_EQ(maxp->maxPoints, 77);
    EXPECT_EQ(maxp->maxContours, 0);
}

TEST(OTmaxpTableTest, CleanSaveKeepsUnknownVersionAndTruncationIsHarmless) {
    const std::string odd = std::string("0002 0000") + (kMaxpLong + 9) + "0001 0002";
    auto maxp = Loaded<OTmaxpTable>(odd);
    EXPECT_EQ(maxp->maxComponentDepth, 0x1B);
    EXPECT_TRUE(maxp->Save());
    EXPECT_EQ(BufferBytes(*maxp->GetBuffer()), HexBytes(odd));

    auto shortMaxp = Bedrock::MakeCounted<OTmaxpTable>(nullptr);
    shortMaxp->maxComponentDepth = 4;
    EXPECT_TRUE(shortMaxp->Load(HexBuffer("0001 0000 0102 0010 00")));
    EXPECT_EQ(shortMaxp->maxPoints, 0x10);
    EXPECT_EQ(shortMaxp->maxContours, 0);
    EXPECT_EQ(shortMaxp->maxComponentDepth, 4);
}
