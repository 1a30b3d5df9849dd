// Script lists, scripts and language systems: real lists saved through the
// table graph and read back, byte-exact layouts of hand-made lists (file
// order, zero default offsets, which nodes are shared), the comparison order,
// and hostile counts and offsets.

#include <algorithm>
#include <filesystem>
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
#include "layout/LangSys.h"
#include "layout/LangSysRecord.h"
#include "layout/ScriptList.h"
#include "layout/ScriptTable.h"
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

LangSys MakeLangSys(std::vector<uint16_t> features) {
    LangSys langSys;
    langSys.isPresent = true;
    langSys.featureIndices = std::move(features);
    return langSys;
}

LangSysRecord MakeRecord(const char (&tag)[5], std::vector<uint16_t> features) {
    LangSysRecord record;
    record.tag = MakeTag(tag);
    record.langSys = MakeLangSys(std::move(features));
    return record;
}

unsigned long IndexOf(const TableGraph& graph, const GraphNode& node) {
    return std::find(graph.nodes.begin(), graph.nodes.end(), &node) - graph.nodes.begin();
}

std::string TagText(Tag tag) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>(tag >> shift);
    return text;
}

// "-" for a language system that is not present, else its feature indices.
std::string Describe(const LangSys& langSys) {
    if (!langSys.isPresent) return "-";
    std::string text = "(";
    for (uint16_t index : langSys.featureIndices) text += (text.size() > 1 ? " " : "") + std::to_string(index);
    return text + ")";
}

// "tag[default record...]" per script, or "absent".
std::string Describe(const ScriptList& list) {
    if (!list.isPresent) return "absent";
    std::string text;
    for (const auto& record : list.scriptRecords) {
        text += TagText(record.tag) + "[" + Describe(record.scriptTable.defaultLangSys);
        for (const LangSysRecord& langSys : record.scriptTable.langSysRecords) {
            text += " " + TagText(langSys.tag) + Describe(langSys.langSys);
        }
        text += "]";
    }
    return text;
}

}  // namespace

// Unsorted tags and indices, a script without a default language system: the
// writer's layout of these objects is these very bytes. Each record's inner
// LangSys is a node that no offset reaches, and is not laid out.
//
//   list --> latn --> (3 1) default, TRK (2 0), DEU (1)
//        \-> DFLT --> ROM (5), default offset 0
TEST(ScriptList, FileOrderAndAZeroDefaultOffsetSurviveByteForByte) {
    ByteWriter w;
    w.U16(2).Tag("latn").U16(14).Tag("DFLT").U16(30);          // 0: list
    w.U16(26).U16(2).Tag("TRK ").U16(36).Tag("DEU ").U16(46);  // 14: latn
    w.U16(0).U16(1).Tag("ROM ").U16(38);                       // 30: DFLT
    w.U16(0).U16(0xFFFF).U16(2).U16(3).U16(1);                 // 40: latn default
    w.U16(0).U16(0xFFFF).U16(2).U16(2).U16(0);                 // 50: TRK
    w.U16(0).U16(0xFFFF).U16(1).U16(1);                        // 60: DEU
    w.U16(0).U16(0xFFFF).U16(1).U16(5);                        // 68: ROM
    ScriptList list;
    ASSERT_TRUE(list.Load(ToBuffer(w.Data())));
    EXPECT_EQ(Describe(list), "latn[(3 1) TRK (2 0) DEU (1)]DFLT[- ROM (5)]");
    // Loading again replaces what the first load kept.
    ASSERT_TRUE(list.Load(ToBuffer(w.Data())));
    EXPECT_EQ(Describe(list), "latn[(3 1) TRK (2 0) DEU (1)]DFLT[- ROM (5)]");

    TableGraph graph;
    EXPECT_EQ(Pack(list, graph), w.Data());
    ASSERT_EQ(graph.nodes.size(), 10u);
    const unsigned long inner = IndexOf(graph, list.scriptRecords[0].scriptTable.langSysRecords[0].langSys);
    ASSERT_LT(inner, graph.nodes.size());
    EXPECT_TRUE(graph.Reverse()[inner].empty());
}

// Two scripts whose language systems are equal share one LangSysRecord node,
// but a default LangSys equal to that record is a node of its own: its bytes
// are laid out twice. The record's inner LangSys finds the default's node and
// adds no edge to it. A LangSys made in memory has no required feature.
//
//   list --> cyrl --> default (1 2), SRB (1 2)
//        \-> latn --> default (3),   SRB (the same node)
TEST(ScriptList, EqualRecordsAreSharedButNotWithAnEqualDefault) {
    ScriptList list;
    list.isPresent = true;
    list.scriptRecords.resize(2);
    list.scriptRecords[0].tag = MakeTag("cyrl");
    list.scriptRecords[0].scriptTable.defaultLangSys = MakeLangSys({1, 2});
    list.scriptRecords[1].tag = MakeTag("latn");
    list.scriptRecords[1].scriptTable.defaultLangSys = MakeLangSys({3});
    for (auto& record : list.scriptRecords) record.scriptTable.langSysRecords.push_back(MakeRecord("SRB ", {1, 2}));

    TableGraph graph;
    EXPECT_EQ(Pack(list, graph), HexBytes("0002 6379726C 000E 6C61746E 0018"
                                          "0014 0001 53524220 0026"
                                          "0014 0001 53524220 001C"
                                          "0000 FFFF 0002 0001 0002"
                                          "0000 FFFF 0001 0003"
                                          "0000 FFFF 0002 0001 0002"));
    ASSERT_EQ(graph.nodes.size(), 6u);
    const auto parents = graph.Reverse();
    EXPECT_EQ(parents[IndexOf(graph, list.scriptRecords[0].scriptTable.langSysRecords[0])],
              (std::vector<unsigned long>{1, 4}));
    EXPECT_EQ(parents[IndexOf(graph, list.scriptRecords[0].scriptTable.defaultLangSys)], std::vector<unsigned long>{1});
}

// A copy of a saved object starts out with the same buffer; saving the edited
// copy beside the original must not rewrite the original's bytes.
TEST(ScriptList, SavingAnEditedCopyLeavesTheOriginalsBytes) {
    ScriptList list;
    list.isPresent = true;
    list.scriptRecords.resize(1);
    list.scriptRecords[0].tag = MakeTag("latn");
    list.scriptRecords[0].scriptTable.defaultLangSys = MakeLangSys({1});
    list.scriptRecords[0].scriptTable.langSysRecords.push_back(MakeRecord("TRK ", {2}));
    ASSERT_FALSE(Pack(list).empty());

    list.scriptRecords.reserve(2);
    list.scriptRecords.push_back(list.scriptRecords[0]);
    list.scriptRecords[1].tag = MakeTag("cyrl");
    list.scriptRecords[1].scriptTable.defaultLangSys.featureIndices = {7, 8};
    list.scriptRecords[1].scriptTable.langSysRecords[0].langSys.featureIndices = {9};
    ScriptList reread;
    ASSERT_TRUE(reread.Load(ToBuffer(Pack(list))));
    EXPECT_EQ(Describe(reread), "latn[(1) TRK (2)]cyrl[(7 8) TRK (9)]");
}

// Bytes read at a position: counts beyond the bytes keep what fits, offsets
// past the end leave that child empty, and a header that doesn't fit fails
// with nothing kept.
TEST(ScriptList, HostileCountsAndOffsets) {
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
        unsigned long position;
        bool loads;
        const char* kept;
    };
    const auto latn = [](uint16_t offset) { return ByteWriter().U16(1).Tag("latn").U16(offset); };
    const std::vector<Case> cases = {
        {"empty buffer", {}, 0, false, "absent"},
        {"one byte", HexBytes("00"), 0, false, "absent"},
        {"position past the end", latn(8).U32(0).Data(), 12, false, "absent"},
        {"count 0xFFFF, no records", HexBytes("FFFF"), 0, true, ""},
        {"count 3, one record", ByteWriter().U16(3).Tag("latn").U16(8).U32(0).Data(), 0, true, "latn[-]"},
        {"script past the end", latn(0xFF).Data(), 0, true, "latn[-]"},
        {"script header cut", latn(8).U8(0).Data(), 0, true, "latn[-]"},
        {"default past the end", latn(8).U16(0xF0).U16(0).Data(), 0, true, "latn[-]"},
        {"language system past the end", latn(8).U16(0).U16(1).Tag("TRK ").U16(0xF0).Data(), 0, true, "latn[- TRK -]"},
        {"records count 0xFFFF, one record", latn(8).U16(0).U16(0xFFFF).Tag("TRK ").U16(10).Data(), 0, true,
         "latn[- TRK -]"},
        {"features count 0xFFFF, two present",
         latn(8).U16(4).U16(0).U16(0).U16(0xFFFF).U16(0xFFFF).U16(1).U16(2).Data(), 0, true, "latn[(1 2)]"},
        // A zero script offset is followed like any other: the list reads as a
        // script whose default offset 1 lands inside the list.
        {"script offset 0", latn(0).Data(), 0, true, "latn[()]"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto buffer = ToBuffer(c.bytes);
        buffer->Seek(c.position);
        ScriptList list;
        EXPECT_EQ(list.Load(buffer), c.loads);
        EXPECT_EQ(Describe(list), c.kept);
    }
    ScriptList list;
    EXPECT_FALSE(list.Load(nullptr));
}

// Every script record points at one script whose every record points at one
// long language system: a full load would keep billions of indices. What is
// kept stays within the budget, first come first served; the records of the
// list itself are all there.
TEST(ScriptList, SharedChildrenCannotMultiplyMemory) {
    constexpr uint16_t kScripts = 5000, kLangSys = 5000, kFeatures = 30000;
    ByteWriter w;
    const uint16_t scriptAt = 2 + 6 * kScripts;
    const uint16_t langSysAt = 4 + 6 * kLangSys;
    w.U16(kScripts);
    for (int i = 0; i < kScripts; ++i) w.Tag("latn").U16(scriptAt);
    w.U16(0).U16(kLangSys);
    for (int i = 0; i < kLangSys; ++i) w.Tag("TRK ").U16(langSysAt);
    w.U16(0).U16(0xFFFF).U16(kFeatures);
    for (int i = 0; i < kFeatures; ++i) w.U16(i);
    const auto buffer = ToBuffer(w.Data());

    ScriptList list;
    ASSERT_TRUE(list.Load(buffer));
    ASSERT_EQ(list.scriptRecords.size(), kScripts);
    uint64_t kept = kScripts * sizeof(ScriptList::ScriptRecord);
    for (const auto& record : list.scriptRecords) {
        for (const LangSysRecord& langSys : record.scriptTable.langSysRecords) {
            kept += sizeof(LangSysRecord) + langSys.langSys.featureIndices.size() * sizeof(uint16_t);
        }
    }
    EXPECT_LE(kept, SubTable::GetLoadBudget(*buffer));
    const ScriptTable& first = list.scriptRecords[0].scriptTable;
    ASSERT_EQ(first.langSysRecords.size(), kLangSys);
    EXPECT_EQ(first.langSysRecords[0].langSys.featureIndices.size(), kFeatures);
    EXPECT_TRUE(list.scriptRecords.back().scriptTable.langSysRecords.empty());
}
