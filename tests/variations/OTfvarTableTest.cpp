// fvar: records that echo their own bytes, the optional PostScript name ID,
// instance lookup by exact 16.16 words, and hostile counts and sizes.

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/FileInStream.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "variations/OTfvarTable.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::ByteWriter;

namespace {

ByteWriter Header(uint32_t axisCount, uint32_t axisSize, uint32_t instanceCount, uint32_t instanceSize) {
    ByteWriter w;
    w.U16(1).U16(0).U16(16).U16(2).U16(axisCount).U16(axisSize).U16(instanceCount).U16(instanceSize);
    return w;
}

void Axis(ByteWriter& w, const char* tag, int32_t min, int32_t def, int32_t max, uint32_t nameID) {
    w.Tag(tag).U32(uint32_t(min) << 16).U32(uint32_t(def) << 16).U32(uint32_t(max) << 16).U16(0).U16(nameID);
}

// Two axes (wght 100-400-900, wdth 75-100-125) and two instances; with
// `postScriptNames` the instances are 14 bytes, else 12.
std::vector<uint8_t> TwoAxisFont(bool postScriptNames) {
    ByteWriter w = Header(2, 20, 2, postScriptNames ? 14 : 12);
    Axis(w, "wght", 100, 400, 900, 256);
    Axis(w, "wdth", 75, 100, 125, 257);
    w.U16(258).U16(0).U32(700u << 16).U32(0x00640000);
    if (postScriptNames) w.U16(300);
    w.U16(259).U16(1).U32(0x00008000).U32(0xFFFF8000);  // 0.5 and -0.5
    if (postScriptNames) w.U16(301);
    return w.Data();
}

Bedrock::Counted<BigEndianBuffer> ToBuffer(const std::vector<uint8_t>& bytes) {
    return Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4);
}

Bedrock::Counted<OTfvarTable> Loaded(const std::vector<uint8_t>& bytes) {
    auto fvar = Bedrock::MakeCounted<OTfvarTable>(nullptr);
    EXPECT_TRUE(fvar->Load(ToBuffer(bytes)));
    return fvar;
}

std::vector<uint8_t> SavedDirty(OTfvarTable& fvar) {
    fvar.SetIsDirty(true);
    EXPECT_TRUE(fvar.Save());
    EXPECT_FALSE(fvar.IsDirty());
    return BufferBytes(*fvar.GetBuffer());
}

}  // namespace

TEST(OTfvarTableTest, LoadsAxesAndInstances) {
    auto fvar = Loaded(TwoAxisFont(true));
    EXPECT_EQ(fvar->GetTag(), MakeTag("fvar"));
    EXPECT_EQ(fvar->axesArrayOffset, 16);
    EXPECT_EQ(fvar->reserved, 2);
    EXPECT_EQ(fvar->GetAxisTags(), (std::vector<Tag>{MakeTag("wght"), MakeTag("wdth")}));
    auto wdth = fvar->GetVariationAxis(1);
    ASSERT_TRUE(wdth);
    EXPECT_EQ(wdth->minValue.ToDouble(), 75.0);
    EXPECT_EQ(wdth->defaultValue.ToDouble(), 100.0);
    EXPECT_EQ(wdth->maxValue.ToDouble(), 125.0);
    EXPECT_EQ(wdth->axisNameID, 257);
    EXPECT_FALSE(fvar->GetVariationAxis(2));
    auto first = fvar->GetInstance(static_cast<unsigned short>(0));
    ASSERT_TRUE(first);
    EXPECT_EQ(first->subfamilyNameID, 258);
    EXPECT_EQ(first->coordinates, (std::vector<Fixed16_16>{Fixed16_16(700.0), Fixed16_16(100.0)}));
    EXPECT_FALSE(fvar->GetInstance(static_cast<unsigned short>(2)));

    auto empty = Bedrock::MakeCounted<OTfvarTable>(nullptr);
    EXPECT_FALSE(empty->Load(nullptr));
    EXPECT_TRUE(empty->Load(ToBuffer(Header(0, 20, 0, 4).Data())));
    EXPECT_TRUE(empty->axes.empty());
    EXPECT_TRUE(empty->instances.empty());
}

// The optional name ID is seen from the record's length; a clean save
// echoes every record, any bytes past the standard size included.
TEST(OTfvarTableTest, PostScriptNameIDFollowsInstanceSizeAndCleanRecordsEcho) {
    for (bool withNames : {true, false}) {
        const auto bytes = TwoAxisFont(withNames);
        auto fvar = Loaded(bytes);
        ASSERT_EQ(fvar->instances.size(), 2u);
        EXPECT_EQ(fvar->instances[1]->hasPostScriptNameID, withNames);
        EXPECT_EQ(fvar->instances[1]->postScriptNameID, withNames ? 301 : 0);
        EXPECT_EQ(SavedDirty(*fvar), bytes);
    }
    // 24-byte axis records: the four extra bytes stay with a clean record.
    ByteWriter w = Header(1, 24, 1, 8);
    Axis(w, "wght", 100, 400, 900, 256);
    w.U32(0xCAFEF00D).U16(5).U16(0).U32(400u << 16);
    auto fvar = Loaded(w.Data());
    EXPECT_EQ(SavedDirty(*fvar), w.Data());
}

// A dirty axis record writes its 20 standard bytes; a dirty instance writes
// its fields, the name ID only when it has one.
TEST(OTfvarTableTest, DirtyRecordsAreWrittenFromTheirFields) {
    auto fvar = Loaded(TwoAxisFont(true));
    auto instance = fvar->instances[0];
    instance->coordinates[0] = Fixed16_16(650.0);
    instance->hasPostScriptNameID = false;
    instance->SetIsDirty(true);
    fvar->instanceSize = 12;  // the caller keeps the header true
    auto axis = fvar->axes[1];
    axis->flags = 1;
    axis->SetIsDirty(true);
    const auto saved = SavedDirty(*fvar);
    EXPECT_FALSE(instance->IsDirty());
    EXPECT_FALSE(axis->IsDirty());

    auto reloaded = Loaded(saved);
    ASSERT_EQ(reloaded->instances.size(), 2u);
    EXPECT_EQ(reloaded->axes[1]->flags, 1);
    EXPECT_EQ(reloaded->instances[0]->coordinates[0].ToDouble(), 650.0);
    EXPECT_FALSE(reloaded->instances[0]->hasPostScriptNameID);
    EXPECT_EQ(BufferBytes(*instance->GetBuffer()).size(), 12u);
    // The second instance, clean, still has its 14 bytes.
    EXPECT_EQ(BufferBytes(*fvar->instances[1]->GetBuffer()).size(), 14u);

    // A clone owns its records.
    auto copy = Bedrock::StaticCast<OTfvarTable>(fvar->Clone());
    copy->axes[0]->axisTag = MakeTag("XXXX");
    EXPECT_EQ(fvar->axes[0]->axisTag, MakeTag("wght"));
}

// Coordinates become 16.16 words, rounded half away from zero, and compare
// exactly: 0.5 is 32768, -0.5 is -32768.
TEST(OTfvarTableTest, InstanceLookupComparesExactWords) {
    auto fvar = Loaded(TwoAxisFont(false));
    EXPECT_EQ(fvar->GetInstance(std::vector<double>{700.0, 100.0}), fvar->instances[0]);
    auto half = fvar->GetInstance(std::vector<double>{0.5, -0.5});
    ASSERT_TRUE(half);
    EXPECT_EQ(half->coordinates[0].GetRaw(), 32768);
    EXPECT_EQ(half->coordinates[1].GetRaw(), -32768);
    // Within half a unit of the word still matches; one unit off does not.
    EXPECT_EQ(fvar->GetInstance(std::vector<double>{0.5 + 0.4 / 65536, -0.5 - 0.4 / 65536}), half);
    EXPECT_FALSE(fvar->GetInstance(std::vector<double>{0.5 + 1.0 / 65536, -0.5}));
    EXPECT_FALSE(fvar->GetInstance(std::vector<double>{700.0}));
    // The argument's count is a 16-bit number: 65538 values count as two.
    std::vector<double> wrapped(65538, 1.0);
    wrapped[0] = 700.0;
    wrapped[1] = 100.0;
    EXPECT_EQ(fvar->GetInstance(wrapped), fvar->instances[0]);
    // With no axes, an empty location matches the first instance.
    ByteWriter w = Header(0, 20, 2, 4);
    w.U16(1).U16(0).U16(2).U16(0);
    auto noAxes = Loaded(w.Data());
    EXPECT_EQ(noAxes->GetInstance(std::vector<double>{}), noAxes->instances[0]);
}

// Counts and sizes from a hostile file: records past the end fail the load,
// and no count makes more records or coordinates than the bytes can hold.
TEST(OTfvarTableTest, HostileCountsAndSizesFailQuietly) {
    auto fvar = Bedrock::MakeCounted<OTfvarTable>(nullptr);
    // 65535 axes of 20 bytes with only two present.
    auto bytes = TwoAxisFont(true);
    bytes[8] = 0xFF, bytes[9] = 0xFF;
    EXPECT_FALSE(fvar->Load(ToBuffer(bytes)));
    EXPECT_LE(fvar->axes.size(), bytes.size() / 20);
    // 65535 instances with two present.
    bytes = TwoAxisFont(true);
    bytes[12] = 0xFF, bytes[13] = 0xFF;
    EXPECT_FALSE(fvar->Load(ToBuffer(bytes)));
    EXPECT_EQ(fvar->axes.size(), 2u);
    EXPECT_LE(fvar->instances.size(), 2u);
    // Records of no bytes fit any count: axes can't be read, and instances
    // are too short for their coordinates.
    EXPECT_FALSE(fvar->Load(ToBuffer(Header(65535, 0, 0, 0).Data())));
    EXPECT_TRUE(fvar->axes.empty());
    ByteWriter w = Header(1, 20, 65535, 0);
    Axis(w, "wght", 100, 400, 900, 256);
    EXPECT_FALSE(fvar->Load(ToBuffer(w.Data())));
    EXPECT_TRUE(fvar->instances.empty());
    // 65535 one-byte axes and instances of 4 bytes: each instance would need
    // 65535 coordinates, which its bytes don't hold.
    w = Header(65535, 1, 100, 4);
    w.Zeros(65535 + 400);
    EXPECT_FALSE(fvar->Load(ToBuffer(w.Data())));
    EXPECT_EQ(fvar->axes.size(), 65535u);
    EXPECT_TRUE(fvar->instances.empty());
    // An axis record shorter than 20 bytes loads what it can.
    w = Header(1, 4, 0, 0);
    w.Tag("wght");
    EXPECT_TRUE(fvar->Load(ToBuffer(w.Data())));
    EXPECT_EQ(fvar->GetAxisTags(), std::vector<Tag>{MakeTag("wght")});
}

TEST(OTfvarTableTest, RealFontLoadsThroughTheFactoryAndEchoes) {
    const std::string path = std::string(TYPEFRAME_TEST_DATA_DIR) + "/PartialInstancerTest3-VF.ttf";
    auto file = Bedrock::MakeCounted<OTFile>();
    auto stream = Bedrock::FileInStream::Open(path.c_str(), false);
    if (!stream) GTEST_SKIP() << "missing " << path;
    ASSERT_TRUE(file->Load(stream));
    auto font = file->GetFont(0);
    ASSERT_TRUE(font);
    auto fvar = font->GetTableT<OTfvarTable>();
    ASSERT_TRUE(fvar);
    ASSERT_EQ(fvar->axes.size(), 1u);
    EXPECT_EQ(fvar->axes[0]->axisTag, MakeTag("wght"));
    EXPECT_EQ(fvar->axes[0]->maxValue.ToDouble(), 700.0);
    ASSERT_EQ(fvar->instances.size(), 2u);
    EXPECT_EQ(fvar->instances[1]->coordinates[0].ToDouble(), 700.0);
    EXPECT_FALSE(fvar->instances[1]->hasPostScriptNameID);  // 8-byte instances
    const auto original = BufferBytes(*fvar->GetBuffer());
    EXPECT_EQ(SavedDirty(*fvar), original);
}
