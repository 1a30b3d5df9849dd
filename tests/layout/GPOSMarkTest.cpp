// The mark attachment subtables (mark to base, ligature and mark), their
// anchor arrays and the GPOS extension: real subtables saved through the
// table graph and read back, missing anchors, the inline anchors of the mark2
// array, extensions of extensions, and hostile counts, offsets and sharing.

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
#include "layout/AnchorTable.h"
#include "layout/BaseArrayTable.h"
#include "layout/ExtensionPosLookup.h"
#include "layout/LigatureArrayTable.h"
#include "layout/LigatureAttachTable.h"
#include "layout/LookupSubTableOwner.h"
#include "layout/Mark2ArrayTable.h"
#include "layout/MarkArrayTable.h"
#include "layout/MarkLigPosLookup.h"
#include "layout/MarkMarkPosLookup.h"
#include "layout/MarkToBasePosLookup.h"
#include "packing/GraphNodeVisitor.h"
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
using TypeframeTest::SameSubTable;

namespace {

// Makes the classes of this family for lookup types 4, 5, 6 and 9, and null
// for every other type.
class MarkOwner final : public LookupSubTableOwner {
public:
    Bedrock::Counted<LookupSubTable> MakeSubTable(unsigned short type,
                                                  Bedrock::NonCounted<OTFont> font) const override {
        Bedrock::Counted<LookupSubTable> made;
        if (type == 4) made = Bedrock::MakeCounted<MarkToBasePosLookup>();
        if (type == 5) made = Bedrock::MakeCounted<MarkLigPosLookup>();
        if (type == 6) made = Bedrock::MakeCounted<MarkMarkPosLookup>();
        if (type == 9) {
            auto extension = Bedrock::MakeCounted<ExtensionPosLookup>();
            extension->owner = this;
            made = extension;
        }
        if (made) made->font = font;
        return made;
    }
    Bedrock::Counted<LookupSubTable> MakeExtensionSubTable(Bedrock::Counted<LookupSubTable>) const override {
        return nullptr;
    }
    uint16_t GetExtensionType() const override { return 9; }
};

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

AnchorTable Anchor(int16_t x, int16_t y) {
    AnchorTable anchor;
    anchor.format = 1;
    anchor.xCoordinate = x;
    anchor.yCoordinate = y;
    return anchor;
}

uint16_t U16At(const BigEndianBuffer& bytes, unsigned long offset) {
    uint16_t value = 0;
    bytes.GetU16(offset, value);
    return value;
}

// "rows:" then each anchor as "x,y" or "-" when missing.
std::string Describe(uint16_t rowCount, const std::vector<AnchorTable>& anchors) {
    std::string text = std::to_string(rowCount) + ":";
    for (const AnchorTable& anchor : anchors) {
        text += anchor.format == 0
                    ? " -"
                    : " " + std::to_string(anchor.xCoordinate) + "," + std::to_string(anchor.yCoordinate);
    }
    return text;
}

}  // namespace

// With no mark classes there are no offsets: the array is its row count.
TEST(GPOSMark, BaseArrayWithoutClassesWritesOnlyItsRowCount) {
    BaseArrayTable bases(0);
    bases.rowCount = 3;
    EXPECT_EQ(Pack(bases), HexBytes("0003"));
    BaseArrayTable loaded(0);
    EXPECT_TRUE(loaded.Load(ToBuffer(HexBytes("0003"))));
    EXPECT_EQ(Describe(loaded.rowCount, loaded.anchors), "3:");
}

// A zero offset loads as an anchor of format 0 and saves as a zero offset
// with no edge; the present anchor is a node of its own.
//
//   bases --> anchor(10,20)
TEST(GPOSMark, MissingAnchorKeepsAZeroOffset) {
    const std::vector<uint8_t> bytes = HexBytes("0001 0006 0000 0001 000A 0014");
    BaseArrayTable bases(2);
    ASSERT_TRUE(bases.Load(ToBuffer(bytes)));
    EXPECT_EQ(Describe(bases.rowCount, bases.anchors), "1: 10,20 -");
    EXPECT_EQ(bases.anchors[1].format, 0);
    TableGraph graph;
    EXPECT_EQ(Pack(bases, graph), bytes);
    EXPECT_EQ(graph.edges[0].size(), 1u);

    LigatureAttachTable attach(2);
    ASSERT_TRUE(attach.Load(ToBuffer(bytes)));
    ASSERT_EQ(attach.componentAnchors.size(), 1u);
    EXPECT_EQ(Describe(1, attach.componentAnchors[0]), "1: 10,20 -");
    EXPECT_EQ(Pack(attach), bytes);
}

// Equal anchors are one shared node under a base array, but a mark2 array
// writes each inside its own bytes: one node for the array, a shared anchor
// written twice.
//
//   bases --> anchor(5,6)          mark2s [anchor(5,6) anchor(5,6)]
TEST(GPOSMark, Mark2ArrayWritesItsAnchorsInline) {
    BaseArrayTable bases(2);
    bases.rowCount = 1;
    bases.anchors = {Anchor(5, 6), Anchor(5, 6)};
    EXPECT_EQ(Pack(bases), HexBytes("0001 0006 0006 0001 0005 0006"));

    Mark2ArrayTable mark2s(2);
    mark2s.rowCount = 1;
    mark2s.anchors = {Anchor(5, 6), Anchor(5, 6)};
    TableGraph graph;
    const std::vector<uint8_t> inline_ = HexBytes("0001 0006 000C 0001 0005 0006 0001 0005 0006");
    EXPECT_EQ(Pack(mark2s, graph), inline_);
    EXPECT_TRUE(graph.edges[0].empty());
    EXPECT_EQ(graph.DFS(0).size(), 1u);
    EXPECT_EQ(BufferBytes(*mark2s.GetBuffer()), inline_);

    Mark2ArrayTable reread(2);
    ASSERT_TRUE(reread.Load(ToBuffer(inline_)));
    EXPECT_TRUE(Equal(reread, mark2s));
}

// Deliberate: an inline anchor that starts beyond 0xFFFE can't be reached by
// a 16-bit offset. Its offset stays zero, yet its bytes are still appended.
TEST(GPOSMark, Mark2ArrayAnchorsBeyond0xFFFEKeepZeroOffsets) {
    constexpr uint16_t kRows = 11000;
    Mark2ArrayTable mark2s(1);
    mark2s.rowCount = kRows;
    for (int i = 0; i < kRows; ++i) mark2s.anchors.push_back(Anchor(static_cast<int16_t>(i), 0));
    TableGraph graph;
    mark2s.Save(graph);
    const BigEndianBuffer& out = *mark2s.GetBuffer();
    const unsigned long anchorsAt = 2 + 2ul * kRows;
    ASSERT_EQ(out.GetLength(), anchorsAt + 6ul * kRows);
    const int reachable = (0xFFFE - anchorsAt) / 6 + 1;
    EXPECT_EQ(U16At(out, 2 + 2 * (reachable - 1)), anchorsAt + 6 * (reachable - 1));
    EXPECT_EQ(U16At(out, 2 + 2 * reachable), 0);
    EXPECT_EQ(U16At(out, 2 + 2 * (kRows - 1)), 0);
    // The unreachable anchor's bytes are there all the same.
    EXPECT_EQ(U16At(out, anchorsAt + 6 * (kRows - 1) + 2), kRows - 1);
}

// An extension that names type 9 is refused, so a chain of extensions can't
// recurse; one that wraps a mark subtable loads it and keeps a 32-bit edge.
//
//   extension ==32==> mark-to-mark --> ...
TEST(GPOSMark, ExtensionOfAnExtensionIsRefused) {
    const auto owner = Bedrock::MakeCounted<MarkOwner>();
    ExtensionPosLookup extension;
    extension.owner = owner;
    // Each extension points at the next, the last one at itself.
    ByteWriter chain;
    for (int i = 0; i < 3; ++i) chain.U16(1).U16(9).U32(i < 2 ? 8 : 0);
    EXPECT_FALSE(extension.Load(ToBuffer(chain.Data())));
    EXPECT_FALSE(extension.subTable);
    EXPECT_EQ(extension.extensionLookupType, 9);
    EXPECT_EQ(Pack(extension), HexBytes("0001 0009 00000000"));

    // Mark to mark: no classes, empty coverages and arrays.
    const std::vector<uint8_t> wrapped = HexBytes("0001 0006 00000008  0001 000C 000C 0000 0010 0010  0001 0000 0000");
    ASSERT_TRUE(extension.Load(ToBuffer(wrapped)));
    ASSERT_TRUE(extension.subTable);
    EXPECT_EQ(extension.subTable->GetType(), 6);
    TableGraph graph;
    ASSERT_EQ(extension.Save(graph), 0u);
    ASSERT_EQ(graph.edges[0].size(), 1u);
    EXPECT_EQ(graph.edges[0].front().offset.width, 4u);
    const std::vector<uint8_t> packed = Pack(extension);
    ExtensionPosLookup reread;
    reread.owner = owner;
    ASSERT_TRUE(reread.Load(ToBuffer(packed)));
    EXPECT_TRUE(SameSubTable(reread, extension));
}

// Mark to ligature end to end, and the visiting order: each object before
// its children, present anchors only, and an extension hands the visitor on.
//
//   extension ==> mark-to-ligature --> marks --> anchor(1,0)
//                                  \-> ligatures --> attach --> anchor(2,0)
TEST(GPOSMark, MarkToLigatureRoundTrip) {
    auto ligature = Bedrock::MakeCounted<MarkLigPosLookup>();
    ligature->markCoverage.format = 1;
    ligature->markCoverage.glyphs = {10};
    ligature->ligatureCoverage.format = 1;
    ligature->ligatureCoverage.glyphs = {20};
    ligature->markClassCount = 1;
    ligature->markArray.markRecords = {{0, Anchor(1, 0)}};
    ligature->ligatureArray.classCount = 1;
    LigatureAttachTable attach(1);
    attach.componentAnchors = {{Anchor(2, 0)}, {AnchorTable()}};
    ligature->ligatureArray.attachTables = {attach};

    MarkLigPosLookup reread;
    ASSERT_TRUE(reread.Load(ToBuffer(Pack(*ligature))));
    EXPECT_TRUE(Equal(reread, *ligature));
    ASSERT_EQ(reread.ligatureArray.attachTables.size(), 1u);
    EXPECT_EQ(reread.ligatureArray.attachTables[0].classCount, 1);
    EXPECT_EQ(reread.ligatureArray.attachTables[0].componentAnchors.size(), 2u);
}

// Bytes read at position 0: what each load returns and keeps.
TEST(GPOSMark, HostileCountsAndOffsets) {
    const auto owner = Bedrock::MakeCounted<MarkOwner>();
    const auto bases = [](uint16_t classCount, std::vector<uint8_t> bytes) {
        BaseArrayTable table(classCount);
        table.rowCount = 7;
        const bool loaded = table.Load(ToBuffer(bytes));
        return std::string(loaded ? "true " : "false ") + Describe(table.rowCount, table.anchors);
    };
    const auto attach = [](uint16_t classCount, std::vector<uint8_t> bytes) {
        LigatureAttachTable table(classCount);
        const bool loaded = table.Load(ToBuffer(bytes));
        return std::string(loaded ? "true " : "false ") + std::to_string(table.componentAnchors.size());
    };
    const auto marks = [](std::vector<uint8_t> bytes) {
        MarkArrayTable table;
        const bool loaded = table.Load(ToBuffer(bytes));
        std::string text = loaded ? "true" : "false";
        for (const auto& record : table.markRecords) text += " " + std::to_string(record.markAnchor.format);
        return text;
    };
    const auto subTable = [&owner](uint16_t type, std::vector<uint8_t> bytes) {
        const Bedrock::Counted<LookupSubTable> table = owner->MakeSubTable(type, nullptr);
        const bool loaded = table->Load(ToBuffer(bytes));
        std::string text = loaded ? "true" : "false";
        if (const auto* extension = dynamic_cast<const ExtensionPosLookup*>(table.Get())) {
            text += extension->subTable ? " wraps " + std::to_string(extension->subTable->GetType()) : " null";
        }
        if (const auto* base = dynamic_cast<const MarkToBasePosLookup*>(table.Get())) {
            text += " " + std::to_string(base->markClassCount) + " " + std::to_string(base->baseArray.classCount);
        }
        return text;
    };
    struct Case {
        const char* name;
        std::string got;
        const char* expected;
    };
    const std::vector<Case> cases = {
        {"base array: empty buffer", bases(1, {}), "false 7:"},
        {"base array: rows beyond the bytes", bases(1, HexBytes("0002 0004")), "false 7:"},
        // 0xFFFF * 0xFFFF offsets wrap 32 bits; in 64 bits they don't fit.
        {"base array: 0xFFFF rows of 0xFFFF classes", bases(0xFFFF, HexBytes("FFFF 0000 0000")), "false 7:"},
        {"base array: anchor past the end", bases(1, HexBytes("0001 00F0")), "true 1: -"},
        {"base array: anchor cut", bases(1, HexBytes("0001 0004 0001 00")), "true 1: -"},
        {"base array: anchor is its own offsets", bases(1, HexBytes("0001 0000")), "true 1: -"},
        {"attach: components beyond the bytes", attach(2, HexBytes("0001 0006")), "false 0"},
        {"attach: 0xFFFF components of 0xFFFF classes", attach(0xFFFF, HexBytes("FFFF 0000")), "false 0"},
        {"attach: 0xFFFF components without classes", attach(0, HexBytes("FFFF")), "true 65535"},
        {"marks: records beyond the bytes", marks(HexBytes("0002 0000 0006")), "false"},
        {"marks: count 0xFFFF, no records", marks(HexBytes("FFFF")), "false"},
        {"marks: zero offset", marks(HexBytes("0001 0003 0000")), "true 0"},
        {"mark to base: header cut", subTable(4, HexBytes("0001 0000 0000 0003 0000")), "false 0 0"},
        {"mark to base: children past the end", subTable(4, HexBytes("0001 00F0 00F0 0003 00F0 00F0")), "false 3 3"},
        {"extension: header cut", subTable(9, HexBytes("0001 0004 0000")), "false null"},
        {"extension: unknown type", subTable(9, HexBytes("0001 0002 00000008 0000")), "false null"},
        {"extension: offset past the end", subTable(9, HexBytes("0001 0004 FFFFFFF0")), "false wraps 4"},
        {"extension: wraps itself", subTable(9, HexBytes("0001 0009 00000000")), "false null"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.got, c.expected);
    }
    ExtensionPosLookup orphan;
    EXPECT_FALSE(orphan.Load(ToBuffer(HexBytes("0001 0004 00000008 0001 0000"))));
    EXPECT_FALSE(orphan.subTable);
}

// Thirty thousand base rows name one anchor with two devices of 65535 deltas
// each: loaded in full, each row would copy 128 KiB. What one load keeps
// stays within the budget; anchors beyond it are missing, and the load says
// so. The same for ligature attachments that all name one attachment of
// 65535 components.
TEST(GPOSMark, SharedChildrenCannotMultiplyMemory) {
    constexpr uint16_t kRows = 30000;
    const uint16_t anchorAt = 2 + 2 * kRows;
    ByteWriter w;
    w.U16(kRows);
    for (int i = 0; i < kRows; ++i) w.U16(anchorAt);
    w.U16(3).U16(1).U16(2).U16(10).U16(10);      // format 3 anchor, both devices at +10
    w.U16(1).U16(0xFFFF).U16(3).Zeros(0x10000);  // 65535 sizes, 8 bits each
    const auto buffer = ToBuffer(w.Data());
    BaseArrayTable bases(1);
    EXPECT_FALSE(bases.Load(buffer));
    ASSERT_EQ(bases.anchors.size(), kRows);
    uint64_t kept = bases.anchors.size() * sizeof(AnchorTable);
    size_t present = 0;
    for (const AnchorTable& anchor : bases.anchors) {
        kept += anchor.xDeviceTable.deltas.size() + anchor.yDeviceTable.deltas.size();
        if (anchor.format != 0) ++present;
    }
    EXPECT_LE(kept, SubTable::GetLoadBudget(*buffer));
    EXPECT_GT(present, 0u);
    EXPECT_EQ(bases.anchors[0].xDeviceTable.deltas.size(), 0xFFFFu);
    EXPECT_EQ(bases.anchors.back().format, 0);

    ByteWriter l;
    l.U16(kRows);
    for (int i = 0; i < kRows; ++i) l.U16(anchorAt);
    l.U16(0xFFFF);
    LigatureArrayTable ligatures(0);
    EXPECT_FALSE(ligatures.Load(ToBuffer(l.Data())));
    uint64_t components = 0;
    for (const LigatureAttachTable& table : ligatures.attachTables) components += table.componentAnchors.size();
    EXPECT_GT(components, 0u);
    EXPECT_LE(
        components * sizeof(std::vector<AnchorTable>) + ligatures.attachTables.size() * sizeof(LigatureAttachTable),
        SubTable::GetLoadBudget(*buffer));
}
