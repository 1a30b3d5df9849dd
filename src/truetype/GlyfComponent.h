#pragma once

// One component of a composite TrueType glyph: a reference to another glyph
// by name, placed by an offset (or, in the file, by two matching points) and
// an optional 2x2 transformation. The reference is resolved through the owning
// 'glyf' table at each use, so a replaced target takes effect at once and a
// renamed one breaks the link. The outline operations forward to the target,
// untransformed; the parent glyph applies GetTransform and the offset.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/String.h"
#include "core/BigEndianBuffer.h"
#include "truetype/IContourInterface.h"

namespace Typeframe {

class Glyf;
class OTglyfTable;

class GlyfComponent : public IContourInterface {
public:
    // Component flag bits as published.
    enum Flags : uint16_t {
        ARG_1_AND_2_ARE_WORDS = 0x0001,
        ARGS_ARE_XY_VALUES = 0x0002,
        ROUND_XY_TO_GRID = 0x0004,
        WE_HAVE_A_SCALE = 0x0008,
        MORE_COMPONENTS = 0x0020,
        WE_HAVE_AN_X_AND_Y_SCALE = 0x0040,
        WE_HAVE_A_TWO_BY_TWO = 0x0080,
        WE_HAVE_INSTRUCTIONS = 0x0100,
        USE_MY_METRICS = 0x0200,
        OVERLAP_COMPOUND = 0x0400,
        SCALED_COMPONENT_OFFSET = 0x0800,
        UNSCALED_COMPONENT_OFFSET = 0x1000,
    };
    // The stored flags that Save carries over; the others describe the
    // record's layout and are worked out afresh (0x1E14).
    static constexpr uint16_t kKeptFlags = 0x1E14;

    explicit GlyfComponent(Bedrock::NonCounted<OTglyfTable> owner = nullptr) : table(owner) {}
    GlyfComponent(const GlyfComponent& other);

    Bedrock::Counted<GlyfComponent> Clone() const { return Bedrock::Counted<GlyfComponent>(VirtualClone()); }

    // Reads one component record at the buffer's position and moves past it.
    // False when the record is cut short (the fields read so far are kept).
    bool Load(BigEndianBuffer& in);
    // The same, naming the target from `glyphOrder` instead of the font's
    // current glyph order (when the component has a table, as Load needs).
    bool Load(BigEndianBuffer& in, const std::vector<Utf8String>& glyphOrder);
    // Writes the record into `buffer`; the glyph index is looked up afresh
    // from glyphName (65535 when the name is unknown).
    bool Save(bool moreComponents, bool haveInstructions);
    void SetTable(Bedrock::NonCounted<OTglyfTable> owner) { table = owner; }
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const { return buffer; }
    // The target glyph in the owner's table; null without a table or target.
    Bedrock::Counted<Glyf> GetTargetGlyph() const;
    // Places points of the target in the parent: the transformation and the
    // offset, or with isPointMatched the transformation and the move that
    // lays point2 of `points` on point1 of `parent` (the parent's points so
    // far).
    void PlacePoints(std::vector<Bedrock::PointT<double>>& points,
                     const std::vector<Bedrock::PointT<double>>& parent) const;

    // IContourInterface: the outline operations forward to the target glyph.
    int GetNumberOfComponents() const override;
    Bedrock::Counted<IContourInterface> GetComponent(int index) const override;
    int GetNumberOfContours() const override;
    bool GetContour(int index, unsigned long& firstPoint, std::vector<Bedrock::PointT<double>>& points,
                    std::vector<unsigned char>& flags) const override;
    int GetNumberOfCoordinates() const override;
    bool IsMarking() const override;
    Transform GetTransform() const override;
    Bedrock::Counted<IContourInterface> GetGlyph() const override;
    Utf8String GetGlyphName() const override { return glyphName; }
    GlyfComponent* VirtualClone() const override { return new GlyfComponent(*this); }
    bool GetCoordinates(std::vector<Bedrock::PointT<double>>& points, std::vector<unsigned char>& flags) const override;

    Bedrock::NonCounted<OTglyfTable> table;
    Utf8String glyphName;
    uint16_t flags = 0;
    uint16_t glyphIndex = 0;
    double x = 0.0;
    double y = 0.0;
    uint16_t point1 = 0;
    uint16_t point2 = 0;
    // Selects placement by matching points. Load never sets it; see Load.
    bool isPointMatched = false;
    Fixed2_14 xScale = Fixed2_14::FromRaw(0x4000);
    Fixed2_14 scale01;
    Fixed2_14 scale10;
    Fixed2_14 yScale = Fixed2_14::FromRaw(0x4000);
    bool hasTransform = false;
    Bedrock::Counted<BigEndianBuffer> buffer;

private:
    bool Read(BigEndianBuffer& in, const std::vector<Utf8String>* glyphOrder);
};

}  // namespace Typeframe
