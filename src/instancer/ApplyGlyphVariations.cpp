#include "instancer/ApplyGlyphVariations.h"

#include <cmath>
#include <cstdint>

#include "base/Dispatch.h"
#include "tables/OThheaTable.h"
#include "tables/OThmtxTable.h"
#include "tables/OTcvtTable.h"
#include "tables/OTvheaTable.h"
#include "tables/OTvmtxTable.h"
#include "truetype/GlyfComponent.h"
#include "truetype/OTglyfTable.h"
#include "variations/OTcvarTable.h"
#include "variations/OTgvarTable.h"

namespace Typeframe {

namespace {

constexpr double kF2Dot14Unit = 6.103515625e-5;  // 2^-14

// The factor of one axis of a tuple's region at coordinate c. The region
// tests come first; `quotient` gives the ramp's value between the edge and
// the peak, from the coordinate's side of the peak.
template <class Quotient>
double RegionFactor(const TupleVariation::Region& region, Fixed2_14 c, Quotient quotient) {
    const Fixed2_14 zero;
    const Fixed2_14 start = region.start;
    const Fixed2_14 peak = region.peak;
    const Fixed2_14 end = region.end;
    // A malformed region, a zero peak and a region across the default all
    // leave the axis out of the product.
    if (start > peak || peak > end) return 1.0;
    if (peak == zero) return 1.0;
    if (start < zero && end > zero) return 1.0;
    if (c < start || c > end) return 0.0;
    if (c == peak) return 1.0;
    return c < peak ? quotient(c, start, peak) : quotient(end, c, peak, true);
}

template <class Quotient>
double TupleScalar(const TupleVariation& tuple, const std::vector<Fixed2_14>& coordinates, Quotient quotient) {
    double scalar = 1.0;
    const auto axes = static_cast<int>(tuple.axisTags.size());
    for (int a = 0; a < axes; ++a) {
        TupleVariation::Region region;
        if (!tuple.GetRegion(a, region)) continue;
        const Fixed2_14 c = static_cast<size_t>(a) < coordinates.size() ? coordinates[a] : Fixed2_14();
        scalar *= RegionFactor(region, c, quotient);
        if (scalar == 0.0) break;
    }
    return scalar;
}

// Rounds half up to an integer, as metrics and control values are rounded.
double RoundHalfUp(double value) { return std::floor(value + 0.5); }

}  // namespace

double GetGlyphTupleScalar(const TupleVariation& tuple, const std::vector<Fixed2_14>& coordinates) {
    // Below the peak (c - start) / (peak - start); above it (end - c) /
    // (end - peak); in doubles from the 2.14 values.
    auto quotient = [](Fixed2_14 a, Fixed2_14 b, Fixed2_14 peak, bool above = false) {
        const double x = a.GetRaw() * kF2Dot14Unit;
        const double y = b.GetRaw() * kF2Dot14Unit;
        const double p = peak.GetRaw() * kF2Dot14Unit;
        return above ? (x - y) / (x - p) : (x - y) / (p - y);
    };
    return TupleScalar(tuple, coordinates, quotient);
}

double GetCvtTupleScalar(const TupleVariation& tuple, const std::vector<Fixed2_14>& coordinates) {
    // Deliberately divided in 2.14 and rounded there, so control values may
    // differ from a computation in doubles in the last places.
    auto quotient = [](Fixed2_14 a, Fixed2_14 b, Fixed2_14 peak, bool above = false) {
        return above ? ((a - b) / (a - peak)).ToDouble() : ((a - b) / (peak - b)).ToDouble();
    };
    return TupleScalar(tuple, coordinates, quotient);
}

bool ApplyGVarCoords(int start, const std::vector<Bedrock::PointT<double>>& points,
                     std::vector<Bedrock::PointT<double>>& out, Bedrock::Counted<TupleVariationStore> store,
                     const std::vector<Fixed2_14>& coordinates) {
    out.reserve(out.size() + points.size());
    // Per point, the tuples' deltas are summed in tuple order before they
    // are added to the point. A tuple with a zero scalar adds nothing.
    thread_local std::vector<Bedrock::PointT<double>> sums;
    sums.assign(points.size(), Bedrock::PointT<double>());
    if (store && start >= 0) {
        for (const auto& tuple : store->GetVariations()) {
            if (!tuple) continue;
            const double scalar = GetGlyphTupleScalar(*tuple, coordinates);
            if (scalar == 0.0) continue;
            tuple->AddContourDeltas(static_cast<unsigned long>(start), points, scalar, sums);
        }
    }
    for (size_t p = 0; p < points.size(); ++p) out.push_back({points[p].x + sums[p].x, points[p].y + sums[p].y});
    return true;
}

namespace {

// Moves the four phantom points, each alone as a one-point contour, so that
// one moves only by a delta of its own point number, and sets the result's
// metric box from them.
void ApplyGVarPhantoms(const Glyf& source, Glyf& result, unsigned long firstPhantom,
                       const Bedrock::Counted<TupleVariationStore>& store, const std::vector<Fixed2_14>& coordinates) {
    const Bedrock::RectT<double> box = source.GetPhantoms();
    const Bedrock::PointT<double> phantoms[4] = {{box.left, 0.0}, {box.right, 0.0}, {0.0, box.top}, {0.0, box.bottom}};
    Bedrock::PointT<double> moved[4];
    std::vector<Bedrock::PointT<double>> one(1);
    std::vector<Bedrock::PointT<double>> out;
    for (int k = 0; k < 4; ++k) {
        one[0] = phantoms[k];
        out.clear();
        ApplyGVarCoords(static_cast<int>(firstPhantom + k), one, out, store, coordinates);
        moved[k] = out[0];
    }
    // Only the coordinate that carries the metric survives of each.
    result.SetPhantoms({moved[0].x, moved[3].y, moved[1].x, moved[2].y});
}

}  // namespace

Bedrock::Counted<Glyf> ApplyGVarSimple(Bedrock::Counted<const Glyf> glyph, Bedrock::Counted<TupleVariationStore> store,
                                       const std::vector<Fixed2_14>& coordinates) {
    if (!glyph) return nullptr;
    auto result = glyph->Clone();
    std::vector<Bedrock::PointT<double>> moved;
    std::vector<unsigned char> flags;
    moved.reserve(glyph->coordinates.size());
    flags.reserve(glyph->coordinates.size());
    std::vector<Bedrock::PointT<double>> contour;
    std::vector<unsigned char> contourFlags;
    for (size_t i = 0; i < glyph->endPtsOfContours.size(); ++i) {
        contour.clear();
        contourFlags.clear();
        unsigned long first = 0;
        if (!glyph->GetContour(static_cast<int>(i), first, contour, contourFlags)) continue;
        ApplyGVarCoords(static_cast<int>(first), contour, moved, store, coordinates);
        flags.insert(flags.end(), contourFlags.begin(), contourFlags.end());
    }
    // An instance's contours may overlap whatever the default's did.
    if (!flags.empty()) flags[0] |= Glyf::OVERLAP_SIMPLE;
    const unsigned long firstPhantom = moved.size();
    result->SetCoordinates(moved, flags);
    ApplyGVarPhantoms(*glyph, *result, firstPhantom, store, coordinates);
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
    std::vector<Bedrock::PointT<double>> moved;
    std::vector<uint16_t> flags;
    std::vector<Bedrock::PointT<double>> one(1);
    for (const auto& component : glyph->components) {
        if (!component || !byOffset(*component)) continue;
        one[0] = {component->x, component->y};
        ApplyGVarCoords(static_cast<int>(moved.size()), one, moved, store, coordinates);
        flags.push_back(component->flags);
    }
    if (!flags.empty()) flags[0] |= GlyfComponent::OVERLAP_COMPOUND;
    // Deliberate: the moved offsets are taken by component index, though
    // they were listed for offset-placed components only, so an anchored
    // component ahead of others shifts the pairing (and the last ones, past
    // the list, keep their offsets). Variable fonts don't mix the two.
    for (size_t i = 0; i < result->components.size(); ++i) {
        const auto& component = result->components[i];
        if (!component || !byOffset(*component) || i >= moved.size()) continue;
        auto changed = component->Clone();
        changed->x = moved[i].x;
        changed->y = moved[i].y;
        changed->flags = flags[i];
        result->SetComponent(static_cast<int>(i), changed);
    }
    ApplyGVarPhantoms(*glyph, *result, moved.size(), store, coordinates);
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
    auto clone = Bedrock::Counted<OTglyfTable>(static_cast<OTglyfTable*>(glyf->VirtualClone()));
    Bedrock::Dispatch::DispatchParallelFor(
        [&](unsigned long i) {
            auto glyph = glyf->GetGlyph(names[i]);
            if (!glyph) return;
            // Names are unique, so a name's glyph index is its position.
            auto store = gvar->GetVariationStore(static_cast<unsigned short>(i));
            if (!store) return;
            auto changed = ApplyGVar(Bedrock::Counted<const Glyf>(glyph), store, coordinates);
            if (changed) clone->SetGlyph(names[i], changed);
        },
        names.size(), Bedrock::Dispatch::kPriorityDefault, Bedrock::Dispatch::kPurposeCompute, 0);

    // The metric tables are grown and marked changed here, on one thread,
    // so that the loop's writes touch nothing but their own records.
    const auto last = static_cast<unsigned short>(std::min<size_t>(names.size(), 65536) - 1);
    if (hmtx) {
        OThmtxTable::LongHorMetric metric;
        hmtx->GetLongHorMetric(last, metric);
        hmtx->SetLongHorMetric(last, metric);
        hmtx->SetIsDirty(true);
        if (auto hhea = font->GetTableT<OThheaTable>()) hhea->SetIsDirty(true);
    }
    if (vmtx) {
        OTvmtxTable::LongVerMetric metric;
        vmtx->GetLongVerMetric(last, metric);
        vmtx->SetLongVerMetric(last, metric);
        vmtx->SetIsDirty(true);
        if (auto vhea = font->GetTableT<OTvheaTable>()) vhea->SetIsDirty(true);
    }
    const unsigned long count = std::min<size_t>(names.size(), 65536);
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
                metric.advanceWidth = static_cast<uint16_t>(width > 0 ? RoundHalfUp(width) : 0.0);
                metric.lsb = static_cast<int16_t>(RoundHalfUp(bounds.left) - RoundHalfUp(phantoms.left));
                hmtx->SetLongHorMetric(index, metric);
            }
            if (vmtx) {
                OTvmtxTable::LongVerMetric metric;
                const double height = phantoms.top - phantoms.bottom;
                metric.advanceHeight = static_cast<uint16_t>(height > 0 ? RoundHalfUp(height) : 0.0);
                // Deliberate: measured from the outline's lower bound to the
                // bottom phantom, not from the top of the outline.
                metric.tsb = static_cast<int16_t>(RoundHalfUp(bounds.bottom - phantoms.bottom));
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
        out.push_back(static_cast<short>(static_cast<int64_t>(RoundHalfUp(total + values[i]))));
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
