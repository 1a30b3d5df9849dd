#pragma once

// The offset table of an sfnt font: its version, the binary-search fields
// and the table directory.

#include <vector>

#include "base/Counted.h"
#include "core/BigEndianBuffer.h"
#include "core/DirectoryEntry.h"
#include "core/Tag.h"

namespace Typeframe {

class OTFile;

class OffsetTable : public Bedrock::Countable {
public:
    static constexpr unsigned long kSize = 12;

    explicit OffsetTable(Bedrock::NonCounted<OTFile> file) : m_file(file) {}
    // For saving: sets the binary-search fields for numTables.
    OffsetTable(unsigned int version, unsigned short tableCount);

    // Reads the version (false unless it is a font version) and the four
    // 16-bit fields; the directory is read by the font.
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer);
    bool Save();
    Bedrock::Counted<BigEndianBuffer> GetBuffer() const { return m_buffer; }

    void LoadDirectoryEntry(Bedrock::Counted<DirectoryEntry> entry);
    void AddDirectoryEntry(Bedrock::Counted<DirectoryEntry> entry);
    void ClearDirectoryEntries();
    std::vector<Tag> GetTableTags() const;
    Bedrock::Counted<DirectoryEntry> GetDirectoryEntryForTag(unsigned int tag) const;
    Bedrock::Counted<DirectoryEntry> GetDirectoryEntry(unsigned short index) const;
    std::vector<Bedrock::Counted<DirectoryEntry>>& GetDirectoryEntries() { return m_entries; }
    const std::vector<Bedrock::Counted<DirectoryEntry>>& GetDirectoryEntries() const { return m_entries; }
    uint32_t CalcOffsetTableChecksum() const;
    uint32_t CalcDirectoryEntriesChecksum() const;

    Bedrock::NonCounted<OTFile> GetFile() const { return m_file; }

    Tag sfntVersion = 0;
    uint16_t numTables = 0;
    uint16_t searchRange = 0;
    uint16_t entrySelector = 0;
    uint16_t rangeShift = 0;
    bool dirty = false;

private:
    Bedrock::NonCounted<OTFile> m_file;
    Bedrock::Counted<BigEndianBuffer> m_buffer;
    std::vector<Bedrock::Counted<DirectoryEntry>> m_entries;
};

}  // namespace Typeframe
