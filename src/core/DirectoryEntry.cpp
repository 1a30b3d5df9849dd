#include "core/DirectoryEntry.h"

namespace Typeframe {

DirectoryEntry::DirectoryEntry(const DirectoryEntry& other)
    : Bedrock::Countable(other),
      tag(other.tag),
      checksum(other.checksum),
      offset(other.offset),
      length(other.length),
      dirty(other.dirty),
      m_buffer(other.m_buffer ? other.m_buffer->Clone() : nullptr) {}

bool DirectoryEntry::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    m_buffer = std::move(buffer);
    if (m_buffer) {
        m_buffer->GetU32(0, tag);
        m_buffer->GetU32(4, checksum);
        m_buffer->GetU32(8, offset);
        m_buffer->GetU32(12, length);
    }
    return true;
}

bool DirectoryEntry::Save() {
    if (!dirty) return true;
    if (!m_buffer) m_buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    m_buffer->Reset(0);
    m_buffer->SetU32(tag);
    m_buffer->SetU32(checksum);
    m_buffer->SetU32(offset);
    m_buffer->SetU32(length);
    return true;
}

}  // namespace Typeframe
