#include "core/OffsetTable.h"

#include "core/OTFile.h"
#include "core/Util.h"

namespace Typeframe {

OffsetTable::OffsetTable(unsigned int version, unsigned short tableCount)
    : sfntVersion(version), numTables(tableCount), dirty(true) {
    if (tableCount != 0) {
        const unsigned short power = Util::MaxPower2LE(tableCount);
        searchRange = static_cast<uint16_t>(power * 16);
        entrySelector = Util::Log2(power);
        rangeShift = static_cast<uint16_t>(tableCount * 16 - searchRange);
    }
}

bool OffsetTable::Load(Bedrock::Counted<BigEndianBuffer> buffer) {
    m_buffer = std::move(buffer);
    if (!m_buffer) return false;
    m_buffer->GetU32(0, sfntVersion);
    if (!OTFile::IsValidFontHeader(sfntVersion)) return false;
    m_buffer->GetU16(4, numTables);
    m_buffer->GetU16(6, searchRange);
    m_buffer->GetU16(8, entrySelector);
    m_buffer->GetU16(10, rangeShift);
    return true;
}

bool OffsetTable::Save() {
    if (!dirty) return true;
    if (!m_buffer) m_buffer = Bedrock::MakeCounted<BigEndianBuffer>();
    m_buffer->Reset(0);
    m_buffer->SetU32(sfntVersion);
    m_buffer->SetU16(numTables);
    m_buffer->SetU16(searchRange);
    m_buffer->SetU16(entrySelector);
    m_buffer->SetU16(rangeShift);
    return true;
}

void OffsetTable::LoadDirectoryEntry(Bedrock::Counted<DirectoryEntry> entry) { m_entries.push_back(std::move(entry)); }

void OffsetTable::AddDirectoryEntry(Bedrock::Counted<DirectoryEntry> entry) {
    m_entries.push_back(std::move(entry));
    numTables = static_cast<uint16_t>(m_entries.size());
}

void OffsetTable::ClearDirectoryEntries() {
    m_entries.clear();
    numTables = 0;
}

std::vector<Tag> OffsetTable::GetTableTags() const {
    std::vector<Tag> tags;
    tags.reserve(m_entries.size());
    for (const auto& entry : m_entries) tags.push_back(entry->tag);
    return tags;
}

Bedrock::Counted<DirectoryEntry> OffsetTable::GetDirectoryEntryForTag(unsigned int tag) const {
    for (const auto& entry : m_entries) {
        if (entry->tag == tag) return entry;
    }
    return nullptr;
}

Bedrock::Counted<DirectoryEntry> OffsetTable::GetDirectoryEntry(unsigned short index) const {
    return index < m_entries.size() ? m_entries[index] : nullptr;
}

uint32_t OffsetTable::CalcOffsetTableChecksum() const { return m_buffer ? m_buffer->CalculateChecksum() : 0; }

uint32_t OffsetTable::CalcDirectoryEntriesChecksum() const {
    uint32_t sum = 0;
    for (const auto& entry : m_entries) sum += entry->tag + entry->checksum + entry->offset + entry->length;
    return sum;
}

}  // namespace Typeframe
