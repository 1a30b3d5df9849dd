// The OS/2 and gasp tables: the field set and length of every OS/2 version,
// the early 68-byte form, the recomputed average width, tables cut short,
// and gasp ranges through Load and Save. Linked with AllocationWatch to see
// that no count from a file sizes memory.

#include <cstdint>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "core/OTFont.h"
#include "core/TableManager.h"
#include "core/Tag.h"
#include "tables/OTOS2Table.h"
#include "tables/OTgaspTable.h"
#include "tables/OThmtxTable.h"
#include "TestUtil.h"
#include "core/AllocationWatch.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;

namespace {

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

// A version 5 table with a distinct value in every field, cut to `length`
// bytes and given the version word `version`.
std::vector<uint8_t> OS2Bytes(uint16_t version, size_t length) {
    ByteWriter w;
    w.U16(version).U16(0x0123).U16(600).U16(7).U16(0x0008);
    for (uint32_t i = 1; i <= 11; ++i) w.U16(0xFF00 + i);  // ySubscriptXSize .. sFamilyClass
    for (uint32_t i = 1; i <= 10; ++i) w.U8(i);            // panose
    w.U32(0x11111111).U32(0x22222222).U32(0x33333333).U32(0x44444444).Tag("TEST");
    w.U16(0x0040).U16(0x0020).U16(0xFFFD);              // fsSelection, first, last char
    w.U16(800).U16(0xFF38).U16(90).U16(1000).U16(250);  // typographic block
    w.U32(0x20000001).U32(0x80000000);                  // code pages
    w.U16(500).U16(700).U16(0).U16(0x20).U16(3);        // sxHeight .. usMaxContext
    w.U16(80).U16(100);                                 // optical sizes
    std::vector<uint8_t> bytes = w.Data();
    bytes.resize(length);
    return bytes;
}

// The bytes with xAvgCharWidth replaced.
std::vector<uint8_t> WithAverage(std::vector<uint8_t> bytes, uint16_t average) {
    bytes[2] = static_cast<uint8_t>(average >> 8);
    bytes[3] = static_cast<uint8_t>(average);
    return bytes;
}

// A font whose 'hmtx' holds the given advances (dirty, made in memory).
struct MetricsFont {
    Bedrock::Counted<OTFont> font = Bedrock::MakeCounted<OTFont>();

    explicit MetricsFont(const std::vector<uint16_t>& advances) {
        auto hmtx = Bedrock::MakeCounted<OThmtxTable>(font);
        for (uint16_t advance : advances) hmtx->metrics.push_back({advance, 0});
        hmtx->SetIsDirty(true);
        EXPECT_TRUE(font->AddTable(hmtx));
    }

    Bedrock::Counted<OTOS2Table> Load(const std::vector<uint8_t>& bytes) const {
        auto os2 = Bedrock::MakeCounted<OTOS2Table>(font);
        EXPECT_TRUE(os2->Load(ToBuffer(bytes)));
        return os2;
    }
};

std::vector<uint8_t> DirtySave(OTTable& table) {
    table.SetIsDirty(true);
    EXPECT_TRUE(table.Save());
    EXPECT_FALSE(table.IsDirty());
    return BufferBytes(*table.GetBuffer());
}

}  // namespace

TEST(OTOS2TableTest, FactoryMakesBothClasses) {
    auto manager = Bedrock::MakeCounted<TableManager>(nullptr);
    auto os2 = manager->CreateTable(nullptr, MakeTag("OS/2"));
    auto gasp = manager->CreateTable(nullptr, MakeTag("gasp"));
    EXPECT_EQ(typeid(*os2), typeid(OTOS2Table));
    EXPECT_EQ(typeid(*gasp), typeid(OTgaspTable));
    EXPECT_EQ(os2->GetTag(), MakeTag("OS/2"));
    EXPECT_EQ(gasp->GetTag(), MakeTag("gasp"));
}

TEST(OTOS2TableTest, LoadsEveryFieldOfVersion5InOrder) {
    MetricsFont f({500});
    auto os2 = f.Load(OS2Bytes(5, 100));
    EXPECT_EQ(os2->version, 5);
    EXPECT_EQ(os2->xAvgCharWidth, 0x0123);
    EXPECT_EQ(os2->usWeightClass, 600);
    EXPECT_EQ(os2->usWidthClass, 7);
    EXPECT_EQ(os2->fsType, 8);
    EXPECT_EQ(os2->ySubscriptXSize, int16_t(0xFF01));
    EXPECT_EQ(os2->ySuperscriptYOffset, int16_t(0xFF08));
    EXPECT_EQ(os2->sFamilyClass, int16_t(0xFF0B));
    EXPECT_EQ(os2->panose[0], 1);
    EXPECT_EQ(os2->panose[9], 10);
    EXPECT_EQ(os2->ulUnicodeRange1, 0x11111111u);
    EXPECT_EQ(os2->ulUnicodeRange4, 0x44444444u);
    EXPECT_EQ(os2->achVendID, MakeTag("TEST"));
    EXPECT_EQ(os2->fsSelection, 0x40);
    EXPECT_EQ(os2->usFirstCharIndex, 0x20);
    EXPECT_EQ(os2->usLastCharIndex, 0xFFFD);
    EXPECT_EQ(os2->sTypoAscender, 800);
    EXPECT_EQ(os2->sTypoDescender, -200);
    EXPECT_EQ(os2->sTypoLineGap, 90);
    EXPECT_EQ(os2->usWinAscent, 1000);
    EXPECT_EQ(os2->usWinDescent, 250);
    EXPECT_EQ(os2->ulCodePageRange1, 0x20000001u);
    EXPECT_EQ(os2->ulCodePageRange2, 0x80000000u);
    EXPECT_EQ(os2->sxHeight, 500);
    EXPECT_EQ(os2->sCapHeight, 700);
    EXPECT_EQ(os2->usDefaultChar, 0);
    EXPECT_EQ(os2->usBreakChar, 0x20);
    EXPECT_EQ(os2->usMaxContext, 3);
    EXPECT_EQ(os2->usLowerOpticalPointSize, 80);
    EXPECT_EQ(os2->usUpperOpticalPointSize, 100);
    EXPECT_FALSE(os2->isLegacyLength);
    EXPECT_FALSE(os2->IsDirty());
}

// Each version reads and writes exactly its own fields: a dirty save gives the
// version's length and the input's bytes but for the recomputed average, even
// when the input carries bytes of later versions behind its own.
TEST(OTOS2TableTest, DirtySaveWritesTheFieldsAndLengthOfEachVersion) {
    struct Case {
        uint16_t version;
        size_t inputLength;
        size_t savedLength;
    };
    const Case cases[] = {
        {0, 68, 68}, {0, 78, 78}, {0, 100, 78}, {1, 86, 86},  {1, 100, 86},
        {2, 96, 96}, {3, 96, 96}, {4, 96, 96},  {4, 100, 96}, {5, 100, 100},
    };
    MetricsFont f({0, 500, 501});
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "version " << c.version << ", " << c.inputLength << " bytes");
        auto os2 = f.Load(OS2Bytes(c.version, c.inputLength));
        unsigned long length = 0;
        ASSERT_TRUE(os2->GetLen(length));
        EXPECT_EQ(length, c.savedLength);
        const auto saved = DirtySave(*os2);
        ASSERT_EQ(saved.size(), c.savedLength);
        EXPECT_EQ(saved, WithAverage(OS2Bytes(c.version, c.savedLength), 501));
        EXPECT_EQ(os2->xAvgCharWidth, 501);
        // Fields of later versions are not read from the extra bytes.
        if (c.version < 2) {
            EXPECT_EQ(os2->sxHeight, 0);
        }
        if (c.version < 5) {
            EXPECT_EQ(os2->usUpperOpticalPointSize, 0);
        }
    }
}

TEST(OTOS2TableTest, EarlyVersion0FormHasNoTypographicBlock) {
    MetricsFont f({500});
    // Anything from 68 to 77 bytes is the early form and saves as 68.
    for (size_t length : {68u, 72u, 77u}) {
        auto os2 = f.Load(OS2Bytes(0, length));
        EXPECT_TRUE(os2->isLegacyLength);
        EXPECT_EQ(os2->sTypoAscender, 0);
        EXPECT_EQ(os2->usWinAscent, 0);
        EXPECT_EQ(os2->usLastCharIndex, 0xFFFD);
        EXPECT_EQ(DirtySave(*os2), WithAverage(OS2Bytes(0, 68), 500));
    }
    // Clearing the flag brings the block back, as zeros.
    auto os2 = f.Load(OS2Bytes(0, 68));
    os2->isLegacyLength = false;
    auto expected = WithAverage(OS2Bytes(0, 68), 500);
    expected.resize(78);
    EXPECT_EQ(DirtySave(*os2), expected);
}

TEST(OTOS2TableTest, VersionAbove5LoadsLikeVersion5AndCannotBeRewritten) {
    MetricsFont f({500});
    auto bytes = OS2Bytes(6, 100);
    bytes.insert(bytes.end(), {0xAB, 0xCD, 0xEF, 0x01});
    auto os2 = f.Load(bytes);
    EXPECT_EQ(os2->usUpperOpticalPointSize, 100);
    unsigned long length = 0;
    EXPECT_FALSE(os2->GetLen(length));
    EXPECT_TRUE(os2->Save());  // clean: the bytes stay
    EXPECT_EQ(BufferBytes(*os2->GetBuffer()), bytes);
    os2->SetIsDirty(true);
    EXPECT_FALSE(os2->Save());
    EXPECT_TRUE(os2->IsDirty());
    EXPECT_EQ(BufferBytes(*os2->GetBuffer()), bytes);
    EXPECT_EQ(os2->xAvgCharWidth, 0x0123);
}

// The mean of the non-zero advances, floor(x + 0.5), for every version, not
// only from version 3 on where the published rule says so.
TEST(OTOS2TableTest, AverageWidthIsTheRoundedMeanOfNonZeroAdvances) {
    struct Case {
        std::vector<uint16_t> advances;
        int16_t expected;
    };
    const Case cases[] = {
        {{0, 500, 501}, 501},  // 500.5 rounds up
        {{1, 2, 2}, 2},        // 1.67
        {{1, 1, 2}, 1},        // 1.33
        {{600}, 600},
        {{40000, 40000}, -25536},  // narrowed to 16 bits by wrapping
        {{65535, 65535, 65535}, -1},
    };
    for (const Case& c : cases) {
        MetricsFont f(c.advances);
        for (uint16_t version : {0, 1, 3, 5}) {
            auto os2 = f.Load(OS2Bytes(version, 100));
            short width = 7;
            EXPECT_TRUE(os2->GetAverageCharWidth(width));
            EXPECT_EQ(width, c.expected) << "version " << version;
            EXPECT_EQ(os2->xAvgCharWidth, 0x0123);  // the query leaves the field alone
        }
    }
}

TEST(OTOS2TableTest, AverageWidthWithoutNonZeroAdvancesKeepsTheField) {
    for (const auto& advances : {std::vector<uint16_t>{}, std::vector<uint16_t>{0, 0}}) {
        MetricsFont f(advances);
        auto os2 = f.Load(OS2Bytes(4, 96));
        short width = 7;
        EXPECT_TRUE(os2->GetAverageCharWidth(width));
        EXPECT_EQ(width, 7);
        EXPECT_EQ(DirtySave(*os2), OS2Bytes(4, 96));
    }
}

// Without 'hmtx' the save fails and the table stays dirty; the buffer has
// already been reset to the new length by then.
TEST(OTOS2TableTest, SaveWithoutHmtxFailsAfterResettingTheBuffer) {
    auto font = Bedrock::MakeCounted<OTFont>();
    for (Bedrock::NonCounted<OTFont> owner : {Bedrock::NonCounted<OTFont>(font), Bedrock::NonCounted<OTFont>()}) {
        auto os2 = Bedrock::MakeCounted<OTOS2Table>(owner);
        ASSERT_TRUE(os2->Load(ToBuffer(OS2Bytes(4, 100))));
        short width = 7;
        EXPECT_FALSE(os2->GetAverageCharWidth(width));
        EXPECT_EQ(width, 7);
        os2->SetIsDirty(true);
        EXPECT_FALSE(os2->Save());
        EXPECT_TRUE(os2->IsDirty());
        EXPECT_EQ(os2->GetBuffer()->GetLength(), 96u);
        EXPECT_EQ(BufferBytes(*os2->GetBuffer()), OS2Bytes(4, 96));
    }
}

TEST(OTOS2TableTest, OtherFieldsAreEchoedNotRecomputed) {
    MetricsFont f({500});
    auto os2 = f.Load(OS2Bytes(4, 96));
    os2->usFirstCharIndex = 0x41;
    os2->usMaxContext = 9;
    os2->sTypoLineGap = -5;
    const auto saved = DirtySave(*os2);
    auto reloaded = f.Load(saved);
    EXPECT_EQ(reloaded->usFirstCharIndex, 0x41);
    EXPECT_EQ(reloaded->usMaxContext, 9);
    EXPECT_EQ(reloaded->sTypoLineGap, -5);
    EXPECT_EQ(reloaded->xAvgCharWidth, 500);
}

TEST(OTOS2TableTest, CreateMakesFixedVersion3Defaults) {
    MetricsFont f({0, 500, 501});
    auto os2 = Bedrock::MakeCounted<OTOS2Table>(f.font);
    ASSERT_TRUE(os2->Load(ToBuffer(OS2Bytes(0, 68))));  // everything is overwritten
    EXPECT_TRUE(os2->Create());
    EXPECT_TRUE(os2->IsDirty());
    EXPECT_EQ(os2->version, 3);
    EXPECT_EQ(os2->usWeightClass, 400);
    EXPECT_EQ(os2->usWidthClass, 5);
    EXPECT_EQ(os2->usFirstCharIndex, 0xFFFF);
    EXPECT_EQ(os2->usLastCharIndex, 0);
    EXPECT_EQ(os2->sTypoAscender, 8);  // a fixed placeholder, kept as it is
    EXPECT_FALSE(os2->isLegacyLength);
    EXPECT_TRUE(os2->Save());
    const auto expected = HexBytes(
        "0003 01F5 0190 0005 0000"
        "0000 0000 0000 0000 0000 0000 0000 0000 0000 0000 0000"
        "0000 0000 0000 0000 0000"
        "0000 0000 0000 0000 0000 0000 0000 0000 0000 0000"
        "0000 FFFF 0000"
        "0008 0000 0000 0000 0000"
        "0000 0000 0000 0000"
        "0000 0000 0000 0000 0000");
    EXPECT_EQ(BufferBytes(*os2->GetBuffer()), expected);
}

TEST(OTOS2TableTest, CloneCopiesFieldsAndBytes) {
    MetricsFont f({500});
    auto os2 = f.Load(OS2Bytes(5, 100));
    os2->panose[3] = 0x77;
    auto clone = Bedrock::StaticCast<OTOS2Table>(os2->Clone());
    EXPECT_EQ(clone->panose[3], 0x77);
    EXPECT_EQ(clone->usUpperOpticalPointSize, 100);
    EXPECT_NE(clone->GetBuffer().Get(), os2->GetBuffer().Get());
    EXPECT_EQ(BufferBytes(*clone->GetBuffer()), OS2Bytes(5, 100));
}

// A table shorter than its version says reads the fields that lie wholly
// inside its bytes, each at its own offset; the rest keep what they held.
TEST(OTOS2TableTest, CutTableReadsOnlyWholeFieldsAtTheirOffsets) {
    MetricsFont f({500});
    // 64 bytes: panose and the ranges are whole, fsSelection (62) too, but
    // not usFirstCharIndex (64).
    auto os2 = f.Load(OS2Bytes(5, 64));
    EXPECT_EQ(os2->achVendID, MakeTag("TEST"));
    EXPECT_EQ(os2->fsSelection, 0x40);
    EXPECT_EQ(os2->usFirstCharIndex, 0);
    EXPECT_EQ(os2->usLowerOpticalPointSize, 0);
    EXPECT_TRUE(os2->isLegacyLength);
    // 37 bytes: panose (32 to 42) does not fit, and nothing after it is read
    // from its bytes.
    auto cut = f.Load(OS2Bytes(5, 37));
    EXPECT_EQ(cut->sFamilyClass, int16_t(0xFF0B));
    EXPECT_EQ(cut->panose[0], 0);
    EXPECT_EQ(cut->ulUnicodeRange1, 0u);
    EXPECT_EQ(cut->fsSelection, 0);
}

// A version 1 to 5 table too short for the typographic block counts as the
// early form on Load, but its layout needs the block: a dirty save writes it
// (zeros) and keeps the later fields at their offsets.
TEST(OTOS2TableTest, CutLaterVersionSavesItsWholeLayout) {
    MetricsFont f({500});
    auto os2 = f.Load(OS2Bytes(3, 70));
    EXPECT_TRUE(os2->isLegacyLength);
    os2->ulCodePageRange1 = 0x01020304;
    const auto saved = DirtySave(*os2);
    ASSERT_EQ(saved.size(), 96u);
    auto expected = WithAverage(OS2Bytes(3, 68), 500);
    expected.resize(96);
    expected[78] = 1;
    expected[79] = 2;
    expected[80] = 3;
    expected[81] = 4;
    EXPECT_EQ(saved, expected);
}

TEST(OTOS2TableTest, EveryPrefixLoadsAndSavesItsVersionLength) {
    MetricsFont f({300, 0, 301});
    for (uint16_t version : {0, 1, 2, 5, 6}) {
        const auto full = OS2Bytes(version, 100);
        for (size_t length = 0; length <= full.size(); ++length) {
            auto os2 = Bedrock::MakeCounted<OTOS2Table>(f.font);
            ASSERT_TRUE(os2->Load(ToBuffer(std::vector<uint8_t>(full.begin(), full.begin() + length))));
            os2->SetIsDirty(true);
            unsigned long expected = 0;
            const bool known = os2->GetLen(expected);
            EXPECT_EQ(os2->Save(), known);
            if (known) {
                EXPECT_EQ(os2->GetBuffer()->GetLength(), expected);
            }
        }
    }
    auto none = Bedrock::MakeCounted<OTOS2Table>(f.font);
    EXPECT_FALSE(none->Load(nullptr));
}

TEST(OTgaspTableTest, RoundTripKeepsRangesInTheirOrder) {
    // Version 1, three ranges, deliberately not sorted by size.
    const auto bytes = HexBytes("0001 0003 FFFF 000F 0008 0002 0010 0007");
    auto gasp = Bedrock::MakeCounted<OTgaspTable>(nullptr);
    ASSERT_TRUE(gasp->Load(ToBuffer(bytes)));
    EXPECT_EQ(gasp->version, 1);
    ASSERT_EQ(gasp->gaspRanges.size(), 3u);
    EXPECT_EQ(gasp->gaspRanges[0].rangeMaxPPEM, 0xFFFF);
    EXPECT_EQ(gasp->gaspRanges[0].rangeGaspBehavior, 0x000F);
    EXPECT_EQ(gasp->gaspRanges[2].rangeMaxPPEM, 0x0010);
    EXPECT_TRUE(gasp->Save());  // clean
    EXPECT_EQ(DirtySave(*gasp), bytes);

    gasp->gaspRanges.push_back({0x20, 0x0A});
    EXPECT_EQ(DirtySave(*gasp), HexBytes("0001 0004 FFFF 000F 0008 0002 0010 0007 0020 000A"));
    gasp->gaspRanges.clear();
    EXPECT_EQ(DirtySave(*gasp), HexBytes("0001 0000"));
}

TEST(OTgaspTableTest, RangeLimitAccessors) {
    auto gasp = Bedrock::MakeCounted<OTgaspTable>(nullptr);
    ASSERT_TRUE(gasp->Load(HexBuffer("0000 0002 0008 0002 FFFF 0003")));
    unsigned short value = 99;
    EXPECT_TRUE(gasp->GetGaspRangeMaxPPEM(1, value));
    EXPECT_EQ(value, 0xFFFF);
    value = 99;
    EXPECT_FALSE(gasp->GetGaspRangeMaxPPEM(2, value));  // index equal to the count
    EXPECT_EQ(value, 99);
    EXPECT_FALSE(gasp->SetGaspRangeMaxPPEM(2, 5));
    EXPECT_FALSE(gasp->IsDirty());
    EXPECT_TRUE(gasp->SetGaspRangeMaxPPEM(0, 9));
    EXPECT_TRUE(gasp->IsDirty());
    EXPECT_TRUE(gasp->Save());
    EXPECT_EQ(BufferBytes(*gasp->GetBuffer()), HexBytes("0000 0002 0009 0002 FFFF 0003"));
}

// Load appends to the ranges already held instead of replacing them.
TEST(OTgaspTableTest, LoadAppendsToHeldRanges) {
    auto gasp = Bedrock::MakeCounted<OTgaspTable>(nullptr);
    ASSERT_TRUE(gasp->Load(HexBuffer("0001 0001 0008 0002")));
    ASSERT_TRUE(gasp->Load(HexBuffer("0001 0001 FFFF 0003")));
    ASSERT_EQ(gasp->gaspRanges.size(), 2u);
    EXPECT_EQ(DirtySave(*gasp), HexBytes("0001 0002 0008 0002 FFFF 0003"));
}

TEST(OTgaspTableTest, HostileCountsFailQuietlyWithinTheBytes) {
    auto gasp = Bedrock::MakeCounted<OTgaspTable>(nullptr);
    EXPECT_FALSE(gasp->Load(nullptr));
    EXPECT_FALSE(gasp->Load(HexBuffer("")));
    EXPECT_FALSE(gasp->Load(HexBuffer("0001 00")));

    // A count of 65535 with one whole range and half of another.
    TypeframeTest::ResetLargestAllocation();
    auto cut = Bedrock::MakeCounted<OTgaspTable>(nullptr);
    EXPECT_FALSE(cut->Load(HexBuffer("0000 FFFF 0008 0002 0010")));
    EXPECT_LT(TypeframeTest::GetLargestAllocation(), 1024u);
    ASSERT_EQ(cut->gaspRanges.size(), 1u);  // the whole range is kept
    EXPECT_EQ(cut->gaspRanges[0].rangeMaxPPEM, 8);
    EXPECT_LE(cut->gaspRanges.capacity(), 1u);
}
