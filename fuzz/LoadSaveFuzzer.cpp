// Whole files: each font of the input (a few at most, for a collection) has
// every table read and rebuilt from its parsed fields, as
// `typeframe save --rebuild all` does, and is saved to memory; the written
// file is read back table by table.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/Counted.h"
#include "core/OTFile.h"
#include "core/OTFont.h"

#include "FuzzSupport.h"

namespace {

// A collection header may promise thousands of fonts; a handful shows
// everything one font can, at a fraction of the time.
constexpr int kMaxFonts = 4;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    auto file = TypeframeFuzz::OpenBytes(data, size);
    const int fontCount = file->GetFontCount();
    for (int index = 0; index < std::min(fontCount, kMaxFonts); ++index) {
        auto font = file->GetFont(index);
        if (!font) continue;
        TypeframeFuzz::MarkEveryTableDirty(*font);
        if (fontCount == 1) {
            TypeframeFuzz::SaveAndReread(file);
            continue;
        }
        // Only a file of one font saves: the font moves to a file of its
        // own, with its tables read first since they load through the file,
        // and comes back afterwards.
        TypeframeFuzz::LoadEveryTable(*font);
        auto single = Bedrock::MakeCounted<Typeframe::OTFile>();
        single->AddFont(font);
        TypeframeFuzz::SaveAndReread(single);
        font->SetFile(file.Get());
    }
    return 0;
}
