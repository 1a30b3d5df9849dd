#pragma once

// One glyph of a 'glyf' table, parsed: the contours of a simple glyph as
// absolute points in doubles (so that variation deltas add up without loss
// until Save rounds them), or the components of a composite glyph; its
// instructions as assembly text; its bounding box, cached; and its phantom
// points, the metric box that variations move.
//
// Threading: a glyph is not locked. Different glyphs may be read and changed
// from different threads; reading a composite's outline reads its components'
// target glyphs, which must not change meanwhile. The bounds cache is written
// by const operations, so one glyph is not shared between threads unguarded.

#include <array>
#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/Geometry.h"
#include "base/String.h"
#include "core/BigEndianBuffer.h"
#include "truetype/IContourInterface.h"

namespace Typeframe {

class GlyfComponent;
class OTglyfTable;
class TTCompiler;

class Glyf : public IContourInterface {
public:
    // Simple-glyph flag bits as published.
    enum PointFlags : uint8_t {
        ON_CURVE_POINT = 0x01,
        X_SHORT_VECTOR = 0x02,
        Y_SHORT_VECTOR = 0x04,
        REPEAT_FLAG = 0x08,
        X_IS_SAME_OR_POSITIVE_X_SHORT_VECTOR = 0x10,
        Y_IS_SAME_OR_POSITIVE_Y_SHORT_VECTOR = 0x20,
        OVERLAP_SIMPLE = 0x40,
    };
    // The point flags kept in memory: on-curve, overlap and the high bit (193).
    static constexpr uint8_t kKeptPointFlags = 0xC1;

    // Bounds on walking composite references, far above what real fonts
    // need (their nesting rarely passes 3): a hostile font with a cycle or an
    // exponential web of references ends quietly, its surplus ignored.
    static constexpr int kMaxComponentDepth = 64;
    static constexpr unsigned long kMaxComponentVisits = 1024;
    static constexpr unsigned long kMaxCompositePoints = 1ul << 17;

    explicit Glyf(Bedrock::NonCounted<OTglyfTable> owner = nullptr);
    // A deep copy: components and instructions are copied, the table kept.
    Glyf(const Glyf& other);
    ~Glyf() override;

    Bedrock::Counted<Glyf> Clone() const { return Bedrock::Counted<Glyf>(VirtualClone()); }

    // Parses the glyph's bytes, which it keeps as `buffer`.
    bool Load(Bedrock::Counted<BigEndianBuffer> data);
    // The same, naming the components of a composite from `glyphOrder`
    // instead of the font's current glyph order.
    bool Load(Bedrock::Counted<BigEndianBuffer> data, const std::vector<Utf8String>& glyphOrder);
    // The box that Load and RefreshBounds give a glyph of these bytes, from
    // its header alone: (0, 0, 0, 0) for bytes too short for a header.
    static Bedrock::RectT<double> GetHeaderBounds(const unsigned char* bytes, unsigned long length);
    bool LoadSimple(BigEndianBuffer& in);
    bool LoadComposite(BigEndianBuffer& in);
    // Reads the flags and then the x and y values of `count` points at the
    // buffer's position. `rawFlags` gets one flag per point covered (a run
    // that overshoots the count leaves surplus entries); `deltas` the values
    // as signed deltas. False when the bytes run out.
    static bool LoadCoordinatesRaw(BigEndianBuffer& in, unsigned long count, std::vector<unsigned char>& rawFlags,
                                   std::vector<Bedrock::PointT<int>>& deltas);
    // Writes the glyph into `buffer` (emptied first); with `refreshBounds`
    // the bounds are recomputed first, otherwise they are written as held.
    // A body that can't be written is left out. Always true.
    bool Save(bool refreshBounds);
    // The body behind the header, appended to `out`; false (and `out` left
    // as it was) when the instructions don't assemble.
    bool SaveSimple(BigEndianBuffer& out);
    bool SaveComposite(BigEndianBuffer& out);
    // Composites with variations are not written: always null.
    Bedrock::Counted<BigEndianBuffer> SaveVarComposite() const { return nullptr; }
    // Flags, x and y data of a simple glyph, with flag runs compacted.
    static void CompileDeltasGreedy(const std::vector<unsigned char>& pointFlags,
                                    const std::vector<Bedrock::PointT<int16_t>>& deltas, BigEndianBuffer& out);
    static void RelativeToAbsolute(const std::vector<Bedrock::PointT<int>>& deltas, unsigned long count,
                                   std::vector<Bedrock::PointT<double>>& points);
    // Rounds to 16-bit integers and takes differences with 16-bit wraparound.
    static void AbsoluteToRelative(const std::vector<Bedrock::PointT<double>>& points,
                                   std::vector<Bedrock::PointT<int16_t>>& deltas);

    void RefreshBounds() const;
    Bedrock::RectT<double> GetBounds() const;
    // Marks the bounds of this glyph and of its table as stale.
    void InvalidateBounds();
    bool IsEmpty() const { return numberOfContours == 0 && components.empty(); }
    // Replaces the points and flags; the glyph's bounds become stale, the
    // table's cache is left alone.
    void SetCoordinates(const std::vector<Bedrock::PointT<double>>& points,
                        const std::vector<unsigned char>& pointFlags);
    void SetCoordinates(std::vector<Bedrock::PointT<double>>&& points, std::vector<unsigned char>&& pointFlags);
    void SetPhantoms(const Bedrock::RectT<double>& box) { phantoms = box; }
    Bedrock::RectT<double> GetPhantoms() const { return phantoms; }
    // Replaces a component; an index out of range is ignored.
    void SetComponent(int index, Bedrock::Counted<GlyfComponent> component);
    // Points the glyph and its components at `owner`.
    void SetTable(Bedrock::NonCounted<OTglyfTable> owner);
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const { return buffer; }

    // IContourInterface. For a composite, the counts and coordinates are
    // those of all the glyphs it draws, placed.
    int GetNumberOfComponents() const override { return static_cast<int>(components.size()); }
    Bedrock::Counted<IContourInterface> GetComponent(int index) const override;
    int GetNumberOfContours() const override;
    bool GetContour(int index, unsigned long& firstPoint, std::vector<Bedrock::PointT<double>>& points,
                    std::vector<unsigned char>& flags) const override;
    int GetNumberOfCoordinates() const override;
    bool IsMarking() const override;
    Transform GetTransform() const override { return {1.0, 0.0, 0.0, 0.0, 1.0, 0.0}; }
    Bedrock::Counted<IContourInterface> GetGlyph() const override;
    Utf8String GetGlyphName() const override { return Utf8String(); }
    Glyf* VirtualClone() const override { return new Glyf(*this); }
    bool GetCoordinates(std::vector<Bedrock::PointT<double>>& points, std::vector<unsigned char>& flags) const override;

    Bedrock::NonCounted<OTglyfTable> table;
    int16_t numberOfContours = 0;  // -1: composite; 0: empty
    mutable Bedrock::RectT<double> bounds;
    mutable bool boundsValid = false;
    std::vector<uint16_t> endPtsOfContours;
    Bedrock::Counted<TTCompiler> instructions;
    std::vector<unsigned char> flags;
    std::vector<Bedrock::PointT<double>> coordinates;
    Bedrock::RectT<double> phantoms;  // left, bottom, right, top of the metric box
    std::vector<Bedrock::Counted<GlyfComponent>> components;
    Bedrock::Counted<BigEndianBuffer> buffer;

private:
    bool WriteInstructions(BigEndianBuffer& out, unsigned long start);

    // The state of one walk through composite references: the glyphs on the
    // current path (a glyph met again is a cycle and adds nothing) and what
    // the walk has used up.
    struct Walk {
        std::array<const Glyf*, kMaxComponentDepth> path{};
        int depth = 0;
        unsigned long visits = 0;
        unsigned long points = 0;
        // Enters `glyph` below the current path; false when it may not.
        bool Enter(const Glyf* glyph);
        void Leave() { --depth; }
    };
    struct Counts {
        unsigned long points = 0;
        unsigned long contours = 0;
    };

    bool Read(Bedrock::Counted<BigEndianBuffer> data, const std::vector<Utf8String>* glyphOrder);
    bool ReadComponents(BigEndianBuffer& in, const std::vector<Utf8String>* glyphOrder);
    bool GatherCoordinates(Walk& walk, std::vector<Bedrock::PointT<double>>& points,
                           std::vector<unsigned char>& pointFlags) const;
    void GatherCounts(Walk& walk, Counts& counts) const;
    bool IsMarking(Walk& walk) const;
};

}  // namespace Typeframe
