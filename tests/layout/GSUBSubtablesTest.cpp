// The GSUB lookup subtables: real subtables of installed and test fonts saved
// through the table graph and read back, bare and behind extensions; the
// mappings of the single, multiple and alternate substitutions; the quirks
// kept on purpose; shared children; and hostile counts and offsets.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
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
#include "layout/AlternateSubstLookup.h"
#include "layout/ExtensionSubLookup.h"
#include "layout/GSUBChainedSequenceContextTable.h"
#include "layout/GSUBSequenceContextTable.h"
#include "layout/LigatureSubstLookup.h"
#include "layout/LookupSubTableOwner.h"
#include "layout/LookupTable.h"
#include "layout/MultipleSubstLookup.h"
#include "layout/ReverseChainSingleSubstTable.h"
#include "layout/SingleSubstLookup.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/TableGraph.h"
#include "TestUtil.h"
#include "LayoutTestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;
using TypeframeTest::Equal;
using TypeframeTest::HexBytes;
using TypeframeTest::Pack;
using TypeframeTest::SameSubTable;

namespace {

using Mapping = std::map<uint16_t, std::vector<uint16_t>>;

// Makes the GSUB class for each lookup type 1 to 8, and null for others.
class SubstOwner final : public LookupSubTableOwner {
public:
    Bedrock::Counted<LookupSubTable> MakeSubTable(unsigned short type,
                                                  Bedrock::NonCounted<OTFont> font) const override {
        Bedrock::Counted<LookupSubTable> made;
        switch (type) {
            case 1: made = Bedrock::MakeCounted<SingleSubstLookup>(); break;
            case 2: made = Bedrock::MakeCounted<MultipleSubstLookup>(); break;
            case 3: made = Bedrock::MakeCounted<AlternateSubstLookup>(); break;
            case 4: made = Bedrock::MakeCounted<LigatureSubstLookup>(); break;
            case 5: made = Bedrock::MakeCounted<GSUBSequenceContextTable>(); break;
            case 6: made = Bedrock::MakeCounted<GSUBChainedSequenceContextTable>(); break;
            case 7: return Bedrock::MakeCounted<ExtensionSubLookup>(font, this);
            case 8: made = Bedrock::MakeCounted<ReverseChainSingleSubstTable>(); break;
            default: return nullptr;
        }
        made->font = font;
        return made;
    }
    Bedrock::Counted<LookupSubTable> MakeExtensionSubTable(Bedrock::Counted<LookupSubTable> subTable) const override {
        const Bedrock::NonCounted<OTFont> font = subTable ? subTable->font : nullptr;
        return Bedrock::MakeCounted<ExtensionSubLookup>(font, this, std::move(subTable));
    }
    uint16_t GetExtensionType() const override { return 7; }
};

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

const LookupSubTable& Unwrap(const LookupSubTable& table) {
    const auto* extension = dynamic_cast<const ExtensionSubLookup*>(&table);
    return extension && extension->subTable ? *extension->subTable : table;
}

// Counts the context subtables a visitor reaches.
class ContextCounter final : public GraphNodeVisitor {
public:
    using GraphNodeVisitor::Visit;
    void Visit(SequenceContextTable&) override { ++count; }
    int count = 0;
};

}  // namespace

// Format 1 adds the delta in 16 bits; format 2 pairs glyphs with the
// coverage, and when the counts differ the load fails yet keeps every field,
// which save back to the same bytes. The mapping is made once: a second
// call, or a second load, fails and leaves it as it was.
TEST(GSUBSubtables, SingleSubstitutionMappingAndItsQuirks) {
    SingleSubstLookup delta;
    ASSERT_TRUE(delta.Load(ToBuffer(HexBytes("0001 0006 FFFE  0001 0002 0001 FFFF"))));
    EXPECT_EQ(delta.mapping, (std::map<uint16_t, uint16_t>{{1, 0xFFFF}, {0xFFFF, 0xFFFD}}));
    EXPECT_FALSE(delta.MakeMapping());
    EXPECT_FALSE(delta.Load(ToBuffer(HexBytes("0001 0006 0001  0001 0001 0007"))));
    EXPECT_EQ(delta.coverage.glyphs, std::vector<uint16_t>{7});
    EXPECT_EQ(delta.mapping.size(), 2u);

    const std::vector<uint8_t> mismatched = HexBytes("0002 000A 0002 0014 0015  0001 0003 0005 0006 0007");
    SingleSubstLookup listed;
    EXPECT_FALSE(listed.Load(ToBuffer(mismatched)));
    EXPECT_TRUE(listed.mapping.empty());
    EXPECT_EQ(listed.substituteGlyphs, (std::vector<uint16_t>{0x14, 0x15}));
    EXPECT_EQ(Pack(listed), mismatched);
    listed.substituteGlyphs.push_back(0x16);
    EXPECT_TRUE(listed.MakeMapping());
    EXPECT_EQ(listed.mapping.at(7), 0x16);

    // An unknown format keeps only its number, and its save answers node 0.
    SingleSubstLookup unknown;
    EXPECT_FALSE(unknown.Load(ToBuffer(HexBytes("0003 0006 0000  0001 0000"))));
    EXPECT_EQ(unknown.format, 3);
    ExtensionSubLookup wrapper(nullptr, nullptr, unknown.Clone());
    EXPECT_EQ(wrapper.extensionLookupType, 1);
    TableGraph graph;
    wrapper.Save(graph);
    ASSERT_EQ(graph.edges[0].size(), 1u);
    EXPECT_EQ(graph.edges[0].front().target, 0u);
}

// Sequences map whole; a set at a zero offset is empty; another format reads
// and saves as format 1 does but has no mapping. Equal sequences under two
// lookups are one node.
//
//   lookup --> multiple A --> coverage {5}
//          |             +--> sequence [8 9] <--+
//          +-> multiple B --> coverage {6}      |
//                        +----------------------+
TEST(GSUBSubtables, MultipleAndAlternateSubstitutions) {
    const std::vector<uint8_t> bytes = HexBytes("0001 000A 0002 0012 0000  0001 0002 0005 0006  0002 0008 0009");
    MultipleSubstLookup multiple;
    ASSERT_TRUE(multiple.Load(ToBuffer(bytes)));
    EXPECT_EQ(multiple.mapping, (Mapping{{5, {8, 9}}, {6, {}}}));
    AlternateSubstLookup alternate;
    ASSERT_TRUE(alternate.Load(ToBuffer(bytes)));
    EXPECT_EQ(alternate.mapping, multiple.mapping);
    EXPECT_EQ(Pack(alternate), Pack(multiple));

    std::vector<uint8_t> format2 = bytes;
    format2[1] = 2;
    MultipleSubstLookup other;
    EXPECT_FALSE(other.Load(ToBuffer(format2)));
    EXPECT_TRUE(other.mapping.empty());
    EXPECT_EQ(other.sequences.size(), 2u);
    std::vector<uint8_t> expected = Pack(multiple);
    ASSERT_FALSE(expected.empty());
    expected[1] = 2;
    EXPECT_EQ(Pack(other), expected);

    auto a = Bedrock::MakeCounted<MultipleSubstLookup>();
    a->format = 1;
    a->coverage.format = 1;
    a->coverage.glyphs = {5};
    a->sequences.resize(1);
    a->sequences[0].substituteGlyphs = {8, 9};
    auto b = Bedrock::MakeCounted<MultipleSubstLookup>(*a);
    b->coverage.glyphs = {6};
    LookupTable lookup;
    lookup.lookupType = 2;
    lookup.subTables = {a, b};
    TableGraph graph;
    lookup.Save(graph);
    EXPECT_EQ(graph.nodes.size(), 6u);
    EXPECT_EQ(graph.edges[1].back().target, graph.edges[4].back().target);
}

// A ligature of one glyph writes a component count of 1; a zero ligature
// offset leaves an absent ligature that saves as a zero offset with no edge,
// yet compares equal to a present empty one; another format reads and saves
// as format 1 but the load fails.
TEST(GSUBSubtables, LigatureSubstitution) {
    const std::vector<uint8_t> bytes = HexBytes("0001 0008 0001 000E  0001 0001 0005  0002 0006 0000  0010 0001");
    LigatureSubstLookup ligature;
    ASSERT_TRUE(ligature.Load(ToBuffer(bytes)));
    ASSERT_EQ(ligature.ligatureSets.size(), 1u);
    const auto& set = ligature.ligatureSets[0];
    ASSERT_EQ(set.ligatures.size(), 2u);
    EXPECT_TRUE(set.ligatures[0].isPresent);
    EXPECT_FALSE(set.ligatures[1].isPresent);
    TableGraph graph;
    EXPECT_EQ(Pack(ligature, graph), bytes);
    EXPECT_EQ(BufferBytes(*set.ligatures[0].GetBuffer()), HexBytes("0010 0001"));
    EXPECT_EQ(BufferBytes(*set.GetBuffer()), HexBytes("0002 0000 0000"));
    ASSERT_EQ(graph.edges[2].size(), 1u);
    EXPECT_EQ(graph.edges[2].front().offset.position, 2u);
    // Presence takes no part in the order: an absent ligature equals an empty one.
    EXPECT_TRUE(Equal(LigatureSubstLookup::LigatureTable(false), LigatureSubstLookup::LigatureTable(true)));

    std::vector<uint8_t> format2 = bytes;
    format2[1] = 2;
    LigatureSubstLookup other;
    EXPECT_FALSE(other.Load(ToBuffer(format2)));
    EXPECT_TRUE(Equal(other.ligatureSets[0], set));
    EXPECT_EQ(Pack(other), format2);
}

// A chain of extensions is refused, so a load never recurses; the wrapped subtable sits behind a 32-bit edge; a
// clone copies the wrapped subtable; a visitor is handed on to it.
//
//   extension ==32==> single --> coverage
TEST(GSUBSubtables, Extension) {
    const auto owner = Bedrock::MakeCounted<SubstOwner>();
    ExtensionSubLookup extension(nullptr, owner);
    EXPECT_EQ(extension.format, 1);
    EXPECT_EQ(extension.owner.Get(), owner.Get());
    ByteWriter chain;
    for (int i = 0; i < 3; ++i) chain.U16(1).U16(7).U32(i < 2 ? 8 : 0);
    EXPECT_FALSE(extension.Load(ToBuffer(chain.Data())));
    EXPECT_FALSE(extension.subTable);
    EXPECT_EQ(Pack(extension), HexBytes("0001 0007 00000000"));

    ASSERT_TRUE(extension.Load(ToBuffer(HexBytes("0001 0001 00000008  0001 0006 0002  0001 0001 0005"))));
    ASSERT_TRUE(extension.subTable);
    TableGraph graph;
    ASSERT_EQ(extension.Save(graph), 0u);
    ASSERT_EQ(graph.edges[0].size(), 1u);
    EXPECT_EQ(graph.edges[0].front().offset.width, 4u);

    const auto clone = extension.Clone();
    const auto& copy = static_cast<const ExtensionSubLookup&>(*clone);
    ASSERT_TRUE(copy.subTable);
    EXPECT_NE(copy.subTable.Get(), extension.subTable.Get());
    EXPECT_TRUE(SameSubTable(copy, extension));
    static_cast<SingleSubstLookup&>(*copy.subTable).deltaGlyphID = 9;
    EXPECT_EQ(static_cast<const SingleSubstLookup&>(*extension.subTable).deltaGlyphID, 2);

    ContextCounter counter;
    ExtensionSubLookup context(nullptr, owner, Bedrock::MakeCounted<GSUBSequenceContextTable>());
    EXPECT_EQ(context.extensionLookupType, 5);
    context.Accept(counter);
    EXPECT_EQ(counter.count, 1);
}

// Bytes read at position 0: what each load returns and keeps.
TEST(GSUBSubtables, HostileCountsAndOffsets) {
    const auto owner = Bedrock::MakeCounted<SubstOwner>();
    const auto load = [&owner](uint16_t type, const char* hex) {
        const Bedrock::Counted<LookupSubTable> table = owner->MakeSubTable(type, nullptr);
        std::string text = table->Load(ToBuffer(HexBytes(hex))) ? "true" : "false";
        const LookupSubTable& inner = Unwrap(*table);
        if (const auto* single = dynamic_cast<const SingleSubstLookup*>(&inner)) {
            text += " f" + std::to_string(single->format) + " " + std::to_string(single->substituteGlyphs.size());
        } else if (const auto* multiple = dynamic_cast<const MultipleSubstLookup*>(&inner)) {
            text += " sets";
            for (const auto& set : multiple->sequences) text += " " + std::to_string(set.substituteGlyphs.size());
        } else if (const auto* ligature = dynamic_cast<const LigatureSubstLookup*>(&inner)) {
            text += " sets";
            for (const auto& set : ligature->ligatureSets) {
                text += " ";
                for (const auto& entry : set.ligatures) text += entry.isPresent ? "L" : "-";
            }
        } else if (const auto* reverse = dynamic_cast<const ReverseChainSingleSubstTable*>(&inner)) {
            text += " " + std::to_string(reverse->backtrackCoverages.size()) + "/" +
                    std::to_string(reverse->lookAheadCoverages.size()) + "/" +
                    std::to_string(reverse->substituteGlyphs.size());
        }
        if (const auto* extension = dynamic_cast<const ExtensionSubLookup*>(table.Get())) {
            text += extension->subTable ? " wraps " + std::to_string(extension->subTable->GetType()) : " null";
        }
        return text;
    };
    struct Case {
        const char* name;
        std::string got;
        const char* expected;
    };
    const std::vector<Case> cases = {
        {"single: empty", load(1, ""), "false f0 0"},
        {"single: header cut", load(1, "0001 0006"), "false f0 0"},
        {"single: unknown format", load(1, "0009 0006 0000"), "false f9 0"},
        {"single: glyphs past the end", load(1, "0002 0000 FFFF 0001"), "false f2 1"},
        {"single: coverage past the end", load(1, "0001 FFF0 0001"), "true f1 0"},
        {"multiple: sets past the end", load(2, "0001 0000 FFFF 000A"), "false sets 0"},
        {"multiple: sequence count past the end", load(2, "0001 0000 0001 0008 FFFF 0001"), "false sets 1"},
        {"multiple: set at a zero offset", load(2, "0001 0000 0001 0000"), "false sets 0"},
        {"alternate: header cut", load(3, "0001 0000"), "false"},
        {"ligature: no components is bad data", load(4, "0001 0000 0001 0008 0001 0004 0010 0000"), "true sets -"},
        {"ligature: components past the end", load(4, "0001 0000 0001 0008 0001 0004 0010 0003 0011"), "true sets -"},
        {"ligature: set count past the end", load(4, "0001 0000 FFFF 0000"), "true sets "},
        {"reverse: header cut", load(8, "0001 0000"), "false 0/0/0"},
        {"reverse: counts past the end", load(8, "0001 0000 FFFF 0000"), "true 1/0/0"},
        {"reverse: glyphs past the end", load(8, "0001 0000 0000 0000 0003 0005"), "true 0/0/1"},
        {"extension: header cut", load(7, "0001 0001 0000"), "false null"},
        {"extension: unknown type", load(7, "0001 0009 00000008 0000"), "false null"},
        {"extension: wraps itself", load(7, "0001 0007 00000000"), "false null"},
        {"extension: offset past the end", load(7, "0001 0004 FFFFFFF0"), "false sets wraps 4"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.got, c.expected);
    }
    ExtensionSubLookup orphan;
    EXPECT_FALSE(orphan.Load(ToBuffer(HexBytes("0001 0001 00000008 0001 0000 0000"))));
    EXPECT_FALSE(orphan.subTable);
}

// Thirty thousand offsets name one list of thirty thousand glyphs (a
// sequence), or one set of as many ligatures of as many components: loaded in
// full each would copy gigabytes. What one load keeps stays within the
// budget, and the first children are whole.
TEST(GSUBSubtables, SharedChildrenCannotMultiplyMemory) {
    constexpr uint32_t kCount = 30000;
    const uint32_t childAt = 6 + 2 * kCount;
    ByteWriter sequences;
    sequences.U16(1).U16(0).U16(kCount);
    for (uint32_t i = 0; i < kCount; ++i) sequences.U16(childAt);
    sequences.U16(kCount).Zeros(2 * kCount);
    const auto buffer = ToBuffer(sequences.Data());
    MultipleSubstLookup multiple;
    multiple.Load(buffer);
    uint64_t kept = multiple.sequences.size() * sizeof(MultipleSubstLookup::SequenceTable);
    for (const auto& set : multiple.sequences) kept += 2 * set.substituteGlyphs.size();
    EXPECT_LE(kept, SubTable::GetLoadBudget(*buffer));
    EXPECT_EQ(multiple.sequences.front().substituteGlyphs.size(), kCount);
    EXPECT_TRUE(multiple.sequences.back().substituteGlyphs.empty());

    // The set's offsets all name the ligature right after them.
    ByteWriter ligatures;
    ligatures.U16(1).U16(0).U16(kCount);
    for (uint32_t i = 0; i < kCount; ++i) ligatures.U16(childAt);
    ligatures.U16(kCount);
    for (uint32_t i = 0; i < kCount; ++i) ligatures.U16(2 + 2 * kCount);
    ligatures.U16(1).U16(kCount).Zeros(2 * (kCount - 1));
    const auto ligatureBuffer = ToBuffer(ligatures.Data());
    LigatureSubstLookup ligature;
    ligature.Load(ligatureBuffer);
    kept = ligature.ligatureSets.size() * sizeof(LigatureSubstLookup::LigatureSet);
    for (const auto& set : ligature.ligatureSets) {
        kept += set.ligatures.size() * sizeof(LigatureSubstLookup::LigatureTable);
        for (const auto& entry : set.ligatures) kept += 2 * entry.componentGlyphs.size();
    }
    EXPECT_LE(kept, SubTable::GetLoadBudget(*ligatureBuffer));
    ASSERT_FALSE(ligature.ligatureSets.front().ligatures.empty());
    EXPECT_EQ(ligature.ligatureSets.front().ligatures.front().componentGlyphs.size(), kCount - 1);
}
