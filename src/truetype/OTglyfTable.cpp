#include "truetype/OTglyfTable.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "base/Trace.h"
#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/OThheaTable.h"
#include "tables/OTheadTable.h"
#include "tables/OThmtxTable.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTvmtxTable.h"
#include "truetype/Glyf.h"
#include "truetype/GlyfComponent.h"
#include "truetype/OTlocaTable.h"

namespace Typeframe {

namespace {

// Depth of the deepest component nesting below `glyph`, remembered per glyph.
// A glyph already on the path (a cycle) and anything past the depth bound
// count as no nesting.
int ComponentDepth(const Glyf& glyph, std::vector<const Glyf*>& path, std::unordered_map<const Glyf*, int>& known) {
    if (glyph.components.empty()) return 0;
    const auto found = known.find(&glyph);
    if (found != known.end()) return found->second;
    int deepest = 0;
    if (path.size() < static_cast<size_t>(Glyf::kMaxComponentDepth)) {
        path.push_back(&glyph);
        for (const auto& component : glyph.components) {
            auto target = component ? component->GetTargetGlyph() : nullptr;
            if (!target || std::find(path.begin(), path.end(), target.Get()) != path.end()) continue;
            deepest = std::max(deepest, ComponentDepth(*target, path, known));
        }
        path.pop_back();
    }
    known.emplace(&glyph, deepest + 1);
    return deepest + 1;
}

// Marks each of the first `count` names that comes again later among them,
// so that a map keyed by name keeps only the last glyph of each name. With
// `madeUpNamesFollow`, false when a name starts like the names made up for
// glyphs past the glyph order ("qrvautoglyph" and a number), which could
// then replace it. An open-addressed table of indexes: glyph orders run to
// 65536 names, and this runs once per table that is saved untouched.
bool FindReplacedNames(const std::vector<Utf8String>& names, size_t count, bool madeUpNamesFollow,
                       std::vector<bool>& replaced) {
    constexpr std::string_view kMadeUpPrefix = "qrvautoglyph";
    replaced.assign(count, false);
    size_t capacity = 16;
    while (capacity < 2 * count) capacity *= 2;
    const size_t mask = capacity - 1;
    std::vector<uint32_t> slots(capacity, 0);  // index + 1; 0 is free
    for (size_t i = count; i-- > 0;) {
        const Utf8String& name = names[i];
        const std::string_view text = name.View();
        if (madeUpNamesFollow && text.substr(0, kMadeUpPrefix.size()) == kMadeUpPrefix) return false;
        for (size_t slot = name.GenerateHash() & mask;; slot = (slot + 1) & mask) {
            if (slots[slot] == 0) {
                slots[slot] = static_cast<uint32_t>(i + 1);
                break;
            }
            if (names[slots[slot] - 1].View() == text) {
                replaced[i] = true;
                break;
            }
        }
    }
    return true;
}

}  // namespace

OTglyfTable::OTglyfTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("glyf")) {}

OTglyfTable::OTglyfTable(const OTglyfTable& other) : Bedrock::Countable(other), OTTable(other), padding(other.padding) {
    // The copy is parsed: its glyphs point at it, not at the original.
    other.EnsureParsed();
    std::shared_lock lock(other.m_mutex);
    for (const auto& [name, glyph] : other.m_glyphs) {
        auto copy = glyph ? glyph->Clone() : nullptr;
        if (copy) copy->SetTable(this);
        m_glyphs.emplace_hint(m_glyphs.end(), name, std::move(copy));
    }
    RebuildIndex();
    m_bounds = other.m_bounds;
    m_boundsValid.store(other.m_boundsValid.load());
    m_glyphsChanged.store(other.m_glyphsChanged.load());
}

OTglyfTable::OTglyfTable(const OTglyfTable& other, WithoutGlyphs)
    : Bedrock::Countable(other), OTTable(other), padding(other.padding) {
    other.EnsureParsed();
    std::shared_lock lock(other.m_mutex);
    for (const auto& entry : other.m_glyphs) m_glyphs.emplace_hint(m_glyphs.end(), entry.first, nullptr);
    RebuildIndex();
    m_glyphsChanged.store(true);
}

Bedrock::Counted<OTglyfTable> OTglyfTable::CloneWithoutGlyphs() const {
    return Bedrock::Counted<OTglyfTable>(new OTglyfTable(*this, WithoutGlyphs()));
}

OTglyfTable::~OTglyfTable() = default;

OTTable* OTglyfTable::VirtualClone() const { return new OTglyfTable(*this); }

bool OTglyfTable::IsDirty() const { return OTTable::IsDirty() || m_glyphsChanged.load(); }

void OTglyfTable::SetIsDirty(bool dirty) {
    OTTable::SetIsDirty(dirty);
    if (!dirty) m_glyphsChanged.store(false);
}

OTglyfTable::MetricTables OTglyfTable::GetMetricTables() const {
    MetricTables tables;
    auto font = GetFont();
    if (!font) return tables;
    tables.hmtx = font->GetTableT<OThmtxTable>();
    tables.vmtx = font->GetTableT<OTvmtxTable>();
    tables.head = font->GetTableT<OTheadTable>();
    tables.hhea = font->GetTableT<OThheaTable>();
    return tables;
}

bool OTglyfTable::Load(Bedrock::Counted<BigEndianBuffer> data) {
    if (!OTTable::Load(std::move(data))) return false;
    auto font = GetFont();
    auto loca = font ? font->GetTableT<OTlocaTable>() : nullptr;
    if (!loca) return false;

    m_glyphs.clear();
    m_index.clear();
    InvalidateBounds();
    const BigEndianBuffer& in = *Buffer();
    const std::vector<uint32_t>& offsets = loca->offsets;
    const size_t count = offsets.empty() ? 0 : std::min(offsets.size() - 1, kMaxGlyphs);

    // Everything the parse needs that another table holds is taken now, so
    // that the glyphs come out as they would have at Load however the font
    // changes meanwhile: the metrics for the phantom points and the glyph
    // order for the names of the glyphs and of their components.
    PendingGlyphs pending;
    const MetricTables tables = GetMetricTables();
    pending.fontMetrics = GetPhantomMetrics(tables, -1);
    if (tables.hmtx) {
        const auto& metrics = tables.hmtx->metrics;
        pending.horizontal.resize(std::min(metrics.size(), count));
        for (size_t i = 0; i < pending.horizontal.size(); ++i) {
            pending.horizontal[i] = {metrics[i].advanceWidth, metrics[i].lsb};
        }
    }
    if (tables.vmtx) {
        const auto& metrics = tables.vmtx->metrics;
        pending.vertical.resize(std::min(metrics.size(), count));
        for (size_t i = 0; i < pending.vertical.size(); ++i) {
            pending.vertical[i] = {metrics[i].advanceHeight, metrics[i].tsb};
        }
    }
    if (count != 0) pending.names = font->GetGlyphNames();

    // A glyph runs from where the previous one ended, not from its own
    // offset: there are no gaps, and an offset below the previous end
    // gives an empty glyph (the next one then starts from that offset). The
    // glyphs before the first that ends past the table are kept.
    size_t kept = 0;
    uint32_t end = 0;
    for (; kept < count; ++kept) {
        end = offsets[kept + 1];
        if (in.GetLength() < end) break;
    }
    if (kept != 0) pending.ends.assign(offsets.begin() + 1, offsets.begin() + 1 + static_cast<long>(kept));
    pending.bytes = kept != 0 ? GetBuffer() : nullptr;
    {
        std::lock_guard lock(m_parseMutex);
        m_pending = std::move(pending);
        m_parsed.store(kept == 0, std::memory_order_release);
    }
    if (kept < count) {
        Bedrock::Trace("OTglyfTable::Load: Not enough 'glyf' table data\n");
        return false;
    }
    if (in.GetLength() >= uint64_t(end) + 4) {
        Bedrock::Trace("OTglyfTable::Load: Too much 'glyf' table data: expected %1, received %2 bytes\n", end,
                       in.GetLength());
    }
    const size_t nameless = count > m_pending.names.size() ? count - m_pending.names.size() : 0;
    if (nameless != 0)
        Bedrock::Trace("OTglyfTable::Load: %1 glyphs have no name\n", static_cast<unsigned long>(nameless));
    return true;
}

void OTglyfTable::EnsureParsed() const {
    if (m_parsed.load(std::memory_order_acquire)) return;
    std::lock_guard lock(m_parseMutex);
    if (m_parsed.load(std::memory_order_relaxed)) return;
    // Completes the Load of this table: only the glyphs it owns change.
    const_cast<OTglyfTable*>(this)->ParseGlyphs();
    m_parsed.store(true, std::memory_order_release);
}

void OTglyfTable::ParseGlyphs() {
    PendingGlyphs pending = std::move(m_pending);
    m_pending = PendingGlyphs();
    std::map<Utf8String, Bedrock::Counted<Glyf>> glyphs;
    if (pending.bytes) {
        const BigEndianBuffer& in = *pending.bytes;
        PhantomMetrics metrics = pending.fontMetrics;
        uint32_t start = 0;
        for (size_t i = 0; i < pending.ends.size(); ++i) {
            const Utf8String name =
                i < pending.names.size() ? pending.names[i] : Bedrock::FormatString("qrvautoglyph%1", i);
            const uint32_t end = pending.ends[i];
            auto bytes = end > start ? in.Read(start, end - start) : Bedrock::MakeCounted<BigEndianBuffer>();
            auto glyph = Bedrock::MakeCounted<Glyf>(this);
            if (!glyph->Load(bytes, pending.names)) {
                Bedrock::Trace("OTglyfTable::Load: Failed to load Glyph %1 (%2) (%3 - %4)\n", name, i, start, end);
            }
            // A name that comes again replaces the earlier glyph.
            glyphs[name] = glyph;
            metrics.horizontal = i < pending.horizontal.size() ? pending.horizontal[i] : SideMetric();
            metrics.vertical = i < pending.vertical.size() ? pending.vertical[i] : SideMetric();
            RefreshPhantoms(*glyph, metrics);
            start = end;
        }
    }
    std::unique_lock lock(m_mutex);
    m_glyphs.swap(glyphs);
    RebuildIndex();
}

void OTglyfTable::RebuildIndex() {
    m_index.clear();
    m_index.reserve(m_glyphs.size());
    for (auto& [name, glyph] : m_glyphs) m_index.emplace(name, &glyph);
}

bool OTglyfTable::Save() {
    if (!IsDirty()) return true;
    auto font = GetFont();
    if (!font) return false;
    const std::vector<Utf8String>& names = font->GetGlyphNames();
    if (names.empty()) return false;
    EnsureParsed();

    // Components look their glyph index up by name; one table instead of a
    // search of the glyph order for each. The first of equal names wins, as
    // in the font's own search.
    struct ClearOnExit {
        std::unordered_map<Utf8String, unsigned short>& indexes;
        ~ClearOnExit() { indexes.clear(); }
    } clearIndexes{m_saveIndexes};
    m_saveIndexes.reserve(names.size());
    for (size_t i = 0; i < names.size() && i <= 0xFFFF; ++i) {
        m_saveIndexes.emplace(names[i], static_cast<unsigned short>(i));
    }

    // The glyphs in glyph order, looked up once; a name of the glyph order
    // that the table lacks has none and yields no offset. Kept as required:
    // a glyph that the order does not name (such as one loaded under a
    // made-up name) is not written.
    std::vector<Bedrock::Counted<Glyf>> ordered;
    ordered.reserve(names.size());
    for (const Utf8String& name : names) ordered.push_back(GetGlyph(name));
    std::vector<Bedrock::Counted<Glyf>> written;
    written.reserve(names.size());
    for (const auto& glyph : ordered) {
        if (!glyph) continue;
        // Kept as required: each box is written as held, not recomputed; a
        // caller that changes an outline refreshes it.
        glyph->Save(false);
        if (padding >= 2) glyph->buffer->SetPad(padding);
        written.push_back(glyph);
    }
    std::vector<uint32_t> offsets;
    auto layOut = [&]() -> bool {
        offsets.clear();
        offsets.reserve(written.size() + 1);
        uint64_t total = 0;
        for (const auto& glyph : written) {
            offsets.push_back(static_cast<uint32_t>(total));
            total += glyph->buffer->GetPaddedLength();
            if (total > std::numeric_limits<uint32_t>::max()) return false;
        }
        offsets.push_back(static_cast<uint32_t>(total));
        return true;
    };
    // Past 4 GB no offset can be written.
    if (!layOut()) return false;

    // Byte-aligned glyphs keep the short 'loca' form when padding the odd
    // ones to two bytes stays within it. Kept as required: when it would not,
    // nothing changes, and the short form then halves the odd offsets.
    if (padding == 1 && offsets.back() <= OTlocaTable::kShortFormLimit) {
        std::vector<Glyf*> odd;
        for (const auto& glyph : written) {
            if (glyph->buffer->GetPaddedLength() % 2 != 0) odd.push_back(glyph.Get());
        }
        if (!odd.empty() && offsets.back() + odd.size() < OTlocaTable::kShortFormLimit + 1) {
            for (Glyf* glyph : odd) glyph->buffer->SetPad(2);
            layOut();
        }
    }

    // The glyphs replace the buffer's bytes from its start, wherever an
    // earlier save left its position.
    const uint32_t total = offsets.back();
    BigEndianBuffer* out = Buffer();
    if (out) {
        out->Resize(total);
        out->Seek(0);
    } else {
        SetBuffer(Bedrock::MakeCounted<BigEndianBuffer>(static_cast<unsigned long>(total), 4ul));
        out = Buffer();
    }
    for (const auto& glyph : written) out->Write(glyph->buffer->GetPaddedLength(), glyph->buffer->GetBuffer());

    auto loca = font->GetTableT<OTlocaTable>();
    if (!loca) return false;
    loca->SetOffsets(std::move(offsets));
    auto maxp = font->GetTableT<OTmaxpTable>();
    if (!maxp) return false;
    if (maxp->numGlyphs != written.size()) {
        maxp->numGlyphs = static_cast<uint16_t>(written.size());
        maxp->SetIsDirty(true);
    }
    SetGlyphLimits(ordered, *maxp);
    // A 'glyf' table is never of length zero.
    if (out->IsEmpty()) out->SetU8(0);
    out->InvalidateChecksum();
    SetIsDirty(false);
    return true;
}

void OTglyfTable::SetGlyphLimits(const std::vector<Bedrock::Counted<Glyf>>& glyphs, OTmaxpTable& maxp) const {
    unsigned long maxPoints = 0;
    unsigned long maxContours = 0;
    unsigned long maxComponentElements = 0;
    // Kept as required: composite sums are taken in signed 16 bits, so a
    // composite of more than 32767 points or contours does not raise the
    // maximum.
    int16_t maxCompositePoints = 0;
    int16_t maxCompositeContours = 0;
    for (const auto& glyph : glyphs) {
        if (!glyph) continue;
        if (glyph->numberOfContours == -1) {
            unsigned long points = 0, contours = 0;
            for (const auto& component : glyph->components) {
                if (!component) continue;
                points += static_cast<unsigned long>(component->GetNumberOfCoordinates());
                contours += static_cast<unsigned long>(component->GetNumberOfContours());
            }
            maxCompositePoints = std::max(maxCompositePoints, static_cast<int16_t>(points));
            maxCompositeContours = std::max(maxCompositeContours, static_cast<int16_t>(contours));
            maxComponentElements = std::max<unsigned long>(maxComponentElements, glyph->components.size());
        } else {
            maxPoints = std::max<unsigned long>(maxPoints, glyph->coordinates.size());
            maxContours = std::max<unsigned long>(maxContours, glyph->endPtsOfContours.size());
        }
    }
    auto update = [&maxp](uint16_t& field, long value) {
        const uint16_t narrowed = static_cast<uint16_t>(value);
        if (field != value) {
            field = narrowed;
            maxp.SetIsDirty(true);
        }
    };
    update(maxp.maxPoints, static_cast<long>(std::min<unsigned long>(maxPoints, 0xFFFF)));
    update(maxp.maxContours, static_cast<long>(std::min<unsigned long>(maxContours, 0xFFFF)));
    update(maxp.maxCompositePoints, maxCompositePoints);
    update(maxp.maxCompositeContours, maxCompositeContours);
    update(maxp.maxComponentElements, static_cast<long>(std::min<unsigned long>(maxComponentElements, 0xFFFF)));
    update(maxp.maxComponentDepth, MaxComponentDepth(glyphs));
}

Bedrock::Counted<Glyf> OTglyfTable::GetGlyph(const Utf8String& name) const {
    EnsureParsed();
    std::shared_lock lock(m_mutex);
    const auto found = m_index.find(name);
    return found != m_index.end() ? *found->second : nullptr;
}

bool OTglyfTable::GetGlyphIndex(const Utf8String& name, unsigned short& glyph) const {
    if (!m_saveIndexes.empty()) {
        const auto found = m_saveIndexes.find(name);
        if (found == m_saveIndexes.end()) return false;
        glyph = found->second;
        return true;
    }
    auto font = GetFont();
    return font && font->GetGlyphIndex(name, glyph);
}

bool OTglyfTable::SetGlyph(const Utf8String& name, Bedrock::Counted<Glyf> glyph) {
    if (!glyph) return false;
    EnsureParsed();
    {
        // The entry exists already, so the map keeps its shape; the lock is
        // held only for the swap, so that a reader of the same name sees the
        // old glyph or the new one. The old one is released after it.
        std::unique_lock lock(m_mutex);
        const auto found = m_index.find(name);
        if (found == m_index.end()) return false;
        glyph->SetTable(this);
        found->second->Swap(glyph);
    }
    m_glyphsChanged.store(true);
    InvalidateBounds();
    return true;
}

bool OTglyfTable::AddGlyph(const Utf8String& name) {
    EnsureParsed();
    {
        std::unique_lock lock(m_mutex);
        if (m_index.find(name) != m_index.end()) return false;
        auto added = m_glyphs.emplace(name, Bedrock::MakeCounted<Glyf>(this)).first;
        m_index.emplace(name, &added->second);
    }
    m_glyphsChanged.store(true);
    InvalidateBounds();
    return true;
}

OTglyfTable::PhantomMetrics OTglyfTable::GetPhantomMetrics(const MetricTables& tables, int glyphIndex) {
    PhantomMetrics metrics;
    // An index outside 16 bits, or past the records, has zero metrics.
    const bool indexFits = glyphIndex >= 0 && glyphIndex <= 0xFFFF;
    const auto index = static_cast<unsigned short>(glyphIndex);
    if (tables.hmtx) {
        metrics.hasHmtx = true;
        OThmtxTable::LongHorMetric metric;
        if (indexFits) tables.hmtx->GetLongHorMetric(index, metric);
        metrics.horizontal = {metric.advanceWidth, metric.lsb};
    }
    if (tables.vmtx) {
        metrics.hasVmtx = true;
        OTvmtxTable::LongVerMetric metric;
        if (indexFits) tables.vmtx->GetLongVerMetric(index, metric);
        metrics.vertical = {metric.advanceHeight, metric.tsb};
    }
    if (tables.head) {
        metrics.hasHead = true;
        metrics.unitsPerEm = tables.head->unitsPerEm;
    }
    if (tables.hhea) {
        metrics.hasHhea = true;
        metrics.ascender = tables.hhea->ascender;
    }
    return metrics;
}

void OTglyfTable::RefreshPhantoms(Glyf& glyph, const PhantomMetrics& metrics) {
    glyph.RefreshBounds();
    Bedrock::RectT<double> box;
    if (metrics.hasHmtx) {
        box.left = glyph.bounds.left - metrics.horizontal.bearing;
        box.right = box.left + metrics.horizontal.advance;
    }
    if (metrics.hasVmtx) {
        box.top = glyph.bounds.top + metrics.vertical.bearing;
        box.bottom = box.top - metrics.vertical.advance;
    } else if (metrics.hasHead && metrics.hasHhea) {
        box.top = metrics.ascender;
        box.bottom = double(metrics.ascender) - metrics.unitsPerEm;
    } else if (metrics.hasHead) {
        box.top = metrics.unitsPerEm;
        box.bottom = 0.0;
    }
    glyph.phantoms = box;
}

bool OTglyfTable::RefreshPhantoms(Bedrock::Counted<Glyf> glyph, int glyphIndex) {
    if (!glyph) return true;
    // The glyph's bounds may need its components' glyphs.
    EnsureParsed();
    RefreshPhantoms(*glyph, GetPhantomMetrics(GetMetricTables(), glyphIndex));
    return true;
}

void OTglyfTable::CollectDependents(std::vector<Utf8String>& keep, std::unordered_set<Utf8String>& seen,
                                    const Utf8String& name) const {
    // A work list instead of recursion: a chain of thousands of composites
    // can't exhaust the stack, and a cycle ends at a name already kept.
    std::vector<Utf8String> pending{name};
    while (!pending.empty()) {
        Utf8String next = std::move(pending.back());
        pending.pop_back();
        if (!seen.insert(next).second) continue;
        keep.push_back(next);
        auto glyph = GetGlyph(next);
        if (!glyph) continue;
        for (auto it = glyph->components.rbegin(); it != glyph->components.rend(); ++it) {
            if (*it) pending.push_back((*it)->GetGlyphName());
        }
    }
}

void OTglyfTable::FindDependentGlyphs(std::vector<Utf8String>& keep, const Utf8String& name) const {
    std::unordered_set<Utf8String> seen(keep.begin(), keep.end());
    CollectDependents(keep, seen, name);
}

bool OTglyfTable::Subset(const std::vector<Utf8String>& names) {
    EnsureParsed();
    std::vector<Utf8String> keep;
    std::unordered_set<Utf8String> seen;
    for (const Utf8String& name : names) CollectDependents(keep, seen, name);

    bool changed = false;
    {
        std::unique_lock lock(m_mutex);
        for (auto& [name, glyph] : m_glyphs) {
            if (seen.count(name) != 0) continue;
            glyph = Bedrock::MakeCounted<Glyf>(this);
            changed = true;
        }
    }
    if (changed) {
        m_glyphsChanged.store(true);
        InvalidateBounds();
    }
    return true;
}

int OTglyfTable::GetMaxComponentDepth(const std::vector<Utf8String>& names) const {
    std::vector<Bedrock::Counted<Glyf>> glyphs;
    glyphs.reserve(names.size());
    for (const Utf8String& name : names) glyphs.push_back(GetGlyph(name));
    return MaxComponentDepth(glyphs);
}

int OTglyfTable::MaxComponentDepth(const std::vector<Bedrock::Counted<Glyf>>& glyphs) {
    std::unordered_map<const Glyf*, int> known;
    std::vector<const Glyf*> path;
    int deepest = 0;
    for (const auto& glyph : glyphs) {
        if (glyph) deepest = std::max(deepest, ComponentDepth(*glyph, path, known));
    }
    return deepest;
}

std::vector<Bedrock::Counted<Glyf>> OTglyfTable::SnapshotGlyphs() const {
    EnsureParsed();
    std::shared_lock lock(m_mutex);
    std::vector<Bedrock::Counted<Glyf>> glyphs;
    glyphs.reserve(m_glyphs.size());
    for (const auto& entry : m_glyphs) {
        if (entry.second) glyphs.push_back(entry.second);
    }
    return glyphs;
}

Bedrock::RectT<double> OTglyfTable::GetBounds() const {
    if (!m_boundsValid.load()) RefreshBounds();
    return m_bounds;
}

void OTglyfTable::RefreshBounds() const {
    if (!m_parsed.load(std::memory_order_acquire)) {
        std::lock_guard lock(m_parseMutex);
        Bedrock::RectT<double> box;
        if (!m_parsed.load(std::memory_order_relaxed) && GetHeaderBounds(box)) {
            m_bounds = box;
            m_boundsValid.store(true);
            return;
        }
    }
    const double largest = std::numeric_limits<double>::max();
    const double lowest = std::numeric_limits<double>::lowest();
    Bedrock::RectT<double> box{largest, largest, lowest, lowest};
    // Kept as required: every glyph counts, the empty ones with their
    // (0, 0, 0, 0), so the union of a font with an empty glyph always holds
    // the origin.
    for (const auto& glyph : SnapshotGlyphs()) {
        const auto glyphBox = glyph->GetBounds();
        box.left = std::min(box.left, glyphBox.left);
        box.bottom = std::min(box.bottom, glyphBox.bottom);
        box.right = std::max(box.right, glyphBox.right);
        box.top = std::max(box.top, glyphBox.top);
    }
    m_bounds = box;
    m_boundsValid.store(true);
}

bool OTglyfTable::GetHeaderBounds(Bedrock::RectT<double>& box) const {
    const PendingGlyphs& pending = m_pending;
    const size_t count = pending.ends.size();
    const size_t named = std::min(count, pending.names.size());
    // Which glyphs the map will hold: of glyphs with equal names, the last.
    // Glyphs past the glyph order get made-up names, all different; should
    // a name of the order look like one of those, parsing settles it.
    std::vector<bool> replaced;
    if (!FindReplacedNames(pending.names, named, count > named, replaced)) return false;

    const double largest = std::numeric_limits<double>::max();
    const double lowest = std::numeric_limits<double>::lowest();
    Bedrock::RectT<double> result{largest, largest, lowest, lowest};
    const unsigned char* bytes = pending.bytes ? pending.bytes->GetBuffer() : nullptr;
    const unsigned long length = pending.bytes ? pending.bytes->GetLength() : 0;
    uint32_t start = 0;
    for (size_t i = 0; i < count; ++i) {
        const uint32_t end = pending.ends[i];
        const uint32_t glyphStart = start;
        start = end;
        if (i < named && replaced[i]) continue;
        if (end > glyphStart && (!bytes || end > length)) return false;
        const Bedrock::RectT<double> glyphBox =
            end > glyphStart ? Glyf::GetHeaderBounds(bytes + glyphStart, end - glyphStart) : Bedrock::RectT<double>();
        result.left = std::min(result.left, glyphBox.left);
        result.bottom = std::min(result.bottom, glyphBox.bottom);
        result.right = std::max(result.right, glyphBox.right);
        result.top = std::max(result.top, glyphBox.top);
    }
    box = result;
    return true;
}

double OTglyfTable::GetAverageAdvanceWidth() const {
    // Kept as required: despite the name, the sum of the glyphs' xMax over
    // the number of glyphs whose xMax is not zero; not-a-number without them.
    double sum = 0.0;
    double counted = 0.0;
    for (const auto& glyph : SnapshotGlyphs()) {
        const double xMax = glyph->GetBounds().right;
        sum += xMax;
        if (xMax != 0.0) counted += 1.0;
    }
    return sum / counted;
}

size_t OTglyfTable::GetGlyphCount() const {
    EnsureParsed();
    std::shared_lock lock(m_mutex);
    return m_glyphs.size();
}

std::vector<Utf8String> OTglyfTable::GetGlyphNames() const {
    EnsureParsed();
    std::shared_lock lock(m_mutex);
    std::vector<Utf8String> names;
    names.reserve(m_glyphs.size());
    for (const auto& entry : m_glyphs) names.push_back(entry.first);
    return names;
}

}  // namespace Typeframe
