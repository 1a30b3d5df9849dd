#pragma once

// The front door of the library: open a variable font, make a static
// instance of it at given axis values, and save it. One instancer holds one
// font at a time and changes it in place; to make another instance, load the
// font again (or hand it a clone of an already loaded font).

#include <cstdint>
#include <optional>
#include <random>
#include <set>
#include <vector>

#include "base/BigEndianBuffer.h"
#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/OutStream.h"
#include "base/String.h"
#include "core/Failure.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/Tag.h"
#include "variations/DeltaSetIndexMap.h"
#include "variations/ItemVariationStore.h"

namespace Typeframe {

class OTfvarTable;
class OTavarTable;

// One axis value of a location given by tag, for MakeInstanceAt.
struct AxisValue {
    Tag tag = 0;
    double value = 0;
};

class FontInstancer : public Bedrock::Countable {
public:
    FontInstancer() = default;

    // Why the last LoadFont, MakeInstance, MakeInstanceAt or SaveFont
    // failed; each of them clears it when it starts. SaveFont(stream) can
    // report a failed write here while it still returns true.
    const Failure& GetLastFailure() const { return m_failure; }

    // Reproducible output. The time stamped into head.modified when saving
    // (seconds since 1970; unset, the default, means the current time), and
    // the seed of the letters that shorten a PostScript name too long for
    // its family (unset, the default, draws them from the C library's rand()
    // as the process left it).
    void SetSaveTime(std::optional<int64_t> secondsSince1970) { m_saveTime = secondsSince1970; }
    void SetRandomSeed(std::optional<uint32_t> seed);

    bool LoadFont(const Utf8String& path, int index);
    // The font of the file (or collection) whose PostScript name is the one
    // given; an empty name takes the first font that has one.
    bool LoadFont(const Utf8String& path, const Utf8String& postScriptName);
    // Holds a font that is already loaded (for instance a clone, to make
    // several instances from one parse). It must be variable.
    bool LoadFont(Bedrock::Counted<OTFont> font);

    // Writes a temporary file beside `path` and renames it into place once
    // it is complete, so that a failed save leaves whatever was at `path`.
    // False with no font loaded or when the file can't be made; otherwise
    // the result is the stream overload's.
    bool SaveFont(const Utf8String& path);
    // True once the file has been handed to the stream, whatever the file
    // writer said (GetLastFailure tells when it failed); false with no font
    // loaded or no stream.
    bool SaveFont(Bedrock::Counted<Bedrock::OutStream> stream);

    Utf8String GetPostScriptName() const;
    Bedrock::Counted<OTFont> GetFont() const { return m_font; }

    // Makes the static instance at a user location (one value per axis, in
    // the axis order of 'fvar'). Values outside an axis's range are clamped
    // to it; a value that is not a finite number is refused.
    bool MakeInstance(std::vector<double> location);
    // The same with the location given as tag and value pairs in any order;
    // axes not named stay at their defaults. A tag the font has no axis for,
    // or one given twice, is refused.
    bool MakeInstanceAt(const std::vector<AxisValue>& values);
    // The user location MakeInstanceAt would use; false (with the reason in
    // GetLastFailure) as above.
    bool GetUserLocation(const std::vector<AxisValue>& values, std::vector<double>& location);

    bool MapVarParams(const std::vector<double>& location, std::vector<Fixed2_14>& coordinates) const;
    bool MapVarParams(Bedrock::Counted<OTfvarTable> fvar, Bedrock::Counted<OTavarTable> avar,
                      const std::vector<double>& location, std::vector<Fixed2_14>& coordinates) const;

    // Empty on failure.
    Utf8String MakePostScriptName(Bedrock::Counted<OTFont> font, const std::vector<double>& location) const;

    // Adds the delta of one item of a variation store at a normalised
    // location to value; false (value unchanged) when the item can't be had.
    static bool ApplyVariation(int& value, const DeltaSetIndexMap::IndexEntry& entry, const ItemVariationStore& store,
                               const std::vector<Fixed2_14>& coordinates);
    // One MVAR value at a user location, for hosts that hold raw tables.
    bool ApplyVariation(Bedrock::Counted<Bedrock::BigEndianBuffer> fvarData,
                        Bedrock::Counted<Bedrock::BigEndianBuffer> avarData,
                        Bedrock::Counted<Bedrock::BigEndianBuffer> mvarData, unsigned int tag,
                        const std::vector<double>& location, double& value) const;

private:
    bool Fail(Failure::Kind kind, Utf8String message);
    bool KeepFont(Bedrock::Counted<OTFont> font, const Utf8String& what);
    Utf8String MakeHash() const;

    Bedrock::Counted<OTFile> m_file;
    Bedrock::Counted<OTFont> m_font;
    mutable std::set<Utf8String> m_usedNames;
    Failure m_failure;
    std::optional<int64_t> m_saveTime;
    // Set by SetRandomSeed; without it the letters come from rand().
    mutable std::optional<std::minstd_rand> m_random;
};

}  // namespace Typeframe
