#include "core/OTTable.h"

#include <cstring>

#include "core/OTFont.h"

namespace Typeframe {

OTTable::OTTable(const OTTable& other)
    : Bedrock::Countable(other),
      m_font(other.m_font),
      m_tag(other.m_tag),
      m_dirty(other.m_dirty),
      m_buffer(other.m_buffer ? other.m_buffer->Clone() : nullptr) {}

OTTable* OTTable::VirtualClone() const { return new OTTable(*this); }

bool OTTable::Create() { return false; }

bool OTTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    m_buffer = std::move(buffer);
    return static_cast<bool>(m_buffer);
}

bool OTTable::Save() { return true; }

bool OTTable::IsLoaded() const { return static_cast<bool>(m_buffer); }

bool OTTable::IsDirty() const { return m_dirty; }

bool OTTable::IsEqual(const OTTable& other) const {
    if (!m_buffer || !other.m_buffer) return false;
    const unsigned long length = m_buffer->GetLength();
    return length == other.m_buffer->GetLength() &&
           (length == 0 || std::memcmp(m_buffer->GetBuffer(), other.m_buffer->GetBuffer(), length) == 0);
}

void OTTable::SetIsDirty(bool dirty) { m_dirty = dirty; }

uint32_t OTTable::GetChecksum() const { return m_buffer ? m_buffer->GetChecksum() : 0; }

Bedrock::Counted<BigEndianBuffer> OTTable::GetBuffer() const { return m_buffer; }

bool OTTable::GetGlyphName(int glyph, Utf8String& name) const {
    if (!m_font || glyph < 0 || glyph > 0xFFFF) return false;
    return m_font->GetGlyphName(static_cast<unsigned short>(glyph), name);
}

BigEndianBuffer& OTTable::ResetBuffer(unsigned long length) {
    if (!m_buffer) m_buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    m_buffer->Reset(length);
    return *m_buffer;
}

}  // namespace Typeframe
