#include "truetype/Glyf.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

#include "tables/OTheadTable.h"
#include "truetype/GlyfComponent.h"
#include "truetype/OTglyfTable.h"
#include "truetype/TTCompiler.h"

namespace Typeframe {

namespace {

// The glyph header: numberOfContours and the four bounds.
constexpr unsigned long kHeaderSize = 10;
// Raw bounds words that mark a glyph's box as "lowest possible".
constexpr uint16_t kLowestBoundsMark = 0x8001;

// The box of the header's four bounds words.
Bedrock::RectT<double> BoundsFromWords(const uint16_t (&words)[4]) {
    if (words[0] == kLowestBoundsMark && words[1] == kLowestBoundsMark && words[2] == kLowestBoundsMark &&
        words[3] == kLowestBoundsMark) {
        // Kept as required: a box of four 0x8001 words stands for the lowest
        // finite double on all four sides, and reaches the table's union so.
        const double lowest = std::numeric_limits<double>::lowest();
        return {lowest, lowest, lowest, lowest};
    }
    return {double(int16_t(words[0])), double(int16_t(words[1])), double(int16_t(words[2])), double(int16_t(words[3]))};
}

}  // namespace

Bedrock::RectT<double> Glyf::GetHeaderBounds(const unsigned char* bytes, unsigned long length) {
    // Shorter bytes make an empty glyph (Load fails before the contour
    // count), whose box is the origin.
    if (!bytes || length < kHeaderSize) return Bedrock::RectT<double>();
    uint16_t words[4];
    for (size_t i = 0; i < 4; ++i) words[i] = static_cast<uint16_t>((bytes[2 + 2 * i] << 8) | bytes[3 + 2 * i]);
    return BoundsFromWords(words);
}

bool Glyf::Walk::Enter(const Glyf* glyph) {
    if (depth >= kMaxComponentDepth || visits >= kMaxComponentVisits) return false;
    for (int i = 0; i < depth; ++i) {
        if (path[static_cast<size_t>(i)] == glyph) return false;
    }
    path[static_cast<size_t>(depth++)] = glyph;
    ++visits;
    return true;
}

Glyf::Glyf(Bedrock::NonCounted<OTglyfTable> owner) : table(owner) {}

Glyf::Glyf(const Glyf& other)
    : IContourInterface(other),
      table(other.table),
      numberOfContours(other.numberOfContours),
      bounds(other.bounds),
      boundsValid(other.boundsValid),
      endPtsOfContours(other.endPtsOfContours),
      instructions(other.instructions ? other.instructions->Clone() : nullptr),
      flags(other.flags),
      coordinates(other.coordinates),
      phantoms(other.phantoms),
      buffer(other.buffer ? other.buffer->Clone() : nullptr) {
    components.reserve(other.components.size());
    for (const auto& component : other.components) components.push_back(component ? component->Clone() : nullptr);
}

Glyf::~Glyf() = default;

bool Glyf::Load(Bedrock::Counted<BigEndianBuffer> data) { return Read(std::move(data), nullptr); }

bool Glyf::Load(Bedrock::Counted<BigEndianBuffer> data, const std::vector<Utf8String>& glyphOrder) {
    return Read(std::move(data), &glyphOrder);
}

bool Glyf::Read(Bedrock::Counted<BigEndianBuffer> data, const std::vector<Utf8String>* glyphOrder) {
    buffer = data;
    numberOfContours = 0;
    bounds = Bedrock::RectT<double>();
    boundsValid = false;
    endPtsOfContours.clear();
    flags.clear();
    coordinates.clear();
    components.clear();
    // No bytes: an empty glyph, whose bounds are worked out when asked for.
    if (!data || data->IsEmpty()) return true;

    BigEndianBuffer& in = *data;
    in.Seek(0);
    uint16_t header[5];
    for (uint16_t& word : header) {
        if (!in.GetU16(word)) return false;
    }
    numberOfContours = static_cast<int16_t>(header[0]);
    bounds = BoundsFromWords({header[1], header[2], header[3], header[4]});
    boundsValid = true;
    if (numberOfContours == 0) return true;
    if (header[0] == 0xFFFF) return ReadComponents(in, glyphOrder);
    return LoadSimple(in);
}

bool Glyf::LoadSimple(BigEndianBuffer& in) {
    endPtsOfContours.clear();
    flags.clear();
    coordinates.clear();
    // A negative count other than -1 reads no end points: the glyph keeps its
    // instructions and has no points, and is written back the same way.
    const unsigned long contourCount = numberOfContours > 0 ? static_cast<unsigned long>(numberOfContours) : 0;
    if (!in.IsInBounds(in.Tell(), contourCount * 2)) return false;
    endPtsOfContours.resize(contourCount);
    for (uint16_t& end : endPtsOfContours) in.GetU16(end);

    uint16_t instructionLength = 0;
    if (!in.GetU16(instructionLength)) return false;
    auto code = in.Read(instructionLength);
    if (!code) return false;
    if (!instructions) instructions = Bedrock::MakeCounted<TTCompiler>();
    if (!instructions->Load(code)) return false;

    // The point count comes from the last end point alone; earlier end points
    // are not checked against it (GetContour copes with any order).
    const unsigned long count = endPtsOfContours.empty() ? 0 : endPtsOfContours.back() + 1ul;
    std::vector<unsigned char> rawFlags;
    std::vector<Bedrock::PointT<int>> deltas;
    if (!LoadCoordinatesRaw(in, count, rawFlags, deltas)) return false;
    RelativeToAbsolute(deltas, count, coordinates);
    // Only the on-curve, overlap and high bits stay: the others describe the
    // file's encoding, which Save works out afresh.
    flags.resize(count);
    for (unsigned long i = 0; i < count; ++i) flags[i] = rawFlags[i] & kKeptPointFlags;
    return true;
}

bool Glyf::LoadCoordinatesRaw(BigEndianBuffer& in, unsigned long count, std::vector<unsigned char>& rawFlags,
                              std::vector<Bedrock::PointT<int>>& deltas) {
    rawFlags.clear();
    deltas.clear();
    const unsigned char* bytes = in.GetBuffer();
    const unsigned long end = in.GetLength();
    unsigned long position = std::min(in.Tell(), end);
    // Every point needs a flag byte or a share of a repeat: no more room is
    // made than the bytes could describe without repeats.
    rawFlags.reserve(std::min(count, end - position));

    unsigned long covered = 0;
    while (covered < count) {
        if (position >= end) return false;
        const unsigned char flag = bytes[position++];
        unsigned int run = 1;
        if (flag & REPEAT_FLAG) {
            if (position >= end) return false;
            // Kept as required: the run length is the repeat byte plus one in
            // 8 bits, so a repeat byte of 255 gives 0 and the flag covers no
            // point at all; the next byte is read as a flag.
            run = static_cast<uint8_t>(bytes[position++] + 1);
        }
        rawFlags.insert(rawFlags.end(), run, flag);
        covered += run;
    }

    // A run that overshoots the count leaves surplus flags, whose values are
    // read as well.
    const size_t points = rawFlags.size();
    deltas.resize(points);
    for (size_t i = 0; i < points; ++i) {
        const unsigned char flag = rawFlags[i];
        if (flag & X_SHORT_VECTOR) {
            if (position >= end) return false;
            const int value = bytes[position++];
            deltas[i].x = (flag & X_IS_SAME_OR_POSITIVE_X_SHORT_VECTOR) ? value : -value;
        } else if (!(flag & X_IS_SAME_OR_POSITIVE_X_SHORT_VECTOR)) {
            if (end - position < 2) return false;
            deltas[i].x = static_cast<int16_t>((bytes[position] << 8) | bytes[position + 1]);
            position += 2;
        }
    }
    for (size_t i = 0; i < points; ++i) {
        const unsigned char flag = rawFlags[i];
        if (flag & Y_SHORT_VECTOR) {
            if (position >= end) return false;
            const int value = bytes[position++];
            deltas[i].y = (flag & Y_IS_SAME_OR_POSITIVE_Y_SHORT_VECTOR) ? value : -value;
        } else if (!(flag & Y_IS_SAME_OR_POSITIVE_Y_SHORT_VECTOR)) {
            if (end - position < 2) return false;
            deltas[i].y = static_cast<int16_t>((bytes[position] << 8) | bytes[position + 1]);
            position += 2;
        }
    }
    in.Seek(position);
    return true;
}

bool Glyf::LoadComposite(BigEndianBuffer& in) { return ReadComponents(in, nullptr); }

bool Glyf::ReadComponents(BigEndianBuffer& in, const std::vector<Utf8String>* glyphOrder) {
    components.clear();
    bool anyInstructions = false;
    while (true) {
        auto component = Bedrock::MakeCounted<GlyfComponent>(table);
        const bool complete = glyphOrder ? component->Load(in, *glyphOrder) : component->Load(in);
        components.push_back(component);
        // Every component record takes at least four bytes, so the loop ends
        // with the bytes even when MORE_COMPONENTS is always set.
        if (!complete) return false;
        // Kept as required: once any component has had WE_HAVE_INSTRUCTIONS,
        // instructions are read after this and every later component.
        if (component->flags & GlyfComponent::WE_HAVE_INSTRUCTIONS) anyInstructions = true;
        if (anyInstructions) {
            uint16_t length = 0;
            if (!in.GetU16(length)) return false;
            auto code = in.Read(length);
            if (!code) return false;
            if (!instructions) instructions = Bedrock::MakeCounted<TTCompiler>();
            if (!instructions->Load(code)) return false;
        }
        if (!(component->flags & GlyfComponent::MORE_COMPONENTS)) return true;
    }
}

void Glyf::RelativeToAbsolute(const std::vector<Bedrock::PointT<int>>& deltas, unsigned long count,
                              std::vector<Bedrock::PointT<double>>& points) {
    count = std::min<unsigned long>(count, deltas.size());
    points.resize(count);
    double x = 0.0, y = 0.0;
    for (unsigned long i = 0; i < count; ++i) {
        x += deltas[i].x;
        y += deltas[i].y;
        points[i] = {x, y};
    }
}

void Glyf::AbsoluteToRelative(const std::vector<Bedrock::PointT<double>>& points,
                              std::vector<Bedrock::PointT<int16_t>>& deltas) {
    deltas.resize(points.size());
    int16_t lastX = 0, lastY = 0;
    for (size_t i = 0; i < points.size(); ++i) {
        const int16_t x = OTheadTable::RoundToInt16(points[i].x);
        const int16_t y = OTheadTable::RoundToInt16(points[i].y);
        deltas[i] = {static_cast<int16_t>(static_cast<uint16_t>(x) - static_cast<uint16_t>(lastX)),
                     static_cast<int16_t>(static_cast<uint16_t>(y) - static_cast<uint16_t>(lastY))};
        lastX = x;
        lastY = y;
    }
}

void Glyf::CompileDeltasGreedy(const std::vector<unsigned char>& pointFlags,
                               const std::vector<Bedrock::PointT<int16_t>>& deltas, BigEndianBuffer& out) {
    const size_t count = deltas.size();
    std::vector<unsigned char> flagBytes, xBytes, yBytes;
    flagBytes.reserve(count);
    xBytes.reserve(count * 2);
    yBytes.reserve(count * 2);
    auto encode = [](int delta, unsigned char shortBit, unsigned char sameOrPositiveBit, unsigned char& flag,
                     std::vector<unsigned char>& values) {
        if (delta == 0) {
            flag |= sameOrPositiveBit;
        } else if (delta >= -255 && delta <= 255) {
            flag |= shortBit;
            if (delta > 0) flag |= sameOrPositiveBit;
            values.push_back(static_cast<unsigned char>(std::abs(delta)));
        } else {
            values.push_back(static_cast<unsigned char>(static_cast<uint16_t>(delta) >> 8));
            values.push_back(static_cast<unsigned char>(delta));
        }
    };

    // `repeats` counts the points after the first of the current run; the
    // run is written as the flag, then the flag with REPEAT_FLAG and the
    // count, so two equal flags stay two plain bytes and a repeat byte never
    // exceeds 254 (255 would be read as no repeat at all).
    int repeats = 0;
    unsigned char previous = 0;
    for (size_t i = 0; i < count; ++i) {
        unsigned char flag = (i < pointFlags.size() ? pointFlags[i] : 0) & kKeptPointFlags;
        encode(deltas[i].x, X_SHORT_VECTOR, X_IS_SAME_OR_POSITIVE_X_SHORT_VECTOR, flag, xBytes);
        encode(deltas[i].y, Y_SHORT_VECTOR, Y_IS_SAME_OR_POSITIVE_Y_SHORT_VECTOR, flag, yBytes);
        if (repeats == 255 || flag != previous) {
            flagBytes.push_back(flag);
            repeats = 0;
        } else if (repeats == 0) {
            flagBytes.push_back(previous);
            repeats = 1;
        } else if (repeats == 1) {
            flagBytes.back() = previous | REPEAT_FLAG;
            flagBytes.push_back(1);
            repeats = 2;
        } else {
            flagBytes.pop_back();
            flagBytes.back() = previous | REPEAT_FLAG;
            flagBytes.push_back(static_cast<unsigned char>(repeats));
            ++repeats;
        }
        previous = flag;
    }
    out.Write(flagBytes.size(), flagBytes.data());
    out.Write(xBytes.size(), xBytes.data());
    out.Write(yBytes.size(), yBytes.data());
}

bool Glyf::Save(bool refreshBounds) {
    if (!buffer) {
        buffer = Bedrock::MakeCounted<BigEndianBuffer>(0ul, 0ul);
    } else {
        buffer->Reset(0);
        buffer->SetPad(0);
    }
    if (numberOfContours == 0) return true;
    if (refreshBounds) RefreshBounds();
    BigEndianBuffer& out = *buffer;
    out.SetS16(numberOfContours);
    out.SetS16(OTheadTable::RoundToInt16(bounds.left));
    out.SetS16(OTheadTable::RoundToInt16(bounds.bottom));
    out.SetS16(OTheadTable::RoundToInt16(bounds.right));
    out.SetS16(OTheadTable::RoundToInt16(bounds.top));
    // A body that fails is left out: the glyph is written as its header.
    if (numberOfContours == -1) {
        SaveComposite(out);
    } else {
        SaveSimple(out);
    }
    return true;
}

// Assembles the instructions and writes their length and bytes; on failure
// the output goes back to `start`, where the glyph's body began.
bool Glyf::WriteInstructions(BigEndianBuffer& out, unsigned long start) {
    if (!instructions->Save()) {
        out.Resize(start);
        return false;
    }
    const auto& code = instructions->buffer;
    const unsigned long length = code ? code->GetLength() : 0;
    if (length > 0xFFFF) {
        out.Resize(start);
        return false;
    }
    out.SetU16(static_cast<uint16_t>(length));
    if (length != 0) out.Write(length, code->GetBuffer());
    return true;
}

bool Glyf::SaveSimple(BigEndianBuffer& out) {
    const unsigned long start = out.GetLength();
    for (uint16_t end : endPtsOfContours) out.SetU16(end);
    // A glyph made without instructions has no length word at all; every
    // loaded simple glyph has a compiler, if only an empty one.
    if (instructions && !WriteInstructions(out, start)) return false;
    std::vector<Bedrock::PointT<int16_t>> deltas;
    AbsoluteToRelative(coordinates, deltas);
    CompileDeltasGreedy(flags, deltas, out);
    return true;
}

bool Glyf::SaveComposite(BigEndianBuffer& out) {
    const unsigned long start = out.GetLength();
    const size_t count = components.size();
    bool lastHasInstructions = false;
    for (size_t i = 0; i < count; ++i) {
        const auto& component = components[i];
        if (!component) continue;
        const bool last = i + 1 == count;
        // Instructions go with the last component, even when they are empty.
        const bool haveInstructions = last && instructions;
        component->Save(!last, haveInstructions);
        out.Write(Bedrock::Counted<const BigEndianBuffer>(component->GetBuffer()));
        lastHasInstructions = haveInstructions;
    }
    return !lastHasInstructions || WriteInstructions(out, start);
}

void Glyf::RefreshBounds() const {
    if (boundsValid) return;
    std::vector<Bedrock::PointT<double>> points;
    std::vector<unsigned char> pointFlags;
    if (!GetCoordinates(points, pointFlags)) {
        // An empty glyph's box is the origin, which then counts in the union.
        bounds = Bedrock::RectT<double>();
    } else {
        const double largest = std::numeric_limits<double>::max();
        const double lowest = std::numeric_limits<double>::lowest();
        Bedrock::RectT<double> box{largest, largest, lowest, lowest};
        for (const auto& p : points) {
            box.left = std::min(box.left, p.x);
            box.bottom = std::min(box.bottom, p.y);
            box.right = std::max(box.right, p.x);
            box.top = std::max(box.top, p.y);
        }
        bounds = box;
    }
    boundsValid = true;
}

Bedrock::RectT<double> Glyf::GetBounds() const {
    RefreshBounds();
    return bounds;
}

void Glyf::InvalidateBounds() {
    boundsValid = false;
    if (table) table->InvalidateBounds();
}

void Glyf::SetCoordinates(const std::vector<Bedrock::PointT<double>>& points,
                          const std::vector<unsigned char>& pointFlags) {
    coordinates = points;
    flags = pointFlags;
    boundsValid = false;
}

void Glyf::SetCoordinates(std::vector<Bedrock::PointT<double>>&& points, std::vector<unsigned char>&& pointFlags) {
    coordinates = std::move(points);
    flags = std::move(pointFlags);
    boundsValid = false;
}

void Glyf::SetComponent(int index, Bedrock::Counted<GlyfComponent> component) {
    // A null component is ignored like an index out of range.
    if (index < 0 || static_cast<size_t>(index) >= components.size() || !component) return;
    components[static_cast<size_t>(index)] = std::move(component);
    boundsValid = false;
}

void Glyf::SetTable(Bedrock::NonCounted<OTglyfTable> owner) {
    table = owner;
    for (const auto& component : components) {
        if (component) component->SetTable(owner);
    }
}

Bedrock::Counted<IContourInterface> Glyf::GetComponent(int index) const {
    if (index < 0 || static_cast<size_t>(index) >= components.size()) return nullptr;
    return components[static_cast<size_t>(index)];
}

int Glyf::GetNumberOfContours() const {
    if (numberOfContours != -1) return static_cast<int>(endPtsOfContours.size());
    Walk walk;
    walk.Enter(this);
    Counts counts;
    GatherCounts(walk, counts);
    return static_cast<int>(std::min<unsigned long>(counts.contours, std::numeric_limits<int>::max()));
}

int Glyf::GetNumberOfCoordinates() const {
    if (numberOfContours != -1) return static_cast<int>(coordinates.size());
    Walk walk;
    walk.Enter(this);
    Counts counts;
    GatherCounts(walk, counts);
    return static_cast<int>(std::min<unsigned long>(counts.points, std::numeric_limits<int>::max()));
}

void Glyf::GatherCounts(Walk& walk, Counts& counts) const {
    for (const auto& component : components) {
        auto target = component ? component->GetTargetGlyph() : nullptr;
        if (!target || !walk.Enter(target.Get())) continue;
        if (target->numberOfContours == -1) {
            target->GatherCounts(walk, counts);
        } else {
            counts.points += target->coordinates.size();
            counts.contours += target->endPtsOfContours.size();
        }
        walk.Leave();
    }
}

bool Glyf::GetContour(int index, unsigned long& firstPoint, std::vector<Bedrock::PointT<double>>& points,
                      std::vector<unsigned char>& pointFlags) const {
    if (index < 0 || static_cast<size_t>(index) >= endPtsOfContours.size()) return false;
    const size_t i = static_cast<size_t>(index);
    const unsigned long begin = i == 0 ? 0 : endPtsOfContours[i - 1] + 1ul;
    // End points that decrease, or that pass the points held, give an empty
    // or a cut contour rather than a read outside the outline.
    const unsigned long end = std::min<unsigned long>(endPtsOfContours[i] + 1ul, coordinates.size());
    firstPoint = begin;
    for (unsigned long p = begin; p < end; ++p) {
        points.push_back(coordinates[p]);
        pointFlags.push_back(p < flags.size() ? flags[p] : 0);
    }
    return true;
}

bool Glyf::IsMarking() const {
    Walk walk;
    walk.Enter(this);
    return IsMarking(walk);
}

bool Glyf::IsMarking(Walk& walk) const {
    // A composite is marking by its count of -1 alone.
    if (numberOfContours != 0) return true;
    for (const auto& component : components) {
        auto target = component ? component->GetTargetGlyph() : nullptr;
        if (!target || !walk.Enter(target.Get())) continue;
        const bool marking = target->IsMarking(walk);
        walk.Leave();
        if (marking) return true;
    }
    return false;
}

Bedrock::Counted<IContourInterface> Glyf::GetGlyph() const {
    return Bedrock::Counted<IContourInterface>(const_cast<Glyf*>(this));
}

bool Glyf::GetCoordinates(std::vector<Bedrock::PointT<double>>& points, std::vector<unsigned char>& pointFlags) const {
    if (numberOfContours != -1) {
        points = coordinates;
        pointFlags = flags;
        return !points.empty();
    }
    Walk walk;
    walk.Enter(this);
    return GatherCoordinates(walk, points, pointFlags);
}

bool Glyf::GatherCoordinates(Walk& walk, std::vector<Bedrock::PointT<double>>& points,
                             std::vector<unsigned char>& pointFlags) const {
    // A composite appends to what the vectors hold; anchored components
    // match against everything appended so far.
    std::vector<Bedrock::PointT<double>> childPoints;
    std::vector<unsigned char> childFlags;
    for (const auto& component : components) {
        auto target = component ? component->GetTargetGlyph() : nullptr;
        if (!target || !walk.Enter(target.Get())) continue;
        childPoints.clear();
        childFlags.clear();
        if (target->numberOfContours == -1) {
            target->GatherCoordinates(walk, childPoints, childFlags);
        } else {
            childPoints = target->coordinates;
            childFlags = target->flags;
        }
        walk.Leave();
        if (childPoints.size() > kMaxCompositePoints - std::min(walk.points, kMaxCompositePoints)) break;
        walk.points += childPoints.size();
        component->PlacePoints(childPoints, points);
        points.insert(points.end(), childPoints.begin(), childPoints.end());
        pointFlags.insert(pointFlags.end(), childFlags.begin(), childFlags.end());
    }
    return !points.empty();
}

}  // namespace Typeframe
