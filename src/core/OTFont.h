#pragma once

// One font of a file: its offset table and one table object per directory
// entry. Tables are made for every entry at once but read only when first
// asked for; tables find each other through their font.

#include <typeinfo>
#include <vector>

#include "base/Counted.h"
#include "base/Geometry.h"
#include "base/InStreamSeekable.h"
#include "base/String.h"
#include "core/OTTable.h"
#include "core/OffsetTable.h"
#include "core/Tag.h"

namespace Typeframe {

class OTFile;

class OTFont : public Bedrock::Countable {
public:
    OTFont() = default;
    explicit OTFont(Bedrock::NonCounted<OTFile> file) : m_file(file) {}
    ~OTFont() override = default;

    // Reads the offset table at `offset` and makes the table objects; a font
    // whose header can't be read simply has no tables. Always true.
    bool Load(unsigned long offset);
    Bedrock::Counted<OffsetTable> ReadOffsetTable(Bedrock::NonCounted<OTFile> file, unsigned int offset) const;

    // A deep copy: every table is cloned and re-parented to the copy, which
    // shares the file and the offset table (read-only) with this font. Load
    // every table first when the file may go away.
    Bedrock::Counted<OTFont> Clone() const;

    Bedrock::NonCounted<OTFile> GetFile() const { return m_file; }
    void SetFile(Bedrock::NonCounted<OTFile> file) { m_file = file; }
    // The bytes the font's tables are read from. The font holds them itself,
    // not only through the file it was read from, so that a font added to
    // another file (to save it, say) still reads the tables nobody asked for
    // yet, and writes them back whole.
    Bedrock::Counted<Bedrock::InStreamSeekable> GetSource() const { return m_source; }
    Bedrock::Counted<OffsetTable> GetOffsetTable() const { return m_offsetTable; }

    unsigned short GetNumTables() const { return static_cast<unsigned short>(m_tables.size()); }
    std::vector<Tag> GetTableTags() const;
    Tag GetTag() const { return m_offsetTable ? m_offsetTable->sfntVersion : 0; }
    const std::vector<Bedrock::Counted<OTTable>>& GetTables() const { return m_tables; }

    // The first table with the tag, loaded on demand; null if absent or if
    // it can't be loaded (the load is tried again on the next request).
    Bedrock::Counted<OTTable> GetTableForTag(unsigned int tag) const;
    // The table of `tag` when it is loaded; otherwise a plain table holding
    // its bytes, which leaves the font's own object unloaded. Null when the
    // font has no such table or its bytes can't be read.
    Bedrock::Counted<OTTable> GetTableOrBytesForTag(unsigned int tag) const;
    // The first table whose exact class is T that is loaded, dirty (made in
    // memory) or loadable.
    template <class T>
    Bedrock::Counted<T> GetTableT() const;

    bool ContainsTrueTypeOutlines() const { return HasTableObject(MakeTag("glyf")); }
    bool ContainsPostScriptOutlines() const {
        return HasTableObject(MakeTag("CFF ")) || HasTableObject(MakeTag("CFF2"));
    }
    bool IsVariable() const { return HasTableObject(MakeTag("fvar")); }

    bool AddTable(Bedrock::Counted<OTTable> table);
    bool RemoveTable(unsigned int tag);
    bool SetTable(Bedrock::Counted<OTTable> table);

    // Font-wide queries; each answers with its default when a table it
    // needs is absent.
    unsigned short GetNumGlyphs() const;
    unsigned short GetUnitsPerEm() const;
    const std::vector<Utf8String>& GetGlyphNames() const;
    void InvalidateGlyphNames() { m_glyphNames.clear(); }
    void SetGlyphNames(const std::vector<Utf8String>& names) { m_glyphNames = names; }
    bool GetGlyphName(unsigned short glyph, Utf8String& name) const;
    bool GetGlyphIndex(const Utf8String& name, unsigned short& glyph) const;
    bool GetPostScriptName(Utf8String& name) const;
    Bedrock::RectT<double> GetBounds() const;
    double GetAdvanceWidthMax() const;
    double GetMinLeftSideBearing() const;
    double GetMinRightSideBearing() const;
    double GetxMaxExtent() const;

private:
    bool HasTableObject(Tag tag) const;
    bool LoadTable(const Bedrock::Counted<OTTable>& table) const;

    Bedrock::NonCounted<OTFile> m_file;
    Bedrock::Counted<Bedrock::InStreamSeekable> m_source;
    mutable std::vector<Utf8String> m_glyphNames;
    Bedrock::Counted<OffsetTable> m_offsetTable;
    std::vector<Bedrock::Counted<OTTable>> m_tables;
};

template <class T>
Bedrock::Counted<T> OTFont::GetTableT() const {
    for (const auto& table : m_tables) {
        const OTTable& candidate = *table;
        if (typeid(candidate) != typeid(T)) continue;
        if (table->IsLoaded() || table->IsDirty() || LoadTable(table)) {
            return Bedrock::Counted<T>(static_cast<T*>(table.Get()));
        }
    }
    return nullptr;
}

}  // namespace Typeframe
