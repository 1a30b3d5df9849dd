// Lookup lists and lookups, with a test-only subtable class that keeps its
// first bytes: real lists saved through the table graph and read back, the
// mark filtering set, null entries, the comparison order with its odd steps,
// which nodes are shared, and hostile counts and offsets.

#include <algorithm>
#include <cstdio>
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
#include "layout/LookupList.h"
#include "layout/LookupSubTable.h"
#include "layout/LookupSubTableOwner.h"
#include "layout/LookupTable.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/TableGraph.h"
#include "packing/TableGraphWriter.h"
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

// A subtable that keeps up to its first four bytes, compared by type and bytes
// as real subtables compare by contents.
class RawSubTable final : public LookupSubTable {
public:
    static constexpr unsigned long kSize = 4;

    explicit RawSubTable(uint16_t lookupType, std::vector<uint8_t> kept = {}) : type(lookupType), bytes(kept) {}

    void Accept(GraphNodeVisitor&) override {}
    using LookupSubTable::Load;
    bool Load(Bedrock::Counted<BigEndianBuffer> source) override {
        bytes.assign(std::min(kSize, source->GetRemaining()), 0);
        return !bytes.empty() && source->Read(bytes.size(), bytes.data()) && bytes.size() == kSize;
    }
    unsigned long Save(TableGraph& graph) const override {
        const unsigned long index = graph.AddTable(*this);
        StartSave().Write(bytes.size(), bytes.data());
        return index;
    }
    uint16_t GetType() const override { return type; }
    Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<RawSubTable>(*this); }
    bool IsLessThan(const GraphNode& other) const override {
        const RawSubTable& that = static_cast<const RawSubTable&>(other);
        if (type != that.type) return type < that.type;
        return bytes < that.bytes;
    }

    uint16_t type;
    std::vector<uint8_t> bytes;
};

// Makes raw subtables for lookup types 1 to `last` and refuses the others.
class TestOwner final : public LookupSubTableOwner {
public:
    explicit TestOwner(uint16_t lastType) : last(lastType) {}
    Bedrock::Counted<LookupSubTable> MakeSubTable(unsigned short type, Bedrock::NonCounted<OTFont>) const override {
        if (type < 1 || type > last) return nullptr;
        return Bedrock::MakeCounted<RawSubTable>(type);
    }
    Bedrock::Counted<LookupSubTable> MakeExtensionSubTable(Bedrock::Counted<LookupSubTable>) const override {
        return nullptr;
    }
    uint16_t GetExtensionType() const override { return 9; }

    uint16_t last;
};

// Lists and lookups don't own their owner (the owner is the table that holds
// them), so the test owners live as long as the program.
Bedrock::NonCounted<const LookupSubTableOwner> MakeOwner(uint16_t lastType = 9) {
    static std::vector<Bedrock::Counted<const LookupSubTableOwner>> owners;
    owners.push_back(Bedrock::MakeCounted<TestOwner>(lastType));
    return owners.back();
}

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

Bedrock::Counted<LookupSubTable> Raw(uint16_t type, const char* hex) {
    return Bedrock::MakeCounted<RawSubTable>(type, HexBytes(hex));
}

LookupTable MakeLookup(uint16_t type, uint16_t flag, std::vector<Bedrock::Counted<LookupSubTable>> subTables) {
    LookupTable lookup;
    lookup.lookupType = type;
    lookup.lookupFlag = flag;
    lookup.subTables = std::move(subTables);
    return lookup;
}

// "type.flag[/markFilteringSet][entry,...]", an entry "-" when null, else
// the raw bytes in <hex>.
std::string Describe(const LookupTable& lookup) {
    std::string text = std::to_string(lookup.lookupType) + "." + std::to_string(lookup.lookupFlag);
    if (lookup.lookupFlag & LookupTable::kUseMarkFilteringSet) text += "/" + std::to_string(lookup.markFilteringSet);
    text += "[";
    for (size_t i = 0; i < lookup.subTables.size(); ++i) {
        if (i > 0) text += ",";
        const auto* raw = static_cast<const RawSubTable*>(lookup.subTables[i].Get());
        if (!raw) {
            text += "-";
            continue;
        }
        text += "<";
        for (uint8_t byte : raw->bytes) {
            char hex[3];
            std::snprintf(hex, sizeof(hex), "%02X", byte);
            text += hex;
        }
        text += ">";
    }
    return text + "]";
}

// "absent", or each lookup described, separated by spaces.
std::string Describe(const LookupList& list) {
    if (!list.isPresent) return "absent";
    std::string text;
    for (const LookupTable& lookup : list.lookups) text += (text.empty() ? "" : " ") + Describe(lookup);
    return text;
}

}  // namespace

// The mark filtering set is read and written only when the flag has 0x10,
// and then last, after the offsets. Without the flag a value set in memory
// is not written, and a load doesn't read it.
//
//   list --> lookup --> <11111111>
//                   \-> <22222222>
TEST(LookupList, MarkFilteringSetOnlyWithItsFlagAndAfterTheOffsets) {
    ByteWriter with;
    with.U16(1).U16(4);                                   // 0: list
    with.U16(1).U16(0x10).U16(2).U16(12).U16(16).U16(7);  // 4: lookup, set 7
    with.U32(0x11111111).U32(0x22222222);                 // 16, 20: subtables
    LookupList list;
    list.owner = MakeOwner();
    ASSERT_TRUE(list.Load(ToBuffer(with.Data())));
    EXPECT_EQ(Describe(list), "1.16/7[<11111111>,<22222222>]");
    EXPECT_EQ(Pack(list), with.Data());

    ByteWriter without;
    without.U16(1).U16(4);                            // 0: list
    without.U16(1).U16(0x08).U16(2).U16(10).U16(14);  // 4: lookup, no set
    without.U32(0x11111111).U32(0x22222222);          // 14, 18: subtables
    ASSERT_TRUE(list.Load(ToBuffer(without.Data())));
    EXPECT_EQ(list.lookups[0].markFilteringSet, 0);
    list.lookups[0].markFilteringSet = 7;
    EXPECT_EQ(Pack(list), without.Data());
}

// Entries are null for a zero offset, a type the owner refuses and a lookup
// without an owner; a null entry saves as a zero offset with no edge.
TEST(LookupList, NullEntriesLoadAndSaveAsZeroOffsets) {
    const auto lookup = [](uint16_t type) {
        return ByteWriter().U16(1).U16(4).U16(type).U16(0).U16(2).U16(0).U16(10).U32(0x11111111).Data();
    };
    LookupList list;
    list.owner = MakeOwner(4);
    ASSERT_TRUE(list.Load(ToBuffer(lookup(4))));
    EXPECT_EQ(Describe(list), "4.0[-,<11111111>]");
    TableGraph graph;
    EXPECT_EQ(Pack(list, graph), lookup(4));
    EXPECT_EQ(graph.edges[1].size(), 1u);

    ASSERT_TRUE(list.Load(ToBuffer(lookup(5))));
    EXPECT_EQ(Describe(list), "5.0[-,-]");
    EXPECT_EQ(Pack(list), HexBytes("0001 0004 0005 0000 0002 0000 0000"));
    list.owner = nullptr;
    ASSERT_TRUE(list.Load(ToBuffer(lookup(4))));
    EXPECT_EQ(Describe(list), "4.0[-,-]");
}

// Two lookups whose subtables are separate but equal stay two nodes, since
// lookups compare their subtables by pointer; the subtables themselves are
// one node with two parents.
//
//   list --> lookup 1 --> <11111111>
//        \-> lookup 2 ---/
TEST(LookupList, LookupsWithSeparateEqualSubtablesAreNotMerged) {
    LookupList list;
    list.isPresent = true;
    list.lookups = {MakeLookup(1, 0, {Raw(1, "11111111")}), MakeLookup(1, 0, {Raw(1, "11111111")})};
    TableGraph graph;
    EXPECT_EQ(Pack(list, graph), HexBytes("0002 0006 000E"
                                          "0001 0000 0001 0010"
                                          "0001 0000 0001 0008"
                                          "11111111"));
    ASSERT_EQ(graph.nodes.size(), 4u);
    EXPECT_EQ(graph.Reverse()[2], (std::vector<unsigned long>{1, 3}));

    // Sharing one subtable object makes the lookups equal: one node.
    list.lookups[1].subTables = list.lookups[0].subTables;
    EXPECT_EQ(Pack(list), HexBytes("0002 0006 0006 0001 0000 0001 0008 11111111"));
}

// Fields compare in one fixed order. The third step compares the receiver's
// markFilteringSet with the receiver's own lookupFlag, so a lookup whose set
// is below its flag is less than any lookup of its type and flag, itself
// included, and two whose sets are above their common flag are equal
// whatever their subtables. Lists of different owners are each less than
// the other.
TEST(LookupList, ComparisonOrderWithItsOddSteps) {
    const auto shared = Raw(1, "11111111");
    LookupTable a = MakeLookup(1, 0, {shared}), b = MakeLookup(2, 0, {});
    EXPECT_TRUE(a < b && !(b < a));  // lookupType first
    b.lookupType = 1;
    b.lookupFlag = 1;
    a.markFilteringSet = 9;
    EXPECT_TRUE(a < b && !(b < a));  // lookupFlag before markFilteringSet
    a.markFilteringSet = 0;
    b = a;
    EXPECT_TRUE(Equal(a, b));  // the same subtable pointers
    b.subTables = {Raw(1, "11111111")};
    EXPECT_FALSE(Equal(a, b));  // equal contents, another pointer

    LookupTable below = MakeLookup(1, 0x10, {shared});
    below.markFilteringSet = 3;
    EXPECT_TRUE(below < below);
    LookupTable above1 = MakeLookup(1, 0x10, {Raw(1, "11111111")}), above2 = MakeLookup(1, 0x10, {Raw(1, "2222")});
    above1.markFilteringSet = 0x20;
    above2.markFilteringSet = 0x30;
    EXPECT_TRUE(Equal(above1, above2));
    // In a list, two such lookups share one node, which then holds both
    // lookups' edges at the same positions.
    LookupList merged;
    merged.lookups = {above1, above2};
    TableGraph graph;
    merged.Save(graph);
    ASSERT_EQ(graph.nodes.size(), 4u);
    EXPECT_EQ(graph.nodes[1], &merged.lookups[0]);
    EXPECT_EQ(graph.edges[0].back().target, 1u);
    EXPECT_EQ(graph.edges[1].size(), 2u);
    above1.markFilteringSet = above2.markFilteringSet = 0x10;  // equal to the flag: the subtables decide
    EXPECT_FALSE(Equal(above1, above2));

    LookupList first, second;
    first.owner = MakeOwner();
    second.owner = MakeOwner();
    EXPECT_TRUE(first < second && second < first);
    second.owner = first.owner;
    EXPECT_TRUE(Equal(first, second));
    second.isPresent = true;
    EXPECT_TRUE(first < second);  // isPresent, then lookups
    first.isPresent = true;
    first.lookups = {MakeLookup(1, 0, {})};
    second.lookups = {MakeLookup(2, 0, {})};
    EXPECT_TRUE(first < second && !(second < first));
}

// Bytes read at a position: counts beyond the bytes keep what fits, offsets
// past the end leave that lookup or subtable empty, and a list header that
// doesn't fit fails with nothing kept.
TEST(LookupList, HostileCountsAndOffsets) {
    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
        unsigned long position;
        bool loads;
        const char* kept;
    };
    const auto list = [](uint16_t offset) { return ByteWriter().U16(1).U16(offset); };
    const std::vector<Case> cases = {
        {"empty buffer", {}, 0, false, "absent"},
        {"one byte", HexBytes("00"), 0, false, "absent"},
        {"position past the end", list(4).U16(1).U16(0).U16(0).Data(), 12, false, "absent"},
        {"count 0xFFFF, no offsets", HexBytes("FFFF"), 0, true, ""},
        {"lookup past the end", list(0xF0).Data(), 0, true, "0.0[]"},
        {"lookup header cut", list(4).U16(1).U8(0).Data(), 0, true, "0.0[]"},
        // The one offset present points at itself.
        {"subtables count 0xFFFF, one offset", list(4).U16(1).U16(0).U16(0xFFFF).U16(6).Data(), 0, true, "1.0[<0006>]"},
        {"subtable past the end", list(4).U16(1).U16(0).U16(1).U16(0xF0).Data(), 0, true, "1.0[<>]"},
        {"unknown type", list(4).U16(10).U16(0).U16(1).U16(8).U32(0).Data(), 0, true, "10.0[-]"},
        {"mark filtering set missing", list(4).U16(1).U16(0x10).U16(1).U16(0).Data(), 0, true, "1.16/0[-]"},
        // A zero lookup offset is followed: the list reads as a lookup.
        {"lookup offset 0", list(0).U16(0).Data(), 0, true, "1.0[]"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto buffer = ToBuffer(c.bytes);
        buffer->Seek(c.position);
        LookupList lookups;
        lookups.owner = MakeOwner();
        EXPECT_EQ(lookups.Load(buffer), c.loads);
        EXPECT_EQ(Describe(lookups), c.kept);
    }
    LookupList lookups;
    EXPECT_FALSE(lookups.Load(nullptr));
    LookupTable lookup = MakeLookup(3, 0, {Raw(3, "")});
    EXPECT_TRUE(lookup.Load(HexBuffer("0001 0000")));  // always true, and nothing changed
    EXPECT_EQ(Describe(lookup), "3.0[<>]");
}

// Every lookup offset points at one lookup whose every offset points at one
// subtable: a full load would make hundreds of millions of subtables. What
// is kept stays within the budget, first come first served; the lookups of
// the list itself are all there.
TEST(LookupList, SharedLookupsCannotMultiplyMemory) {
    constexpr uint16_t kLookups = 20000, kSubTables = 30000;
    const uint16_t lookupAt = 2 + 2 * kLookups;
    ByteWriter w;
    w.U16(kLookups);
    for (int i = 0; i < kLookups; ++i) w.U16(lookupAt);
    w.U16(1).U16(0).U16(kSubTables);
    for (int i = 0; i < kSubTables; ++i) w.U16(6 + 2 * kSubTables);
    w.U32(0x11111111);
    const auto buffer = ToBuffer(w.Data());

    LookupList list;
    list.owner = MakeOwner();
    ASSERT_TRUE(list.Load(buffer));
    ASSERT_EQ(list.lookups.size(), kLookups);
    uint64_t kept = kLookups * sizeof(LookupTable);
    for (const LookupTable& lookup : list.lookups) kept += lookup.subTables.size() * LookupTable::kSubTableLoadCost;
    EXPECT_LE(kept, SubTable::GetLoadBudget(*buffer));
    EXPECT_EQ(list.lookups[0].subTables.size(), kSubTables);
    EXPECT_TRUE(list.lookups.back().subTables.empty());
}

// Subtables load within the budget of the lookup's load: many offsets to one
// subtable that would keep a lot each can't each start a budget of their own.
TEST(LookupList, SubtablesLoadWithinTheLookupsBudget) {
    // Keeps up to 1 MiB of the budget it is given, as a large subtable would.
    class Greedy final : public LookupSubTable {
    public:
        void Accept(GraphNodeVisitor&) override {}
        bool Load(Bedrock::Counted<BigEndianBuffer>) override { return true; }
        bool Load(Bedrock::Counted<BigEndianBuffer>, uint64_t& budget) override {
            taken = std::min<uint64_t>(budget, uint64_t(1) << 20);
            budget -= taken;
            return true;
        }
        unsigned long Save(TableGraph& graph) const override { return graph.AddTable(*this); }
        uint16_t GetType() const override { return 1; }
        Bedrock::Counted<LookupSubTable> Clone() const override { return Bedrock::MakeCounted<Greedy>(*this); }
        bool IsLessThan(const GraphNode&) const override { return false; }
        uint64_t taken = 0;
    };
    class GreedyOwner final : public LookupSubTableOwner {
    public:
        Bedrock::Counted<LookupSubTable> MakeSubTable(unsigned short, Bedrock::NonCounted<OTFont>) const override {
            return Bedrock::MakeCounted<Greedy>();
        }
        Bedrock::Counted<LookupSubTable> MakeExtensionSubTable(Bedrock::Counted<LookupSubTable>) const override {
            return nullptr;
        }
        unsigned short GetExtensionType() const override { return 9; }
    };
    constexpr uint16_t kSubTables = 100;
    ByteWriter w;
    w.U16(1).U16(0).U16(kSubTables);
    for (int i = 0; i < kSubTables; ++i) w.U16(6 + 2 * kSubTables);
    w.U32(0);
    const auto buffer = ToBuffer(w.Data());
    LookupTable lookup;
    const auto owner = Bedrock::MakeCounted<GreedyOwner>();
    lookup.owner = owner;
    ASSERT_TRUE(lookup.Load(buffer));
    ASSERT_EQ(lookup.subTables.size(), kSubTables);
    uint64_t taken = 0;
    for (const auto& subTable : lookup.subTables) taken += static_cast<const Greedy&>(*subTable).taken;
    // The first draws on the lookup's budget, and by the last it is spent.
    EXPECT_EQ(static_cast<const Greedy&>(*lookup.subTables.front()).taken, uint64_t(1) << 20);
    EXPECT_LE(taken, SubTable::GetLoadBudget(*buffer));
    EXPECT_EQ(static_cast<const Greedy&>(*lookup.subTables.back()).taken, 0u);
}
