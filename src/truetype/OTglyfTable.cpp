#include "truetype/OTglyfTable.h"

#include <algorithm>
#include <limits>
#include <mutex>
#include <unordered_set>

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

}  // namespace

OTglyfTable::OTglyfTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("glyf")) {}

OTglyfTable::OTglyfTable(const OTglyfTable& other) : Bedrock::Countable(other), OTTable(other), padding(other.padding) {
    std::shared_lock lock(other.m_mutex);
    for (const auto& [name, glyph] : other.m_glyphs) {
        auto copy = glyph ? glyph->Clone() : nullptr;
        if (copy) copy->SetTable(this);
        m_glyphs.emplace_hint(m_glyphs.end(), name, std::move(copy));
    }
    m_bounds = other.m_bounds;
    m_boundsValid.store(other.m_boundsValid.load());
    m_glyphsChanged.store(other.m_glyphsChanged.load());
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
    InvalidateBounds();
    const BigEndianBuffer& in = *Buffer();
    const std::vector<uint32_t>& offsets = loca->offsets;
    const size_t count = offsets.empty() ? 0 : std::min(offsets.size() - 1, kMaxGlyphs);
    const MetricTables tables = GetMetricTables();
    unsigned long nameless = 0;
    uint32_t start = 0;
    uint32_t end = 0;
    for (size_t i = 0; i < count; ++i) {
        Utf8String name;
        if (!font->GetGlyphName(static_cast<unsigned short>(i), name)) {
            name = Bedrock::FormatString("qrvautoglyph%1", i);
            ++nameless;
        }
        end = offsets[i + 1];
        if (in.GetLength() < end) {
            Bedrock::Trace("OTglyfTable::Load: Not enough 'glyf' table data\n");
            return false;
        }
        // A glyph runs from where the previous one ended, not from its own
        // offset: there are no gaps, and an offset below the previous end
        // gives an empty glyph (the next one then starts from that offset).
        auto bytes = end > start ? in.Read(start, end - start) : Bedrock::MakeCounted<BigEndianBuffer>();
        auto glyph = Bedrock::MakeCounted<Glyf>(this);
        if (!glyph->Load(bytes)) {
            Bedrock::Trace("OTglyfTable::Load: Failed to load Glyph %1 (%2) (%3 - %4)\n", name, i, start, end);
        }
        // A name that comes again replaces the earlier glyph.
        m_glyphs[name] = glyph;
        RefreshPhantoms(*glyph, static_cast<int>(i), tables);
        start = end;
    }
    if (in.GetLength() >= uint64_t(end) + 4) {
        Bedrock::Trace("OTglyfTable::Load: Too much 'glyf' table data: expected %1, received %2 bytes\n", end,
                       in.GetLength());
    }
    if (nameless != 0) Bedrock::Trace("OTglyfTable::Load: %1 glyphs have no name\n", nameless);
    return true;
}

bool OTglyfTable::Save() {
    if (!IsDirty()) return true;
    auto font = GetFont();
    if (!font) return false;
    const std::vector<Utf8String>& names = font->GetGlyphNames();
    if (names.empty()) return false;

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

    // Kept as required: the glyphs are written from the buffer's current
    // position, which is not rewound. A loaded table's buffer stands at 0.
    const uint32_t total = offsets.back();
    BigEndianBuffer* out = Buffer();
    if (out) {
        out->Resize(total);
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
    std::shared_lock lock(m_mutex);
    const auto found = m_glyphs.find(name);
    return found != m_glyphs.end() ? found->second : nullptr;
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
    {
        // The entry exists already, so the map keeps its shape; the lock is
        // held only for the swap, so that a reader of the same name sees the
        // old glyph or the new one. The old one is released after it.
        std::unique_lock lock(m_mutex);
        const auto found = m_glyphs.find(name);
        if (found == m_glyphs.end()) return false;
        glyph->SetTable(this);
        found->second.Swap(glyph);
    }
    m_glyphsChanged.store(true);
    InvalidateBounds();
    return true;
}

bool OTglyfTable::AddGlyph(const Utf8String& name) {
    {
        std::unique_lock lock(m_mutex);
        if (m_glyphs.find(name) != m_glyphs.end()) return false;
        m_glyphs.emplace(name, Bedrock::MakeCounted<Glyf>(this));
    }
    m_glyphsChanged.store(true);
    InvalidateBounds();
    return true;
}

void OTglyfTable::RefreshPhantoms(Glyf& glyph, int glyphIndex, const MetricTables& tables) const {
    glyph.RefreshBounds();
    Bedrock::RectT<double> box;
    if (GetFont()) {
        const bool indexFits = glyphIndex >= 0 && glyphIndex <= 0xFFFF;
        const auto index = static_cast<unsigned short>(glyphIndex);
        if (tables.hmtx) {
            OThmtxTable::LongHorMetric metric;
            if (indexFits) tables.hmtx->GetLongHorMetric(index, metric);
            box.left = glyph.bounds.left - metric.lsb;
            box.right = box.left + metric.advanceWidth;
        }
        if (tables.vmtx) {
            OTvmtxTable::LongVerMetric metric;
            if (indexFits) tables.vmtx->GetLongVerMetric(index, metric);
            box.top = glyph.bounds.top + metric.tsb;
            box.bottom = box.top - metric.advanceHeight;
        } else if (tables.head && tables.hhea) {
            box.top = tables.hhea->ascender;
            box.bottom = double(tables.hhea->ascender) - tables.head->unitsPerEm;
        } else if (tables.head) {
            box.top = tables.head->unitsPerEm;
            box.bottom = 0.0;
        }
    }
    glyph.phantoms = box;
}

bool OTglyfTable::RefreshPhantoms(Bedrock::Counted<Glyf> glyph, int glyphIndex) {
    if (!glyph) return true;
    RefreshPhantoms(*glyph, glyphIndex, GetMetricTables());
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
    std::shared_lock lock(m_mutex);
    return m_glyphs.size();
}

std::vector<Utf8String> OTglyfTable::GetGlyphNames() const {
    std::shared_lock lock(m_mutex);
    std::vector<Utf8String> names;
    names.reserve(m_glyphs.size());
    for (const auto& entry : m_glyphs) names.push_back(entry.first);
    return names;
}

}  // namespace Typeframe
