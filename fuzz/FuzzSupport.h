#pragma once

// What the fuzz targets share: opening bytes as a font file without a copy,
// and reading or rebuilding every table of a font the way the typeframe tool
// does.

#include <cstddef>
#include <cstdint>

#include "base/Counted.h"
#include "core/OTFile.h"
#include "core/OTFont.h"

namespace TypeframeFuzz {

// A font file over the caller's bytes, which must outlive it.
Bedrock::Counted<Typeframe::OTFile> OpenBytes(const uint8_t* data, size_t size);

// Reads every table of the font; a table that can't be read stays unread.
void LoadEveryTable(const Typeframe::OTFont& font);

// Marks every table that has a parsed form dirty, so that saving writes it
// from its fields (`typeframe save --rebuild all`).
void MarkEveryTableDirty(const Typeframe::OTFont& font);

// Saves the one font of the file to memory and reads the result back,
// table by table. False when the file would not save.
bool SaveAndReread(const Bedrock::Counted<Typeframe::OTFile>& file);

}  // namespace TypeframeFuzz
