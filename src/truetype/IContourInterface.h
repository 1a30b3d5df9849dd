#pragma once

// The outline of a glyph as the variation code and the font-wide queries see
// it, whatever the outline format: contours of points with their flags,
// components that refer to other glyphs by name, and a transformation that
// places a component in its parent. TrueType glyphs and their components
// implement it.

#include <array>
#include <vector>

#include "base/Counted.h"
#include "base/Geometry.h"
#include "base/String.h"

namespace Typeframe {

class IContourInterface : public Bedrock::Countable {
public:
    // Two rows of three: x' = t[0] x + t[1] y + t[2], y' = t[3] x + t[4] y + t[5].
    using Transform = std::array<double, 6>;

    ~IContourInterface() override;

    virtual int GetNumberOfComponents() const = 0;
    virtual Bedrock::Counted<IContourInterface> GetComponent(int index) const = 0;
    virtual int GetNumberOfContours() const = 0;
    // Appends the points and flags of contour `index`; `firstPoint` is the
    // number of its first point in the whole outline. False for no such contour.
    virtual bool GetContour(int index, unsigned long& firstPoint, std::vector<Bedrock::PointT<double>>& points,
                            std::vector<unsigned char>& flags) const = 0;
    virtual int GetNumberOfCoordinates() const = 0;
    // Whether the outline draws anything.
    virtual bool IsMarking() const = 0;
    virtual Transform GetTransform() const = 0;
    // The glyph that holds the outline: a glyph itself, a component its target.
    virtual Bedrock::Counted<IContourInterface> GetGlyph() const = 0;
    virtual Utf8String GetGlyphName() const = 0;
    // A deep copy; the classes' own Clone() wraps it with the right type.
    virtual IContourInterface* VirtualClone() const = 0;
    // All points of the outline in font units with their flags; false when
    // there are none.
    virtual bool GetCoordinates(std::vector<Bedrock::PointT<double>>& points,
                                std::vector<unsigned char>& flags) const = 0;

protected:
    IContourInterface() = default;
    IContourInterface(const IContourInterface&) = default;
    IContourInterface& operator=(const IContourInterface&) = default;
};

}  // namespace Typeframe
