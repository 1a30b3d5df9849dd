#include "variations/OTgvarTable.h"

#include <algorithm>

#include "core/OTFont.h"
#include "core/Tag.h"
#include "tables/OTpostTable.h"
#include "truetype/Glyf.h"
#include "truetype/OTglyfTable.h"
#include "variations/OTfvarTable.h"

namespace Typeframe {

OTgvarTable::OTgvarTable(Bedrock::NonCounted<OTFont> font) : OTTable(font, MakeTag("gvar")) {}

OTgvarTable::OTgvarTable(const OTgvarTable& other)
    : Bedrock::Countable(),
      OTTable(other),
      majorVersion(other.majorVersion),
      minorVersion(other.minorVersion),
      axisCount(other.axisCount),
      sharedTupleCount(other.sharedTupleCount),
      sharedTuplesOffset(other.sharedTuplesOffset),
      glyphCount(other.glyphCount),
      flags(other.flags),
      glyphVariationDataArrayOffset(other.glyphVariationDataArrayOffset),
      glyphVariationDataOffsets(other.glyphVariationDataOffsets),
      stores(other.stores),
      m_names(other.m_names),
      m_axisTags(other.m_axisTags),
      m_sharedTuples(other.m_sharedTuples),
      m_read(std::make_unique<std::atomic<bool>[]>(stores.size())) {
    for (size_t i = 0; i < stores.size(); ++i) m_read[i].store(stores[i] != nullptr);
}

OTTable* OTgvarTable::VirtualClone() const { return new OTgvarTable(*this); }

bool OTgvarTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    if (!buffer) return false;
    auto font = GetFont();
    if (!font) return false;
    auto fvar = font->GetTableT<OTfvarTable>();
    auto glyf = font->GetTableT<OTglyfTable>();
    if (!fvar || !glyf || !font->GetTableT<OTpostTable>()) return false;
    if (!OTTable::Load(std::move(buffer))) return false;
    BigEndianBuffer& in = *Buffer();

    in.Seek(0);
    in.GetU16(majorVersion);
    in.GetU16(minorVersion);
    in.GetU16(axisCount);
    in.GetU16(sharedTupleCount);
    in.GetU32(sharedTuplesOffset);
    in.GetU16(glyphCount);
    in.GetU16(flags);
    in.GetU32(glyphVariationDataArrayOffset);

    // Offsets the bytes don't hold are not read; the glyphs they would have
    // bounded get no store.
    const bool longOffsets = flags & 1;
    const unsigned long offsetCount = glyphCount + 1ul;
    glyphVariationDataOffsets.clear();
    glyphVariationDataOffsets.reserve(std::min(offsetCount, in.GetRemaining() / (longOffsets ? 4 : 2)));
    for (unsigned long i = 0; i < offsetCount; ++i) {
        uint32_t offset = 0;
        if (longOffsets) {
            if (!in.GetU32(offset)) break;
        } else {
            uint16_t half = 0;
            if (!in.GetU16(half)) break;
            offset = uint32_t(half) * 2;
        }
        glyphVariationDataOffsets.push_back(offset);
    }

    auto shared = std::make_shared<TupleVariation::SharedTuples>();
    const uint64_t sharedSize = uint64_t(axisCount) * sharedTupleCount * 2;
    in.Seek(sharedTuplesOffset);
    LoadSharedTuples(sharedSize <= in.GetRemaining() ? in.Read(static_cast<unsigned long>(sharedSize)) : nullptr,
                     *shared);
    m_sharedTuples = std::move(shared);
    m_axisTags = std::make_shared<const std::vector<unsigned int>>(fvar->GetAxisTags());
    m_names = font->GetGlyphNames();
    const size_t storeCount = glyphVariationDataOffsets.empty() ? 0 : glyphVariationDataOffsets.size() - 1;
    stores.assign(storeCount, nullptr);
    m_read = std::make_unique<std::atomic<bool>[]>(storeCount);
    for (size_t i = 0; i < storeCount; ++i) m_read[i].store(false);
    return true;
}

Bedrock::Counted<TupleVariationStore> OTgvarTable::ReadStore(unsigned short g) const {
    auto font = GetFont();
    auto glyf = font ? font->GetTableT<OTglyfTable>() : nullptr;
    auto glyph = glyf && g < m_names.size() ? glyf->GetGlyph(m_names[g]) : nullptr;
    int points = 0;
    if (glyph)
        points = glyph->numberOfContours == -1 ? glyph->GetNumberOfComponents() : glyph->GetNumberOfCoordinates();
    // Outline points or component offsets, then the four phantom points.
    auto store = Bedrock::MakeCounted<TupleVariationStore>(MakeTag("gvar"), m_axisTags,
                                                           static_cast<unsigned short>(points + 4), m_sharedTuples);
    const BigEndianBuffer* in = Buffer();
    const uint32_t begin = glyphVariationDataOffsets[g];
    const uint32_t end = glyphVariationDataOffsets[g + 1];
    // A range that is empty, reversed or outside the table gives no data.
    if (in && end > begin) {
        const uint64_t start = uint64_t(glyphVariationDataArrayOffset) + begin;
        if (start <= in->GetLength()) {
            auto data = in->Read(static_cast<unsigned long>(start), end - begin);
            if (data && !data->IsEmpty()) store->Load(data);
        }
    }
    return store;
}

bool OTgvarTable::Save() { return !IsDirty(); }

bool OTgvarTable::LoadSharedTuples(Bedrock::Counted<BigEndianBuffer> buffer,
                                   std::vector<std::vector<Fixed2_14>>& tuples) const {
    tuples.clear();
    // Missing bytes would otherwise size the tuples from the header's counts
    // alone.
    if (!buffer) return false;
    tuples.assign(sharedTupleCount, std::vector<Fixed2_14>(axisCount));
    buffer->Seek(0);
    for (auto& tuple : tuples) {
        for (auto& value : tuple) buffer->GetFixed2_14(value);
    }
    return true;
}

unsigned short OTgvarTable::GetGlyphIndex(const Utf8String& name) const {
    unsigned short index = 65535;
    auto font = GetFont();
    if (!font || !font->GetGlyphIndex(name, index)) return 65535;
    return index;
}

Bedrock::Counted<TupleVariationStore> OTgvarTable::GetVariationStore(const Utf8String& name) const {
    return GetVariationStore(GetGlyphIndex(name));
}

Bedrock::Counted<TupleVariationStore> OTgvarTable::GetVariationStore(unsigned short glyphIndex) const {
    if (glyphIndex >= stores.size()) return nullptr;
    if (m_read[glyphIndex].load(std::memory_order_acquire)) return stores[glyphIndex];
    // Read outside the lock, so that threads reading different glyphs don't
    // wait for each other; of two threads reading one glyph the first to
    // store it wins.
    auto store = ReadStore(glyphIndex);
    std::lock_guard lock(m_readMutex);
    if (!m_read[glyphIndex].load(std::memory_order_relaxed)) {
        stores[glyphIndex] = std::move(store);
        m_read[glyphIndex].store(true, std::memory_order_release);
    }
    return stores[glyphIndex];
}

}  // namespace Typeframe
