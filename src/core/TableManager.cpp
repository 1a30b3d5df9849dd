#include "core/TableManager.h"

#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/OffsetTable.h"
#include "core/TableRegistry.h"

namespace Typeframe {

Bedrock::Counted<OTTable> TableManager::CreateTable(Bedrock::NonCounted<OTFont> font, unsigned int tag) const {
    return TableRegistry::CreateTable(font, tag);
}

bool TableManager::LoadTable(Bedrock::Counted<OTTable> table, Bedrock::Counted<OffsetTable> offsetTable) const {
    if (!m_file) return false;
    auto stream = m_file->GetStream();
    if (!stream) return false;
    return LoadTable(table, offsetTable, *stream);
}

bool TableManager::LoadTable(const Bedrock::Counted<OTTable>& table, const Bedrock::Counted<OffsetTable>& offsetTable,
                             Bedrock::InStreamSeekable& source) {
    if (!table || !offsetTable) return false;
    auto entry = offsetTable->GetDirectoryEntryForTag(table->GetTag());
    if (!entry || entry->offset == 0 || entry->length == 0) return false;
    const uint64_t end = uint64_t(entry->offset) + entry->length;
    if (end > source.GetSize()) return false;
    return table->Load(OTFile::ReadBuffer(source, entry->offset, entry->length));
}

}  // namespace Typeframe
