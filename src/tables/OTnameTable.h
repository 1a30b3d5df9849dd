#pragma once

// The naming table ('name'). Strings stay as the bytes they are stored in,
// one Name per record, and are decoded to UTF-8 only when asked for, by the
// encoding that the record's platform, encoding and language select (see
// GetEncodingName). The table can be made from nothing with Create.
//
// A dirty Save lays the strings out again in record order, each on its own:
// storage that two records shared in the file is no longer shared, records
// are not sorted, and the language-tag records of format 1 are dropped (the
// format word is kept).

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/String.h"
#include "core/OTTable.h"

namespace Typeframe {

class OTFont;

class OTnameTable : public OTTable {
public:
    class Name;

    // One name record: its 12 bytes and the six fields read from them.
    class NameRecord : public Bedrock::Countable {
    public:
        static constexpr unsigned long kSize = 12;

        NameRecord() = default;
        NameRecord(uint16_t platform, uint16_t encoding, uint16_t language, uint16_t id)
            : platformID(platform), encodingID(encoding), languageID(language), nameID(id) {}
        NameRecord(const NameRecord&) = delete;
        NameRecord& operator=(const NameRecord&) = delete;

        // A deep copy, whose Name points back to the copy.
        Bedrock::Counted<NameRecord> Clone() const;
        // Reads the six fields; false without 12 bytes.
        bool Load(Bedrock::Counted<BigEndianBuffer> recordBuffer);
        // When dirty, writes the six fields into the record's buffer.
        bool Save();
        bool GetNameString(Utf8String& text) const;
        bool GetRawNameString(Utf8String& text) const;
        // Encodes the text into the Name; on success both are marked dirty.
        bool SetNameString(const Utf8String& text);
        // Takes the Name as this record's own, and marks the record dirty.
        void SetName(Bedrock::Counted<Name> newName);
        void SetStringLength(uint16_t length) { stringLength = length; }
        void SetStringOffset(uint16_t offset) { stringOffset = offset; }

        Bedrock::Counted<BigEndianBuffer> buffer;
        uint16_t platformID = 0;
        uint16_t encodingID = 0;
        uint16_t languageID = 0;
        uint16_t nameID = 0;
        uint16_t stringLength = 0;  // bytes in storage
        uint16_t stringOffset = 0;  // from the start of storage
        Bedrock::Counted<Name> name;
        bool isDirty = false;
    };

    // The stored bytes of one record's string.
    class Name : public Bedrock::Countable {
    public:
        explicit Name(Bedrock::NonCounted<NameRecord> owner) : record(owner) {}
        Name(const Name&) = delete;
        Name& operator=(const Name&) = delete;

        // A copy belonging to another record.
        Bedrock::Counted<Name> Clone(Bedrock::NonCounted<NameRecord> owner) const;
        // Copies the bytes of the buffer, which may be null (no bytes).
        bool Load(Bedrock::Counted<BigEndianBuffer> nameBuffer);
        // When dirty, puts the bytes into the buffer; the flag stays set.
        bool Save();
        // Encodes the text by the record's IDs. The bytes change only on success.
        bool SetName(const Utf8String& text);
        // Decodes the bytes by the record's IDs.
        bool GetName(Utf8String& text) const;
        // Appends each stored byte as one char, with no conversion; the text is
        // not cleared first.
        bool GetRawName(Utf8String& text) const;

        Bedrock::NonCounted<NameRecord> record;
        Bedrock::Counted<BigEndianBuffer> buffer;
        std::vector<char> bytes;
        bool isDirty = false;
    };

    // The value of a platform, encoding or language ID that GetString
    // matches with anything.
    static constexpr uint16_t kAny = 0xFFFF;
    static constexpr unsigned long kHeaderSize = 6;

    explicit OTnameTable(Bedrock::NonCounted<OTFont> font);
    OTnameTable(const OTnameTable& other);

    OTTable* VirtualClone() const override;
    // Format 0 and a minimal set of names for Macintosh Roman and Windows
    // Unicode; the table is dirty afterwards.
    bool Create() override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    bool Save() override;

    // Sets the string of the record with these four IDs, or appends a new
    // record. See the source for which of the two marks the table dirty.
    bool AddString(uint16_t platformID, uint16_t encodingID, uint16_t languageID, uint16_t nameID,
                   const Utf8String& text);
    // Gives every record with the name ID, on every platform, a new string
    // encoded by that record's own encoding. False when none matched.
    bool ReplaceString(unsigned short nameID, const Utf8String& text);
    // Removes every record with the name ID; false when there was none.
    bool RemoveString(unsigned short nameID);

    // The first record, in table order, with the name ID whose string
    // decodes; kAny for the platform, encoding or language matches anything.
    bool GetString(uint16_t platformID, uint16_t encodingID, uint16_t languageID, uint16_t nameID,
                   Utf8String& text) const;
    // Windows English (US), then any Windows language, then Macintosh Roman
    // English.
    bool GetString(int nameID, Utf8String& text) const;
    bool GetNameString(Utf8String& text) const { return GetString(4, text); }
    bool GetVersionString(Utf8String& text) const { return GetString(5, text); }
    bool GetStyleString(Utf8String& text) const { return GetString(2, text); }

    // Null past the end.
    Bedrock::Counted<NameRecord> GetNameRecord(unsigned short index) const;
    size_t GetNameRecordCount() const { return records.size(); }

    // The ICU converter name for a record's IDs; empty for an encoding that
    // is not decoded (platform 2, unknown platforms and encodings).
    static Utf8String GetEncodingName(uint16_t platformID, uint16_t encodingID, uint16_t languageID);
    static Utf8String GetMacEncoding(uint16_t encodingID, uint16_t languageID);
    static Utf8String GetWindowsEncoding(uint16_t encodingID);
    static bool EncodeString(Utf8String text, std::vector<char>& bytes, uint16_t platformID, uint16_t encodingID,
                             uint16_t languageID);
    static bool DecodeString(std::vector<char> bytes, Utf8String& text, uint16_t platformID, uint16_t encodingID,
                             uint16_t languageID);

    uint16_t format = 0;
    std::vector<Bedrock::Counted<NameRecord>> records;
};

}  // namespace Typeframe
