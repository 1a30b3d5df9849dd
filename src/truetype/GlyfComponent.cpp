#include "truetype/GlyfComponent.h"

#include <cmath>

#include "tables/OTheadTable.h"
#include "truetype/Glyf.h"
#include "truetype/OTglyfTable.h"

namespace Typeframe {

GlyfComponent::GlyfComponent(const GlyfComponent& other)
    : IContourInterface(other),
      table(other.table),
      glyphName(other.glyphName),
      flags(other.flags),
      glyphIndex(other.glyphIndex),
      x(other.x),
      y(other.y),
      point1(other.point1),
      point2(other.point2),
      isPointMatched(other.isPointMatched),
      xScale(other.xScale),
      scale01(other.scale01),
      scale10(other.scale10),
      yScale(other.yScale),
      hasTransform(other.hasTransform),
      buffer(other.buffer ? other.buffer->Clone() : nullptr) {}

bool GlyfComponent::Load(BigEndianBuffer& in) { return Read(in, nullptr); }

bool GlyfComponent::Load(BigEndianBuffer& in, const std::vector<Utf8String>& glyphOrder) {
    return Read(in, &glyphOrder);
}

bool GlyfComponent::Read(BigEndianBuffer& in, const std::vector<Utf8String>* glyphOrder) {
    if (!in.GetU16(flags) || !in.GetU16(glyphIndex)) return false;
    // Without a name for the index, the name stays as it was.
    if (table) {
        if (glyphOrder) {
            if (glyphIndex < glyphOrder->size()) glyphName = (*glyphOrder)[glyphIndex];
        } else {
            Utf8String name;
            if (table->GetGlyphName(glyphIndex, name)) glyphName = name;
        }
    }

    bool complete = true;
    if (flags & ARGS_ARE_XY_VALUES) {
        if (flags & ARG_1_AND_2_ARE_WORDS) {
            int16_t dx = 0, dy = 0;
            complete = in.GetS16(dx) && in.GetS16(dy);
            x = dx;
            y = dy;
        } else {
            int8_t dx = 0, dy = 0;
            complete = in.GetS8(dx) && in.GetS8(dy);
            x = dx;
            y = dy;
        }
    } else {
        // Kept as required: the two point numbers are read, but
        // isPointMatched stays false, so a component placed by matching
        // points is drawn and written as one at offset (0, 0).
        if (flags & ARG_1_AND_2_ARE_WORDS) {
            complete = in.GetU16(point1) && in.GetU16(point2);
        } else {
            uint8_t p1 = 0, p2 = 0;
            complete = in.GetU8(p1) && in.GetU8(p2);
            point1 = p1;
            point2 = p2;
        }
    }

    // The scale forms exclude one another; the first flag present wins.
    if (flags & WE_HAVE_A_SCALE) {
        Fixed2_14 scale = xScale;
        complete = in.GetFixed2_14(scale) && complete;
        xScale = yScale = scale;
        hasTransform = true;
    } else if (flags & WE_HAVE_AN_X_AND_Y_SCALE) {
        complete = in.GetFixed2_14(xScale) && complete;
        complete = in.GetFixed2_14(yScale) && complete;
        hasTransform = true;
    } else if (flags & WE_HAVE_A_TWO_BY_TWO) {
        complete = in.GetFixed2_14(xScale) && complete;
        complete = in.GetFixed2_14(scale01) && complete;
        complete = in.GetFixed2_14(scale10) && complete;
        complete = in.GetFixed2_14(yScale) && complete;
        hasTransform = true;
    }
    return complete;
}

bool GlyfComponent::Save(bool moreComponents, bool haveInstructions) {
    if (!buffer) {
        buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    } else {
        buffer->Reset(0);
    }
    BigEndianBuffer& out = *buffer;
    out.SetU16(0);  // flags and glyph index, filled in last
    out.SetU16(0);

    uint16_t outFlags = flags & kKeptFlags;
    if (moreComponents) outFlags |= MORE_COMPONENTS;
    if (haveInstructions) outFlags |= WE_HAVE_INSTRUCTIONS;

    if (isPointMatched) {
        if (point1 < 256 && point2 < 256) {
            out.SetU8(static_cast<uint8_t>(point1));
            out.SetU8(static_cast<uint8_t>(point2));
        } else {
            outFlags |= ARG_1_AND_2_ARE_WORDS;
            out.SetU16(point1);
            out.SetU16(point2);
        }
    } else {
        outFlags |= ARGS_ARE_XY_VALUES;
        // The byte form is chosen on the values before rounding: 127.4 takes
        // words although it would round to 127.
        if (x >= -128.0 && x <= 127.0 && y >= -128.0 && y <= 127.0) {
            out.SetS8(static_cast<int8_t>(std::floor(x + 0.5)));
            out.SetS8(static_cast<int8_t>(std::floor(y + 0.5)));
        } else {
            outFlags |= ARG_1_AND_2_ARE_WORDS;
            out.SetS16(OTheadTable::RoundToInt16(x));
            out.SetS16(OTheadTable::RoundToInt16(y));
        }
    }

    if (hasTransform) {
        if (scale01.GetRaw() == 0 && scale10.GetRaw() == 0) {
            out.SetFixed2_14(xScale);
            if (yScale == xScale) {
                outFlags |= WE_HAVE_A_SCALE;
            } else {
                outFlags |= WE_HAVE_AN_X_AND_Y_SCALE;
                out.SetFixed2_14(yScale);
            }
        } else {
            outFlags |= WE_HAVE_A_TWO_BY_TWO;
            out.SetFixed2_14(xScale);
            out.SetFixed2_14(scale01);
            out.SetFixed2_14(scale10);
            out.SetFixed2_14(yScale);
        }
    }

    unsigned short index = 0xFFFF;
    if (!table || !table->GetGlyphIndex(glyphName, index)) index = 0xFFFF;
    const unsigned long end = out.Tell();
    out.Seek(0);
    out.SetU16(outFlags);
    out.SetU16(index);
    out.Seek(end);
    return true;
}

Bedrock::Counted<Glyf> GlyfComponent::GetTargetGlyph() const { return table ? table->GetGlyph(glyphName) : nullptr; }

void GlyfComponent::PlacePoints(std::vector<Bedrock::PointT<double>>& points,
                                const std::vector<Bedrock::PointT<double>>& parent) const {
    const double a = xScale.ToDouble(), b = scale10.ToDouble();
    const double c = scale01.ToDouble(), d = yScale.ToDouble();
    auto transform = [&](Bedrock::PointT<double>& p) {
        const double px = p.x, py = p.y;
        p.x = a * px + b * py;
        p.y = c * px + d * py;
    };

    if (isPointMatched) {
        if (hasTransform) {
            for (auto& p : points) transform(p);
        }
        // A point number outside either outline moves nothing.
        if (point1 >= parent.size() || point2 >= points.size()) return;
        const double dx = parent[point1].x - points[point2].x;
        const double dy = parent[point1].y - points[point2].y;
        for (auto& p : points) {
            p.x += dx;
            p.y += dy;
        }
        return;
    }
    // ROUND_XY_TO_GRID and UNSCALED_COMPONENT_OFFSET are not looked at; only
    // SCALED_COMPONENT_OFFSET moves the offset under the transformation.
    if (!hasTransform) {
        for (auto& p : points) {
            p.x += x;
            p.y += y;
        }
    } else if (flags & SCALED_COMPONENT_OFFSET) {
        for (auto& p : points) {
            p.x += x;
            p.y += y;
            transform(p);
        }
    } else {
        for (auto& p : points) {
            transform(p);
            p.x += x;
            p.y += y;
        }
    }
}

int GlyfComponent::GetNumberOfComponents() const {
    auto glyph = GetTargetGlyph();
    return glyph ? glyph->GetNumberOfComponents() : 0;
}

Bedrock::Counted<IContourInterface> GlyfComponent::GetComponent(int index) const {
    auto glyph = GetTargetGlyph();
    return glyph ? glyph->GetComponent(index) : nullptr;
}

int GlyfComponent::GetNumberOfContours() const {
    auto glyph = GetTargetGlyph();
    return glyph ? glyph->GetNumberOfContours() : 0;
}

bool GlyfComponent::GetContour(int index, unsigned long& firstPoint, std::vector<Bedrock::PointT<double>>& points,
                               std::vector<unsigned char>& pointFlags) const {
    auto glyph = GetTargetGlyph();
    return glyph ? glyph->GetContour(index, firstPoint, points, pointFlags) : false;
}

int GlyfComponent::GetNumberOfCoordinates() const {
    auto glyph = GetTargetGlyph();
    return glyph ? glyph->GetNumberOfCoordinates() : 0;
}

bool GlyfComponent::IsMarking() const {
    auto glyph = GetTargetGlyph();
    return glyph ? glyph->IsMarking() : false;
}

IContourInterface::Transform GlyfComponent::GetTransform() const {
    return {xScale.ToDouble(), scale10.ToDouble(), 0.0, scale01.ToDouble(), yScale.ToDouble(), 0.0};
}

Bedrock::Counted<IContourInterface> GlyfComponent::GetGlyph() const { return GetTargetGlyph(); }

bool GlyfComponent::GetCoordinates(std::vector<Bedrock::PointT<double>>& points,
                                   std::vector<unsigned char>& pointFlags) const {
    auto glyph = GetTargetGlyph();
    return glyph ? glyph->GetCoordinates(points, pointFlags) : false;
}

}  // namespace Typeframe
