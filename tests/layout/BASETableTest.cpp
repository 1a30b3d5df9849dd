// The BASE table: a hand-built table laid out byte for byte (shared parts,
// the added vertical axis, script offsets counted from the list), the traced
// layout order, saves that don't fit, the visiting order, real tables saved
// twice to the same bytes, and hostile tables.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "base/Trace.h"
#include "core/BigEndianBuffer.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/Tag.h"
#include "layout/OTBASETable.h"
#include "packing/GraphNodeVisitor.h"
#include "packing/SubTable.h"
#include "TestUtil.h"
#include "LayoutTestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;
using TypeframeTest::Equal;
using TypeframeTest::HexBytes;
using TypeframeTest::Pack;
using Axis = OTBASETable::Axis;
using BaseCoord = Axis::BaseCoord;
using MinMax = Axis::MinMax;

namespace {

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

std::vector<uint8_t> Rebuild(OTBASETable& table) {
    table.SetIsDirty(true);
    if (!table.Save()) return {};
    return BufferBytes(*table.GetBuffer());
}

// Collects what the table traces while it lives; silent again afterwards.
class TraceCapture {
public:
    TraceCapture() {
        Bedrock::SetTraceSink([this](const char* message) { log += message; });
    }
    ~TraceCapture() { Bedrock::SetTraceSink(nullptr); }
    std::string log;
};

// Horizontal axis: tag romn, script latn whose values are two equal format 3
// coordinates, whose default extents are also its TRK extents, and whose
// liga extents have only a maximum. No vertical axis.
OTBASETable HandBuilt() {
    BaseCoord varied(3, 10);
    varied.deviceTable.startSize = 0;
    varied.deviceTable.endSize = 1;
    varied.deviceTable.deltaFormat = DeviceTable::kVariationIndexFormat;
    MinMax extents;
    extents.isPresent = true;
    extents.minCoord = BaseCoord(2, -200);
    extents.minCoord.referenceGlyph = 5;
    extents.minCoord.baseCoordPoint = 2;
    extents.maxCoord = BaseCoord(1, 800);
    extents.featMinMaxRecords.push_back({MakeTag("liga"), BaseCoord(), BaseCoord(1, 900)});

    Axis::BaseScriptRecord latn;
    latn.tag = MakeTag("latn");
    auto& script = latn.baseScriptTable;
    script.baseValues.isPresent = true;
    script.baseValues.baseCoords = {varied, varied};
    script.defaultMinMax = extents;
    script.langSysRecords.push_back({MakeTag("TRK "), extents});

    OTBASETable table(nullptr);
    table.majorVersion = 1;
    table.horizAxis.isPresent = true;
    table.horizAxis.baselineTags.isPresent = true;
    table.horizAxis.baselineTags.tags = {MakeTag("romn")};
    table.horizAxis.baseScriptRecords = {latn};
    return table;
}

size_t CountCoords(const OTBASETable& table) {
    size_t count = 0;
    auto minMax = [&count](const MinMax& m) { count += 2 + 2 * m.featMinMaxRecords.size(); };
    for (const Axis* axis : {&table.horizAxis, &table.vertAxis}) {
        for (const auto& record : axis->baseScriptRecords) {
            const auto& script = record.baseScriptTable;
            count += script.baseValues.baseCoords.size();
            minMax(script.defaultMinMax);
            for (const auto& langSys : script.langSysRecords) minMax(langSys.minMax);
        }
    }
    return count;
}

class RecordingVisitor : public GraphNodeVisitor {
public:
    using GraphNodeVisitor::Visit;
    void Visit(OTBASETable&) override { visited += "T"; }
    void Visit(Axis&) override { visited += "A"; }
    void Visit(Axis::BaseScriptRecord&) override { visited += "R"; }
    void Visit(Axis::BaseScriptRecord::BaseScriptTable&) override { visited += "S"; }
    void Visit(Axis::BaseValues&) override { visited += "V"; }
    void Visit(MinMax&) override { visited += "M"; }
    void Visit(BaseCoord&) override { visited += "C"; }
    std::string visited;
};

}  // namespace

// Equal parts are one node: the two coordinates of the values (device
// included), and the default and TRK extents with their coordinates. The
// absent vertical axis is written empty. The script's offset, 0x10, counts
// from the script list inside the axis, not from the axis.
TEST(BASETable, HandBuiltTableIsLaidOutInOneOrder) {
    OTBASETable table = HandBuilt();
    TraceCapture trace;
    const std::vector<uint8_t> bytes = Rebuild(table);
    EXPECT_EQ(bytes, HexBytes("0001 0000 0008 001a"
                              "0004 000a 0001 726f6d6e 0001 6c61746e 0010"  // horizontal axis
                              "0004 0006 0000 0000"                         // vertical axis
                              "000c 0014 0001 54524b20 0014"                // latn
                              "0000 0002 0016 0016"                         // values
                              "0018 0020 0001 6c696761 0000 0014"           // extents
                              "0003 000a 0016 0001 0384 0002 ff38 0005 0002 0001 0320"
                              "0000 0001 8000"));
    // Node indices in layout order, on every save.
    EXPECT_EQ(trace.log, "0 1 11 3 4 7 5 8 9 10 6 \n");
    EXPECT_FALSE(table.IsDirty());
    Rebuild(table);
    EXPECT_EQ(trace.log, "0 1 11 3 4 7 5 8 9 10 6 \n0 1 11 3 4 7 5 8 9 10 6 \n");

    OTBASETable reread(nullptr);
    ASSERT_TRUE(reread.Load(ToBuffer(bytes)));
    EXPECT_TRUE(Equal(reread.horizAxis, table.horizAxis));
    EXPECT_TRUE(reread.vertAxis.isPresent);
    EXPECT_TRUE(Equal(reread.vertAxis, Axis()));
    const Bedrock::Counted<OTTable> copy = reread.Clone();
    EXPECT_EQ(Rebuild(static_cast<OTBASETable&>(*copy)), bytes);

    // An empty vertical axis equal to the horizontal one is that node.
    OTBASETable empty(nullptr);
    empty.SetVersion(1, 1);
    EXPECT_TRUE(empty.IsDirty());
    EXPECT_EQ(Rebuild(empty), HexBytes("0001 0001 000c 000c 00000000 0004 0006 0000 0000"));
}

// The item variation store is read but never written: its field stays zero.
// A coordinate offset of 0 in base values is read, from the values' own
// start; a device offset of 0 reads no device. A format 3 coordinate always
// gets a device on saving, an empty one included.
TEST(BASETable, ZeroOffsetsAndTheStore) {
    ByteWriter w;
    w.U16(1).U16(1).U16(0).U16(0).U32(12);
    w.U16(1).U32(12).U16(1).U32(22);                 // store: format 1, regions at +12, one block at +22
    w.U16(1).U16(1).U16(0).U16(0x4000).U16(0x4000);  // one axis, one region
    w.U16(1).U16(0).U16(1).U16(0).U8(7);             // one item, one region, one byte delta
    OTBASETable table(nullptr);
    ASSERT_TRUE(table.Load(ToBuffer(w.Data())));
    EXPECT_EQ(table.itemVariationStore.format, 1);
    EXPECT_EQ(table.itemVariationStore.regionList.regionCount, 1);
    EXPECT_EQ(table.itemVariationStore.data.size(), 1u);
    EXPECT_EQ(Rebuild(table), HexBytes("0001 0001 000c 000c 00000000 0004 0006 0000 0000"));
    table.SetItemVariationStore(ItemVariationStore());
    EXPECT_TRUE(table.IsDirty());
    EXPECT_EQ(table.itemVariationStore.format, 0);

    Axis::BaseValues values;
    ASSERT_TRUE(values.Load(TypeframeTest::HexBuffer("0003 0001 0000")));
    ASSERT_EQ(values.baseCoords.size(), 1u);
    EXPECT_EQ(values.baseCoords[0].format, 3);
    EXPECT_EQ(values.baseCoords[0].coordinate, 1);
    EXPECT_TRUE(Equal(values.baseCoords[0].deviceTable, DeviceTable()));
    EXPECT_EQ(Pack(values.baseCoords[0]), HexBytes("0003 0001 0006 0000 0000 0001 0000"));
}

// A layout with an offset past 16 bits, or an axis with so many tags that
// its script list is out of reach, isn't written: the table keeps its bytes
// and stays dirty. A vertical axis of 10921 scripts is 65534 bytes: its own
// script table just fits after it, a horizontal script's table placed
// between the two doesn't.
TEST(BASETable, SaveThatDoesNotFitKeepsTheOldBytes) {
    OTBASETable table(nullptr);
    const std::vector<uint8_t> before = Rebuild(table);
    Axis::BaseScriptRecord record;
    record.tag = MakeTag("latn");
    table.vertAxis.baseScriptRecords.assign(10921, record);
    record.baseScriptTable.defaultMinMax.isPresent = true;
    table.horizAxis.baseScriptRecords = {record};
    EXPECT_TRUE(Rebuild(table).empty());
    EXPECT_EQ(BufferBytes(*table.GetBuffer()), before);
    EXPECT_TRUE(table.IsDirty());
    table.horizAxis.baseScriptRecords.clear();
    EXPECT_TRUE(table.Save());

    // The most tags: the script list lies at 0xFFFE in the one shared axis.
    OTBASETable tagged(nullptr);
    tagged.horizAxis.baselineTags.tags.assign(Axis::kMaxWritableTags, MakeTag("romn"));
    tagged.vertAxis = tagged.horizAxis;
    const std::vector<uint8_t> most = Rebuild(tagged);
    ASSERT_EQ(most.size(), 8 + 0xFFFE + 2u);
    EXPECT_EQ(most[10] * 256 + most[11], 0xFFFE);
    tagged.vertAxis.baselineTags.tags.push_back(MakeTag("ideo"));
    EXPECT_TRUE(Rebuild(tagged).empty());
    EXPECT_EQ(BufferBytes(*tagged.GetBuffer()), most);
}

// The table walks to its axes, each axis to its scripts, a script to its
// values and default extents (not to the language systems' extents, which
// are the script's own), and these to their coordinates.
TEST(BASETable, AcceptWalksInFieldOrder) {
    OTBASETable table = HandBuilt();
    RecordingVisitor visitor;
    table.Accept(visitor);
    EXPECT_EQ(visitor.visited, "TARSVCCMCCCCA");
}

// Every BASE of the installed fonts and the shared test data saves, reads
// back to the same parts and saves again to the same bytes. The one in
// fontTools' TestCFF2VF is small enough to check byte for byte: the vertical
// axis is added, and its four scripts share one table.
TEST(BASETable, RealTablesSaveTheSameBytesTwice) {
    int seen = 0;
    for (const std::string folder : {"/usr/share/fonts", TYPEFRAME_SHARED_DIR "/testdata"}) {
        std::error_code error;
        for (auto it = std::filesystem::recursive_directory_iterator(folder, error);
             !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
            const std::string extension = it->path().extension().string();
            if (extension != ".ttf" && extension != ".otf" && extension != ".ttc") continue;
            auto file = Bedrock::MakeCounted<OTFile>();
            auto stream = Bedrock::FileInStream::Open(it->path().c_str(), false);
            if (!stream || !file->Load(stream)) continue;
            for (int i = 0; i < file->GetFontCount(); ++i) {
                const Bedrock::Counted<OTFont> font = file->GetFont(i);
                const auto source = font ? font->GetTableForTag(MakeTag("BASE")) : nullptr;
                if (!source || !source->GetBuffer()) continue;
                const std::string label = it->path().string() + " " + std::to_string(i);
                ++seen;
                OTBASETable first(font);
                ASSERT_TRUE(first.Load(source->GetBuffer())) << label;
                const std::vector<uint8_t> once = Rebuild(first);
                ASSERT_FALSE(once.empty()) << label;
                OTBASETable second(font);
                ASSERT_TRUE(second.Load(ToBuffer(once))) << label;
                EXPECT_TRUE(Equal(first.horizAxis, second.horizAxis)) << label;
                EXPECT_TRUE(Equal(first.vertAxis, second.vertAxis)) << label;
                EXPECT_EQ(Rebuild(second), once) << label;
                if (it->path().filename() != "TestCFF2VF.otf") continue;
                EXPECT_EQ(once, HexBytes("0001 0000 0008 0030"
                                         "0004 000e 0002 6964656f 726f6d6e 0004 44464c54 0022 6379726c 0022"
                                         "6772656b 0022 6c61746e 0022"
                                         "0004 0006 0000 0000 0006 0000 0000 0001 0002 0008 000c 0001 ff56 0001 0000"));
            }
        }
    }
    if (seen == 0) GTEST_SKIP() << "no font with a BASE table found";
}

// Hostile tables load within what their bytes justify and save; what they
// save reads back, and is saved to the same bytes from its second save on.
// The last one points 10000 scripts at one table of 20000 offsets to one
// coordinate: the load budget keeps a bounded share of the 2e8 copies.
TEST(BASETable, HostileTablesLoadWithinBoundsAndSaveOrRefuse) {
    // Header, a horizontal axis at 8 with only a script list, one script
    // latn whose table `script` starts at 20.
    auto oneScript = [](const std::string& script) {
        ByteWriter w;
        w.U16(1).U16(0).U16(8).U16(0).U16(0).U16(4).U16(1).Tag("latn").U16(8);
        return w.Bytes(HexBytes(script)).Data();
    };
    ByteWriter bomb;
    bomb.U16(1).U16(0).U16(8).U16(0).U16(0).U16(4).U16(10000);
    for (int i = 0; i < 10000; ++i) bomb.Tag("latn").U16(60002);
    bomb.U16(6).U16(0).U16(0).U16(0).U16(20000);
    for (int i = 0; i < 20000; ++i) bomb.U16(40004);
    bomb.U16(1).U16(100);

    struct Case {
        const char* name;
        std::vector<uint8_t> bytes;
    };
    const std::vector<Case> cases = {
        {"empty", {}},
        {"cut header", HexBytes("0001 00")},
        {"axes past the end", HexBytes("0001 0000 FFF0 FFF0")},
        {"axis inside the header", HexBytes("0001 0000 0002 0002")},
        {"store past the end", HexBytes("0001 0001 0000 0000 FFFFFFF0")},
        {"huge tag and script counts", HexBytes("0001 0000 0008 0000 0004 0006 FFFF 726f FFFF 6c61")},
        {"script past the end", oneScript("")},
        {"values count past the end", oneScript("0006 0000 0000 0000 FFFF 0004")},
        {"value offset 0 reads the values", oneScript("0006 0000 0000 0003 0001 0000")},
        {"coordinate of format 9", oneScript("0006 0000 0000 0000 0001 0006 0009 0001")},
        {"device offset 0", oneScript("0006 0000 0000 0000 0001 0006 0003 0001 0000")},
        {"device of 65536 sizes", oneScript("0006 0000 0000 0000 0001 0006 0003 0001 0006 0000 FFFF 0001")},
        {"extents past the end", oneScript("0000 0006 0001 4142 4344 FFFF 0000 0000 FFFF")},
        {"feature records past the end", oneScript("0000 0006 0000 0000 0000 FFFF 6c69")},
        {"extents at the script", oneScript("0000 0000 0002 4142 4344 0000 5452 4b20 0006")},
    };
    for (const Case& c : cases) {
        OTBASETable table(nullptr);
        ASSERT_TRUE(table.Load(ToBuffer(c.bytes))) << c.name;
        const uint64_t budget = SubTable::GetLoadBudget(*table.GetBuffer());
        EXPECT_LE(CountCoords(table) * sizeof(BaseCoord), budget) << c.name;
        EXPECT_LE(table.horizAxis.baselineTags.tags.size(), c.bytes.size() / 4) << c.name;
        EXPECT_LE(table.horizAxis.baseScriptRecords.size(), c.bytes.size() / 6) << c.name;
        table.SetIsDirty(true);
        ASSERT_TRUE(table.Save()) << c.name;
        // Garbage can give a present coordinate of format 0 at 0, which
        // compares equal to an absent one, so a first save may still merge
        // parts that a reread finds equal; the second save is final.
        OTBASETable reread(nullptr);
        ASSERT_TRUE(reread.Load(table.GetBuffer())) << c.name;
        const std::vector<uint8_t> twice = Rebuild(reread);
        ASSERT_TRUE(reread.Load(ToBuffer(twice))) << c.name;
        EXPECT_EQ(Rebuild(reread), twice) << c.name;
    }

    OTBASETable shared(nullptr);
    ASSERT_TRUE(shared.Load(ToBuffer(bomb.Data())));
    const size_t coords = CountCoords(shared);
    EXPECT_LE(coords * sizeof(BaseCoord), SubTable::GetLoadBudget(*shared.GetBuffer()));
    EXPECT_GT(coords, 20000u);
    // Whether the tables the budget left fit 16-bit offsets depends on where
    // it ran out; either way the save is whole or refused.
    shared.SetIsDirty(true);
    if (!shared.Save()) {
        EXPECT_EQ(BufferBytes(*shared.GetBuffer()), bomb.Data());
    }
}
