#pragma once

// The glyph data table ('glyf'): one Glyf per glyph, keyed by glyph name.
// Load checks the table against 'loca' and notes what the glyphs will need
// (their bytes, the glyph order, the metrics for the phantom points); the
// glyphs are parsed at the first operation that reads or changes them, and
// come out as a parse at Load would have made them. A table that is never
// touched is never parsed: its bounds come from the glyph headers, and Save
// leaves its bytes as they came. Save compiles each glyph afresh, writes the
// offsets into 'loca' and the glyph limits into 'maxp'; 'loca' then chooses
// its form and tells 'head'. So 'glyf' must be saved before 'loca', and
// 'loca' before 'head'.
//
// Threading contract:
// - GetGlyph, SetGlyph, AddGlyph and Subset may be called from any number of
//   threads at once, as the variation code does with SetGlyph (one name per
//   thread). The first of them parses the glyphs while the others wait. The
//   map is guarded by a reader-writer lock: lookups share it;
//   SetGlyph holds it alone only to swap one entry (the entry exists, so the
//   map never grows or rebalances then), AddGlyph to insert, Subset to swap
//   the entries it empties. Calls for the same name race only in effect:
//   the last one wins, and a reader sees the old glyph or the new one.
// - The glyphs handed out are shared objects with no lock of their own: a
//   thread that changes one must own it (a glyph it made, or one no other
//   thread reads meanwhile). Glyf::InvalidateBounds may run on different
//   glyphs from several threads; the table's bounds flag is atomic.
// - Everything else (Load, Save, GetBounds, RefreshBounds, RefreshPhantoms,
//   cloning) is for one thread at a time: the bounds caches are written by
//   const operations.
// - The buffer given to Load is read again by the deferred parse: it must
//   not be changed in place until then (Save parses before it writes).

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/Counted.h"
#include "base/Geometry.h"
#include "base/String.h"
#include "core/OTTable.h"

namespace Typeframe {

class Glyf;
class OTFont;
class OThheaTable;
class OTheadTable;
class OThmtxTable;
class OTmaxpTable;
class OTvmtxTable;

class OTglyfTable : public OTTable {
public:
    // At most this many glyphs are read, whatever 'loca' holds: glyph
    // indexes are 16-bit.
    static constexpr size_t kMaxGlyphs = 65536;

    explicit OTglyfTable(Bedrock::NonCounted<OTFont> font);
    // Deep: every glyph is copied and pointed at the copy.
    OTglyfTable(const OTglyfTable& other);
    ~OTglyfTable() override;

    OTTable* VirtualClone() const override;
    // A copy with every glyph name of this table but no glyphs yet (each
    // entry null, GetGlyph giving null), for a caller that gives every name
    // its glyph with SetGlyph before anything else reads the copy.
    Bedrock::Counted<OTglyfTable> CloneWithoutGlyphs() const;
    // Needs 'loca'. Takes the glyph names and metrics as they stand now;
    // the glyphs are parsed on first use (see above), a glyph that fails to
    // parse being kept as far as it got. False only when 'glyf' is shorter
    // than 'loca' says (the glyphs before that point are kept).
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // Compiles the glyphs in the font's glyph order into the table's buffer
    // (from its start) and updates 'loca' and 'maxp'. False without glyph
    // names, 'loca' or 'maxp'. A clean table is left as it is.
    bool Save() override;
    bool IsDirty() const override;
    void SetIsDirty(bool dirty) override;

    Bedrock::Counted<Glyf> GetGlyph(const Utf8String& name) const;
    // The glyph's index in the font's glyph order.
    bool GetGlyphIndex(const Utf8String& name, unsigned short& glyph) const;
    // Replaces the glyph of an existing name (false for an unknown name or a
    // null glyph), pointing it and its components at this table. The table
    // becomes dirty and its bounds stale.
    bool SetGlyph(const Utf8String& name, Bedrock::Counted<Glyf> glyph);
    // Adds an empty glyph under a new name (false if the name exists). The
    // font's glyph order and the other tables are the caller's affair.
    bool AddGlyph(const Utf8String& name);
    // Fills the glyph's phantoms (its metric box) from 'hmtx', 'vmtx',
    // 'head' and 'hhea', refreshing its bounds. True; a null glyph is skipped.
    bool RefreshPhantoms(Bedrock::Counted<Glyf> glyph, int glyphIndex);
    // Empties every glyph that neither `names` nor their components (to any
    // depth) need. Glyphs are not removed; indexes keep their places. True.
    bool Subset(const std::vector<Utf8String>& names);
    // Adds `name` and every glyph its components reach to `keep`, each once.
    void FindDependentGlyphs(std::vector<Utf8String>& keep, const Utf8String& name) const;
    // The deepest component nesting among the named glyphs: 0 with no
    // composite, 1 for a composite of simple glyphs.
    int GetMaxComponentDepth(const std::vector<Utf8String>& names) const;

    // The union of every glyph's bounds, empty glyphs (0, 0, 0, 0) included.
    // Before the glyphs are parsed, read from their headers.
    Bedrock::RectT<double> GetBounds() const;
    void RefreshBounds() const;
    void InvalidateBounds() { m_boundsValid.store(false, std::memory_order_relaxed); }
    // The mean of the glyphs' xMax over the glyphs whose xMax is not zero.
    double GetAverageAdvanceWidth() const;

    // Whether the glyphs have been parsed since Load (see above).
    bool IsParsed() const { return m_parsed.load(std::memory_order_acquire); }

    size_t GetGlyphCount() const;
    // The names of the glyphs held, in the table's (name) order.
    std::vector<Utf8String> GetGlyphNames() const;

    // 1: glyphs are byte-aligned (odd ones padded to 2 when that keeps the
    // short 'loca' form); 2 or more: every glyph padded to that multiple.
    unsigned int padding = 1;

private:
    struct MetricTables {
        Bedrock::Counted<OThmtxTable> hmtx;
        Bedrock::Counted<OTvmtxTable> vmtx;
        Bedrock::Counted<OTheadTable> head;
        Bedrock::Counted<OThheaTable> hhea;
    };
    // One glyph's advance and side bearing, horizontal or vertical.
    struct SideMetric {
        uint16_t advance = 0;
        int16_t bearing = 0;
    };
    // What the phantom points of a glyph need besides its box: which metric
    // tables there are, the glyph's metrics and the font-wide values.
    struct PhantomMetrics {
        bool hasHmtx = false;
        bool hasVmtx = false;
        bool hasHead = false;
        bool hasHhea = false;
        SideMetric horizontal;
        SideMetric vertical;
        int16_t ascender = 0;
        uint16_t unitsPerEm = 0;
    };
    // What Load leaves for the parse: the bytes, the ends of the glyphs that
    // are read (one per glyph, from 'loca'), and the glyph order and metrics
    // as they stood at Load.
    struct PendingGlyphs {
        Bedrock::Counted<BigEndianBuffer> bytes;
        std::vector<uint32_t> ends;
        std::vector<Utf8String> names;
        PhantomMetrics fontMetrics;
        std::vector<SideMetric> horizontal;
        std::vector<SideMetric> vertical;
    };

    MetricTables GetMetricTables() const;
    static PhantomMetrics GetPhantomMetrics(const MetricTables& tables, int glyphIndex);
    static void RefreshPhantoms(Glyf& glyph, const PhantomMetrics& metrics);
    // Parses the glyphs Load left, once; every operation on the glyphs calls
    // it first. Safe from several threads.
    void EnsureParsed() const;
    void ParseGlyphs();
    // The union of the glyphs' boxes from their headers alone; false when
    // that can't be told without parsing.
    bool GetHeaderBounds(Bedrock::RectT<double>& box) const;
    std::vector<Bedrock::Counted<Glyf>> SnapshotGlyphs() const;
    // Stores the glyph limits of the glyphs (nulls skipped) in 'maxp',
    // dirtying it when one differs.
    void SetGlyphLimits(const std::vector<Bedrock::Counted<Glyf>>& glyphs, OTmaxpTable& maxp) const;
    static int MaxComponentDepth(const std::vector<Bedrock::Counted<Glyf>>& glyphs);
    void CollectDependents(std::vector<Utf8String>& keep, std::unordered_set<Utf8String>& seen,
                           const Utf8String& name) const;

    struct WithoutGlyphs {};
    OTglyfTable(const OTglyfTable& other, WithoutGlyphs);

    // Rebuilds m_index from m_glyphs; the caller holds the lock or owns the
    // table alone.
    void RebuildIndex();

    mutable std::shared_mutex m_mutex;
    std::map<Utf8String, Bedrock::Counted<Glyf>> m_glyphs;
    // The entries of m_glyphs by name, hashed: lookups by name are the
    // commonest operation (every component reference goes through one), and
    // a map's nodes stay where they are while it grows.
    std::unordered_map<Utf8String, Bedrock::Counted<Glyf>*> m_index;
    // Guards the parse and m_pending; m_parsed turns true (for good, until
    // the next Load) once m_glyphs holds the parsed glyphs.
    mutable std::mutex m_parseMutex;
    mutable std::atomic<bool> m_parsed{true};
    PendingGlyphs m_pending;
    mutable Bedrock::RectT<double> m_bounds;
    mutable std::atomic<bool> m_boundsValid{false};
    // Set by SetGlyph and AddGlyph, which may run on several threads; the
    // base class's flag is a plain bool.
    std::atomic<bool> m_glyphsChanged{false};
    // Glyph indexes by name while Save runs, so that composites need not
    // search the glyph order once per component.
    std::unordered_map<Utf8String, unsigned short> m_saveIndexes;
};

}  // namespace Typeframe
