#pragma once

// The font variations table ('fvar'): the design axes of a variable font and
// its named instances. Axis and instance records are objects of their own
// that keep the bytes they were read from; Save copies those bytes, so an
// untouched record leaves exactly as it came, any bytes past the standard
// record size included. Only a record marked dirty is written from its fields.

#include <cstdint>
#include <vector>

#include "base/Counted.h"
#include "base/FixedPoint.h"
#include "core/BigEndianBuffer.h"
#include "core/OTTable.h"
#include "core/Tag.h"

namespace Typeframe {

class OTFont;

class OTfvarTable : public OTTable {
public:
    class VariationAxisRecord : public Bedrock::Countable {
    public:
        // Size of a record as a dirty record writes it.
        static constexpr unsigned long kRecordSize = 20;

        explicit VariationAxisRecord(Bedrock::NonCounted<OTFont> font) : m_font(font) {}
        VariationAxisRecord(const VariationAxisRecord& other);
        VariationAxisRecord& operator=(const VariationAxisRecord&) = delete;

        Bedrock::Counted<VariationAxisRecord> Clone() const;
        Bedrock::Counted<BigEndianBuffer> GetBuffer() const { return m_buffer; }
        // Keeps the buffer and reads the fields from its start; false for a
        // null buffer. A short buffer leaves the fields it can't reach.
        bool Load(Bedrock::Counted<BigEndianBuffer> buffer);
        // Writes the 20 standard bytes when dirty; otherwise does nothing.
        bool Save();
        bool IsDirty() const { return m_dirty; }
        void SetIsDirty(bool dirty) { m_dirty = dirty; }
        Bedrock::NonCounted<OTFont> GetFont() const { return m_font; }

        Tag axisTag = 0;
        Fixed16_16 minValue;
        Fixed16_16 defaultValue;
        Fixed16_16 maxValue;
        uint16_t flags = 0;
        uint16_t axisNameID = 0;

    private:
        Bedrock::NonCounted<OTFont> m_font;
        Bedrock::Counted<BigEndianBuffer> m_buffer;
        bool m_dirty = false;
    };

    class InstanceRecord : public Bedrock::Countable {
    public:
        InstanceRecord(Bedrock::NonCounted<OTFont> font, uint16_t count) : axisCount(count), m_font(font) {}
        InstanceRecord(const InstanceRecord& other);
        InstanceRecord& operator=(const InstanceRecord&) = delete;

        Bedrock::Counted<InstanceRecord> Clone() const;
        Bedrock::Counted<BigEndianBuffer> GetBuffer() const { return m_buffer; }
        // Keeps the buffer and reads the record; false for a null buffer and
        // for one too short to hold the `axisCount` coordinates. Whether the
        // record has a postScriptNameID is decided by the bytes left after
        // the coordinates, that is by the table's instanceSize.
        bool Load(Bedrock::Counted<BigEndianBuffer> buffer);
        // When dirty, writes 4 + 4 * axisCount bytes, plus 2 with a
        // postScriptNameID; otherwise does nothing.
        bool Save();
        bool IsDirty() const { return m_dirty; }
        void SetIsDirty(bool dirty) { m_dirty = dirty; }
        Bedrock::NonCounted<OTFont> GetFont() const { return m_font; }

        uint16_t axisCount = 0;
        uint16_t subfamilyNameID = 0;
        uint16_t flags = 0;
        std::vector<Fixed16_16> coordinates;  // user units, one per axis
        uint16_t postScriptNameID = 0;
        bool hasPostScriptNameID = false;

    private:
        Bedrock::NonCounted<OTFont> m_font;
        Bedrock::Counted<BigEndianBuffer> m_buffer;
        bool m_dirty = false;
    };

    explicit OTfvarTable(Bedrock::NonCounted<OTFont> font);
    // Deep: the records are cloned too.
    OTfvarTable(const OTfvarTable& other);

    OTTable* VirtualClone() const override;
    bool Load(Bedrock::Counted<BigEndianBuffer> buffer) override;
    bool Save() override;

    // Null when the index is at or past the end.
    Bedrock::Counted<VariationAxisRecord> GetVariationAxis(unsigned short index) const;
    Bedrock::Counted<InstanceRecord> GetInstance(unsigned short index) const;
    // The first instance whose coordinates are exactly these user values,
    // each rounded to 16.16 (half away from zero) and compared word for word,
    // with no tolerance; null if there is none.
    Bedrock::Counted<InstanceRecord> GetInstance(const std::vector<double>& coordinates) const;
    std::vector<Tag> GetAxisTags() const;

    uint16_t majorVersion = 0;
    uint16_t minorVersion = 0;
    uint16_t axesArrayOffset = 0;
    uint16_t reserved = 0;
    uint16_t axisCount = 0;
    uint16_t axisSize = 0;
    uint16_t instanceCount = 0;
    uint16_t instanceSize = 0;
    std::vector<Bedrock::Counted<VariationAxisRecord>> axes;
    std::vector<Bedrock::Counted<InstanceRecord>> instances;
};

}  // namespace Typeframe
