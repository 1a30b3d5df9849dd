#include "base/MemoryInStream.h"

#include <cstring>

namespace Bedrock {

MemoryInStream::MemoryInStream(const void* data, size_t size)
    : MemoryInStream(data && size ? std::vector<uint8_t>(static_cast<const uint8_t*>(data),
                                                         static_cast<const uint8_t*>(data) + size)
                                  : std::vector<uint8_t>()) {}

MemoryInStream::MemoryInStream(std::vector<uint8_t> bytes)
    : m_bytes(std::move(bytes)), m_data(m_bytes.data()), m_size(m_bytes.size()) {}

Counted<MemoryInStream> MemoryInStream::Wrap(const void* data, size_t size) {
    Counted<MemoryInStream> stream(new MemoryInStream());
    if (data) {
        stream->m_data = static_cast<const uint8_t*>(data);
        stream->m_size = size;
    }
    return stream;
}

uint64_t MemoryInStream::Read(void* dest, uint64_t count) {
    const uint64_t left = m_position < m_size ? m_size - m_position : 0;
    if (count > left) count = left;
    if (count > 0) std::memcpy(dest, m_data + m_position, static_cast<size_t>(count));
    m_position += count;
    return count;
}

bool MemoryInStream::Seek(int origin, int64_t offset) {
    return ResolveSeek(origin, offset, m_position, m_size, m_position);
}

}  // namespace Bedrock
