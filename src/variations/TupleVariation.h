#pragma once

// One tuple of glyph or control-value variation data: the region of design
// space where it applies (start, peak and end per axis, in normalised
// coordinates) and deltas for some of the points, or of the 'cvt ' values.
// Deltas are doubles, though the file holds integers, because the deltas
// inferred for points without their own are fractional.

#include <cstdint>
#include <memory>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/Geometry.h"
#include "core/BigEndianBuffer.h"
#include "core/Tag.h"

namespace Typeframe {

class TupleVariation : public Bedrock::Countable {
public:
    struct Region {
        Fixed2_14 start;
        Fixed2_14 peak;
        Fixed2_14 end;
    };
    struct PointDelta {
        uint16_t index = 0;  // point number, or 'cvt ' index
        double x = 0.0;
        double y = 0.0;
    };
    // The peak tuples a table shares among its glyphs; one copy is shared by
    // every tuple and store made from it.
    using SharedTuples = std::vector<std::vector<Fixed2_14>>;

    TupleVariation(unsigned int tag, std::vector<unsigned int> axisTags, std::vector<unsigned short> sharedPoints,
                   unsigned short axisCount, unsigned short pointCount, const SharedTuples& sharedTuples);
    // The store's form: the lists shared, not copied, by all its tuples.
    TupleVariation(unsigned int tag, std::shared_ptr<const std::vector<unsigned int>> axisTags,
                   std::shared_ptr<const std::vector<unsigned short>> sharedPoints, unsigned short axisCount,
                   unsigned short pointCount, std::shared_ptr<const SharedTuples> sharedTuples);
    TupleVariation(const TupleVariation& other) = default;

    // Reads one tuple: its header from `header` and its packed points and
    // deltas from `data`, each at its position, which is left after what was
    // read, so that a store reads its tuples back to back. False on data that
    // is cut short or contradicts itself; what was read so far is kept.
    bool Load(Bedrock::Counted<BigEndianBuffer> header, Bedrock::Counted<BigEndianBuffer> data);
    // Packed point numbers. A count of 0 means every point from 0 to
    // pointCount - 1. A run may run past the count, and its surplus is kept;
    // a point number at or past pointCount is a failure.
    static bool LoadPoints(Bedrock::Counted<BigEndianBuffer> buffer, unsigned short pointCount,
                           std::vector<unsigned short>& points);
    static bool LoadPoints(BigEndianBuffer& buffer, unsigned short pointCount, std::vector<unsigned short>& points);
    // Packed deltas: exactly `count` values, or false (a run that passes the
    // count is a failure, unlike a run of points).
    static bool LoadDeltas(Bedrock::Counted<BigEndianBuffer> buffer, unsigned short count, std::vector<short>& deltas);
    static bool LoadDeltas(BigEndianBuffer& buffer, unsigned short count, std::vector<short>& deltas);

    // 0 when out of range.
    unsigned int GetAxisTag(unsigned short axis) const;
    size_t GetAxisTagCount() const { return axisTags->size(); }
    unsigned short GetAxisCount() const { return axisCount; }
    // False when out of range.
    bool GetRegion(int axis, Region& region) const;
    const std::vector<Region>& GetRegions() const { return regions; }
    void GetPointDeltas(std::vector<PointDelta>& out) const { out = pointDeltas; }
    const std::vector<PointDelta>& GetPointDeltas() const { return pointDeltas; }
    // The delta of one point or value: found by binary search in the deltas
    // (which are taken to be sorted by index), or a zero delta. Always true.
    bool GetPointDelta(unsigned short index, PointDelta& out) const;
    // The delta of a point at `x` between references at x1 and x2 with deltas
    // d1 and d2: the nearer reference's delta outside their span, linear
    // inside it.
    double InterpolateDelta(double x1, double x2, double x, double d1, double d2) const;
    // The delta of point `index` of the contour whose points are `points`,
    // numbered from `start`: its own delta, or one inferred from the nearest
    // points of the same contour that have deltas, before and after it,
    // wrapping round. False when no point of the contour has a delta here.
    bool GetInterpolatedPointDelta(unsigned long start, const std::vector<Bedrock::PointT<double>>& points,
                                   unsigned short index, PointDelta& out) const;
    // The deltas of every point of such a contour at once, added times
    // `scale` to `sums` (one entry per point); the same numbers as
    // GetInterpolatedPointDelta point by point. False, and `sums` untouched,
    // when no point of the contour has a delta here.
    bool AddContourDeltas(unsigned long start, const std::vector<Bedrock::PointT<double>>& points, double scale,
                          std::vector<Bedrock::PointT<double>>& sums) const;
    // The same for `count` points from `points`, numbered from `start`,
    // given `found`, this tuple's deltas for exactly those point numbers in
    // the order of the file (at least one).
    static void AddContourDeltas(const PointDelta* found, size_t foundCount, unsigned long start,
                                 const Bedrock::PointT<double>* points, unsigned long count, double scale,
                                 Bedrock::PointT<double>* sums);

    Bedrock::Counted<TupleVariation> Clone() const;

    Tag tableTag = 0;
    // Never null.
    std::shared_ptr<const std::vector<unsigned int>> axisTags;
    std::shared_ptr<const std::vector<unsigned short>> sharedPoints;
    std::shared_ptr<const SharedTuples> sharedTuples;
    unsigned short axisCount = 0;
    unsigned short pointCount = 0;
    std::vector<Region> regions;
    std::vector<PointDelta> pointDeltas;

private:
    // The deltas that fall in [start, start + count), in their order.
    void CollectContourDeltas(unsigned long start, unsigned long count, std::vector<PointDelta>& found) const;
    // The delta at contour position `p` inferred from the contour's deltas
    // `found`, which don't include that point.
    static double InterpolateRule(double x1, double x2, double x, double d1, double d2);
    static PointDelta InferDelta(unsigned long start, const Bedrock::PointT<double>* points, unsigned long p,
                                 const PointDelta* found, size_t foundCount);
};

}  // namespace Typeframe
