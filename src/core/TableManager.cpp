#include "core/TableManager.h"

#include "core/OTFile.h"
#include "core/OTFont.h"
#include "core/OffsetTable.h"
#include "tables/OTOS2Table.h"
#include "tables/OTgaspTable.h"
#include "tables/OThheaTable.h"
#include "tables/OThmtxTable.h"
#include "tables/OTVORGTable.h"
#include "tables/OTcvtTable.h"
#include "tables/OTfpgmTable.h"
#include "tables/OTheadTable.h"
#include "tables/OTmaxpTable.h"
#include "tables/OTnameTable.h"
#include "tables/OTpostTable.h"
#include "tables/OTprepTable.h"
#include "tables/OTvheaTable.h"
#include "tables/OTvmtxTable.h"
#include "truetype/OTglyfTable.h"
#include "truetype/OTlocaTable.h"
#include "variations/OTHVARTable.h"
#include "variations/OTMVARTable.h"
#include "variations/OTVVARTable.h"
#include "variations/OTavarTable.h"
#include "variations/OTcvarTable.h"
#include "variations/OTfvarTable.h"
#include "variations/OTgvarTable.h"

namespace Typeframe {

Bedrock::Counted<OTTable> TableManager::CreateTable(Bedrock::NonCounted<OTFont> font, unsigned int tag) const {
    switch (tag) {
        case MakeTag("head"): return Bedrock::MakeCounted<OTheadTable>(font);
        case MakeTag("hhea"): return Bedrock::MakeCounted<OThheaTable>(font);
        case MakeTag("maxp"): return Bedrock::MakeCounted<OTmaxpTable>(font);
        case MakeTag("vhea"): return Bedrock::MakeCounted<OTvheaTable>(font);
        case MakeTag("name"): return Bedrock::MakeCounted<OTnameTable>(font);
        case MakeTag("OS/2"): return Bedrock::MakeCounted<OTOS2Table>(font);
        case MakeTag("gasp"): return Bedrock::MakeCounted<OTgaspTable>(font);
        case MakeTag("fvar"): return Bedrock::MakeCounted<OTfvarTable>(font);
        case MakeTag("avar"): return Bedrock::MakeCounted<OTavarTable>(font);
        case MakeTag("HVAR"): return Bedrock::MakeCounted<OTHVARTable>(font);
        case MakeTag("VVAR"): return Bedrock::MakeCounted<OTVVARTable>(font);
        case MakeTag("MVAR"): return Bedrock::MakeCounted<OTMVARTable>(font);
        case MakeTag("gvar"): return Bedrock::MakeCounted<OTgvarTable>(font);
        case MakeTag("cvar"): return Bedrock::MakeCounted<OTcvarTable>(font);
        case MakeTag("hmtx"): return Bedrock::MakeCounted<OThmtxTable>(font);
        case MakeTag("vmtx"): return Bedrock::MakeCounted<OTvmtxTable>(font);
        case MakeTag("VORG"): return Bedrock::MakeCounted<OTVORGTable>(font);
        case MakeTag("cvt "): return Bedrock::MakeCounted<OTcvtTable>(font);
        case MakeTag("fpgm"): return Bedrock::MakeCounted<OTfpgmTable>(font);
        case MakeTag("prep"): return Bedrock::MakeCounted<OTprepTable>(font);
        case MakeTag("post"): return Bedrock::MakeCounted<OTpostTable>(font);
        case MakeTag("glyf"): return Bedrock::MakeCounted<OTglyfTable>(font);
        case MakeTag("loca"): return Bedrock::MakeCounted<OTlocaTable>(font);
        default: return Bedrock::MakeCounted<OTTable>(font, tag);
    }
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
