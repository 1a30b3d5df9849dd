#include "instancer/ApplyGlyphVariations.h"

#include <cmath>
#include <cstdint>

#include "base/Dispatch.h"
#include "tables/OThmtxTable.h"
#include "tables/OTcvtTable.h"
#include "tables/OTheadTable.h"
#include "tables/OTvheaTable.h"
#include "tables/OTvmtxTable.h"
#include "truetype/GlyfComponent.h"
#include "truetype/OTglyfTable.h"
#include "variations/OTcvarTable.h"
#include "variations/OTgvarTable.h"
#include "variations/RegionScalar.h"

namespace Typeframe {

namespace {

template <class Quotient>
double TupleScalar(const TupleVariation& tuple, const std::vector<Fixed2_14>& coordinates, Quotient quotient) {
    double scalar = 1.0;
    const auto axes = static_cast<int>(tuple.GetAxisTagCount());
    for (int a = 0; a < axes; ++a) {
        TupleVariation::Region region;
        if (!tuple.GetRegion(a, region)) continue;
        const Fixed2_14 c = static_cast<size_t>(a) < coordinates.size() ? coordinates[a] : Fixed2_14();
        scalar *= RegionAxisFactor(region.start, region.peak, region.end, c, quotient);
        if (scalar == 0.0) break;
    }
    return scalar;
}

// Rounds half up to an integer, as metrics and control values are rounded;
// the results are narrowed to 16 bits by wrapping, as everywhere a metric is
// written (OTheadTable::NarrowToInt16).
double RoundHalfUp(double value) { return std::floor(value + 0.5); }

}  // namespace

double GetGlyphTupleScalar(const TupleVariation& tuple, const std::vector<Fixed2_14>& coordinates) {
    return TupleScalar(tuple, coordinates, RegionQuotient::InDoubles());
}

double GetCvtTupleScalar(const TupleVariation& tuple, const std::vector<Fixed2_14>& coordinates) {
    return TupleScalar(tuple, coordinates, RegionQuotient::Fixed2_14Division());
}

namespace {

using Point = Bedrock::PointT<double>;

// A run of a glyph's points within which deltas are inferred: a contour, or
// a point alone (a phantom point, a component offset). `first` is the point
// number of its first point, `offset` its place in the list of points.
struct Segment {
    unsigned long first = 0;
    unsigned long offset = 0;
    unsigned long count = 0;
};

// Moves `points`, taken as `segments`, by the store's tuples at the location:
// per point, the tuples' scaled deltas (own or inferred within its segment)
// are summed in tuple order and then added. A tuple with a zero scalar adds
// nothing and is passed over. Nothing is rounded.
void MoveSegments(const std::vector<Point>& points, const std::vector<Segment>& segments,
                  const TupleVariationStore* store, const std::vector<Fixed2_14>& coordinates,
                  std::vector<Point>& out) {
    // Scratch space reused from glyph to glyph on each thread.
    thread_local std::vector<double> scalars;
    thread_local std::vector<Point> sums;
    thread_local std::vector<long> segmentOf;
    thread_local std::vector<unsigned long> bucketEnds;
    thread_local std::vector<TupleVariation::PointDelta> bucketed;
    thread_local std::vector<Point> segmentPoints;
    thread_local std::vector<Point> segmentSums;

    const size_t n = points.size();
    sums.assign(n, Point());
    static const std::vector<Bedrock::Counted<TupleVariation>> kNoTuples;
    const auto& tuples = store ? store->GetVariations() : kNoTuples;
    scalars.assign(tuples.size(), 0.0);
    bool anyTuple = false;
    for (size_t t = 0; t < tuples.size(); ++t) {
        if (tuples[t]) scalars[t] = GetGlyphTupleScalar(*tuples[t], coordinates);
        anyTuple = anyTuple || scalars[t] != 0.0;
    }

    // Segments that follow each other with point numbers in step with their
    // places (every real glyph) are served by one pass over each tuple's
    // deltas, sorted into the segments in their order; anything else goes
    // segment by segment.
    bool inStep = !segments.empty() && segments[0].first >= segments[0].offset;
    const unsigned long base = inStep ? segments[0].first - segments[0].offset : 0;
    unsigned long next = 0;
    for (const auto& segment : segments) {
        inStep = inStep && segment.offset == next && segment.first == base + segment.offset;
        next = segment.offset + segment.count;
    }
    inStep = inStep && next == n;

    if (anyTuple && inStep) {
        segmentOf.assign(n, 0);
        for (size_t s = 0; s < segments.size(); ++s) {
            for (unsigned long p = 0; p < segments[s].count; ++p) segmentOf[segments[s].offset + p] = long(s);
        }
        for (size_t t = 0; t < tuples.size(); ++t) {
            if (scalars[t] == 0.0) continue;
            const auto& deltas = tuples[t]->GetPointDeltas();
            bucketEnds.assign(segments.size() + 1, 0);
            for (const auto& delta : deltas) {
                if (delta.index >= base && delta.index - base < n) ++bucketEnds[segmentOf[delta.index - base] + 1];
            }
            for (size_t s = 0; s < segments.size(); ++s) bucketEnds[s + 1] += bucketEnds[s];
            bucketed.resize(bucketEnds.back());
            for (const auto& delta : deltas) {
                if (delta.index >= base && delta.index - base < n) {
                    bucketed[bucketEnds[segmentOf[delta.index - base]]++] = delta;
                }
            }
            // bucketEnds[s] now holds the end of segment s's deltas.
            unsigned long begin = 0;
            for (size_t s = 0; s < segments.size(); ++s) {
                const unsigned long end = bucketEnds[s];
                if (end > begin) {
                    const Segment& segment = segments[s];
                    TupleVariation::AddContourDeltas(bucketed.data() + begin, end - begin, segment.first,
                                                     points.data() + segment.offset, segment.count, scalars[t],
                                                     sums.data() + segment.offset);
                }
                begin = end;
            }
        }
    } else if (anyTuple) {
        for (const auto& segment : segments) {
            if (segment.offset > n || segment.count > n - segment.offset) continue;
            segmentPoints.assign(points.begin() + long(segment.offset),
                                 points.begin() + long(segment.offset + segment.count));
            segmentSums.assign(segment.count, Point());
            for (size_t t = 0; t < tuples.size(); ++t) {
                if (scalars[t] != 0.0)
                    tuples[t]->AddContourDeltas(segment.first, segmentPoints, scalars[t], segmentSums);
            }
            for (unsigned long p = 0; p < segment.count; ++p) {
                sums[segment.offset + p].x += segmentSums[p].x;
                sums[segment.offset + p].y += segmentSums[p].y;
            }
        }
    }
    out.resize(n);
    for (size_t p = 0; p < n; ++p) out[p] = {points[p].x + sums[p].x, points[p].y + sums[p].y};
}

// The four phantom points as points: left and right on the baseline, top
// and bottom on the vertical axis.
void AppendPhantoms(const Glyf& glyph, std::vector<Point>& points, std::vector<Segment>& segments) {
    const Bedrock::RectT<double> box = glyph.GetPhantoms();
    for (const Point& phantom :
         {Point{box.left, 0.0}, Point{box.right, 0.0}, Point{0.0, box.top}, Point{0.0, box.bottom}}) {
        // Each alone, so that a phantom moves only by a delta of its own
        // point number, never by inference.
        segments.push_back({points.size(), points.size(), 1});
        points.push_back(phantom);
    }
}

// Only the coordinate that carries the metric survives of each phantom.
void SetPhantoms(Glyf& glyph, const Point* moved) {
    glyph.SetPhantoms({moved[0].x, moved[3].y, moved[1].x, moved[2].y});
}

}  // namespace

bool ApplyGVarCoords(int start, const std::vector<Bedrock::PointT<double>>& points,
                     std::vector<Bedrock::PointT<double>>& out, Bedrock::Counted<TupleVariationStore> store,
                     const std::vector<Fixed2_14>& coordinates) {
    std::vector<Point> moved;
    const std::vector<Segment> segments{{static_cast<unsigned long>(std::max(start, 0)), 0, points.size()}};
    // A negative start numbers no point that a delta can name.
    MoveSegments(points, segments, start >= 0 ? store.Get() : nullptr, coordinates, moved);
    out.insert(out.end(), moved.begin(), moved.end());
    return true;
}

Bedrock::Counted<Glyf> ApplyGVarSimple(Bedrock::Counted<const Glyf> glyph, Bedrock::Counted<TupleVariationStore> store,
                                       const std::vector<Fixed2_14>& coordinates) {
    if (!glyph) return nullptr;
    auto result = glyph->Clone();
    std::vector<Point> points;
    std::vector<unsigned char> flags;
    std::vector<Segment> segments;
    points.reserve(glyph->coordinates.size() + 4);
    flags.reserve(glyph->coordinates.size());
    for (size_t i = 0; i < glyph->endPtsOfContours.size(); ++i) {
        unsigned long first = 0;
        const unsigned long offset = points.size();
        if (!glyph->GetContour(static_cast<int>(i), first, points, flags)) continue;
        segments.push_back({first, offset, points.size() - offset});
    }
    const unsigned long outlineCount = points.size();
    AppendPhantoms(*glyph, points, segments);

    std::vector<Point> moved;
    MoveSegments(points, segments, store.Get(), coordinates, moved);
    SetPhantoms(*result, moved.data() + outlineCount);
    moved.resize(outlineCount);
    // An instance's contours may overlap whatever the default's did.
    if (!flags.empty()) flags[0] |= Glyf::OVERLAP_SIMPLE;
    result->SetCoordinates(std::move(moved), std::move(flags));
    return result;
}

Bedrock::Counted<Glyf> ApplyGVarComposite(Bedrock::Counted<const Glyf> glyph,
                                          Bedrock::Counted<TupleVariationStore> store,
                                          const std::vector<Fixed2_14>& coordinates) {
    if (!glyph) return nullptr;
    auto result = glyph->Clone();
    // A composite's points are its components' offsets, one point each (no
    // inference between them), then the phantoms. Components placed by
    // matching points have no offset to move.
    auto byOffset = [](const GlyfComponent& component) {
        return (component.flags & GlyfComponent::ARGS_ARE_XY_VALUES) != 0;
    };
    std::vector<Point> points;
    std::vector<Segment> segments;
    std::vector<uint16_t> flags;
    for (const auto& component : glyph->components) {
        if (!component || !byOffset(*component)) continue;
        segments.push_back({points.size(), points.size(), 1});
        points.push_back({component->x, component->y});
        flags.push_back(component->flags);
    }
    const size_t offsetCount = points.size();
    AppendPhantoms(*glyph, points, segments);
    std::vector<Point> moved;
    MoveSegments(points, segments, store.Get(), coordinates, moved);

    if (!flags.empty()) flags[0] |= GlyfComponent::OVERLAP_COMPOUND;
    // Deliberate: the moved offsets are taken by component index, though
    // they were listed for offset-placed components only, so an anchored
    // component ahead of others shifts the pairing (and the last ones, past
    // the list, keep their offsets). Variable fonts don't mix the two.
    for (size_t i = 0; i < result->components.size(); ++i) {
        const auto& component = result->components[i];
        if (!component || !byOffset(*component) || i >= offsetCount) continue;
        auto changed = component->Clone();
        changed->x = moved[i].x;
        changed->y = moved[i].y;
        changed->flags = flags[i];
        result->SetComponent(static_cast<int>(i), changed);
    }
    SetPhantoms(*result, moved.data() + offsetCount);
    return result;
}

Bedrock::Counted<Glyf> ApplyGVar(Bedrock::Counted<const Glyf> glyph, Bedrock::Counted<TupleVariationStore> store,
                                 const std::vector<Fixed2_14>& coordinates) {
    if (!glyph || !store) return nullptr;
    if (glyph->numberOfContours == -1) return ApplyGVarComposite(glyph, store, coordinates);
    return ApplyGVarSimple(glyph, store, coordinates);
}

bool ApplyGVar(Bedrock::Counted<OTFont> font, const std::vector<Fixed2_14>& coordinates) {
    if (!font) return false;
    auto gvar = font->GetTableT<OTgvarTable>();
    if (!gvar) return false;
    auto glyf = font->GetTableT<OTglyfTable>();
    if (!glyf) return false;
    auto hmtx = font->GetTableT<OThmtxTable>();
    auto vmtx = font->GetTableT<OTvmtxTable>();
    // Read by every iteration and not changed during the loops.
    const std::vector<Utf8String> names = font->GetGlyphNames();
    if (names.empty()) return true;

    // The copy takes the new glyphs while the font's table serves the reads.
    // It starts without glyphs: each iteration gives its name the varied
    // glyph or, without variations, a copy of the glyph as it was.
    auto clone = glyf->CloneWithoutGlyphs();
    Bedrock::Dispatch::DispatchParallelFor(
        [&](unsigned long i) {
            auto glyph = glyf->GetGlyph(names[i]);
            if (!glyph) return;
            // Names are unique, so a name's glyph index is its position.
            auto store = gvar->GetVariationStore(static_cast<unsigned short>(i));
            auto changed = store ? ApplyGVar(Bedrock::Counted<const Glyf>(glyph), store, coordinates) : nullptr;
            clone->SetGlyph(names[i], changed ? changed : glyph->Clone());
        },
        names.size(), Bedrock::Dispatch::kPriorityDefault, Bedrock::Dispatch::kPurposeCompute, 0);
    // Glyphs the glyph order doesn't name are copied as they were.
    for (const auto& name : glyf->GetGlyphNames()) {
        if (clone->GetGlyph(name)) continue;
        if (auto glyph = glyf->GetGlyph(name)) clone->SetGlyph(name, glyph->Clone());
    }

    // The metric tables are grown and marked changed here, on one thread,
    // so that the loop's writes touch nothing but their own records:
    // setting the last record does both ('hmtx' marks 'hhea' too).
    const unsigned long count = std::min<size_t>(names.size(), 65536);
    const auto last = static_cast<unsigned short>(count - 1);
    if (hmtx) {
        OThmtxTable::LongHorMetric metric;
        hmtx->GetLongHorMetric(last, metric);
        hmtx->SetLongHorMetric(last, metric);
    }
    if (vmtx) {
        OTvmtxTable::LongVerMetric metric;
        vmtx->GetLongVerMetric(last, metric);
        vmtx->SetLongVerMetric(last, metric);
        if (auto vhea = font->GetTableT<OTvheaTable>()) vhea->SetIsDirty(true);
    }
    Bedrock::Dispatch::DispatchParallelFor(
        [&](unsigned long i) {
            auto glyph = clone->GetGlyph(names[i]);
            if (!glyph) return;
            glyph->InvalidateBounds();
            const Bedrock::RectT<double> bounds = glyph->GetBounds();
            const Bedrock::RectT<double> phantoms = glyph->GetPhantoms();
            const auto index = static_cast<unsigned short>(i);
            if (hmtx) {
                OThmtxTable::LongHorMetric metric;
                const double width = phantoms.right - phantoms.left;
                metric.advanceWidth = static_cast<uint16_t>(width > 0 ? OTheadTable::RoundToInt16(width) : 0);
                metric.lsb = OTheadTable::NarrowToInt16(RoundHalfUp(bounds.left) - RoundHalfUp(phantoms.left));
                hmtx->SetLongHorMetric(index, metric);
            }
            if (vmtx) {
                OTvmtxTable::LongVerMetric metric;
                const double height = phantoms.top - phantoms.bottom;
                metric.advanceHeight = static_cast<uint16_t>(height > 0 ? OTheadTable::RoundToInt16(height) : 0);
                // Deliberate: measured from the outline's lower bound to the
                // bottom phantom, not from the top of the outline.
                metric.tsb = OTheadTable::RoundToInt16(bounds.bottom - phantoms.bottom);
                vmtx->SetLongVerMetric(index, metric);
            }
        },
        count, Bedrock::Dispatch::kPriorityDefault, Bedrock::Dispatch::kPurposeCompute, 0);

    font->SetTable(clone);
    return true;
}

bool ApplyCVarValues(const std::vector<short>& values, std::vector<short>& out,
                     Bedrock::Counted<TupleVariationStore> store, const std::vector<Fixed2_14>& coordinates) {
    std::vector<double> scalars;
    if (store) {
        scalars.reserve(store->GetVariationCount());
        for (const auto& tuple : store->GetVariations()) {
            scalars.push_back(tuple ? GetCvtTupleScalar(*tuple, coordinates) : 0.0);
        }
    }
    out.reserve(out.size() + values.size());
    for (size_t i = 0; i < values.size(); ++i) {
        double total = 0.0;
        for (size_t t = 0; t < scalars.size(); ++t) {
            if (scalars[t] == 0.0) continue;
            TupleVariation::PointDelta delta;
            store->GetVariations()[t]->GetPointDelta(static_cast<unsigned short>(i), delta);
            total += scalars[t] * delta.x;
        }
        // Rounded once with the value added, half up, cut to 16 bits.
        out.push_back(OTheadTable::RoundToInt16(total + values[i]));
    }
    return true;
}

bool ApplyCVar(Bedrock::Counted<OTFont> font, const std::vector<Fixed2_14>& coordinates) {
    if (!font) return false;
    auto cvar = font->GetTableT<OTcvarTable>();
    if (!cvar) return false;
    auto cvt = font->GetTableT<OTcvtTable>();
    if (!cvt) return false;
    auto clone = Bedrock::Counted<OTcvtTable>(static_cast<OTcvtTable*>(cvt->VirtualClone()));
    std::vector<short> values;
    clone->GetValues(values);
    std::vector<short> varied;
    ApplyCVarValues(values, varied, cvar->GetStore(), coordinates);
    clone->SetValues(varied);
    font->SetTable(clone);
    return true;
}

}  // namespace Typeframe
