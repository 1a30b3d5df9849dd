#include "core/OTFont.h"

#include <algorithm>
#include <cstdio>
#include <cmath>
#include <limits>

#include "base/Format.h"
#include "base/ToString.h"
#include "core/OTFile.h"
#include "core/TableManager.h"
#include "tables/OTheadTable.h"
#include "tables/OThmtxTable.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTnameTable.h"
#include "tables/OTpostTable.h"
#include "truetype/Glyf.h"
#include "truetype/OTglyfTable.h"

namespace Typeframe {

bool OTFont::Load(unsigned long offset) {
    if (!m_file) return true;
    m_source = m_file->GetStream();
    m_offsetTable = ReadOffsetTable(m_file, static_cast<unsigned int>(offset));
    if (!m_offsetTable) return true;
    auto manager = m_file->GetTableManager();
    const auto& entries = m_offsetTable->GetDirectoryEntries();
    m_tables.reserve(entries.size());
    for (const auto& entry : entries) m_tables.push_back(manager->CreateTable(this, entry->tag));
    return true;
}

Bedrock::Counted<OffsetTable> OTFont::ReadOffsetTable(Bedrock::NonCounted<OTFile> file, unsigned int offset) const {
    if (!file) return nullptr;
    auto offsetTable = Bedrock::MakeCounted<OffsetTable>(file);
    if (!offsetTable->Load(file->ReadBuffer(offset, OffsetTable::kSize))) return nullptr;
    // Entries that would lie past the end of the file are not made: a hostile
    // numTables can't make the font allocate for records that aren't there.
    const uint64_t size = file->GetBufferSize();
    const uint64_t start = uint64_t(offset) + OffsetTable::kSize;
    const uint64_t room = size > start ? (size - start) / DirectoryEntry::kSize : 0;
    const uint64_t count = std::min<uint64_t>(offsetTable->numTables, room);
    if (count == 0) return offsetTable;
    auto directory = file->ReadBuffer(start, count * DirectoryEntry::kSize);
    for (uint64_t i = 0; i < count; ++i) {
        auto entry = Bedrock::MakeCounted<DirectoryEntry>();
        entry->Load(directory->Read(i * DirectoryEntry::kSize, DirectoryEntry::kSize));
        offsetTable->LoadDirectoryEntry(entry);
    }
    return offsetTable;
}

Bedrock::Counted<OTFont> OTFont::Clone() const {
    auto copy = Bedrock::MakeCounted<OTFont>(m_file);
    copy->m_source = m_source;
    copy->m_glyphNames = m_glyphNames;
    copy->m_offsetTable = m_offsetTable;
    copy->m_tables.reserve(m_tables.size());
    for (const auto& table : m_tables) {
        auto clone = table->Clone();
        clone->SetFont(copy.Get());
        copy->m_tables.push_back(std::move(clone));
    }
    return copy;
}

std::vector<Tag> OTFont::GetTableTags() const {
    std::vector<Tag> tags;
    tags.reserve(m_tables.size());
    for (const auto& table : m_tables) tags.push_back(table->GetTag());
    return tags;
}

bool OTFont::LoadTable(const Bedrock::Counted<OTTable>& table) const {
    if (!m_offsetTable) return false;
    // The font's own source first: the file the font now belongs to may be
    // one made only to save it, with no stream of its own.
    if (m_source) return TableManager::LoadTable(table, m_offsetTable, *m_source);
    if (!m_file) return false;
    return m_file->GetTableManager()->LoadTable(table, m_offsetTable);
}

Bedrock::Counted<OTTable> OTFont::GetTableForTag(unsigned int tag) const {
    for (const auto& table : m_tables) {
        if (table->GetTag() != tag) continue;
        if (table->IsLoaded() || LoadTable(table)) return table;
        return nullptr;
    }
    return nullptr;
}

Bedrock::Counted<OTTable> OTFont::GetTableOrBytesForTag(unsigned int tag) const {
    for (const auto& table : m_tables) {
        if (table->GetTag() != tag) continue;
        if (table->IsLoaded()) return table;
        // The stand-in belongs to no font: nothing but its bytes is used.
        auto bytes = Bedrock::MakeCounted<OTTable>(nullptr, tag);
        return LoadTable(bytes) ? bytes : nullptr;
    }
    return nullptr;
}

bool OTFont::HasTableObject(Tag tag) const {
    return std::any_of(m_tables.begin(), m_tables.end(), [tag](const auto& t) { return t->GetTag() == tag; });
}

bool OTFont::AddTable(Bedrock::Counted<OTTable> table) {
    if (!table || GetTableForTag(table->GetTag())) return false;
    m_tables.push_back(std::move(table));
    return true;
}

bool OTFont::RemoveTable(unsigned int tag) {
    const auto end =
        std::remove_if(m_tables.begin(), m_tables.end(), [tag](const auto& t) { return t->GetTag() == tag; });
    const bool removed = end != m_tables.end();
    m_tables.erase(end, m_tables.end());
    return removed;
}

bool OTFont::SetTable(Bedrock::Counted<OTTable> table) {
    if (!table) return true;
    RemoveTable(table->GetTag());
    if (!GetTableForTag(table->GetTag())) m_tables.push_back(std::move(table));
    return true;
}

unsigned short OTFont::GetNumGlyphs() const {
    auto maxp = GetTableT<OTmaxpTable>();
    return maxp ? maxp->numGlyphs : 0;
}

unsigned short OTFont::GetUnitsPerEm() const {
    auto head = GetTableT<OTheadTable>();
    return head ? head->unitsPerEm : 0;
}

const std::vector<Utf8String>& OTFont::GetGlyphNames() const {
    if (!m_glyphNames.empty()) return m_glyphNames;
    // Names come from the best source the font has, in this order; the first
    // that gives names wins.
    // (The CFF charset's names take the first place once CFF is parsed.)
    // The PostScript table's names (formats 1.0 and 2.0).
    if (auto post = GetTableT<OTpostTable>(); post && post->GetGlyphNames(m_glyphNames)) return m_glyphNames;
    // (Names made from the character map through the Adobe Glyph List come
    // here once cmap is parsed.)
    // The last resort numbers every glyph, glyph 0 included.
    auto maxp = GetTableT<OTmaxpTable>();
    if (maxp) {
        const unsigned short count = maxp->numGlyphs;
        m_glyphNames.reserve(count);
        // "glyph" and the index padded with zeros to five digits; written
        // directly, since fonts with tens of thousands of glyphs ask for this
        // on every save.
        char text[16];
        for (unsigned int glyph = 0; glyph < count; ++glyph) {
            const int length = std::snprintf(text, sizeof(text), "glyph%05u", glyph);
            m_glyphNames.emplace_back(text, length);
        }
    }
    return m_glyphNames;
}

bool OTFont::GetGlyphName(unsigned short glyph, Utf8String& name) const {
    const auto& names = GetGlyphNames();
    if (glyph >= names.size()) return false;
    name = names[glyph];
    return true;
}

bool OTFont::GetGlyphIndex(const Utf8String& name, unsigned short& glyph) const {
    const auto& names = GetGlyphNames();
    const size_t limit = std::min<size_t>(names.size(), 0x10000);
    for (size_t i = 0; i < limit; ++i) {
        if (names[i] == name) {
            glyph = static_cast<unsigned short>(i);
            return true;
        }
    }
    return false;
}

bool OTFont::GetPostScriptName(Utf8String& name) const {
    auto table = GetTableT<OTnameTable>();
    if (!table || !table->IsLoaded()) return false;
    return table->GetString(6, name);
}

Bedrock::RectT<double> OTFont::GetBounds() const {
    // TrueType outlines answer here; CFF outlines will once their table is
    // parsed.
    auto glyf = GetTableT<OTglyfTable>();
    return glyf ? glyf->GetBounds() : Bedrock::RectT<double>();
}

double OTFont::GetAdvanceWidthMax() const {
    auto hmtx = GetTableT<OThmtxTable>();
    return hmtx ? static_cast<double>(hmtx->GetAdvanceWidthMax()) : 0.0;
}

double OTFont::GetMinLeftSideBearing() const {
    auto hmtx = GetTableT<OThmtxTable>();
    return hmtx ? static_cast<double>(hmtx->GetMinLeftSideBearing()) : 0.0;
}

namespace {

// Calls visit(advance, lsb, width) for each marking glyph of the glyph order
// that 'glyf' holds and 'hmtx' has a metric for.
template <class Visit>
void ForEachMarkingGlyph(const OTFont& font, const OThmtxTable& hmtx, Visit visit) {
    auto glyf = font.GetTableT<OTglyfTable>();
    if (!glyf) return;
    const auto& names = font.GetGlyphNames();
    const size_t count = std::min<size_t>(names.size(), 0x10000);
    for (size_t i = 0; i < count; ++i) {
        auto glyph = glyf->GetGlyph(names[i]);
        OThmtxTable::LongHorMetric metric;
        if (!glyph || !glyph->IsMarking() || !hmtx.GetLongHorMetric(static_cast<unsigned short>(i), metric)) continue;
        visit(double(metric.advanceWidth), double(metric.lsb), glyph->GetBounds().GetWidth());
    }
}

}  // namespace

double OTFont::GetMinRightSideBearing() const {
    auto hmtx = GetTableT<OThmtxTable>();
    if (!hmtx || GetGlyphNames().empty()) return 0.0;
    // With names but no marking glyph (or no 'glyf'), the starting value,
    // the largest double, is the answer.
    double smallest = std::numeric_limits<double>::max();
    ForEachMarkingGlyph(*this, *hmtx, [&](double advance, double lsb, double width) {
        smallest = std::min(smallest, advance - lsb - std::floor(width + 0.5));
    });
    return smallest;
}

double OTFont::GetxMaxExtent() const {
    auto hmtx = GetTableT<OThmtxTable>();
    if (!hmtx || GetGlyphNames().empty()) return 0.0;
    // Starts at 0, so negative extents come out as 0.
    double largest = 0.0;
    ForEachMarkingGlyph(*this, *hmtx, [&](double, double lsb, double width) {
        largest = std::max(largest, lsb + std::floor(width + 0.5));
    });
    return largest;
}

}  // namespace Typeframe
