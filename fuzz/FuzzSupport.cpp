#include "FuzzSupport.h"

#include <typeinfo>
#include <vector>

#include "base/MemoryInStream.h"
#include "base/MemoryOutStream.h"
#include "core/OTTable.h"
#include "core/Tag.h"

namespace TypeframeFuzz {

Bedrock::Counted<Typeframe::OTFile> OpenBytes(const uint8_t* data, size_t size) {
    auto file = Bedrock::MakeCounted<Typeframe::OTFile>();
    file->Load(Bedrock::MemoryInStream::Wrap(data, size));
    return file;
}

void LoadEveryTable(const Typeframe::OTFont& font) {
    for (Typeframe::Tag tag : font.GetTableTags()) font.GetTableForTag(tag);
}

void MarkEveryTableDirty(const Typeframe::OTFont& font) {
    for (Typeframe::Tag tag : font.GetTableTags()) {
        auto table = font.GetTableForTag(tag);
        if (!table) continue;
        const Typeframe::OTTable& object = *table;
        if (typeid(object) != typeid(Typeframe::OTTable)) table->SetIsDirty(true);
    }
}

bool SaveAndReread(const Bedrock::Counted<Typeframe::OTFile>& file) {
    auto stream = Bedrock::MakeCounted<Bedrock::MemoryOutStream>();
    if (!file->Save(stream)) return false;
    const std::vector<uint8_t> written = stream->TakeData();
    auto copy = OpenBytes(written.data(), written.size());
    if (auto font = copy->GetFont(0)) LoadEveryTable(*font);
    return true;
}

}  // namespace TypeframeFuzz
