// Feature variations: conditions and their applicability tests, condition
// sets, substitution tables whose alternates lose their parameters, real
// tables from variable fonts, and hostile counts and offsets.

#include <filesystem>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/OTTable.h"
#include "core/Tag.h"
#include "layout/FeatureList.h"
#include "layout/FeatureTable.h"
#include "layout/FeatureVariationsTable.h"
#include "layout/ssxxFeatureParams.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::ByteWriter;
using TypeframeTest::HexBytes;

namespace {

using Condition = FeatureVariationsTable::ConditionTable;
using ConditionSet = FeatureVariationsTable::ConditionTableSet;
using Substitutions = FeatureVariationsTable::FeatureTableSubstitutionTable;

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

Fixed2_14 Raw(int16_t raw) { return Fixed2_14::FromRaw(raw); }

std::vector<Fixed2_14> Location(std::initializer_list<int16_t> raws) {
    std::vector<Fixed2_14> location;
    for (int16_t raw : raws) location.push_back(Raw(raw));
    return location;
}

Condition MakeCondition(uint16_t axis, int16_t min, int16_t max, uint16_t format = 1) {
    Condition condition;
    condition.format = format;
    condition.axisIndex = axis;
    condition.filterRangeMinValue = Raw(min);
    condition.filterRangeMaxValue = Raw(max);
    return condition;
}

// "f1 a0 -8192..4096"
std::string Describe(const Condition& c) {
    return "f" + std::to_string(c.format) + " a" + std::to_string(c.axisIndex) + " " +
           std::to_string(c.filterRangeMinValue.GetRaw()) + ".." + std::to_string(c.filterRangeMaxValue.GetRaw());
}

// "3(1 2)", with "[p]" for parameters.
std::string Describe(const FeatureVariationsTable::FeatureTableSubstitutionRecord& s) {
    std::string text = std::to_string(s.featureIndex) + "(";
    const FeatureTable& feature = s.alternateFeatureTable;
    for (size_t i = 0; i < feature.lookupListIndices.size(); ++i) {
        text += (i ? " " : "") + std::to_string(feature.lookupListIndices[i]);
    }
    text += ")";
    if (feature.tag != 0) text += "[tag]";
    if (feature.featureParams) text += "[p]";
    return text;
}

// "v1.0 {f1 a0 0..5374, f1 a1 0..8192 | 1.0 0(0 1)} ..."; an empty
// substitution table shows as "0.0".
std::string Describe(const FeatureVariationsTable& table) {
    std::string text = "v" + std::to_string(table.majorVersion) + "." + std::to_string(table.minorVersion);
    for (const auto& record : table.records) {
        text += " {";
        for (size_t i = 0; i < record.conditionSet.conditions.size(); ++i) {
            text += (i ? ", " : "") + Describe(record.conditionSet.conditions[i]);
        }
        const Substitutions& subs = record.substitutionTable;
        text += " | " + std::to_string(subs.majorVersion) + "." + std::to_string(subs.minorVersion);
        for (const auto& s : subs.substitutions) text += " " + Describe(s);
        text += "}";
    }
    return text;
}

// The header of a feature variations table, with its records' offset pairs.
ByteWriter Header(uint32_t count, std::vector<std::pair<uint32_t, uint32_t>> records) {
    ByteWriter w;
    w.U16(1).U16(0).U32(count);
    for (const auto& [set, subs] : records) w.U32(set).U32(subs);
    return w;
}

}  // namespace

// A condition of format 2 in a set keeps only its format: axis and limits
// stay zero, though bytes follow. Loaded alone it says false for it.
TEST(FeatureVariations, ConditionOfAnotherFormatKeepsZeroAxisAndLimits) {
    const auto bytes =
        ToBuffer(HexBytes("0002 0000000A 00000012"  // set: two conditions
                          "0001 0003 E000 1000"     // 10: format 1
                          "0002 0003 E000 1000"));  // 18: format 2, same fields
    ConditionSet set;
    ASSERT_TRUE(set.Load(bytes));
    ASSERT_EQ(set.conditions.size(), 2u);
    EXPECT_EQ(Describe(set.conditions[0]), "f1 a3 -8192..4096");
    EXPECT_EQ(Describe(set.conditions[1]), "f2 a0 0..0");

    Condition condition = MakeCondition(9, 1, 2);
    bytes->Seek(18);
    EXPECT_FALSE(condition.Load(bytes));
    EXPECT_EQ(Describe(condition), "f2 a9 1..2");
    bytes->Seek(10);
    EXPECT_TRUE(condition.Load(bytes));
    EXPECT_EQ(Describe(condition), "f1 a3 -8192..4096");
    bytes->Seek(bytes->GetLength() - 1);
    EXPECT_FALSE(condition.Load(bytes));
    EXPECT_EQ(Describe(condition), "f1 a3 -8192..4096");
    EXPECT_FALSE(condition.Load(nullptr));
}

// Both limits count as inside, compared as raw signed values; an axis past
// the location fails; the format isn't looked at. Sets and records test
// every condition, and an empty set holds anywhere, even at no location.
TEST(FeatureVariations, IsApplicableEdges) {
    struct Case {
        const char* name;
        Condition condition;
        std::vector<Fixed2_14> location;
        bool applies;
    };
    const std::vector<Case> cases = {
        {"at the minimum", MakeCondition(1, -8192, 4096), Location({0, -8192}), true},
        {"at the maximum", MakeCondition(1, -8192, 4096), Location({0, 4096}), true},
        {"just below", MakeCondition(1, -8192, 4096), Location({0, -8193}), false},
        {"just above", MakeCondition(1, -8192, 4096), Location({0, 4097}), false},
        {"extremes", MakeCondition(0, -32768, 32767), Location({-32768}), true},
        {"axis past the location", MakeCondition(2, -16384, 16384), Location({0, 0}), false},
        {"empty location", MakeCondition(0, -16384, 16384), {}, false},
        {"limits reversed", MakeCondition(0, 100, -100), Location({0}), false},
        {"format 2 tested all the same", MakeCondition(0, 0, 0, 2), Location({0}), true},
        {"format 0 off its range", MakeCondition(0, 0, 0, 0), Location({1}), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.condition.IsApplicable(c.location), c.applies);
        FeatureVariationsTable::FeatureVariationRecord record(nullptr);
        record.conditionSet.conditions = {MakeCondition(0, -32768, 32767), c.condition};
        EXPECT_EQ(record.conditionSet.IsApplicable(c.location), c.applies && !c.location.empty());
        EXPECT_EQ(record.IsApplicable(c.location), c.applies && !c.location.empty());
    }
    const ConditionSet empty;
    EXPECT_TRUE(empty.IsApplicable({}));
    EXPECT_TRUE(FeatureVariationsTable::FeatureVariationRecord(nullptr).IsApplicable(Location({5})));
}

// Deliberate: an alternate feature is loaded with tag 0, so the stylistic
// set parameters it points at are dropped, and substituting it into the
// feature list takes the ss01 feature's parameters away.
TEST(FeatureVariations, AlternateFeatureLosesItsParameters) {
    const auto font = Bedrock::MakeCounted<OTFont>();
    const auto bytes =
        ToBuffer(HexBytes("0001 0000 0001 0000 0000000C"  // substitutions: feature 0 at 12
                          "0008 0002 0005 0006"           // 12: params at +8, lookups 5 6
                          "0000 0101"));                  // 20: ssxx version 0, uiNameID 257
    Substitutions subs(font);
    ASSERT_TRUE(subs.Load(bytes));
    ASSERT_EQ(subs.substitutions.size(), 1u);
    const FeatureTable& alternate = subs.substitutions[0].alternateFeatureTable;
    EXPECT_EQ(Describe(subs.substitutions[0]), "0(5 6)");
    EXPECT_EQ(alternate.tag, 0u);
    EXPECT_FALSE(alternate.featureParams);
    EXPECT_EQ(alternate.font.Get(), font.Get());

    // The same bytes read as the ss01 of a feature list keep their parameters.
    FeatureTable ss01;
    ss01.tag = MakeTag("ss01");
    bytes->Seek(12);
    ASSERT_TRUE(ss01.Load(bytes));
    const auto* params = dynamic_cast<const ssxxFeatureParams*>(ss01.featureParams.Get());
    ASSERT_TRUE(params);
    EXPECT_EQ(params->uiNameID, 257);

    FeatureList list;
    list.featureTables = {ss01};
    ASSERT_TRUE(list.SetFeatureTable(0, alternate));
    EXPECT_EQ(list.featureTables[0].tag, MakeTag("ss01"));
    EXPECT_FALSE(list.featureTables[0].featureParams);
    EXPECT_EQ(list.featureTables[0].lookupListIndices, (std::vector<uint16_t>{5, 6}));
}

// Bytes read at a position: counts beyond the bytes keep what fits, offsets
// of 0 or past the end leave parts empty, a 32-bit offset never wraps, and
// a header that doesn't fit fails with nothing kept.
TEST(FeatureVariations, HostileCountsAndOffsets) {
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
        unsigned long position;
        bool loads;
        const char* kept;
    };
    // One condition set at 16 holding one condition, one substitution table at 26.
    const auto whole = [] {
        return Header(1, {{16, 30}})
            .U16(1)
            .U32(6)
            .U16(1)
            .U16(0)
            .U16(0xC000)
            .U16(0x4000)
            .U16(1)
            .U16(0)
            .U16(1)
            .U16(3)
            .U32(12);
    };
    const std::vector<Case> cases = {
        {"empty buffer", {}, 0, false, "v0.0"},
        {"seven bytes", HexBytes("0001 0000 0000 00"), 0, false, "v0.0"},
        {"position past the end", Header(0, {}).Data(), 9, false, "v0.0"},
        {"no records", Header(0, {}).Data(), 0, true, "v1.0"},
        {"count 0xFFFFFFFF, no records", Header(0xFFFFFFFF, {}).Data(), 0, true, "v1.0"},
        {"count 0xFFFFFFFF, one record", Header(0xFFFFFFFF, {{0, 0}}).Data(), 0, true, "v1.0 { | 0.0}"},
        {"whole record", whole().U16(0).U16(2).U16(7).U16(8).Data(), 0, true,
         "v1.0 {f1 a0 -16384..16384 | 1.0 3(7 8)}"},
        {"offsets past the end", Header(1, {{0xFFFFFFF0, 0xFFFFFFFF}}).Data(), 0, true, "v1.0 { | 0.0}"},
        {"offsets just at the end", Header(1, {{16, 16}}).Data(), 0, true, "v1.0 { | 0.0}"},
        // The count keeps as many offsets as the bytes after it could hold:
        // the condition's own bytes read as a second offset, past the end.
        {"condition count 0xFFFF, eight bytes", Header(1, {{16, 0}}).U16(0xFFFF).U32(6).U16(1).U16(2).Data(), 0, true,
         "v1.0 {f1 a2 0..0, f0 a0 0..0 | 0.0}"},
        {"condition past the end", Header(1, {{16, 0}}).U16(1).U32(0xFFFFFFFF).Data(), 0, true,
         "v1.0 {f0 a0 0..0 | 0.0}"},
        {"condition cut after its axis", Header(1, {{16, 0}}).U16(1).U32(6).U16(1).U16(4).U8(0x40).Data(), 0, true,
         "v1.0 {f1 a4 0..0 | 0.0}"},
        // Followed like any offset: the set's own count reads as format 1.
        {"condition offset 0", Header(1, {{16, 0}}).U16(1).U32(0).Data(), 0, true, "v1.0 {f1 a0 0..0 | 0.0}"},
        {"condition set header cut", Header(1, {{16, 0}}).U8(0).Data(), 0, true, "v1.0 { | 0.0}"},
        {"substitution header cut", Header(1, {{0, 16}}).U16(1).U16(0).U8(0).Data(), 0, true, "v1.0 { | 0.0}"},
        {"substitution count 0xFFFF, one record",
         Header(1, {{0, 16}}).U16(1).U16(0).U16(0xFFFF).U16(9).U32(0xFFFF).Data(), 0, true, "v1.0 { | 1.0 9()}"},
        // Followed too: the table's own header reads as a feature with a
        // parameters offset of 1 (dropped) and no lookups.
        {"alternate offset 0", Header(1, {{0, 16}}).U16(1).U16(0).U16(1).U16(4).U32(0).Data(), 0, true,
         "v1.0 { | 1.0 4()}"},
        {"lookup count 0xFFFF, one present",
         Header(1, {{0, 16}}).U16(1).U16(0).U16(1).U16(0).U32(12).U16(0).U16(0xFFFF).U16(3).Data(), 0, true,
         "v1.0 { | 1.0 0(3)}"},
        {"read at a position", ByteWriter().Zeros(5).Bytes(whole().U16(0).U16(1).U16(7).Data()).Data(), 5, true,
         "v1.0 {f1 a0 -16384..16384 | 1.0 3(7)}"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto buffer = ToBuffer(c.bytes);
        buffer->Seek(c.position);
        FeatureVariationsTable table;
        EXPECT_EQ(table.Load(buffer), c.loads);
        EXPECT_EQ(Describe(table), c.kept);
    }
    FeatureVariationsTable table;
    ConditionSet set;
    Substitutions subs;
    EXPECT_FALSE(table.Load(nullptr));
    EXPECT_FALSE(set.Load(nullptr));
    EXPECT_FALSE(subs.Load(nullptr));
}
