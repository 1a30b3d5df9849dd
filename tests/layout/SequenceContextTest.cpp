// Context and chained context subtables of GSUB and GPOS: real subtables of
// the DejaVu fonts saved through the graph and read back, the order in which
// children enter the graph, sharing of rules, absent sets and rules, the
// load budget, the order that decides sharing, and hostile input.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFont.h"
#include "core/Tag.h"
#include "layout/ChainedSequenceContextTable.h"
#include "layout/GPOSChainedSequenceContextTable.h"
#include "layout/GPOSSequenceContextTable.h"
#include "layout/GSUBChainedSequenceContextTable.h"
#include "layout/GSUBSequenceContextTable.h"
#include "layout/SequenceContextTable.h"
#include "packing/SubTable.h"
#include "packing/TableGraph.h"
#include "TestUtil.h"
#include "LayoutTestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;
using TypeframeTest::Equal;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;
using TypeframeTest::Pack;

namespace {

using Rule = SequenceContextTable::SequenceRule;
using ChainedRule = ChainedSequenceContextTable::ChainedSequenceRule;

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

uint16_t U16At(const BigEndianBuffer& bytes, unsigned long offset) {
    uint16_t value = 0;
    bytes.GetU16(offset, value);
    return value;
}

CoverageTable Coverage(std::vector<uint16_t> glyphs) {
    CoverageTable coverage;
    coverage.format = 1;
    coverage.glyphs = std::move(glyphs);
    return coverage;
}

Rule MakeRule(std::vector<uint16_t> input, uint16_t lookup) {
    Rule rule(true);
    rule.inputSequence = std::move(input);
    rule.lookupRecords = {{1, lookup}};
    return rule;
}

// " sets<kept>/<present> rules<kept>/<present>" of a vector of rule sets.
template <class Set>
std::string DescribeSets(const std::vector<Set>& sets) {
    size_t present = 0, rules = 0, presentRules = 0;
    for (const Set& set : sets) {
        present += set.isPresent;
        rules += set.rules.size();
        for (const auto& rule : set.rules) presentRules += rule.isPresent;
    }
    return " sets" + std::to_string(sets.size()) + "/" + std::to_string(present) + " rules" + std::to_string(rules) +
           "/" + std::to_string(presentRules);
}

// "<kept>/<loaded>" of a vector of coverages.
std::string DescribeCoverages(const std::vector<CoverageTable>& coverages) {
    size_t loaded = 0;
    for (const CoverageTable& coverage : coverages) loaded += coverage.format != 0;
    return std::to_string(coverages.size()) + "/" + std::to_string(loaded);
}

// The format and, by format, the formats of the children that loaded and
// the counts of what was kept.
std::string Describe(const SequenceContextTable& t) {
    const std::string head = "f" + std::to_string(t.format) + " ";
    if (t.format == 1) return head + "cov" + std::to_string(t.coverage.format) + DescribeSets(t.ruleSets);
    if (t.format == 2) {
        return head + "cov" + std::to_string(t.coverage.format) + " cd" + std::to_string(t.classDefinition.format) +
               DescribeSets(t.classRuleSets);
    }
    if (t.format == 3)
        return head + "covs" + DescribeCoverages(t.coverages) + " recs" + std::to_string(t.lookupRecords.size());
    return "f" + std::to_string(t.format);
}

std::string Describe(const ChainedSequenceContextTable& t) {
    const std::string head = "f" + std::to_string(t.format) + " ";
    if (t.format == 1) return head + "cov" + std::to_string(t.coverage.format) + DescribeSets(t.ruleSets);
    if (t.format == 2) {
        return head + "cov" + std::to_string(t.coverage.format) + " cd" +
               std::to_string(t.backtrackClassDefinition.format) + std::to_string(t.inputClassDefinition.format) +
               std::to_string(t.lookAheadClassDefinition.format) + DescribeSets(t.classRuleSets);
    }
    if (t.format == 3) {
        return head + "covs" + DescribeCoverages(t.backtrackCoverages) + " " + DescribeCoverages(t.inputCoverages) +
               " " + DescribeCoverages(t.lookAheadCoverages) + " recs" + std::to_string(t.lookupRecords.size());
    }
    return "f" + std::to_string(t.format);
}

// The target of each edge of `node`, in order.
std::vector<uint64_t> Targets(const TableGraph& graph, unsigned long node) {
    std::vector<uint64_t> targets;
    for (const TableEdge& edge : graph.edges[node]) targets.push_back(edge.target);
    return targets;
}

// Packs `table`, reads the bytes back into a new table of its class and of
// its font, and expects an equal table.
template <class Table>
void ExpectRoundTrip(const Table& table) {
    const std::vector<uint8_t> packed = Pack(table);
    ASSERT_FALSE(packed.empty());
    Table reread;
    reread.font = table.font;
    EXPECT_TRUE(reread.Load(ToBuffer(packed)));
    EXPECT_TRUE(Equal(reread, table));
}

}  // namespace

// Format 1: the coverage, then each present rule set followed by its rules,
// in field order. An absent set or rule keeps a zero offset and never enters
// the graph; a rule equal to one of an earlier set is that rule's node.
//
//   table --> coverage
//         |-> set 0 --> rule A
//         |         \-> rule B
//         |   set 1: absent, offset 0
//         \-> set 2 --> rule A
//                   (absent rule, offset 0)
TEST(SequenceContext, Format1NodesSharedRulesAndAbsentSets) {
    GSUBSequenceContextTable table;
    table.format = 1;
    table.coverage = Coverage({10, 11, 12});
    table.ruleSets.assign(3, SequenceContextTable::SequenceRuleSet(true));
    table.ruleSets[0].rules = {MakeRule({20}, 1), MakeRule({21, 22}, 2)};
    table.ruleSets[1].isPresent = false;
    table.ruleSets[2].rules = {MakeRule({20}, 1), Rule(false)};
    TableGraph graph;
    const std::vector<uint8_t> packed = Pack(table, graph);
    ASSERT_FALSE(packed.empty());
    EXPECT_EQ(graph.nodes,
              (std::vector<const GraphNode*>{&table, &table.coverage, &table.ruleSets[0], &table.ruleSets[0].rules[0],
                                             &table.ruleSets[0].rules[1], &table.ruleSets[2]}));
    EXPECT_EQ(Targets(graph, 0), (std::vector<uint64_t>{1, 2, 5}));
    EXPECT_EQ(Targets(graph, 5), (std::vector<uint64_t>{3}));
    EXPECT_EQ(BufferBytes(*table.buffer), HexBytes("0001 0000 0003 0000 0000 0000"));
    EXPECT_EQ(U16At(*ToBuffer(packed), 8), 0);
    EXPECT_EQ(BufferBytes(*table.ruleSets[2].buffer), HexBytes("0002 0000 0000"));
    // A rule's glyph count is one more than the glyphs it holds.
    EXPECT_EQ(BufferBytes(*table.ruleSets[0].rules[1].buffer), HexBytes("0003 0001 0015 0016 0001 0002"));
    ExpectRoundTrip(table);
}

// Format 2 of the context subtable, and the chained subtable in formats 2
// and 3: the children follow the fields, coverage first, and the chained
// subtable writes all its fields, placeholders included, before any child.
TEST(SequenceContext, ChildrenFollowTheFieldOrder) {
    ClassDefinitionTable classes[3];
    for (uint16_t i = 0; i < 3; ++i) {
        classes[i].format = 1;
        classes[i].classes = {{uint16_t(5 + i), 1}};
    }
    GPOSSequenceContextTable context;
    context.format = 2;
    context.coverage = Coverage({5});
    context.classDefinition = classes[1];
    context.classRuleSets.assign(2, SequenceContextTable::ClassSequenceRuleSet(true));
    context.classRuleSets[0].isPresent = false;
    context.classRuleSets[1].rules.assign(1, SequenceContextTable::ClassSequenceRule(true));
    TableGraph graph;
    ASSERT_FALSE(Pack(context, graph).empty());
    EXPECT_EQ(graph.nodes,
              (std::vector<const GraphNode*>{&context, &context.coverage, &context.classDefinition,
                                             &context.classRuleSets[1], &context.classRuleSets[1].rules[0]}));
    EXPECT_EQ(Targets(graph, 0), (std::vector<uint64_t>{1, 2, 3}));
    ExpectRoundTrip(context);

    GPOSChainedSequenceContextTable chained;
    chained.format = 2;
    chained.coverage = Coverage({5});
    chained.backtrackClassDefinition = classes[0];
    chained.inputClassDefinition = classes[1];
    chained.lookAheadClassDefinition = classes[2];
    chained.classRuleSets.assign(2, ChainedSequenceContextTable::ChainedClassSequenceRuleSet(true));
    chained.classRuleSets[0].isPresent = false;
    chained.classRuleSets[1].rules.assign(1, ChainedSequenceContextTable::ChainedClassSequenceRule(true));
    graph = TableGraph();
    ASSERT_FALSE(Pack(chained, graph).empty());
    EXPECT_EQ(graph.nodes,
              (std::vector<const GraphNode*>{&chained, &chained.coverage, &chained.backtrackClassDefinition,
                                             &chained.inputClassDefinition, &chained.lookAheadClassDefinition,
                                             &chained.classRuleSets[1], &chained.classRuleSets[1].rules[0]}));
    EXPECT_EQ(Targets(graph, 0), (std::vector<uint64_t>{1, 2, 3, 4, 5}));
    EXPECT_EQ(BufferBytes(*chained.buffer), HexBytes("0002 0000 0000 0000 0000 0002 0000 0000"));
    EXPECT_EQ(BufferBytes(*chained.classRuleSets[1].rules[0].buffer), HexBytes("0000 0001 0000 0000"));
    ExpectRoundTrip(chained);

    GSUBChainedSequenceContextTable coverages;
    coverages.format = 3;
    coverages.backtrackCoverages = {Coverage({1}), Coverage({2})};
    coverages.inputCoverages = {Coverage({3})};
    coverages.lookAheadCoverages = {Coverage({4})};
    coverages.lookupRecords = {{0, 7}};
    graph = TableGraph();
    const std::vector<uint8_t> packed = Pack(coverages, graph);
    EXPECT_EQ(graph.nodes, (std::vector<const GraphNode*>{
                               &coverages, &coverages.backtrackCoverages[0], &coverages.backtrackCoverages[1],
                               &coverages.inputCoverages[0], &coverages.lookAheadCoverages[0]}));
    EXPECT_EQ(packed, HexBytes("0003 0002 0016 001C 0001 0022 0001 0028 0001 0000 0007"
                               "0001 0001 0001 0001 0001 0002 0001 0001 0003 0001 0001 0004"));
    ExpectRoundTrip(coverages);
}

// A format 3 subtable without coverages writes its counts and its records.
TEST(SequenceContext, Format3WithoutCoverages) {
    const char* bytes = "0003 0000 0001 0000 0002";
    GSUBSequenceContextTable context;
    ASSERT_TRUE(context.Load(HexBuffer(bytes)));
    EXPECT_EQ(Pack(context), HexBytes(bytes));
    const char* chainedBytes = "0003 0000 0000 0000 0001 0000 0002";
    GSUBChainedSequenceContextTable chained;
    ASSERT_TRUE(chained.Load(HexBuffer(chainedBytes)));
    EXPECT_EQ(Pack(chained), HexBytes(chainedBytes));
}

// Bytes from the file never drive what is kept beyond what they hold; a bad
// offset leaves its child empty or absent, a bad format fails the load. A
// rule whose glyph count is 0 (the count includes the first glyph) is bad
// data and stays absent.
TEST(SequenceContext, HostileCountsFormatsAndOffsets) {
    struct Case {
        const char* name;
        bool chained;
        const char* bytes;
        bool loads;
        const char* kept;
    };
    const Case cases[] = {
        {"empty", false, "", false, "f0"},
        {"format 4", false, "0004 0000 0000", false, "f4"},
        {"format 1 header cut", false, "0001 0000", false, "f0"},
        {"rule sets 0xFFFF, one offset", false, "0001 0000 FFFF 0000", true, "f1 cov0 sets1/0 rules0/0"},
        {"rule set past the end", false, "0001 0000 0001 00F0", true, "f1 cov0 sets1/0 rules0/0"},
        {"rules 0xFFFF, no offsets", false, "0001 0000 0001 0008 FFFF", true, "f1 cov0 sets1/1 rules0/0"},
        {"rule past the end", false, "0001 0000 0001 0008 0001 00F0", true, "f1 cov0 sets1/1 rules1/0"},
        {"rule glyph count 0", false, "0001 0000 0001 0008 0002 0006 000A 0000 0000 0001 0000", true,
         "f1 cov0 sets1/1 rules2/1"},
        {"rule glyphs past the end", false, "0001 0000 0001 0008 0001 0004 FFFF 0000", true,
         "f1 cov0 sets1/1 rules1/0"},
        {"rule, control", false, "0001 0000 0001 0008 0001 0004 0002 0001 0009 0001 0002", true,
         "f1 cov0 sets1/1 rules1/1"},
        {"coverage past the end", false, "0001 00F0 0000", true, "f1 cov0 sets0/0 rules0/0"},
        {"coverage of format 3", false, "0001 0006 0000 0003 0000", true, "f1 cov0 sets0/0 rules0/0"},
        {"class definition past the end", false, "0002 0000 00F0 0000", true, "f2 cov0 cd0 sets0/0 rules0/0"},
        {"coverages and records 0xFFFF, one offset", false, "0003 FFFF FFFF 0000", true, "f3 covs1/0 recs0"},
        {"format 3 records cut", false, "0003 0000 0003 0000 0001 0000", true, "f3 covs0/0 recs1"},
        {"chained format 9", true, "0009 0000 0000", false, "f9"},
        {"chained format 2 header cut", true, "0002 0000 0000 0000 0000", false, "f0"},
        {"chained format 3 header cut", true, "0003 0000 0000 0000", false, "f0"},
        {"backtrack 0xFFFF, three offsets", true, "0003 FFFF 0000 0000 0000", true, "f3 covs3/0 0/0 0/0 recs0"},
        {"input coverage past the end", true, "0003 0001 000E 0001 00F0 0000 0000  0001 0001 0005", true,
         "f3 covs1/1 1/0 0/0 recs0"},
        {"class definitions past the end", true, "0002 0000 00F0 00F0 00F0 0000", true,
         "f2 cov0 cd000 sets0/0 rules0/0"},
        {"chained rule input count 0", true, "0001 0000 0001 0008 0001 0004 0000 0000 0000 0000", true,
         "f1 cov0 sets1/1 rules1/0"},
        {"chained rule lookahead past the end", true, "0001 0000 0001 0008 0001 0004 0000 0001 FFFF", true,
         "f1 cov0 sets1/1 rules1/0"},
        {"chained rule, control", true, "0001 0000 0001 0008 0001 0004 0000 0002 0009 0000 0001 0001 0002", true,
         "f1 cov0 sets1/1 rules1/1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string kept;
        bool loads = false;
        if (c.chained) {
            GPOSChainedSequenceContextTable table;
            loads = table.Load(HexBuffer(c.bytes));
            kept = Describe(table);
        } else {
            GPOSSequenceContextTable table;
            loads = table.Load(HexBuffer(c.bytes));
            kept = Describe(table);
        }
        EXPECT_EQ(loads, c.loads);
        EXPECT_EQ(kept, c.kept);
    }
    EXPECT_FALSE(GSUBSequenceContextTable().Load(nullptr));
    EXPECT_FALSE(GSUBChainedSequenceContextTable().Load(nullptr));
}

// Many offsets to one child load a copy each: the load budget, not the
// number of offsets, bounds what is kept and what is read, and the first
// copies stay.
TEST(SequenceContext, SharedOffsetsStayWithinTheLoadBudget) {
    // A format 3 subtable of `count` offsets to one coverage.
    auto format3 = [](uint16_t count, const std::vector<uint8_t>& coverage) {
        ByteWriter bytes;
        bytes.U16(3).U16(count).U16(0);
        for (int i = 0; i < count; ++i) bytes.U16(6 + 2 * count);
        return ToBuffer(bytes.Bytes(coverage).Data());
    };
    // 1000 copies of every glyph: 128 MiB kept.
    const auto everyGlyph = format3(1000, HexBytes("0002 0001 0000 FFFF 0000"));
    GSUBSequenceContextTable kept;
    ASSERT_TRUE(kept.Load(everyGlyph));
    ASSERT_EQ(kept.coverages.size(), 1000u);
    EXPECT_EQ(kept.coverages[0].glyphs.size(), 0x10000u);
    uint64_t glyphs = 0;
    for (const CoverageTable& coverage : kept.coverages) glyphs += coverage.glyphs.size();
    EXPECT_LE(2 * glyphs, SubTable::GetLoadBudget(*everyGlyph));

    // 10000 reads of 7000 ranges that hold no glyph: 420 MB read.
    ByteWriter empty;
    empty.U16(2).U16(7000);
    for (int i = 0; i < 7000; ++i) empty.U16(2).U16(1).U16(0);
    const auto emptyRanges = format3(10000, empty.Data());
    GSUBSequenceContextTable read;
    ASSERT_TRUE(read.Load(emptyRanges));
    uint64_t loaded = 0;
    for (const CoverageTable& coverage : read.coverages) loaded += coverage.format == 2;
    EXPECT_GT(loaded, 0u);
    EXPECT_LE(loaded * 6 * 7000, SubTable::GetLoadBudget(*emptyRanges));

    // One rule set of 2000 offsets to one rule of 16000 glyphs, 64 MB in all.
    constexpr uint16_t kRules = 2000;
    constexpr uint16_t kGlyphs = 16000;
    ByteWriter chained;
    chained.U16(1).U16(0).U16(1).U16(8).U16(kRules);
    for (int i = 0; i < kRules; ++i) chained.U16(2 + 2 * kRules);
    chained.U16(0).U16(kGlyphs + 1);
    for (int i = 0; i < kGlyphs; ++i) chained.U16(i);
    chained.U16(0).U16(0);
    const auto chainedBytes = ToBuffer(chained.Data());
    GSUBChainedSequenceContextTable rules;
    ASSERT_TRUE(rules.Load(chainedBytes));
    ASSERT_EQ(rules.ruleSets.size(), 1u);
    ASSERT_TRUE(rules.ruleSets[0].rules[0].isPresent);
    glyphs = 0;
    for (const auto& rule : rules.ruleSets[0].rules) glyphs += rule.inputSequence.size();
    EXPECT_GT(glyphs, 0u);
    EXPECT_LE(2 * glyphs, SubTable::GetLoadBudget(*chainedBytes));
}

// The lookup types; GPOS names its input sequence "Class" though its values
// are glyph names, which come from the font, and are empty without one or
// for a glyph it can't name.
TEST(SequenceContext, TypesAndInputSequenceNames) {
    GSUBSequenceContextTable gsub;
    GPOSSequenceContextTable gpos;
    EXPECT_EQ(std::to_string(gsub.GetType()) + std::to_string(GSUBChainedSequenceContextTable().GetType()) +
                  std::to_string(gpos.GetType()) + std::to_string(GPOSChainedSequenceContextTable().GetType()),
              "5678");
    EXPECT_EQ(gsub.InputSequence(), Utf8String("Input"));
    EXPECT_EQ(gpos.InputSequence(), Utf8String("Class"));
    EXPECT_EQ(gsub.GetInputSequenceValue(1), Utf8String());
    const auto font = Bedrock::MakeCounted<OTFont>();
    font->SetGlyphNames({".notdef", "a"});
    gsub.font = gpos.font = font;
    EXPECT_EQ(gsub.GetInputSequenceValue(1), Utf8String("a"));
    EXPECT_EQ(gpos.GetInputSequenceValue(1), Utf8String("a"));
    EXPECT_EQ(gpos.GetInputSequenceValue(5), Utf8String());
}

// Applies each change to a fresh `Table` and expects it unequal to an
// untouched one.
template <class Table, class Base>
void ExpectEachChangeCounts(const std::vector<std::function<void(Base&)>>& changes) {
    for (size_t i = 0; i < changes.size(); ++i) {
        SCOPED_TRACE("change " + std::to_string(i));
        Table changed;
        changes[i](changed);
        EXPECT_FALSE(Equal(changed, Table()));
    }
}

// Fonts often leave out an empty backtrack or lookahead class definition
// (offset 0). It stays a zero offset on saving, rather than an offset to
// whatever a definition that was never read would answer, and the subtable
// packs and reads back the same.
TEST(SequenceContext, AbsentClassDefinitionsKeepZeroOffsets) {
    const auto bytes = HexBuffer(
        "0002 000E 0000 0014 0000 0001 0000"  // format 2, no backtrack or lookahead classes, one absent set
        "0001 0001 0005"                      // coverage: glyph 5
        "0001 0005 0001 0000");               // input classes: glyph 5 in class 0
    GPOSChainedSequenceContextTable table;
    ASSERT_TRUE(table.Load(bytes));
    EXPECT_EQ(table.backtrackClassDefinition.format, 0);
    const std::vector<uint8_t> packed = Pack(table);
    ASSERT_GE(packed.size(), 14u);
    EXPECT_EQ(packed[4] << 8 | packed[5], 0);
    EXPECT_EQ(packed[8] << 8 | packed[9], 0);
    GPOSChainedSequenceContextTable reread;
    ASSERT_TRUE(reread.Load(ToBuffer(packed)));
    EXPECT_TRUE(Equal(reread, table));
}
