#include "core/TableManager.h"

#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/OffsetTable.h"
#include "tables/OThheaTable.h"
#include "tables/OTheadTable.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTnameTable.h"
#include "tables/OTvheaTable.h"
#include "variations/OTHVARTable.h"
#include "variations/OTMVARTable.h"
#include "variations/OTVVARTable.h"
#include "variations/OTavarTable.h"
#include "variations/OTfvarTable.h"

namespace Typeframe {

Bedrock::Counted<OTTable> TableManager::CreateTable(Bedrock::NonCounted<OTFont> font, unsigned int tag) const {
    switch (tag) {
        case MakeTag("head"): return Bedrock::MakeCounted<OTheadTable>(font);
        case MakeTag("hhea"): return Bedrock::MakeCounted<OThheaTable>(font);
        case MakeTag("maxp"): return Bedrock::MakeCounted<OTmaxpTable>(font);
        case MakeTag("vhea"): return Bedrock::MakeCounted<OTvheaTable>(font);
        case MakeTag("name"): return Bedrock::MakeCounted<OTnameTable>(font);
        case MakeTag("fvar"): return Bedrock::MakeCounted<OTfvarTable>(font);
        case MakeTag("avar"): return Bedrock::MakeCounted<OTavarTable>(font);
        case MakeTag("HVAR"): return Bedrock::MakeCounted<OTHVARTable>(font);
        case MakeTag("VVAR"): return Bedrock::MakeCounted<OTVVARTable>(font);
        case MakeTag("MVAR"): return Bedrock::MakeCounted<OTMVARTable>(font);
        default: return Bedrock::MakeCounted<OTTable>(font, tag);
    }
}

bool TableManager::LoadTable(Bedrock::Counted<OTTable> table, Bedrock::Counted<OffsetTable> offsetTable) const {
    if (!table || !offsetTable || !m_file) return false;
    auto entry = offsetTable->GetDirectoryEntryForTag(table->GetTag());
    if (!entry || entry->offset == 0 || entry->length == 0) return false;
    const uint64_t end = uint64_t(entry->offset) + entry->length;
    if (end > m_file->GetBufferSize()) return false;
    return table->Load(m_file->ReadBuffer(entry->offset, entry->length));
}

}  // namespace Typeframe
