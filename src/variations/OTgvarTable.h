#pragma once

// Glyph variations ('gvar'): for each glyph, the tuples that move its points
// (outline points, or component offsets of a composite, then the four
// phantom points) over the design space. Read-only: instancing applies the
// table and removes it, so a changed table can't be written.
//
// Load reads the header, the offsets and the shared tuples; each glyph's
// store is read at its first request, sized from the glyph as 'glyf' then
// holds it, and kept. Requests may come from several threads at once, as
// the instancer's parallel loop makes them.

#include <cstdint>
#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "base/String.h"
#include "core/OTTable.h"
#include "variations/TupleVariationStore.h"

namespace Typeframe {

class OTFont;

class OTgvarTable : public OTTable {
public:
    explicit OTgvarTable(Bedrock::NonCounted<OTFont> font);
    // Stores already read are shared with the copy.
    OTgvarTable(const OTgvarTable& other);

    OTTable* VirtualClone() const override;
    // Needs 'fvar', 'glyf' and 'post' in the font: the stores are made per
    // glyph, sized from the glyph's points. A glyph whose data range is
    // empty, reversed or outside the table gets an empty store.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    // Writes nothing: true when clean, false when changed.
    bool Save() override;

    // Reads sharedTupleCount tuples of axisCount values each; false (and
    // no tuples) for a null buffer.
    bool LoadSharedTuples(Bedrock::Counted<BigEndianBuffer> buffer, std::vector<std::vector<Fixed2_14>>& tuples) const;
    // The glyph's index in the font, or 65535 for a name the font doesn't
    // know.
    unsigned short GetGlyphIndex(const Utf8String& name) const;
    // Null for an unknown name or a glyph past the table's glyphs.
    Bedrock::Counted<TupleVariationStore> GetVariationStore(const Utf8String& name) const;
    Bedrock::Counted<TupleVariationStore> GetVariationStore(unsigned short glyphIndex) const;

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    uint16_t axisCount = 0;
    uint16_t sharedTupleCount = 0;
    uint32_t sharedTuplesOffset = 0;
    uint16_t glyphCount = 0;
    uint16_t flags = 0;
    uint32_t glyphVariationDataArrayOffset = 0;
    std::vector<uint32_t> glyphVariationDataOffsets;
    // One per glyph whose offsets the bytes hold; null until first asked for
    // (use GetVariationStore).
    mutable std::vector<Bedrock::Counted<TupleVariationStore>> stores;

private:
    Bedrock::Counted<TupleVariationStore> ReadStore(unsigned short glyphIndex) const;

    std::vector<Utf8String> m_names;
    std::shared_ptr<const std::vector<unsigned int>> m_axisTags;
    std::shared_ptr<const TupleVariation::SharedTuples> m_sharedTuples;
    // Per glyph, whether its store is there to read; set under m_readMutex,
    // after the store.
    mutable std::unique_ptr<std::atomic<bool>[]> m_read;
    mutable std::mutex m_readMutex;
};

}  // namespace Typeframe
