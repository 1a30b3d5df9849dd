#pragma once

// One font file or font collection opened on a seekable stream: the only
// place where the bytes of a file are read or written as a whole. It hands
// out fonts, gives out byte ranges, and writes one font back as a complete
// sfnt file.

#include <vector>

#include "base/Counted.h"
#include "base/InStreamSeekable.h"
#include "base/OutStream.h"
#include "core/BigEndianBuffer.h"
#include "core/Tag.h"

namespace Typeframe {

class OTFont;
class TableManager;

class OTFile : public Bedrock::Countable {
public:
    OTFile();
    ~OTFile() override;

    static bool IsValidFontHeader(unsigned int tag);
    static bool IsValidCollectionHeader(unsigned int tag);

    // Keeps the stream; reads nothing.
    bool Load(Bedrock::Counted<Bedrock::InStreamSeekable> stream);
    Bedrock::Counted<TableManager> GetTableManager();
    int GetFontCount();
    // Reads the font's offset table anew on every call and returns a new
    // font object, which replaces the one the slot held.
    Bedrock::Counted<OTFont> GetFont(int index);
    bool AddFont(Bedrock::Counted<OTFont> font);
    bool LoadHeader();
    Bedrock::Counted<OTFont> LoadFont(int index);

    // A zero-filled buffer of `length` bytes (pad 4), filled from the stream
    // at `offset` as far as the stream goes. Callers test the bounds.
    Bedrock::Counted<BigEndianBuffer> ReadBuffer(unsigned long offset, unsigned long length);
    unsigned long GetBufferSize() const;

    // The physical order in which tables are preferably written.
    std::vector<Tag> GetTableTags(Bedrock::Counted<OTFont> font) const;
    // Writes the one font of this file; false unless there is exactly one.
    bool Save(Bedrock::Counted<Bedrock::OutStream> stream);

    Tag GetFileTag() const { return m_fileTag; }
    const std::vector<Bedrock::Counted<OTFont>>& GetFonts() const { return m_fonts; }

private:
    Tag m_fileTag = 0;
    Bedrock::Counted<Bedrock::InStreamSeekable> m_stream;
    Bedrock::Counted<TableManager> m_tableManager;
    std::vector<Bedrock::Counted<OTFont>> m_fonts;
};

}  // namespace Typeframe
