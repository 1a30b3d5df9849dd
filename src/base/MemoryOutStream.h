#pragma once

// A stream that collects what is written in memory.

#include <vector>

#include "base/OutStream.h"

namespace Bedrock {

class MemoryOutStream final : public OutStream {
public:
    MemoryOutStream() = default;
    MemoryOutStream(const MemoryOutStream&) = delete;
    MemoryOutStream& operator=(const MemoryOutStream&) = delete;

    bool Write(const void* data, uint64_t count) override;
    uint64_t GetPosition() const override { return m_data.size(); }

    const std::vector<uint8_t>& GetData() const { return m_data; }
    // Hands the bytes over and leaves the stream empty.
    std::vector<uint8_t> TakeData() {
        std::vector<uint8_t> data;
        data.swap(m_data);
        return data;
    }

private:
    std::vector<uint8_t> m_data;
};

}  // namespace Bedrock
