#include "instancer/FontInstancer.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "TestUtil.h"
#include "base/FileInStream.h"
#include "base/MemoryInStream.h"
#include "base/MemoryOutStream.h"
#include "instancer/ApplyMetricVariations.h"
#include "tables/OTVORGTable.h"
#include "tables/OThheaTable.h"
#include "tables/OTnameTable.h"
#include "tables/OTvheaTable.h"
#include "variations/OTMVARTable.h"
#include "variations/OTavarTable.h"
#include "variations/OTfvarTable.h"
#include "variations/VariationTestUtil.h"

using namespace Typeframe;
using TypeframeTest::ByteWriter;
using TypeframeTest::DataBlock;
using TypeframeTest::StoreBytes;

namespace {

constexpr int16_t kOne = 16384;

// One wght axis, 100 to 900 with 400 as default, and one named instance at
// 400 whose subfamily is name 258.
std::vector<uint8_t> FvarBytes() {
    ByteWriter w;
    w.U16(1).U16(0).U16(16).U16(2).U16(1).U16(20).U16(1).U16(8);
    w.Tag("wght").U32(100 << 16).U32(400 << 16).U32(900 << 16).U16(0).U16(256);
    w.U16(258).U16(0).U32(400 << 16);
    return w.Data();
}

// The map -1 -> -1, 0 -> 0, 0.5 -> 0.8, 1 -> 1.
std::vector<uint8_t> AvarBytes() {
    ByteWriter w;
    w.U16(1).U16(0).U16(0).U16(1).U16(4);
    for (int value : {-kOne, -kOne, 0, 0, 8192, 13107, +kOne, +kOne}) w.U16(static_cast<uint16_t>(value));
    return w.Data();
}

// One region peaking at wght max, one item whose delta is `delta`.
std::vector<uint8_t> StoreWithDelta(int16_t delta, int16_t start = 0, int16_t peak = kOne, int16_t end = kOne) {
    return StoreBytes(1, {{start, peak, end}},
                      {DataBlock{1, 1, {0}, ByteWriter().U16(static_cast<uint16_t>(delta)).Data()}});
}

// MVAR with one record per tag, all on item (0, 0) of the store.
std::vector<uint8_t> MvarBytes(const std::vector<const char*>& tags, const std::vector<uint8_t>& store) {
    ByteWriter w;
    const uint32_t storeOffset = 12 + 8 * static_cast<uint32_t>(tags.size());
    w.U16(1).U16(0).U16(0).U16(8).U16(static_cast<uint32_t>(tags.size())).U16(storeOffset);
    for (const char* tag : tags) w.Tag(tag).U16(0).U16(0);
    return w.Bytes(store).Data();
}

template <class Table>
Bedrock::Counted<Table> LoadTable(const Bedrock::Counted<OTFont>& font, const std::vector<uint8_t>& bytes) {
    auto table = Bedrock::MakeCounted<Table>(font);
    EXPECT_TRUE(table->Load(Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4)));
    return table;
}

Bedrock::Counted<OTnameTable> NameTable(const Bedrock::Counted<OTFont>& font, const std::string& family) {
    auto name = Bedrock::MakeCounted<OTnameTable>(font);
    EXPECT_TRUE(name->Create());
    name->ReplaceString(1, Utf8String(family.c_str()));
    name->ReplaceString(16, Utf8String(family.c_str()));
    name->AddString(3, 1, 1033, 258, Utf8String("Semi Bold"));
    return name;
}

Bedrock::Counted<OTFont> VariableFont(const std::string& family = "Font") {
    auto font = Bedrock::MakeCounted<OTFont>();
    font->AddTable(LoadTable<OTfvarTable>(font, FvarBytes()));
    font->AddTable(NameTable(font, family));
    return font;
}

int Vary(int value, int16_t delta, double coordinate) {
    ItemVariationStore store;
    const auto bytes = StoreWithDelta(delta);
    store.Load(Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4));
    EXPECT_TRUE(FontInstancer::ApplyVariation(value, {0, 0}, store, {Fixed2_14(coordinate)}));
    return value;
}

}  // namespace

TEST(FontInstancer, DeltaSumIsRoundedOnceHalfUp) {
    EXPECT_EQ(Vary(10, 100, 1.0), 110);
    EXPECT_EQ(Vary(10, 100, 0.5), 60);
    EXPECT_EQ(Vary(10, -1, 0.5), 10);            // -0.5 rounds to 0
    EXPECT_EQ(Vary(10, -51, 164 / 16384.0), 9);  // -0.51 rounds to -1
    EXPECT_EQ(Vary(10, 100, -0.5), 10);          // outside the region
    EXPECT_EQ(Vary(10, 0, 1.0), 10);

    // An item outside the store fails and leaves the value alone.
    ItemVariationStore store;
    const auto bytes = StoreWithDelta(100);
    store.Load(Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4));
    int value = 7;
    EXPECT_FALSE(FontInstancer::ApplyVariation(value, {0, 1}, store, {Fixed2_14(1.0)}));
    EXPECT_FALSE(FontInstancer::ApplyVariation(value, {3, 0}, store, {Fixed2_14(1.0)}));
    EXPECT_EQ(value, 7);
}

TEST(FontInstancer, RegionsThatCannotPeakCountFully) {
    // start above peak, and a region that spans zero, weigh 1 wherever the
    // location is.
    for (const auto& [start, peak, end] : {std::tuple<int16_t, int16_t, int16_t>{kOne, 8192, kOne},
                                           std::tuple<int16_t, int16_t, int16_t>{-kOne, 8192, kOne}}) {
        ItemVariationStore store;
        const auto bytes = StoreWithDelta(40, start, peak, end);
        store.Load(Bedrock::MakeCounted<BigEndianBuffer>(bytes.data(), bytes.size(), 4));
        int value = 0;
        EXPECT_TRUE(FontInstancer::ApplyVariation(value, {0, 0}, store, {Fixed2_14(-1.0)}));
        EXPECT_EQ(value, 40);
    }
}

TEST(FontInstancer, MapsUserValuesThroughFvarAndAvar) {
    auto font = Bedrock::MakeCounted<OTFont>();
    auto fvar = LoadTable<OTfvarTable>(font, FvarBytes());
    auto avar = LoadTable<OTavarTable>(font, AvarBytes());
    FontInstancer instancer;
    std::vector<Fixed2_14> coordinates;
    auto map = [&](double user, const Bedrock::Counted<OTavarTable>& withAvar) {
        EXPECT_TRUE(instancer.MapVarParams(fvar, withAvar, {user}, coordinates));
        return coordinates.at(0).GetRaw();
    };
    EXPECT_EQ(map(400, nullptr), 0);
    EXPECT_EQ(map(100, nullptr), -kOne);
    EXPECT_EQ(map(50, nullptr), -kOne);  // clamped to the axis
    EXPECT_EQ(map(650, nullptr), 8192);
    EXPECT_EQ(map(2000, nullptr), kOne);
    EXPECT_EQ(map(650, avar), 13107);  // 0.5 maps to 0.8 before rounding
    EXPECT_EQ(map(525, avar), 6554);   // 0.25 -> 0.4 -> 6553.6

    coordinates = {Fixed2_14(0.25)};
    EXPECT_FALSE(instancer.MapVarParams(fvar, avar, {400, 400}, coordinates));
    EXPECT_EQ(coordinates.size(), 1u);
    EXPECT_TRUE(instancer.MapVarParams(nullptr, avar, {1, 2, 3}, coordinates));
    EXPECT_EQ(coordinates.at(0).GetRaw(), 4096);
}

TEST(FontInstancer, PostScriptNames) {
    FontInstancer instancer;
    auto font = VariableFont();
    // At a named instance, its subfamily; elsewhere, the axis values that
    // differ from the defaults, printed as briefly as they read back.
    EXPECT_EQ(instancer.MakePostScriptName(font, {400}), "Font-SemiBold");
    EXPECT_EQ(instancer.MakePostScriptName(font, {700}), "Font_700wght");
    EXPECT_EQ(instancer.MakePostScriptName(font, {87.5}), "Font_87.5wght");
    EXPECT_EQ(instancer.MakePostScriptName(font, {1000}), "Font_1000wght");  // not clamped
    EXPECT_EQ(instancer.MakePostScriptName(font, {400.1}), "Font_400.1wght");
    // A name that fits is not registered as used, so it comes back the same.
    EXPECT_EQ(instancer.MakePostScriptName(font, {700}), "Font_700wght");
    // Typographic family (16) wins over 1; non-alphanumerics go.
    font->GetTableT<OTnameTable>()->ReplaceString(16, Utf8String("My Family!"));
    EXPECT_EQ(instancer.MakePostScriptName(font, {700}), "MyFamily_700wght");
    EXPECT_EQ(instancer.MakePostScriptName(Bedrock::MakeCounted<OTFont>(), {700}), "");
}

TEST(FontInstancer, LongFamilyNamesGetUniqueHashedForms) {
    FontInstancer instancer;
    const std::string family(55, 'F');
    auto font = VariableFont(family);
    // Too long for "_700.25wght" within 63 bytes, short enough for a hash.
    const Utf8String first = instancer.MakePostScriptName(font, {700.25});
    const Utf8String second = instancer.MakePostScriptName(font, {700.25});
    for (const Utf8String& name : {first, second}) {
        ASSERT_EQ(name.GetLength(), 55 + 1 + 6 + 3) << name.c_str();
        EXPECT_EQ(name.Substring(0, 56), Utf8String((family + "-").c_str()));
        EXPECT_EQ(name.Substring(62), "...");
    }
    EXPECT_NE(first, second);
}

// A family of 57 bytes or more leaves no room even for the hashed form: the
// name is empty, and asking again fails the same way instead of drawing
// hashes for ever.
TEST(FontInstancer, FamilyTooLongForAnyNameFails) {
    FontInstancer instancer;
    auto font = VariableFont(std::string(57, 'F'));
    EXPECT_EQ(instancer.MakePostScriptName(font, {700}), "");
    EXPECT_EQ(instancer.MakePostScriptName(font, {700}), "");
}

TEST(FontInstancer, MetricVariationsReachHheaAndVhea) {
    auto font = VariableFont();
    auto hhea = LoadTable<OThheaTable>(font, ByteWriter().U16(1).U16(0).Zeros(14).U16(1).U16(5).Zeros(16).Data());
    auto vhea = LoadTable<OTvheaTable>(font, ByteWriter().U32(0x00011000).Zeros(14).U16(2).U16(3).Zeros(14).Data());
    font->AddTable(hhea);
    font->AddTable(vhea);
    ASSERT_EQ(hhea->caretSlopeRun, 5);
    ASSERT_EQ(vhea->caretSlopeRun, 3);
    auto mvar = LoadTable<OTMVARTable>(font, MvarBytes({"hcrn", "vcrn", "zzzz"}, StoreWithDelta(10)));
    font->AddTable(mvar);
    EXPECT_TRUE(ApplyMVAR(font, {Fixed2_14(1.0)}));
    EXPECT_EQ(hhea->caretSlopeRun, 15);
    // The vertical run starts from the horizontal run (already varied by the
    // record before it), kept as it always was.
    EXPECT_EQ(vhea->caretSlopeRun, 25);
    EXPECT_TRUE(hhea->IsDirty());
    EXPECT_TRUE(vhea->IsDirty());

    // With no change, hhea stays clean.
    auto clean = LoadTable<OThheaTable>(font, ByteWriter().U16(1).U16(0).Zeros(14).U16(1).U16(5).Zeros(16).Data());
    font->SetTable(clean);
    EXPECT_TRUE(ApplyMVAR(font, {Fixed2_14(0.0)}));
    EXPECT_FALSE(clean->IsDirty());
}

TEST(FontInstancer, RawTableQueryForHosts) {
    const auto fvar = FvarBytes();
    const auto mvar = MvarBytes({"xhgt"}, StoreWithDelta(100));
    auto holder = [](const std::vector<uint8_t>& bytes) {
        return Bedrock::MakeCounted<Bedrock::BigEndianBuffer>(bytes.data(), bytes.size());
    };
    FontInstancer instancer;
    double value = 500;
    EXPECT_TRUE(instancer.ApplyVariation(holder(fvar), nullptr, holder(mvar), MakeTag("xhgt"), {650}, value));
    EXPECT_EQ(value, 550);
    value = 500;
    EXPECT_FALSE(instancer.ApplyVariation(holder(fvar), nullptr, holder(mvar), MakeTag("cpht"), {650}, value));
    EXPECT_EQ(value, 500);
    EXPECT_FALSE(instancer.ApplyVariation(nullptr, nullptr, holder(mvar), MakeTag("xhgt"), {650}, value));
    EXPECT_FALSE(instancer.ApplyVariation(holder(fvar), nullptr, nullptr, MakeTag("xhgt"), {650}, value));
}

TEST(FontInstancer, InstancesABundledVariableFont) {
    const std::string path = std::string(TYPEFRAME_TEST_DATA_DIR) + "/PartialInstancerTest3-VF.ttf";
    FontInstancer instancer;
    ASSERT_TRUE(instancer.LoadFont(Utf8String(path.c_str()), 0));
    auto font = instancer.GetFont();
    auto fvar = font->GetTableT<OTfvarTable>();
    ASSERT_TRUE(fvar);
    std::vector<double> location;
    for (const auto& axis : fvar->axes) location.push_back(axis->maxValue.ToDouble());

    EXPECT_FALSE(instancer.MakeInstance(std::vector<double>(location.size() + 1, 0)));
    EXPECT_TRUE(font->GetTableForTag(MakeTag("fvar")));  // untouched

    ASSERT_TRUE(instancer.MakeInstance(location));
    const Utf8String name = instancer.GetPostScriptName();
    EXPECT_FALSE(name.IsEmpty());
    for (const char* tag : {"avar", "cvar", "fvar", "gvar", "STAT", "HVAR", "VVAR", "MVAR"}) {
        EXPECT_FALSE(font->GetTableForTag(MakeTag(tag[0], tag[1], tag[2], tag[3]))) << tag;
    }

    auto out = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
    EXPECT_TRUE(instancer.SaveFont(Bedrock::Counted<Bedrock::OutStream>(out)));
    auto file = Bedrock::MakeCounted<OTFile>();
    file->Load(Bedrock::MakeCounted<Bedrock::MemoryInStream>(out->GetData()));
    auto saved = file->GetFont(0);
    ASSERT_TRUE(saved);
    EXPECT_FALSE(saved->IsVariable());
    Utf8String savedName;
    ASSERT_TRUE(saved->GetPostScriptName(savedName));
    EXPECT_EQ(savedName, name);
    // The font is still usable after saving: it went back to its own file.
    EXPECT_EQ(instancer.GetPostScriptName(), name);
}

TEST(FontInstancer, RefusesWhatItCannotInstanceAndSaysWhy) {
    const std::string data = TYPEFRAME_TEST_DATA_DIR;
    const std::string vf = data + "/PartialInstancerTest3-VF.ttf";
    const struct {
        std::string path;
        int index;
        const char* name;  // by PostScript name when not null
        Failure::Kind kind;
        const char* reason;
    } refused[] = {
        {data + "/TestTTF.ttf", 0, nullptr, Failure::Kind::NotVariable, "static"},
        {data + "/missing.ttf", 0, nullptr, Failure::Kind::CannotOpen, "No such file"},
        {data, 0, nullptr, Failure::Kind::CannotOpen, "not a regular file"},
        {data + "/README.md", 0, nullptr, Failure::Kind::NotAFont, "not a font file"},
        {vf, 1, nullptr, Failure::Kind::NoSuchFont, "out of range"},
        {vf, -1, nullptr, Failure::Kind::NoSuchFont, "out of range"},
        {vf, 0, "Nope", Failure::Kind::NoSuchFont, "'Nope'"},
    };
    for (const auto& c : refused) {
        FontInstancer instancer;
        const Utf8String path(c.path.c_str());
        EXPECT_FALSE(c.name ? instancer.LoadFont(path, Utf8String(c.name)) : instancer.LoadFont(path, c.index));
        EXPECT_EQ(instancer.GetLastFailure().GetKind(), c.kind) << c.path;
        EXPECT_NE(std::string(instancer.GetLastFailure().GetMessage().c_str()).find(c.reason), std::string::npos)
            << instancer.GetLastFailure().GetMessage().c_str();
    }

    FontInstancer instancer;
    EXPECT_FALSE(instancer.MakeInstance({400}));
    EXPECT_EQ(instancer.GetLastFailure().GetKind(), Failure::Kind::NoFont);
    EXPECT_FALSE(instancer.LoadFont(Bedrock::MakeCounted<OTFont>()));
    EXPECT_TRUE(instancer.LoadFont(Utf8String(vf.c_str()), Utf8String()));
    EXPECT_FALSE(instancer.GetLastFailure());
    EXPECT_FALSE(instancer.MakeInstance({}));
    EXPECT_EQ(instancer.GetLastFailure().GetMessage(),
              "the location has 0 values, one per axis, but the font has 1 axis");
}

// A value that is no number would be clamped to the axis minimum and name the
// instance "nan": it is refused before anything changes. Out-of-range values
// are still clamped, and the name keeps the value asked for.
TEST(FontInstancer, RefusesValuesThatAreNoNumbers) {
    const std::string vf = std::string(TYPEFRAME_TEST_DATA_DIR) + "/PartialInstancerTest3-VF.ttf";
    for (double bad : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        FontInstancer instancer;
        ASSERT_TRUE(instancer.LoadFont(Utf8String(vf.c_str()), 0));
        EXPECT_FALSE(instancer.MakeInstance({bad}));
        EXPECT_EQ(instancer.GetLastFailure().GetMessage(), "the value for axis 'wght' is not a finite number");
        EXPECT_TRUE(instancer.GetFont()->GetTableForTag(MakeTag("fvar")));
        EXPECT_FALSE(instancer.MakeInstanceAt({{MakeTag("wght"), bad}}));
    }
    FontInstancer instancer;
    ASSERT_TRUE(instancer.LoadFont(Utf8String(vf.c_str()), 0));
    std::vector<Fixed2_14> coordinates;
    ASSERT_TRUE(instancer.MapVarParams({5000}, coordinates));
    EXPECT_EQ(coordinates[0].GetRaw(), 16384);
}

TEST(FontInstancer, TakesALocationByTags) {
    const std::string vf = std::string(TYPEFRAME_TEST_DATA_DIR) + "/PartialInstancerTest3-VF.ttf";
    FontInstancer instancer;
    ASSERT_TRUE(instancer.LoadFont(Utf8String(vf.c_str()), 0));
    std::vector<double> location;
    ASSERT_TRUE(instancer.GetUserLocation({}, location));
    EXPECT_EQ(location, std::vector<double>{400});  // the default
    ASSERT_TRUE(instancer.GetUserLocation({{MakeTag("wght"), 550}}, location));
    EXPECT_EQ(location, std::vector<double>{550});
    EXPECT_FALSE(instancer.GetUserLocation({{MakeTag("wdth"), 80}}, location));
    EXPECT_EQ(instancer.GetLastFailure().GetMessage(), "the font has no axis 'wdth'");
    EXPECT_FALSE(instancer.GetUserLocation({{MakeTag("wght"), 500}, {MakeTag("wght"), 600}}, location));
    EXPECT_EQ(instancer.GetLastFailure().GetMessage(), "axis 'wght' is given twice");

    ASSERT_TRUE(instancer.MakeInstanceAt({{MakeTag("wght"), 550}}));
    FontInstancer byValues;
    ASSERT_TRUE(byValues.LoadFont(Utf8String(vf.c_str()), 0));
    ASSERT_TRUE(byValues.MakeInstance({550}));
    EXPECT_EQ(instancer.GetPostScriptName(), byValues.GetPostScriptName());
}

// With the save time and the seed fixed, the same instance twice is the same
// bytes, hashed PostScript names included.
TEST(FontInstancer, FixedClockAndSeedGiveIdenticalBytes) {
    const std::string vf = std::string(TYPEFRAME_TEST_DATA_DIR) + "/PartialInstancerTest3-VF.ttf";
    auto make = [&]() {
        FontInstancer instancer;
        instancer.SetSaveTime(int64_t(1234567890));
        EXPECT_TRUE(instancer.LoadFont(Utf8String(vf.c_str()), 0));
        EXPECT_TRUE(instancer.MakeInstance({550}));
        auto out = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
        EXPECT_TRUE(instancer.SaveFont(Bedrock::Counted<Bedrock::OutStream>(out)));
        return out->GetData();
    };
    EXPECT_EQ(make(), make());

    auto hashed = [](uint32_t seed) {
        FontInstancer instancer;
        instancer.SetRandomSeed(seed);
        return instancer.MakePostScriptName(VariableFont(std::string(55, 'F')), {700.25});
    };
    EXPECT_EQ(hashed(7), hashed(7));
    EXPECT_NE(hashed(7), hashed(8));
}

// Saving to a path checks first and publishes last: nothing is made when
// there is nothing to save, and a file that stood there stays until the new
// one is complete.
TEST(FontInstancer, SavingToAPathLeavesNothingHalfDone) {
    const std::string folder = ::testing::TempDir() + "typeframe-save-" + std::to_string(::getpid());
    ASSERT_EQ(::mkdir(folder.c_str(), 0777), 0);
    const std::string target = folder + "/out.ttf";
    auto entries = [&]() {
        int count = 0;
        if (DIR* dir = ::opendir(folder.c_str())) {
            while (dirent* entry = ::readdir(dir)) count += entry->d_name[0] != '.';
            ::closedir(dir);
        }
        return count;
    };

    FontInstancer instancer;
    EXPECT_FALSE(instancer.SaveFont(Utf8String(target.c_str())));
    EXPECT_EQ(instancer.GetLastFailure().GetKind(), Failure::Kind::NoFont);
    EXPECT_EQ(entries(), 0);

    const std::string vf = std::string(TYPEFRAME_TEST_DATA_DIR) + "/PartialInstancerTest3-VF.ttf";
    ASSERT_TRUE(instancer.LoadFont(Utf8String(vf.c_str()), 0));
    ASSERT_TRUE(instancer.MakeInstance({550}));
    EXPECT_FALSE(instancer.SaveFont(Utf8String((folder + "/missing/out.ttf").c_str())));
    EXPECT_EQ(instancer.GetLastFailure().GetKind(), Failure::Kind::CannotWrite);
    EXPECT_EQ(entries(), 0);

    // A font the file writer refuses (a dirty VORG never settles): the
    // result stays true, as it always was, but the reason is there and
    // nothing is published.
    auto vorg = Bedrock::MakeCounted<OTVORGTable>(instancer.GetFont());
    ASSERT_TRUE(vorg->Load(TypeframeTest::HexBuffer("0001 0000 0000 0000")));
    vorg->SetIsDirty(true);
    instancer.GetFont()->SetTable(vorg);
    auto memory = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
    EXPECT_TRUE(instancer.SaveFont(Bedrock::Counted<Bedrock::OutStream>(memory)));
    EXPECT_EQ(instancer.GetLastFailure().GetKind(), Failure::Kind::CannotSave);
    EXPECT_TRUE(memory->GetData().empty());
    EXPECT_TRUE(instancer.SaveFont(Utf8String(target.c_str())));
    EXPECT_NE(std::string(instancer.GetLastFailure().GetMessage().c_str()).find("'VORG'"), std::string::npos);
    EXPECT_EQ(entries(), 0);
    instancer.GetFont()->RemoveTable(MakeTag("VORG"));

    EXPECT_TRUE(instancer.SaveFont(Utf8String(target.c_str())));
    EXPECT_FALSE(instancer.GetLastFailure());
    EXPECT_EQ(entries(), 1);  // the font, and no temporary file beside it
    auto file = Bedrock::MakeCounted<OTFile>();
    file->Load(Bedrock::FileInStream::Open(target.c_str(), false));
    auto saved = file->GetFont(0);
    ASSERT_TRUE(saved);
    EXPECT_FALSE(saved->IsVariable());
    std::remove(target.c_str());
    ::rmdir(folder.c_str());
}
