#include "variations/TupleVariation.h"

#include <algorithm>

namespace Typeframe {

namespace {

// A 2.14 value read at the position; false when the bytes end (the buffer's
// own 2.14 read repeats the last field there instead).
bool ReadF2Dot14(BigEndianBuffer& in, Fixed2_14& value) {
    int16_t raw = 0;
    if (!in.GetS16(raw)) return false;
    value = Fixed2_14::FromRaw(raw);
    return true;
}

bool IndexBelow(const TupleVariation::PointDelta& delta, unsigned long index) { return delta.index < index; }

}  // namespace

TupleVariation::TupleVariation(unsigned int tag, std::vector<unsigned int> axisTagList,
                               std::vector<unsigned short> sharedPointList, unsigned short axes, unsigned short points,
                               const SharedTuples& shared)
    : TupleVariation(tag, std::make_shared<const std::vector<unsigned int>>(std::move(axisTagList)),
                     std::make_shared<const std::vector<unsigned short>>(std::move(sharedPointList)), axes, points,
                     std::make_shared<const SharedTuples>(shared)) {}

TupleVariation::TupleVariation(unsigned int tag, std::shared_ptr<const std::vector<unsigned int>> axisTagList,
                               std::shared_ptr<const std::vector<unsigned short>> sharedPointList, unsigned short axes,
                               unsigned short points, std::shared_ptr<const SharedTuples> shared)
    : tableTag(tag),
      axisTags(axisTagList ? std::move(axisTagList) : std::make_shared<const std::vector<unsigned int>>()),
      sharedPoints(sharedPointList ? std::move(sharedPointList)
                                   : std::make_shared<const std::vector<unsigned short>>()),
      sharedTuples(shared ? std::move(shared) : std::make_shared<const SharedTuples>()),
      axisCount(axes),
      pointCount(points) {}

bool TupleVariation::Load(Bedrock::Counted<BigEndianBuffer> header, Bedrock::Counted<BigEndianBuffer> data) {
    if (!header || !data) return false;
    uint16_t variationDataSize = 0;
    uint16_t tupleIndex = 0;
    // The data size is not needed: a tuple's data ends where its packed
    // points and deltas end.
    if (!header->GetU16(variationDataSize) || !header->GetU16(tupleIndex)) return false;

    // Peaks, starts and ends, in scratch space reused on each thread: a
    // store loads thousands of tuples.
    thread_local std::vector<Fixed2_14> values;
    values.assign(size_t(axisCount) * 3, Fixed2_14());
    Fixed2_14* peak = values.data();
    Fixed2_14* starts = peak + axisCount;
    Fixed2_14* ends = starts + axisCount;
    if (tupleIndex & 0x8000) {
        for (unsigned a = 0; a < axisCount; ++a) {
            if (!ReadF2Dot14(*header, peak[a])) return false;
        }
    } else {
        const unsigned index = tupleIndex & 0x0FFF;
        if (index >= sharedTuples->size()) return false;
        const auto& shared = (*sharedTuples)[index];
        // A shared tuple recorded with fewer axes than the font has leaves
        // the rest at 0.
        for (size_t a = 0; a < axisCount && a < shared.size(); ++a) peak[a] = shared[a];
    }
    if (tupleIndex & 0x4000) {
        for (unsigned a = 0; a < axisCount; ++a) {
            if (!ReadF2Dot14(*header, starts[a])) return false;
        }
        for (unsigned a = 0; a < axisCount; ++a) {
            if (!ReadF2Dot14(*header, ends[a])) return false;
        }
    } else {
        const Fixed2_14 zero;
        for (unsigned a = 0; a < axisCount; ++a) {
            starts[a] = peak[a] < zero ? peak[a] : zero;
            ends[a] = peak[a] > zero ? peak[a] : zero;
        }
    }
    regions.reserve(regions.size() + axisCount);
    for (unsigned a = 0; a < axisCount; ++a) regions.push_back({starts[a], peak[a], ends[a]});

    thread_local std::vector<unsigned short> privatePoints;
    const std::vector<unsigned short>* points = sharedPoints.get();
    if (tupleIndex & 0x2000) {
        if (!LoadPoints(*data, pointCount, privatePoints)) return false;
        points = &privatePoints;
    }
    const auto count = static_cast<unsigned short>(points->size());

    thread_local std::vector<short> xDeltas;
    thread_local std::vector<short> yDeltas;
    if (tableTag == MakeTag("cvar")) {
        if (!LoadDeltas(*data, count, xDeltas)) return false;
        const size_t base = pointDeltas.size();
        pointDeltas.resize(base + count);
        for (size_t i = 0; i < count; ++i) pointDeltas[base + i] = {(*points)[i], double(xDeltas[i]), 0.0};
    } else if (tableTag == MakeTag("gvar")) {
        if (!LoadDeltas(*data, count, xDeltas) || !LoadDeltas(*data, count, yDeltas)) return false;
        const size_t base = pointDeltas.size();
        pointDeltas.resize(base + count);
        for (size_t i = 0; i < count; ++i) {
            pointDeltas[base + i] = {(*points)[i], double(xDeltas[i]), double(yDeltas[i])};
        }
    }
    return true;
}

bool TupleVariation::LoadPoints(Bedrock::Counted<BigEndianBuffer> buffer, unsigned short count,
                                std::vector<unsigned short>& points) {
    return buffer && LoadPoints(*buffer, count, points);
}

bool TupleVariation::LoadPoints(BigEndianBuffer& buffer, unsigned short pointCount,
                                std::vector<unsigned short>& points) {
    uint8_t first = 0;
    if (!buffer.GetU8(first)) return false;
    unsigned count = first;
    if (first & 0x80) {
        uint8_t second = 0;
        if (!buffer.GetU8(second)) return false;
        count = ((first & 0x7Fu) << 8) | second;
    }
    if (count == 0) {
        points.resize(pointCount);
        for (unsigned i = 0; i < pointCount; ++i) points[i] = static_cast<unsigned short>(i);
        return true;
    }

    points.clear();
    // A count from the file reserves no more than the bytes left can hold.
    points.reserve(std::min<unsigned long>(count, buffer.GetRemaining()));
    while (points.size() < count) {
        uint8_t control = 0;
        if (!buffer.GetU8(control)) return false;
        const unsigned run = (control & 0x7Fu) + 1;
        const unsigned size = (control & 0x80) ? 2 : 1;
        // The whole values the bytes hold are read; a run that passes the
        // count is kept whole.
        const unsigned long present = std::min<unsigned long>(run, buffer.GetRemaining() / size);
        const unsigned char* bytes = present ? buffer.GetBuffer() + buffer.Tell() : nullptr;
        for (unsigned long i = 0; i < present; ++i) {
            points.push_back(size == 2 ? static_cast<unsigned short>((bytes[2 * i] << 8) | bytes[2 * i + 1])
                                       : bytes[i]);
        }
        buffer.Advance(present * size);
        if (present < run) return false;
    }
    // Stored as differences, the first from 0; the sums wrap at 16 bits.
    unsigned short sum = 0;
    bool inRange = true;
    for (auto& point : points) {
        sum = static_cast<unsigned short>(sum + point);
        point = sum;
        if (sum >= pointCount) inRange = false;
    }
    return inRange;
}

bool TupleVariation::LoadDeltas(Bedrock::Counted<BigEndianBuffer> buffer, unsigned short count,
                                std::vector<short>& deltas) {
    return buffer && LoadDeltas(*buffer, count, deltas);
}

bool TupleVariation::LoadDeltas(BigEndianBuffer& buffer, unsigned short count, std::vector<short>& deltas) {
    deltas.clear();
    deltas.reserve(count);
    while (deltas.size() < count) {
        uint8_t control = 0;
        if (!buffer.GetU8(control)) return false;
        const unsigned run = (control & 0x3Fu) + 1;
        if (control & 0x80) {
            deltas.insert(deltas.end(), run, 0);
            continue;
        }
        const unsigned size = (control & 0x40) ? 2 : 1;
        const unsigned long present = std::min<unsigned long>(run, buffer.GetRemaining() / size);
        const unsigned char* bytes = present ? buffer.GetBuffer() + buffer.Tell() : nullptr;
        for (unsigned long i = 0; i < present; ++i) {
            deltas.push_back(size == 2 ? static_cast<short>((bytes[2 * i] << 8) | bytes[2 * i + 1])
                                       : static_cast<short>(static_cast<int8_t>(bytes[i])));
        }
        buffer.Advance(present * size);
        if (present < run) return false;
    }
    // Unlike points, a run of deltas may not pass the count.
    return deltas.size() == count;
}

unsigned int TupleVariation::GetAxisTag(unsigned short axis) const {
    return axis < axisTags->size() ? (*axisTags)[axis] : 0;
}

bool TupleVariation::GetRegion(int axis, Region& region) const {
    if (axis < 0 || static_cast<size_t>(axis) >= regions.size()) return false;
    region = regions[static_cast<size_t>(axis)];
    return true;
}

bool TupleVariation::GetPointDelta(unsigned short index, PointDelta& out) const {
    auto found = std::lower_bound(pointDeltas.begin(), pointDeltas.end(), index, IndexBelow);
    if (found != pointDeltas.end() && found->index == index) {
        out = *found;
    } else {
        out = PointDelta{index, 0.0, 0.0};
    }
    return true;
}

double TupleVariation::InterpolateDelta(double x1, double x2, double x, double d1, double d2) const {
    return InterpolateRule(x1, x2, x, d1, d2);
}

double TupleVariation::InterpolateRule(double x1, double x2, double x, double d1, double d2) {
    if (x1 == x2) return d1 == d2 ? d1 : 0.0;
    if (x <= std::min(x1, x2)) return x1 < x2 ? d1 : d2;
    if (x >= std::max(x1, x2)) return x2 < x1 ? d1 : d2;
    const double t = (x - x1) / (x2 - x1);
    return t * d2 + (1.0 - t) * d1;
}

void TupleVariation::CollectContourDeltas(unsigned long start, unsigned long count,
                                          std::vector<PointDelta>& found) const {
    found.clear();
    for (const auto& delta : pointDeltas) {
        if (delta.index >= start && delta.index - start < count) found.push_back(delta);
    }
}

TupleVariation::PointDelta TupleVariation::InferDelta(unsigned long start, const Bedrock::PointT<double>* points,
                                                      unsigned long p, const PointDelta* found, size_t foundCount) {
    const unsigned long index = start + p;
    // The references are the nearest points with deltas on either side in
    // point order, wrapping round the closed contour; with one reference
    // both sides are the same point.
    const PointDelta* end = found + foundCount;
    const PointDelta* next = std::lower_bound(found, end, index, IndexBelow);
    const PointDelta& n = next == end ? found[0] : *next;
    const PointDelta& before = next == found ? end[-1] : next[-1];
    const auto& a = points[before.index - start];
    const auto& b = points[n.index - start];
    const auto& here = points[p];
    return PointDelta{static_cast<uint16_t>(index), InterpolateRule(a.x, b.x, here.x, before.x, n.x),
                      InterpolateRule(a.y, b.y, here.y, before.y, n.y)};
}

bool TupleVariation::GetInterpolatedPointDelta(unsigned long start, const std::vector<Bedrock::PointT<double>>& points,
                                               unsigned short index, PointDelta& out) const {
    if (index < start || index - start >= points.size()) return false;
    std::vector<PointDelta> found;
    CollectContourDeltas(start, points.size(), found);
    if (found.empty()) return false;
    for (const auto& delta : found) {
        if (delta.index == index) {
            out = delta;
            return true;
        }
    }
    out = InferDelta(start, points.data(), index - start, found.data(), found.size());
    return true;
}

bool TupleVariation::AddContourDeltas(unsigned long start, const std::vector<Bedrock::PointT<double>>& points,
                                      double scale, std::vector<Bedrock::PointT<double>>& sums) const {
    thread_local std::vector<PointDelta> found;
    const unsigned long count = std::min<unsigned long>(points.size(), sums.size());
    CollectContourDeltas(start, count, found);
    if (found.empty()) return false;
    AddContourDeltas(found.data(), found.size(), start, points.data(), count, scale, sums.data());
    return true;
}

void TupleVariation::AddContourDeltas(const PointDelta* found, size_t foundCount, unsigned long start,
                                      const Bedrock::PointT<double>* points, unsigned long count, double scale,
                                      Bedrock::PointT<double>* sums) {
    // A point alone in its contour (a phantom point, a component offset)
    // takes the first delta that names it.
    if (count == 1) {
        sums[0].x += scale * found[0].x;
        sums[0].y += scale * found[0].y;
        return;
    }
    // A point's own delta is the first entry that names it. Scratch space
    // is reused from call to call on each thread.
    thread_local std::vector<long> own;
    own.assign(count, -1);
    for (size_t k = 0; k < foundCount; ++k) {
        auto& slot = own[found[k].index - start];
        if (slot < 0) slot = static_cast<long>(k);
    }
    for (unsigned long p = 0; p < count; ++p) {
        const PointDelta delta =
            own[p] >= 0 ? found[static_cast<size_t>(own[p])] : InferDelta(start, points, p, found, foundCount);
        sums[p].x += scale * delta.x;
        sums[p].y += scale * delta.y;
    }
}

Bedrock::Counted<TupleVariation> TupleVariation::Clone() const { return Bedrock::MakeCounted<TupleVariation>(*this); }

}  // namespace Typeframe
