#pragma once

// A stream over bytes in memory, its own copy or the caller's.

#include <cstddef>
#include <vector>

#include "base/InStreamSeekable.h"

namespace Bedrock {

class MemoryInStream final : public InStreamSeekable {
public:
    // Copies the bytes.
    MemoryInStream(const void* data, size_t size);
    // Takes the bytes.
    explicit MemoryInStream(std::vector<uint8_t> bytes);
    // Reads the caller's memory without a copy; it must outlive the stream.
    static Counted<MemoryInStream> Wrap(const void* data, size_t size);

    MemoryInStream(const MemoryInStream&) = delete;
    MemoryInStream& operator=(const MemoryInStream&) = delete;

    uint64_t Read(void* dest, uint64_t count) override;
    bool Seek(int origin, int64_t offset) override;
    uint64_t GetSize() const override { return m_size; }
    uint64_t GetPosition() const override { return m_position; }

private:
    MemoryInStream() = default;

    std::vector<uint8_t> m_bytes;
    const uint8_t* m_data = nullptr;
    uint64_t m_size = 0;
    uint64_t m_position = 0;
};

}  // namespace Bedrock
