#pragma once

// The front door of the library: open a variable font, make a static
// instance of it at given axis values, and save it. One instancer holds one
// font at a time and changes it in place; to make another instance, load the
// font again (or hand it a clone of an already loaded font).

#include <set>
#include <vector>

#include "base/BigEndianBuffer.h"
#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/OutStream.h"
#include "base/String.h"
#include "core/OTFile.h"
#include "core/OTFont.h"
#include "variations/DeltaSetIndexMap.h"
#include "variations/ItemVariationStore.h"

namespace Typeframe {

class OTfvarTable;
class OTavarTable;

class FontInstancer : public Bedrock::Countable {
public:
    FontInstancer() = default;

    bool LoadFont(const Utf8String& path, int index);
    // The font of the file (or collection) whose PostScript name is the one
    // given; an empty name takes the first font that has one.
    bool LoadFont(const Utf8String& path, const Utf8String& postScriptName);
    // Holds a font that is already loaded (for instance a clone, to make
    // several instances from one parse). It must be variable.
    bool LoadFont(Bedrock::Counted<OTFont> font);

    bool SaveFont(const Utf8String& path);
    // True once the file has been handed to the stream, whatever the file
    // writer said; see the implementation.
    bool SaveFont(Bedrock::Counted<Bedrock::OutStream> stream);

    Utf8String GetPostScriptName() const;
    Bedrock::Counted<OTFont> GetFont() const { return m_font; }

    // Makes the static instance at a user location (one value per axis).
    bool MakeInstance(std::vector<double> location);

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
    Bedrock::Counted<OTFile> m_file;
    Bedrock::Counted<OTFont> m_font;
    mutable std::set<Utf8String> m_usedNames;
};

}  // namespace Typeframe
