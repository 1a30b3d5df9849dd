// Value records, anchors, and single, pair and cursive positioning: the
// value formats, which devices become nodes and which are written inline,
// comparison and visiting order, real subtables of the DejaVu fonts saved
// through the graph and read back, and hostile counts and offsets.

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <typeinfo>
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
#include "layout/CursivePosLookup.h"
#include "layout/DeviceTable.h"
#include "layout/PairPosLookup.h"
#include "layout/PairSetTable.h"
#include "layout/SinglePosLookup.h"
#include "layout/ValueRecord.h"
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

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

// Packs `node`, reads the bytes back and expects an equal object.
template <class Node>
void ExpectRoundTrip(const Node& node) {
    const std::vector<uint8_t> packed = Pack(node);
    ASSERT_FALSE(packed.empty());
    Node reread;
    EXPECT_TRUE(reread.Load(ToBuffer(packed)));
    EXPECT_TRUE(Equal(reread, node));
}

CoverageTable Coverage(std::vector<uint16_t> glyphs) {
    CoverageTable coverage;
    coverage.format = 1;
    coverage.glyphs = std::move(glyphs);
    return coverage;
}

DeviceTable VariationIndex(uint16_t outer, uint16_t inner) {
    DeviceTable device;
    device.startSize = outer;
    device.endSize = inner;
    device.deltaFormat = DeviceTable::kVariationIndexFormat;
    return device;
}

// Sizes 9 and 10, both +1: saved as format 1, "0009 000A 0001 5000".
DeviceTable SmallDevice() {
    DeviceTable device;
    device.startSize = 9;
    device.endSize = 10;
    device.deltaFormat = 1;
    device.deltas = {1, 1};
    return device;
}

int Devices(const ValueRecord& value) {
    return (value.xPlaDevice.deltaFormat != 0) + (value.yPlaDevice.deltaFormat != 0) +
           (value.xAdvDevice.deltaFormat != 0) + (value.yAdvDevice.deltaFormat != 0);
}

std::string Describe(const SinglePosLookup& single) {
    int devices = 0;
    for (const ValueRecord& value : single.values) devices += Devices(value);
    return "f" + std::to_string(single.format) + " cov" + std::to_string(single.coverage.glyphs.size()) + " values" +
           std::to_string(single.values.size()) + " dev" + std::to_string(devices);
}

std::string Describe(const PairPosLookup& pair) {
    size_t records = 0;
    for (const PairSetTable& set : pair.pairSets) records += set.records.size();
    return "f" + std::to_string(pair.format) + " sets" + std::to_string(pair.pairSets.size()) + " recs" +
           std::to_string(records) + " c1=" + std::to_string(pair.class1Count) +
           " c2=" + std::to_string(pair.class2Count) + " values" + std::to_string(pair.classValues.size());
}

std::string Describe(const CursivePosLookup& cursive) {
    int anchors = 0;
    for (const auto& record : cursive.entryExitRecords) {
        anchors += (record.entryAnchor.format != 0) + (record.exitAnchor.format != 0);
    }
    return "f" + std::to_string(cursive.format) + " records" + std::to_string(cursive.entryExitRecords.size()) +
           " anchors" + std::to_string(anchors);
}

std::string Describe(const AnchorTable& anchor) {
    return "f" + std::to_string(anchor.format) + " " + std::to_string(anchor.xCoordinate) + "," +
           std::to_string(anchor.yCoordinate) + " dx" + std::to_string(anchor.xDeviceTable.deltaFormat) + " dy" +
           std::to_string(anchor.yDeviceTable.deltaFormat);
}

uint16_t U16At(const BigEndianBuffer& bytes, unsigned long offset) {
    uint16_t value = 0;
    bytes.GetU16(offset, value);
    return value;
}

}  // namespace

// Each value format reads its fields in order, and a single adjustment of
// format 1 saves back to its bytes; bits above 0x80 have no fields but stay.
// Records with devices read their devices and come back equal.
TEST(ValueRecord, FormatsWithAndWithoutDevices) {
    const struct {
        const char* bytes;
        std::vector<int16_t> fields;  // x placement, y placement, x advance, y advance
        int devices;
        bool sameBytes;
    } cases[] = {
        {"0001 0006 0000  0001 0001 0007", {0, 0, 0, 0}, 0, true},
        {"0001 000A 0005 FFF6 0014  0001 0001 0007", {-10, 0, 20, 0}, 0, true},
        {"0001 000E 000F 0001 0002 0003 0004  0001 0001 0007", {1, 2, 3, 4}, 0, true},
        {"0001 0006 0100  0001 0001 0007", {0, 0, 0, 0}, 0, true},
        // x placement with its device, a variation index.
        {"0001 000A 0011 0005 0010  0001 0001 0007  0001 0007 8000", {5, 0, 0, 0}, 1, false},
        // All four devices, one of them deltas.
        {"0001 000E 00F0 0016 0016 001C 001C  0001 0001 0007 0000 0001 0007 8000 0009 000A 0001 5000",
         {0, 0, 0, 0},
         4,
         false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes);
        SinglePosLookup single;
        ASSERT_TRUE(single.Load(HexBuffer(c.bytes)));
        ASSERT_EQ(single.values.size(), 1u);
        const ValueRecord& value = single.values[0];
        EXPECT_EQ(value.valueFormat, single.valueFormat);
        EXPECT_EQ((std::vector<int16_t>{value.xPlacement, value.yPlacement, value.xAdvance, value.yAdvance}), c.fields);
        EXPECT_EQ(Devices(value), c.devices);
        if (c.sameBytes) {
            EXPECT_EQ(Pack(single), HexBytes(c.bytes));
        }
        ExpectRoundTrip(single);
    }
}

// Format 0 has no fields: the read position stays, and nothing is written.
TEST(ValueRecord, FormatZeroReadsAndWritesNothing) {
    const auto source = HexBuffer("1234 5678");
    source->Seek(2);
    ValueRecord value(0, 0);
    EXPECT_TRUE(value.Load(source));
    EXPECT_EQ(source->Tell(), 2u);
    EXPECT_EQ(value.xPlacement, 0);
    const auto out = Bedrock::MakeCounted<BigEndianBuffer>();
    TableGraph graph;
    EXPECT_TRUE(value.Save(out, 0, 0, graph));
    EXPECT_EQ(out->GetLength(), 0u);
    EXPECT_TRUE(graph.nodes.empty());
}

// A device flag whose device is absent (deltaFormat 0) writes a zero offset
// and adds no node.
TEST(ValueRecord, DeviceFlagWithoutDeviceWritesZeroOffset) {
    SinglePosLookup single;
    single.format = 1;
    single.coverage = Coverage({3});
    single.valueFormat = ValueRecord::kXPlacement | ValueRecord::kXPlacementDevice;
    single.values = {ValueRecord(single.valueFormat, 0)};
    single.values[0].xPlacement = 5;
    TableGraph graph;
    EXPECT_EQ(Pack(single, graph), HexBytes("0001 000A 0011 0005 0000  0001 0001 0003"));
    EXPECT_EQ(graph.nodes.size(), 2u);
}

// Two value records with equal devices point at one device node.
//
//   single --> device
//          \-> coverage
TEST(ValueRecord, SameDeviceInTwoRecordsIsOneNode) {
    SinglePosLookup single;
    single.format = 2;
    single.coverage = Coverage({3, 4});
    single.valueFormat = ValueRecord::kXPlacementDevice;
    single.values = {ValueRecord(single.valueFormat, 0), ValueRecord(single.valueFormat, 0)};
    single.values[0].xPlaDevice = single.values[1].xPlaDevice = SmallDevice();
    TableGraph graph;
    const std::vector<uint8_t> packed = Pack(single, graph);
    ASSERT_EQ(graph.nodes.size(), 3u);
    const auto out = ToBuffer(packed);
    const uint16_t offset = U16At(*out, 8);
    EXPECT_NE(offset, 0);
    EXPECT_EQ(U16At(*out, 10), offset);
    EXPECT_EQ(std::vector<uint8_t>(packed.begin() + offset, packed.begin() + offset + 8),
              HexBytes("0009 000A 0001 5000"));
    ExpectRoundTrip(single);
}

// Deliberate: a format 3 anchor writes its devices inside its own bytes, so
// a device shared by two anchors is written once in each, and the device
// node the graph holds is reached by no edge.
TEST(AnchorTable, Format3DevicesAreWrittenInsideEachAnchor) {
    CursivePosLookup cursive;
    cursive.format = 1;
    cursive.coverage = Coverage({4});
    cursive.entryExitRecords.resize(1);
    AnchorTable& entry = cursive.entryExitRecords[0].entryAnchor;
    AnchorTable& exit = cursive.entryExitRecords[0].exitAnchor;
    entry.format = exit.format = 3;
    entry.xCoordinate = 100;
    entry.yCoordinate = 200;
    exit.xCoordinate = 300;
    exit.yCoordinate = -5;
    entry.xDeviceTable = exit.xDeviceTable = VariationIndex(1, 7);
    exit.yDeviceTable = SmallDevice();
    TableGraph graph;
    const std::vector<uint8_t> packed = Pack(cursive, graph);
    ASSERT_FALSE(packed.empty());
    EXPECT_EQ(BufferBytes(*entry.buffer), HexBytes("0003 0064 00C8 000A 0000  0001 0007 8000"));
    EXPECT_EQ(BufferBytes(*exit.buffer), HexBytes("0003 012C FFFB 000A 0010  0001 0007 8000  0009 000A 0001 5000"));
    for (const auto& list : graph.edges) {
        for (const TableEdge& edge : list) EXPECT_NE(typeid(*graph.nodes[edge.target]), typeid(DeviceTable));
    }
    ExpectRoundTrip(cursive);
}

// A variation index device (deltaFormat 0x8000) loads as its two indices
// and saves back to the same bytes.
TEST(AnchorTable, Format3WithVariationIndexDevice) {
    const char* bytes = "0003 0064 00C8 000A 0000  0002 0005 8000";
    AnchorTable anchor;
    ASSERT_TRUE(anchor.Load(HexBuffer(bytes)));
    EXPECT_EQ(Describe(anchor), "f3 100,200 dx32768 dy0");
    EXPECT_EQ(anchor.xDeviceTable.startSize, 2);
    EXPECT_EQ(anchor.xDeviceTable.endSize, 5);
    EXPECT_EQ(Pack(anchor), HexBytes(bytes));
}

// Format 2 with a class count of 0 has no class values; a pair set whose
// valueFormat2 is 0 reads each value2 as an empty record.
TEST(PairPosLookup, ClassCountsZeroAndEmptySecondValue) {
    for (const char* counts : {"0000 0003", "0003 0000"}) {
        SCOPED_TRACE(counts);
        PairPosLookup pair;
        ASSERT_TRUE(pair.Load(HexBuffer(std::string("0002 0010 0001 0000 0016 001C ") + counts +
                                        "0001 0001 0005  0001 0000 0000  0002 0000")));
        EXPECT_TRUE(pair.classValues.empty());
        EXPECT_EQ(pair.classDef1.format, 1);
        EXPECT_EQ(pair.classDef2.format, 2);
        ExpectRoundTrip(pair);
    }

    const char* format1 = "0001 000C 0004 0000 0001 0012  0001 0001 0005  0001 0009 FFEC";
    PairPosLookup pair;
    ASSERT_TRUE(pair.Load(HexBuffer(format1)));
    ASSERT_EQ(pair.pairSets.size(), 1u);
    ASSERT_EQ(pair.pairSets[0].records.size(), 1u);
    const PairSetTable::PairValueRecord& record = pair.pairSets[0].records[0];
    EXPECT_EQ(record.secondGlyph, 9);
    EXPECT_EQ(record.value1.xAdvance, -20);
    EXPECT_EQ(record.value2.valueFormat, 0);
    EXPECT_EQ(Pack(pair), HexBytes(format1));
}

// An unknown format: Load gives false, and Save gives index 0 rather than
// its node's.
TEST(PairPosLookup, UnknownFormat) {
    PairPosLookup pair;
    EXPECT_FALSE(pair.Load(HexBuffer("0003 0000 0000 0000 0000")));
    EXPECT_EQ(pair.format, 3);
    // The graph keeps pointers to its nodes: the first one must outlive it.
    const CoverageTable first = Coverage({1});
    TableGraph graph;
    graph.AddTable(first);
    EXPECT_EQ(pair.Save(graph), 0u);
    EXPECT_EQ(graph.nodes.size(), 2u);
}

// The cursive lookup saves each child as soon as its offset is written; the
// nodes follow: the coverage, then each present anchor in record order. A
// missing anchor stays a zero offset.
TEST(CursivePosLookup, SavesEachChildAtOnce) {
    CursivePosLookup cursive;
    cursive.format = 1;
    cursive.coverage = Coverage({4, 5});
    cursive.entryExitRecords.resize(2);
    for (int i = 0; i < 3; ++i) {
        AnchorTable& anchor =
            i == 2 ? cursive.entryExitRecords[1].entryAnchor
                   : (i == 0 ? cursive.entryExitRecords[0].entryAnchor : cursive.entryExitRecords[0].exitAnchor);
        anchor.format = 1;
        anchor.xCoordinate = static_cast<int16_t>(10 * (i + 1));
    }
    TableGraph graph;
    const std::vector<uint8_t> packed = Pack(cursive, graph);
    ASSERT_EQ(graph.nodes.size(), 5u);
    EXPECT_EQ(graph.nodes[1], &cursive.coverage);
    EXPECT_EQ(graph.nodes[2], &cursive.entryExitRecords[0].entryAnchor);
    EXPECT_EQ(graph.nodes[3], &cursive.entryExitRecords[0].exitAnchor);
    EXPECT_EQ(graph.nodes[4], &cursive.entryExitRecords[1].entryAnchor);
    EXPECT_EQ(U16At(*ToBuffer(packed), 12), 0);
    ExpectRoundTrip(cursive);
}

namespace {

// Loads the subtable of `type` at `at`, packs it, reads the result back and
// expects an equal object.
template <class Lookup>
void RoundTripAt(const Bedrock::Counted<BigEndianBuffer>& bytes, unsigned long at) {
    SCOPED_TRACE("subtable at " + std::to_string(at));
    bytes->Seek(at);
    Lookup lookup;
    EXPECT_TRUE(lookup.Load(bytes));
    ExpectRoundTrip(lookup);
}

}  // namespace

// Bytes from the file never drive what is kept beyond what they hold, and a
// bad offset leaves its child empty.
TEST(GPOSBasic, HostileCountsAndOffsets) {
    struct Case {
        const char* name;
        char kind;  // S single, P pair, C cursive, A anchor
        const char* bytes;
        bool loads;
        const char* kept;
    };
    const Case cases[] = {
        {"single header cut", 'S', "0001 0006", false, "f0 cov0 values0 dev0"},
        {"single count 0xFFFF, no records", 'S', "0002 0000 0001 FFFF", true, "f2 cov0 values0 dev0"},
        {"single count 3, one record", 'S', "0002 0000 0001 0003 0005", true, "f2 cov0 values1 dev0"},
        {"single coverage past the end", 'S', "0001 00F0 0000", true, "f1 cov0 values1 dev0"},
        {"single device past the end", 'S', "0001 0000 0010 00F0", true, "f1 cov0 values1 dev0"},
        {"single device of format 7", 'S', "0001 0000 0010 0008 0000 0000 0007", true, "f1 cov0 values1 dev0"},
        {"single device, control", 'S', "0001 0000 0010 0008 0001 0007 8000", true, "f1 cov0 values1 dev1"},
        {"pair format 3", 'P', "0003 0000 0000 0000", false, "f3 sets0 recs0 c1=0 c2=0 values0"},
        {"pair header cut", 'P', "0001 0000 0000 0000", false, "f0 sets0 recs0 c1=0 c2=0 values0"},
        {"pair sets 0xFFFF, one offset", 'P', "0001 0000 0000 0000 FFFF 0000", true,
         "f1 sets1 recs0 c1=0 c2=0 values0"},
        {"pair set past the end", 'P', "0001 0000 0000 0000 0001 00F0", true, "f1 sets1 recs0 c1=0 c2=0 values0"},
        {"pair records 0xFFFF, one record", 'P', "0001 0000 0004 0000 0001 000C FFFF 0009 FFEC", true,
         "f1 sets1 recs1 c1=0 c2=0 values0"},
        // Records without fields take no bytes: 2^32 pairs are bounded by the load budget.
        {"class counts 0xFFFF x 0xFFFF, empty formats", 'P', "0002 0000 0000 0000 0000 0000 FFFF FFFF", true,
         "f2 sets0 recs0 c1=0 c2=65535 values0"},
        {"class rows cut to the bytes", 'P', "0002 0000 0001 0000 0000 0000 FFFF 0002 0001 0002 0003", true,
         "f2 sets0 recs0 c1=1 c2=2 values4"},
        {"class2Count 0", 'P', "0002 0000 0000 0000 0000 0000 0005 0000", true, "f2 sets0 recs0 c1=5 c2=0 values0"},
        {"cursive header cut", 'C', "0001 0000", false, "f0 records0 anchors0"},
        {"cursive count 0xFFFF, anchor past the end", 'C', "0001 0000 FFFF 00F0 0000", true, "f1 records1 anchors0"},
        {"cursive format 3 anchor cut", 'C', "0001 0000 0001 000A 0000 0003 0001 0002", true, "f1 records1 anchors0"},
        {"cursive anchor, control", 'C', "0001 0000 0001 000A 0000 0001 0001 0002", true, "f1 records1 anchors1"},
        {"anchor device past the end", 'A', "0003 0001 0002 00F0 0000", true, "f3 1,2 dx0 dy0"},
        {"anchor of format 9", 'A', "0009 0001 0002", true, "f9 1,2 dx0 dy0"},
        {"anchor cut", 'A', "0001 0001", false, "f0 0,0 dx0 dy0"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto buffer = HexBuffer(c.bytes);
        std::string kept;
        bool loads = false;
        if (c.kind == 'S') {
            SinglePosLookup table;
            loads = table.Load(buffer);
            kept = Describe(table);
        } else if (c.kind == 'P') {
            PairPosLookup table;
            loads = table.Load(buffer);
            kept = Describe(table);
        } else if (c.kind == 'C') {
            CursivePosLookup table;
            loads = table.Load(buffer);
            kept = Describe(table);
        } else {
            AnchorTable table;
            loads = table.Load(buffer);
            kept = Describe(table);
        }
        EXPECT_EQ(loads, c.loads);
        EXPECT_EQ(kept, c.kept);
    }
    EXPECT_FALSE(SinglePosLookup().Load(nullptr));
    EXPECT_FALSE(PairPosLookup().Load(nullptr));
}
