#pragma once

// One font file or font collection opened on a seekable stream: the only
// place where the bytes of a file are read or written as a whole. It hands
// out fonts, gives out byte ranges, and writes one font back as a complete
// sfnt file.

#include <cstdint>
#include <optional>
#include <vector>

#include "base/Counted.h"
#include "base/InStreamSeekable.h"
#include "base/OutStream.h"
#include "core/BigEndianBuffer.h"
#include "core/Failure.h"
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
    // The stream given to Load; fonts read from it keep it too, so that they
    // can still read their tables once added to another file.
    Bedrock::Counted<Bedrock::InStreamSeekable> GetStream() const { return m_stream; }
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
    static Bedrock::Counted<BigEndianBuffer> ReadBuffer(Bedrock::InStreamSeekable& stream, unsigned long offset,
                                                        unsigned long length);
    unsigned long GetBufferSize() const;

    // The physical order in which tables are preferably written.
    std::vector<Tag> GetTableTags(Bedrock::Counted<OTFont> font) const;
    // Writes the one font of this file; false unless there is exactly one.
    bool Save(Bedrock::Counted<Bedrock::OutStream> stream);

    // The time, in seconds since 1970, that Save stamps into head.modified;
    // unset (the default) means the current time. A fixed time makes two
    // saves of the same font give the same bytes.
    void SetSaveTime(std::optional<int64_t> secondsSince1970) { m_saveTime = secondsSince1970; }
    std::optional<int64_t> GetSaveTime() const { return m_saveTime; }

    // Why the last GetFontCount, GetFont or Save failed; cleared by each of
    // them when it starts.
    const Failure& GetLastFailure() const { return m_failure; }

    Tag GetFileTag() const { return m_fileTag; }
    const std::vector<Bedrock::Counted<OTFont>>& GetFonts() const { return m_fonts; }

private:
    bool Fail(Failure::Kind kind, Utf8String message);
    // Why LoadHeader refused the file, for the failure record.
    Utf8String DescribeBadHeader();

    Tag m_fileTag = 0;
    Bedrock::Counted<Bedrock::InStreamSeekable> m_stream;
    Bedrock::Counted<TableManager> m_tableManager;
    std::vector<Bedrock::Counted<OTFont>> m_fonts;
    std::optional<int64_t> m_saveTime;
    Failure m_failure;
};

}  // namespace Typeframe
