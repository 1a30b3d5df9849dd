#pragma once

// One record of an sfnt table directory: tag, checksum, offset, length.

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/Tag.h"

namespace Typeframe {

class DirectoryEntry : public Bedrock::Countable {
public:
    static constexpr unsigned long kSize = 16;

    DirectoryEntry() = default;
    explicit DirectoryEntry(unsigned int entryTag) : tag(entryTag) {}
    DirectoryEntry(const DirectoryEntry& other);
    DirectoryEntry& operator=(const DirectoryEntry&) = delete;

    // Reads the four values; always true (a short buffer leaves fields alone).
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer);
    // Writes the 16 bytes when the entry was filled for writing.
    bool Save();
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const { return m_buffer; }

    Tag tag = 0;
    uint32_t checksum = 0;
    uint32_t offset = 0;
    uint32_t length = 0;
    bool dirty = false;

private:
    Bedrock::Counted<BigEndianBuffer> m_buffer;
};

}  // namespace Typeframe
