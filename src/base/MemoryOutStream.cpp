#include "base/MemoryOutStream.h"

namespace Bedrock {

bool MemoryOutStream::Write(const void* data, uint64_t count) {
    if (count == 0) return true;
    if (!data || count > m_data.max_size() - m_data.size()) return false;
    const auto* bytes = static_cast<const uint8_t*>(data);
    m_data.insert(m_data.end(), bytes, bytes + count);
    return true;
}

}  // namespace Bedrock
