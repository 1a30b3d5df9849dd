// Feature lists, feature tables and their parameters: real lists saved
// through the table graph and read back, the parameters class each tag gets
// (with the four-byte read and three-byte write of character variants),
// which features are shared as nodes, SetFeatureTable, the comparison order,
// and hostile counts and offsets.

#include <filesystem>
#include <sstream>
#include <string>
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
#include "layout/FeatureParams.h"
#include "layout/FeatureTable.h"
#include "layout/cvxxFeatureParams.h"
#include "layout/sizeFeatureParams.h"
#include "layout/ssxxFeatureParams.h"
#include "packing/TableGraph.h"
#include "packing/TableGraphWriter.h"
#include "TestUtil.h"
#include "LayoutTestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;
using TypeframeTest::Equal;
using TypeframeTest::HexBytes;
using TypeframeTest::Pack;

namespace {

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

FeatureTable MakeFeature(const char (&tag)[5], std::vector<uint16_t> lookups,
                         Bedrock::Counted<FeatureParams> params = nullptr) {
    FeatureTable feature;
    feature.tag = MakeTag(tag);
    feature.lookupListIndices = std::move(lookups);
    feature.featureParams = std::move(params);
    return feature;
}

Bedrock::Counted<ssxxFeatureParams> MakeSsxx(uint16_t uiNameID) {
    auto params = Bedrock::MakeCounted<ssxxFeatureParams>();
    params->uiNameID = uiNameID;
    return params;
}

std::string TagText(Tag tag) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(tag >> shift);
    return text;
}

// "[ss v n]", "[size ...]", "[cv ... : hex chars]", or "" without parameters.
std::string Describe(const FeatureParams* params) {
    std::ostringstream text;
    if (const auto* ss = dynamic_cast<const ssxxFeatureParams*>(params)) {
        text << "[ss " << ss->version << " " << ss->uiNameID << "]";
    } else if (const auto* size = dynamic_cast<const sizeFeatureParams*>(params)) {
        text << "[size " << size->designSize << " " << size->subfamilyID << " " << size->subfamilyNameID << " "
             << size->rangeStart << " " << size->rangeEnd << "]";
    } else if (const auto* cv = dynamic_cast<const cvxxFeatureParams*>(params)) {
        text << "[cv " << cv->format << " " << cv->featUILabelNameID << " " << cv->featUITooltipTextNameID << " "
             << cv->sampleTextNameID << " " << cv->numNamedParameters << " " << cv->firstParamUILabelNameID << ":";
        for (uint32_t c : cv->characters) text << " " << std::hex << std::uppercase << c << std::dec;
        text << "]";
    }
    return text.str();
}

// "tag(lookups)[params]" per feature, or "absent".
std::string Describe(const FeatureList& list) {
    if (!list.isPresent) return "absent";
    std::string text;
    for (const FeatureTable& feature : list.featureTables) {
        text += TagText(feature.tag) + "(";
        for (size_t i = 0; i < feature.lookupListIndices.size(); ++i) {
            text += (i ? " " : "") + std::to_string(feature.lookupListIndices[i]);
        }
        text += ")" + Describe(feature.featureParams.Get());
    }
    return text;
}

}  // namespace

// The first two bytes of a tag choose the parameters class; ssty counts as a
// stylistic set on purpose.
TEST(FeatureTable, PrefixAndParametersClassFollowTheTag) {
    struct Case {
        const char* tag;
        const char* prefix;
        const char* params;
    };
    const std::vector<Case> cases = {
        {"ss01", "ssxx", "[ss 0 0]"},
        {"ss20", "ssxx", "[ss 0 0]"},
        {"ssty", "ssxx", "[ss 0 0]"},
        {"cv12", "cvxx", "[cv 0 0 0 0 0 0:]"},
        {"cvAB", "cvxx", "[cv 0 0 0 0 0 0:]"},
        {"size", "size", "[size 0 0 0 0 0]"},
        {"liga", "liga", ""},
        {"sxss", "sxss", ""},
        {"ssxx", "ssxx", "[ss 0 0]"},
        {"cxvv", "cxvv", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.tag);
        const Tag tag = StringToTag(Utf8String(c.tag));
        EXPECT_EQ(TagText(FeatureTable::GetFeaturePrefix(tag)), c.prefix);
        const Bedrock::Counted<FeatureParams> params = FeatureTable::MakeFeatureParams(tag);
        EXPECT_EQ(bool(params), *c.params != 0);
        EXPECT_EQ(Describe(params.Get()), c.params);
    }
}

// Hand-made list with each kind of parameters: liga's parameters are
// dropped, and the cv12 characters are read as four bytes each but written as
// three (a character above 0xFFFFFF loses its top byte).
TEST(FeatureList, ParametersLoadBySuffixAndCharacterVariantsWriteThreeBytes) {
    ByteWriter w;
    w.U16(4).Tag("ss01").U16(26).Tag("cv12").U16(38).Tag("size").U16(64).Tag("liga").U16(80);  // 0: list
    w.U16(8).U16(2).U16(3).U16(1).U16(1).U16(300);                                             // 26: ss01, params at 34
    w.U16(4).U16(0).U16(1).U16(0x100).U16(0x101).U16(0x102).U16(2).U16(0x103).U16(2);          // 38: cv12, params at 42
    w.U32(0x0001F600).U32(0x12345678);                                                         // 56: its two characters
    w.U16(6).U16(1).U16(5).U16(100).U16(1).U16(0x104).U16(80).U16(120);                        // 64: size, params at 70
    w.U16(6).U16(1).U16(7).U16(1).U16(0x105);                                                  // 80: liga, params at 86
    FeatureList list;
    ASSERT_TRUE(list.Load(ToBuffer(w.Data())));
    const std::string loaded =
        "ss01(3 1)[ss 1 300]"
        "cv12()[cv 1 256 257 258 2 259: 1F600 12345678]"
        "size(5)[size 100 1 260 80 120]"
        "liga(7)";
    EXPECT_EQ(Describe(list), loaded);

    TableGraph graph;
    const std::vector<uint8_t> packed = Pack(list, graph);
    // The features, then their parameters: ss01's at 50, cv12's at 54, size's at 74.
    EXPECT_EQ(packed, HexBytes("0004 73733031 001A 63763132 0022 73697A65 0026 6C696761 002C"
                               "0018 0002 0003 0001"
                               "0014 0000"
                               "0024 0001 0005"
                               "0000 0001 0007"
                               "0001 012C"
                               "0001 0100 0101 0102 0002 0103 0002 01F600 345678"
                               "0064 0001 0104 0050 0078"));
    ASSERT_EQ(graph.nodes.size(), 8u);
    // Read back, the three-byte characters are taken four bytes at a time,
    // the second running into the size parameters.
    FeatureList reread;
    ASSERT_TRUE(reread.Load(ToBuffer(packed)));
    EXPECT_EQ(Describe(reread),
              "ss01(3 1)[ss 1 300]cv12()[cv 1 256 257 258 2 259: 1F60034 56780064]"
              "size(5)[size 100 1 260 80 120]liga(7)");
}

// Features compare their parameters by pointer: two ss01 with separate but
// equal parameters are two nodes, while their parameters, compared by
// contents, are one node. Equal features without parameters, or sharing one
// parameters object, are one node. The tag takes part too.
//
//   list --> ss01 (1) ------> [ss 0 7]
//        \-> ss01 (1) ----/   /
//        \-> liga (2) (x2)   /
//        \-> rlig (2)       /
//        \-> ss02 (1) (x2) -
TEST(FeatureList, FeaturesShareOnlyIdenticalParameters) {
    FeatureList list;
    list.isPresent = true;
    const auto shared = MakeSsxx(7);
    list.featureTables = {MakeFeature("ss01", {1}, MakeSsxx(7)),
                          MakeFeature("ss01", {1}, MakeSsxx(7)),
                          MakeFeature("liga", {2}),
                          MakeFeature("liga", {2}),
                          MakeFeature("rlig", {2}),
                          MakeFeature("ss02", {1}, shared),
                          MakeFeature("ss02", {1}, shared)};
    EXPECT_FALSE(Equal(list.featureTables[0], list.featureTables[1]));
    EXPECT_TRUE(Equal(*list.featureTables[0].featureParams, *list.featureTables[1].featureParams));

    TableGraph graph;
    EXPECT_EQ(Pack(list, graph), HexBytes("0007 73733031 002C 73733031 0032 6C696761 0038 6C696761 0038"
                                          "726C6967 003E 73733032 0044 73733032 0044"
                                          "001E 0001 0001"
                                          "0018 0001 0001"
                                          "0000 0001 0002"
                                          "0000 0001 0002"
                                          "0006 0001 0001"
                                          "0000 0007"));
    // list, two ss01, their one params node, liga, rlig, ss02.
    EXPECT_EQ(graph.nodes.size(), 7u);
}

TEST(FeatureList, SetFeatureTable) {
    FeatureList list;
    list.featureTables = {MakeFeature("liga", {1}), MakeFeature("kern", {2})};
    const FeatureList before = list;
    EXPECT_FALSE(list.SetFeatureTable(-1, MakeFeature("calt", {9})));
    EXPECT_FALSE(list.SetFeatureTable(2, MakeFeature("calt", {9})));
    EXPECT_FALSE(list.SetFeatureTable(INT32_MIN, MakeFeature("calt", {9})));
    EXPECT_EQ(Describe(list), "absent");
    list.isPresent = true;
    EXPECT_EQ(Describe(list), "liga(1)kern(2)");

    // An alternate feature has tag 0: the old tag stays.
    FeatureTable alternate = MakeFeature("liga", {4, 5}, MakeSsxx(3));
    alternate.tag = 0;
    EXPECT_TRUE(list.SetFeatureTable(1, alternate));
    EXPECT_EQ(Describe(list), "liga(1)kern(4 5)[ss 0 3]");
    EXPECT_EQ(list.featureTables[1].featureParams.Get(), alternate.featureParams.Get());
    // A non-zero tag replaces the old one; an element of the list itself may be given.
    EXPECT_TRUE(list.SetFeatureTable(0, MakeFeature("calt", {6})));
    EXPECT_TRUE(list.SetFeatureTable(1, list.featureTables[1]));
    EXPECT_TRUE(list.SetFeatureTable(0, list.featureTables[1]));
    EXPECT_EQ(Describe(list), "kern(4 5)[ss 0 3]kern(4 5)[ss 0 3]");
    EXPECT_TRUE(Equal(list.featureTables[0], list.featureTables[1]));
    EXPECT_FALSE(Equal(list, before));
}

// Bytes read at a position: counts beyond the bytes keep what fits, offsets
// past the end leave that child empty, and a header that doesn't fit fails
// with nothing kept.
TEST(FeatureList, HostileCountsAndOffsets) {
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
        unsigned long position;
        bool loads;
        const char* kept;
    };
    const auto one = [](const char* tag, uint16_t offset) { return ByteWriter().U16(1).Tag(tag).U16(offset); };
    const std::vector<Case> cases = {
        {"empty buffer", {}, 0, false, "absent"},
        {"one byte", HexBytes("00"), 0, false, "absent"},
        {"position past the end", one("liga", 8).U32(0).Data(), 12, false, "absent"},
        {"count 0xFFFF, no records", HexBytes("FFFF"), 0, true, ""},
        {"count 3, one record", ByteWriter().U16(3).Tag("liga").U16(8).U32(0).Data(), 0, true, "liga()"},
        {"feature past the end", one("liga", 0xFF).Data(), 0, true, "liga()"},
        {"feature header cut", one("liga", 8).U8(0).Data(), 0, true, "liga()"},
        {"lookups count 0xFFFF, two present", one("liga", 8).U16(0).U16(0xFFFF).U16(1).U16(2).Data(), 0, true,
         "liga(1 2)"},
        {"parameters past the end", one("ss01", 8).U16(0xF000).U16(0).Data(), 0, true, "ss01()[ss 0 0]"},
        {"parameters cut", one("size", 8).U16(4).U16(0).U16(0x1234).Data(), 0, true, "size()[size 0 0 0 0 0]"},
        {"characters count 0xFFFF, one present",
         one("cv01", 8).U16(4).U16(0).U16(1).U16(2).U16(3).U16(4).U16(5).U16(6).U16(0xFFFF).U32(0x41).U16(0).Data(), 0,
         true, "cv01()[cv 1 2 3 4 5 6: 41]"},
        {"parameters of a tag with none", one("liga", 8).U16(4).U16(0).U16(1).U16(2).Data(), 0, true, "liga()"},
        // A zero feature offset is followed like any other: the list reads as
        // a feature with parameters offset 1 and the two indices that fit.
        {"feature offset 0", one("ss01", 0).Data(), 0, true, "ss01(12337 0)[ss 371 29488]"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto buffer = ToBuffer(c.bytes);
        buffer->Seek(c.position);
        FeatureList list;
        EXPECT_EQ(list.Load(buffer), c.loads);
        EXPECT_EQ(Describe(list), c.kept);
    }
    FeatureList list;
    FeatureTable feature;
    EXPECT_FALSE(list.Load(nullptr));
    EXPECT_FALSE(feature.Load(nullptr));
    for (const char* tag : {"ss01", "size", "cv01"}) {
        const auto params = FeatureTable::MakeFeatureParams(StringToTag(Utf8String(tag)));
        EXPECT_FALSE(params->Load(nullptr));
        EXPECT_FALSE(params->Load(ToBuffer(HexBytes("0001"))));
    }
}
