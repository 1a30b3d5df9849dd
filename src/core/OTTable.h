#pragma once

// Base of every table object, and alone the generic table that keeps its
// bytes. A table is not loaded, loaded and clean, or dirty (its parsed fields
// are newer than its buffer). Save serialises only a dirty table, so an
// untouched table leaves byte for byte as it came.

#include "base/Counted.h"
#include "base/String.h"
#include "core/BigEndianBuffer.h"
#include "core/Tag.h"

namespace Typeframe {

class OTFont;

class OTTable : public virtual Bedrock::Countable {
public:
    OTTable(Bedrock::NonCounted<OTFont> font, Tag tag) : m_font(font), m_tag(tag) {}
    OTTable(const OTTable& other);
    OTTable& operator=(const OTTable&) = delete;
    ~OTTable() override = default;

    virtual OTTable* VirtualClone() const;
    virtual bool Create();
    virtual bool Load(Bedrock::Counted<BigEndianBuffer> buffer);
    virtual bool Save();
    virtual bool IsLoaded() const;
    virtual bool IsDirty() const;
    virtual bool IsEqual(const OTTable& other) const;
    virtual void SetIsDirty(bool dirty);
    virtual uint32_t GetChecksum() const;
    virtual Bedrock::Counted<BigEndianBuffer> GetBuffer() const;

    Bedrock::Counted<OTTable> Clone() const { return Bedrock::Counted<OTTable>(VirtualClone()); }
    Tag GetTag() const { return m_tag; }
    unsigned long GetLength() const { return m_buffer ? m_buffer->GetLength() : 0; }
    Bedrock::NonCounted<OTFont> GetFont() const { return m_font; }
    // Virtual for tables whose parts point at the font too.
    virtual void SetFont(Bedrock::NonCounted<OTFont> font) { m_font = font; }
    bool GetGlyphName(int glyph, Utf8String& name) const;

protected:
    // For table classes whose tag can change after construction.
    void SetTag(Tag tag) { m_tag = tag; }
    // The buffer without the null test of the public accessor's callers.
    BigEndianBuffer* Buffer() const { return m_buffer.Get(); }
    // Makes the buffer if there is none, else empties it; for Save.
    BigEndianBuffer& ResetBuffer(unsigned long length = 0);
    void SetBuffer(Bedrock::Counted<BigEndianBuffer> buffer) { m_buffer = std::move(buffer); }

private:
    Bedrock::NonCounted<OTFont> m_font;
    Tag m_tag = 0;
    bool m_dirty = false;
    Bedrock::Counted<BigEndianBuffer> m_buffer;
};

}  // namespace Typeframe
