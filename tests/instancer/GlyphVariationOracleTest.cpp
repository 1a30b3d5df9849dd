// FreeType judges the static instances FontInstancer makes of TrueType
// variable fonts. FreeType applies the glyph variations of the variable font
// itself at the same location; every glyph of the saved instance, loaded
// unscaled, must then have the same contours and on-curve flags, every point
// within one font unit (both sides are rounded to whole units, by different
// code), and advances that FreeType rounds alike (see AdvanceMatches).
// FreeType puts the glyph origin at the first phantom point, so the points
// also carry the left side bearing.
//
// The instancer takes advances and side bearings from the phantom points of
// the glyph variations, as fontTools does. FreeType takes them from HVAR
// when the font has one and then leaves the phantom points alone, and some
// fonts' HVAR and phantom points disagree (by a rounding, or because a glyph
// has no variations of its own). So FreeType reads a copy of the font whose
// HVAR is hidden; the advances of the font as it is are compared too, and
// their differences only counted in the summary line.
//
// Locations: the default, each axis at its minimum and at its maximum, and
// one point inside the design space. ots-sanitize must accept every instance
// of a font whose variable form it accepts.

#include <gtest/gtest.h>

#ifdef TYPEFRAME_HAVE_FREETYPE
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_MULTIPLE_MASTERS_H
#endif

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "base/Counted.h"
#include "base/String.h"
#include "core/OTFont.h"
#include "instancer/FontInstancer.h"
#include "tables/OTnameTable.h"
#include "variations/OTavarTable.h"
#include "variations/OTfvarTable.h"

#ifdef TYPEFRAME_HAVE_FREETYPE

using namespace Typeframe;

namespace {

struct FontCase {
    std::string name;  // the test's name
    std::string path;
    bool required = false;  // the bundled font must be there; the others may be absent
};

void PrintTo(const FontCase& font, std::ostream* out) { *out << font.path; }

std::string TestName(const std::string& prefix, const std::string& path) {
    std::string name = prefix + "_" + std::filesystem::path(path).stem().string();
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    return name;
}

// The TrueType variable fonts (fvar, gvar and glyf) of the shared test data
// and of Debian's Inter and Karla packages.
std::vector<FontCase> FontCases() {
    std::vector<FontCase> cases;
    cases.push_back({"bundled_PartialInstancerTest3_VF",
                     std::string(TYPEFRAME_TEST_DATA_DIR) + "/PartialInstancerTest3-VF.ttf", true});
    const std::string shared = std::string(TYPEFRAME_SHARED_DIR) + "/testdata/";
    for (const char* file :
         {"debian/Inter-VariableFont_slnt,wght.ttf", "fonttools/compiled/instancer/3634-VF.ttf",
          "fonttools/compiled/instancer/PartialInstancerTest-VF.ttf",
          "fonttools/compiled/instancer/PartialInstancerTest2-VF.ttf",
          "fonttools/compiled/instancer/PartialInstancerTest3-VF.ttf",
          "fonttools/compiled/instancer/PartialInstancerTest4-VF.ttf",
          "fonttools/compiled/instancer/STATInstancerTest.ttf",
          "fonttools/compiled/varLib/MutatorSans_All_Variable.ttf", "fonttools/compiled/varLib/Mutator_Getvar.ttf",
          "fonttools/compiled/varLib/Mutator_IUP.ttf", "fonttools/compiled/varLib/SparseMasters-VF.ttf",
          "fonttools/Tests/ttLib/data/I.ttf", "fonttools/Tests/ttLib/tables/data/Amstelvar-avar2.subset.ttf",
          "fonttools/Tests/ttLib/tables/data/NotoSans-VF-cubic.subset.ttf"}) {
        cases.push_back({TestName("shared", file), shared + file});
    }
    for (const std::string folder :
         {"/usr/share/fonts/truetype/inter-vf", "/usr/share/fonts/truetype/karla-variable"}) {
        std::vector<std::string> files;
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
            if (entry.path().extension() == ".ttf") files.push_back(entry.path().string());
        }
        std::sort(files.begin(), files.end());
        // A package that isn't installed still shows, as a skipped test.
        if (files.empty()) cases.push_back({TestName("installed", folder), folder + "/"});
        for (const auto& file : files) cases.push_back({TestName("installed", file), file});
    }
    return cases;
}

// Figures for the summary lines.
struct Tally {
    long locations = 0;
    long glyphs = 0;  // glyphs compared, summed over the locations
    long points = 0;
    long differing = 0;     // glyphs with any difference
    long hvarAdvances = 0;  // advances unlike those FreeType reads through HVAR
    int reported = 0;
};

Tally g_total;
int g_fonts = 0;

class SummaryPrinter : public testing::Environment {
public:
    void TearDown() override {
        if (g_fonts > 1) {
            std::printf(
                "glyph-variation oracle: all: %d fonts, %ld locations, %ld glyphs, %ld points compared, %ld "
                "glyphs differ, %ld advances differ from those through HVAR\n",
                g_fonts, g_total.locations, g_total.glyphs, g_total.points, g_total.differing, g_total.hvarAdvances);
        }
    }
};

[[maybe_unused]] const auto* const g_summary = testing::AddGlobalTestEnvironment(new SummaryPrinter);

constexpr int kReportsPerFont = 5;
// Unscaled outlines in font units, unhinted; linearHoriAdvance in font units.
constexpr FT_Int32 kLoadFlags = FT_LOAD_NO_SCALE | FT_LOAD_LINEAR_DESIGN | FT_LOAD_NO_BITMAP;

std::string Fixed(FT_Fixed value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(value) / 65536.0);
    return text;
}

// FreeType reads a varied advance twice: as the distance between the phantom
// points rounded to whole units (metrics.horiAdvance), and as that distance
// rounded from 1/64 units (linearHoriAdvance). Where the exact advance lies
// within FreeType's 1/64 of a half unit the two part, and either may be the
// right rounding; elsewhere they agree. The instance's whole advance must be
// one of them.
bool AdvanceMatches(FT_Pos advance, const FT_GlyphSlot variable) {
    return advance == variable->metrics.horiAdvance || advance == variable->linearHoriAdvance;
}

// What differs between one glyph as FreeType loads it from the variable font
// and from the instance; empty when they agree.
std::string GlyphDifference(const FT_GlyphSlot variable, const FT_GlyphSlot instance, long& points) {
    const FT_Outline& a = variable->outline;
    const FT_Outline& b = instance->outline;
    char text[200];
    if (variable->format != instance->format) {
        std::snprintf(text, sizeof text, "glyph format %#lx, instance %#lx",
                      static_cast<unsigned long>(variable->format), static_cast<unsigned long>(instance->format));
        return text;
    }
    if (a.n_points != b.n_points || a.n_contours != b.n_contours) {
        std::snprintf(text, sizeof text, "%d points in %d contours, instance %d in %d", a.n_points, a.n_contours,
                      b.n_points, b.n_contours);
        return text;
    }
    for (int c = 0; c < a.n_contours; ++c) {
        if (a.contours[c] != b.contours[c]) {
            std::snprintf(text, sizeof text, "contour %d ends at point %d, instance %d", c, a.contours[c],
                          b.contours[c]);
            return text;
        }
    }
    points += a.n_points;
    std::string found;
    for (int p = 0; p < a.n_points && found.empty(); ++p) {
        if (FT_CURVE_TAG(a.tags[p]) != FT_CURVE_TAG(b.tags[p])) {
            std::snprintf(text, sizeof text, "point %d has tag %d, instance %d", p, FT_CURVE_TAG(a.tags[p]),
                          FT_CURVE_TAG(b.tags[p]));
            found = text;
        } else if (std::labs(a.points[p].x - b.points[p].x) > 1 || std::labs(a.points[p].y - b.points[p].y) > 1) {
            std::snprintf(text, sizeof text, "point %d at (%ld, %ld), instance (%ld, %ld)", p, a.points[p].x,
                          a.points[p].y, b.points[p].x, b.points[p].y);
            found = text;
        }
    }
    if (found.empty() && !AdvanceMatches(instance->metrics.horiAdvance, variable)) {
        std::snprintf(text, sizeof text, "advance %ld (linear %ld), instance %ld", variable->metrics.horiAdvance,
                      variable->linearHoriAdvance, instance->metrics.horiAdvance);
        found = text;
    }
    return found;
}

// The glyph's own advance (its hmtx entry in the instance), once the glyph
// has been loaded in both. A composite that takes its metrics from a
// component (USE_MY_METRICS) has that component's advance as its linear
// advance when FreeType reads a variable font without HVAR, but its own
// when FreeType reads a static font; loaded without its components, both
// give its own. Reloads the glyph.
std::string OwnAdvanceDifference(FT_Face variable, FT_Face instance, FT_UInt gid) {
    if (AdvanceMatches(instance->glyph->linearHoriAdvance, variable->glyph)) return "";
    if (FT_Load_Glyph(variable, gid, kLoadFlags | FT_LOAD_NO_RECURSE) == 0 &&
        FT_Load_Glyph(instance, gid, kLoadFlags | FT_LOAD_NO_RECURSE) == 0 &&
        variable->glyph->format == FT_GLYPH_FORMAT_COMPOSITE && instance->glyph->format == FT_GLYPH_FORMAT_COMPOSITE &&
        AdvanceMatches(instance->glyph->linearHoriAdvance, variable->glyph)) {
        return "";
    }
    return "own advance " + std::to_string(variable->glyph->metrics.horiAdvance) + " (linear " +
           std::to_string(variable->glyph->linearHoriAdvance) + "), instance " +
           std::to_string(instance->glyph->linearHoriAdvance);
}

// `variable` is the font with its HVAR hidden; `asIs`, when not null, the
// font with it.
void CompareGlyphs(FT_Face variable, FT_Face asIs, FT_Face instance, const std::string& where, Tally& tally) {
    EXPECT_EQ(variable->num_glyphs, instance->num_glyphs) << where << ": glyph count";
    const FT_Long count = std::min(variable->num_glyphs, instance->num_glyphs);
    for (FT_Long gid = 0; gid < count; ++gid) {
        const FT_Error variableError = FT_Load_Glyph(variable, static_cast<FT_UInt>(gid), kLoadFlags);
        const FT_Error instanceError = FT_Load_Glyph(instance, static_cast<FT_UInt>(gid), kLoadFlags);
        std::string difference;
        if (variableError || instanceError) {
            // A glyph FreeType refuses in both is not compared.
            if (!variableError || !instanceError) {
                difference = "FreeType load error " + std::to_string(variableError) + ", instance " +
                             std::to_string(instanceError);
            }
        } else {
            ++tally.glyphs;
            difference = GlyphDifference(variable->glyph, instance->glyph, tally.points);
            if (asIs && FT_Load_Glyph(asIs, static_cast<FT_UInt>(gid), kLoadFlags) == 0 &&
                (asIs->glyph->metrics.horiAdvance != instance->glyph->metrics.horiAdvance ||
                 asIs->glyph->linearHoriAdvance != instance->glyph->linearHoriAdvance)) {
                ++tally.hvarAdvances;
            }
            if (difference.empty()) difference = OwnAdvanceDifference(variable, instance, static_cast<FT_UInt>(gid));
        }
        if (difference.empty()) continue;
        ++tally.differing;
        if (tally.reported++ < kReportsPerFont) ADD_FAILURE() << where << ", glyph " << gid << ": " << difference;
    }
}

std::string ShellQuoted(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

bool HaveOtsSanitize() {
    static const bool have = std::system("command -v ots-sanitize >/dev/null 2>&1") == 0;
    return have;
}

bool OtsAccepts(const std::string& path) {
    return std::system(("ots-sanitize " + ShellQuoted(path) + " >/dev/null 2>&1").c_str()) == 0;
}

std::vector<char> ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<char>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::string& path, const std::vector<char>& data) {
    std::ofstream(path, std::ios::binary).write(data.data(), static_cast<std::streamsize>(data.size()));
}

uint32_t ReadU32(const std::vector<char>& data, size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) value = (value << 8) | static_cast<uint8_t>(data[at + i]);
    return value;
}

// Calls visit(tag, record, offset, length) for each table of a single font
// whose bytes lie in the data; record is where its directory entry starts.
template <class Visit>
void ForEachTable(const std::vector<char>& data, Visit visit) {
    if (data.size() < 12) return;
    const size_t tableCount = (static_cast<uint8_t>(data[4]) << 8) | static_cast<uint8_t>(data[5]);
    for (size_t record = 12; record < 12 + 16 * tableCount && record + 16 <= data.size(); record += 16) {
        const uint32_t offset = ReadU32(data, record + 8);
        const uint32_t length = ReadU32(data, record + 12);
        if (offset <= data.size() && length <= data.size() - offset) {
            visit(std::string(data.data() + record, 4), record, offset, length);
        }
    }
}

// A copy of the font whose HVAR FreeType won't find (its tag is renamed);
// false, and no copy, when there is none.
bool WriteWithoutHvar(const std::string& path, const std::string& copy) {
    std::vector<char> data = ReadBytes(path);
    bool found = false;
    ForEachTable(data, [&](const std::string& tag, size_t record, uint32_t, uint32_t) {
        if (tag != "HVAR") return;
        data[record] = 'h';
        found = true;
    });
    if (found) WriteBytes(copy, data);
    return found;
}

// The instancer does not yet instance GDEF's item variation store (GDEF 1.3,
// offset at byte 14) or the FeatureVariations of GSUB and GPOS (1.1, offset
// at byte 10), which ots-sanitize refuses once fvar is gone. This writes a
// copy of the font with those offsets set to null, and says what was cut;
// nothing is written when there is nothing to cut.
std::string WriteWithoutPending(const std::string& path, const std::string& copy) {
    std::vector<char> data = ReadBytes(path);
    std::string cut;
    ForEachTable(data, [&](const std::string& tag, size_t, uint32_t offset, uint32_t length) {
        const uint32_t version = tag == "GDEF" ? 0x00010003 : 0x00010001;
        const size_t field = tag == "GDEF" ? 14 : 10;
        if ((tag != "GDEF" && tag != "GSUB" && tag != "GPOS") || length < field + 4 ||
            ReadU32(data, offset) != version || ReadU32(data, offset + field) == 0) {
            return;
        }
        std::fill_n(data.begin() + static_cast<std::ptrdiff_t>(offset + field), 4, 0);
        cut += (cut.empty() ? "" : ", ") + tag + (tag == "GDEF" ? " variation store" : " FeatureVariations");
    });
    if (!cut.empty()) WriteBytes(copy, data);
    return cut;
}

// ots-sanitize on an instance of a font it accepts: the output must pass as
// it is, or once the parts not instanced yet are cut.
void CheckOts(const std::string& output, const std::string& where, std::string& notes) {
    if (OtsAccepts(output)) return;
    const std::string copy = output + ".pending-cut.ttf";
    const std::string cut = WriteWithoutPending(output, copy);
    if (cut.empty()) {
        ADD_FAILURE() << where << ": ots-sanitize rejects the instance but accepts the variable font";
        return;
    }
    EXPECT_TRUE(OtsAccepts(copy)) << where << ": ots-sanitize rejects the instance even without the " << cut
                                  << ", but accepts the variable font";
    std::remove(copy.c_str());
    if (notes.find(cut) == std::string::npos) notes += "; ots-sanitize judged without the " + cut;
}

// The instancer names an instance after the font's family and refuses a
// font without one; a subset font without a name table gets one here.
void GiveFamilyName(const Bedrock::Counted<OTFont>& font) {
    if (font->GetTableT<OTnameTable>()) return;
    auto name = Bedrock::MakeCounted<OTnameTable>(font);
    ASSERT_TRUE(name->Create());
    name->ReplaceString(1, Utf8String("Oracle"));
    ASSERT_TRUE(font->AddTable(name));
}

struct Location {
    std::string label;
    std::vector<FT_Fixed> user;  // 16.16, one per axis
};

// The default, each axis at its minimum and its maximum (the others at their
// defaults), and every axis at once at a point strictly inside its range,
// away from the default: 37% of the way to the maximum, or to the minimum
// when the default is the maximum. Repeats of the default are left out.
std::vector<Location> Locations(const OTfvarTable& fvar) {
    std::vector<FT_Fixed> defaults;
    for (const auto& axis : fvar.axes) defaults.push_back(axis->defaultValue.GetRaw());
    std::vector<Location> locations{{"default", defaults}};
    auto label = [&](size_t i, FT_Fixed value) {
        const Tag tag = fvar.axes[i]->axisTag;
        const char text[] = {static_cast<char>(tag >> 24), static_cast<char>(tag >> 16), static_cast<char>(tag >> 8),
                             static_cast<char>(tag), 0};
        return std::string(text) + "=" + Fixed(value);
    };
    for (size_t i = 0; i < fvar.axes.size(); ++i) {
        for (FT_Fixed value : {static_cast<FT_Fixed>(fvar.axes[i]->minValue.GetRaw()),
                               static_cast<FT_Fixed>(fvar.axes[i]->maxValue.GetRaw())}) {
            if (value == defaults[i]) continue;
            auto user = defaults;
            user[i] = value;
            locations.push_back({label(i, value), user});
        }
    }
    Location inside{"", defaults};
    for (size_t i = 0; i < fvar.axes.size(); ++i) {
        const FT_Fixed maxValue = fvar.axes[i]->maxValue.GetRaw();
        const FT_Fixed target = maxValue != defaults[i] ? maxValue : fvar.axes[i]->minValue.GetRaw();
        inside.user[i] = defaults[i] + std::lround(0.37 * static_cast<double>(target - defaults[i]));
        if (inside.user[i] == defaults[i]) continue;
        inside.label += (inside.label.empty() ? "" : ",") + label(i, inside.user[i]);
    }
    if (!inside.label.empty()) locations.push_back(inside);
    return locations;
}

struct FreeTypeLibrary {
    FT_Library library = nullptr;
    FreeTypeLibrary() { FT_Init_FreeType(&library); }
    ~FreeTypeLibrary() { FT_Done_FreeType(library); }
};

struct Face {
    FT_Face face = nullptr;
    ~Face() { FT_Done_Face(face); }
};

// A file in the test's temporary folder, removed at the end of the scope.
struct ScratchFile {
    std::string path;
    explicit ScratchFile(const std::string& name)
        : path(testing::TempDir() + "typeframe-gvar-oracle-" + std::to_string(::getpid()) + "-" + name) {}
    ~ScratchFile() { std::remove(path.c_str()); }
};

class GlyphVariationOracle : public testing::TestWithParam<FontCase> {};

TEST_P(GlyphVariationOracle, InstancesMatchFreeTypeAtEachLocation) {
    const FontCase& font = GetParam();
    if (!std::filesystem::is_regular_file(font.path)) {
        ASSERT_FALSE(font.required) << font.path << " is missing";
        GTEST_SKIP() << font.path << " is absent";
    }
    FreeTypeLibrary freeType;
    ASSERT_TRUE(freeType.library);
    Face original;
    if (FT_New_Face(freeType.library, font.path.c_str(), 0, &original.face) != 0) {
        GTEST_SKIP() << "FreeType can't open " << font.path;
    }
    // The outlines and advances are judged on the font with its HVAR hidden.
    FT_Face variable = original.face;
    FT_Face withHvar = nullptr;
    ScratchFile hiddenFile(font.name + "-without-HVAR.ttf");
    Face hidden;
    if (WriteWithoutHvar(font.path, hiddenFile.path)) {
        ASSERT_EQ(FT_New_Face(freeType.library, hiddenFile.path.c_str(), 0, &hidden.face), 0);
        variable = hidden.face;
        withHvar = original.face;
    }

    FontInstancer reader;
    ASSERT_TRUE(reader.LoadFont(Utf8String(font.path.c_str()), 0)) << font.path;
    auto fvar = reader.GetFont()->GetTableT<OTfvarTable>();
    ASSERT_TRUE(fvar);
    const auto avar = reader.GetFont()->GetTableT<OTavarTable>();
    std::vector<Location> locations = Locations(*fvar);

    std::string notes;
    // FreeType built without variation support loads the default outlines:
    // only the default location can be judged then.
    FT_MM_Var* axes = nullptr;
    const bool canVary = FT_HAS_MULTIPLE_MASTERS(variable) && FT_Get_MM_Var(variable, &axes) == 0;
    if (!canVary) {
        locations.resize(1);
        notes += "; FreeType can't vary this font: default location only";
    } else {
        // FreeType reads the same axes.
        EXPECT_EQ(axes->num_axis, fvar->axes.size());
        for (FT_UInt i = 0; i < std::min<size_t>(axes->num_axis, fvar->axes.size()); ++i) {
            EXPECT_EQ(axes->axis[i].minimum, fvar->axes[i]->minValue.GetRaw()) << "axis " << i;
            EXPECT_EQ(axes->axis[i].def, fvar->axes[i]->defaultValue.GetRaw()) << "axis " << i;
            EXPECT_EQ(axes->axis[i].maximum, fvar->axes[i]->maxValue.GetRaw()) << "axis " << i;
        }
        FT_Done_MM_Var(freeType.library, axes);
    }
    // FreeType before 2.13 leaves out a version 2 avar altogether, where the
    // instancer applies its segment maps: the variable font is then set to
    // the instancer's normalised location, which still judges the outlines.
    const bool useInstancerCoordinates = avar && avar->majorVersion >= 2 && FREETYPE_MAJOR * 100 + FREETYPE_MINOR < 213;
    if (useInstancerCoordinates) notes += "; avar 2: FreeType set to the instancer's normalised location";
    const bool checkOts = HaveOtsSanitize() && OtsAccepts(font.path);
    if (!HaveOtsSanitize()) notes += "; ots-sanitize not installed";

    Tally tally;
    for (size_t n = 0; n < locations.size(); ++n) {
        const Location& location = locations[n];
        const std::string where = font.path + " at " + location.label;
        std::vector<double> user;
        for (FT_Fixed value : location.user) user.push_back(static_cast<double>(value) / 65536.0);

        std::vector<Fixed2_14> normalised;
        ASSERT_TRUE(reader.MapVarParams(user, normalised)) << where;
        std::vector<FT_Fixed> coordinates = location.user;
        if (canVary) {
            FT_Error error = 0;
            if (useInstancerCoordinates) {
                for (size_t i = 0; i < coordinates.size(); ++i) coordinates[i] = normalised[i].GetRaw() * 4;
                error = FT_Set_Var_Blend_Coordinates(variable, static_cast<FT_UInt>(coordinates.size()),
                                                     coordinates.data());
            } else {
                error = FT_Set_Var_Design_Coordinates(variable, static_cast<FT_UInt>(coordinates.size()),
                                                      coordinates.data());
            }
            if (withHvar && !error) {
                error = useInstancerCoordinates
                            ? FT_Set_Var_Blend_Coordinates(withHvar, static_cast<FT_UInt>(coordinates.size()),
                                                           coordinates.data())
                            : FT_Set_Var_Design_Coordinates(withHvar, static_cast<FT_UInt>(coordinates.size()),
                                                            coordinates.data());
            }
            ASSERT_EQ(error, 0) << where << ": FreeType can't set the location";
            // Both normalise the location alike, to a unit in the last place
            // of the instancer's 2.14 numbers (FreeType works in 16.16).
            std::vector<FT_Fixed> blend(coordinates.size());
            ASSERT_EQ(FT_Get_Var_Blend_Coordinates(variable, static_cast<FT_UInt>(blend.size()), blend.data()), 0);
            for (size_t i = 0; i < blend.size(); ++i) {
                EXPECT_NEAR(static_cast<double>(blend[i]) / 65536.0, normalised[i].ToDouble(), 1.0 / 16384)
                    << where << ": normalised coordinate of axis " << i;
            }
        }

        FontInstancer instancer;
        ASSERT_TRUE(instancer.LoadFont(Utf8String(font.path.c_str()), 0)) << where;
        GiveFamilyName(instancer.GetFont());
        ASSERT_TRUE(instancer.MakeInstance(user)) << where;
        const ScratchFile outputFile(font.name + "-" + std::to_string(n) + ".ttf");
        const std::string& output = outputFile.path;
        ASSERT_TRUE(instancer.SaveFont(Utf8String(output.c_str()))) << where;

        Face instance;
        if (FT_New_Face(freeType.library, output.c_str(), 0, &instance.face) != 0) {
            ADD_FAILURE() << where << ": FreeType can't open the instance " << output;
        } else {
            ++tally.locations;
            CompareGlyphs(variable, withHvar, instance.face, where, tally);
            if (checkOts) CheckOts(output, where, notes);
        }
    }
    if (withHvar) {
        notes += "; " + std::to_string(tally.hvarAdvances) + " advances differ from those through HVAR";
    }

    std::printf(
        "glyph-variation oracle: %s: %ld locations, %ld glyphs, %ld glyphs compared, %ld points, %ld "
        "differ%s\n",
        std::filesystem::path(font.path).filename().c_str(), tally.locations, static_cast<long>(variable->num_glyphs),
        tally.glyphs, tally.points, tally.differing, notes.c_str());
    EXPECT_EQ(tally.differing, 0) << font.path << ": glyphs that differ (the first " << kReportsPerFont
                                  << " are reported above)";
    ++g_fonts;
    g_total.locations += tally.locations;
    g_total.glyphs += tally.glyphs;
    g_total.points += tally.points;
    g_total.differing += tally.differing;
    g_total.hvarAdvances += tally.hvarAdvances;
}

INSTANTIATE_TEST_SUITE_P(Fonts, GlyphVariationOracle, testing::ValuesIn(FontCases()),
                         [](const testing::TestParamInfo<FontCase>& param) { return param.param.name; });

}  // namespace

#else

TEST(GlyphVariationOracle, NeedsFreeType) { GTEST_SKIP() << "built without FreeType"; }

#endif
