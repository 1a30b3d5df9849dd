#pragma once

// Makes the table object for a tag and performs the lazy load of its bytes.

#include "base/Counted.h"
#include "base/InStreamSeekable.h"
#include "core/OTTable.h"
#include "core/Tag.h"

namespace Typeframe {

class OTFile;
class OTFont;
class OffsetTable;

class TableManager : public Bedrock::Countable {
public:
    explicit TableManager(Bedrock::NonCounted<OTFile> file) : m_file(file) {}

    // A new, unloaded table of the class for the tag; a plain OTTable that
    // keeps its bytes for a tag without a class of its own.
    Bedrock::Counted<OTTable> CreateTable(Bedrock::NonCounted<OTFont> font, unsigned int tag) const;
    // Reads the table's directory range and loads it; false when the entry
    // is missing, starts at 0, is empty or passes the end of the file.
    bool LoadTable(Bedrock::Counted<OTTable> table, Bedrock::Counted<OffsetTable> offsetTable) const;
    // The same from a given source, for fonts that outlive the file they
    // were read through.
    static bool LoadTable(const Bedrock::Counted<OTTable>& table, const Bedrock::Counted<OffsetTable>& offsetTable,
                          Bedrock::InStreamSeekable& source);

private:
    Bedrock::NonCounted<OTFile> m_file;
};

}  // namespace Typeframe
