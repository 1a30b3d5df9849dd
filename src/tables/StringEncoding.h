#pragma once

// A thin layer over ICU converters for the strings of the naming table: one
// converter for a named encoding and one for UTF-8, and conversions between
// the two. A converter name that the system's ICU does not know is looked up
// in "icucnv", the converter package built with the library and embedded in
// it. Both conversions stop at the first byte sequence or character that the
// other side cannot represent and report a failure; nothing is replaced.
//
// One object per conversion: the objects are cheap to drop and not shared.

#include <vector>

#include "base/Counted.h"
#include "base/String.h"

struct UConverter;

namespace Typeframe {

class StringEncoding : public Bedrock::Countable {
public:
    // The name of the converter package that the library registers with ICU.
    static constexpr const char* kPackageName = "icucnv";

    // An object that may not be valid: see IsValid.
    static Bedrock::Counted<StringEncoding> Make(const Utf8String& name);

    StringEncoding(const StringEncoding&) = delete;
    StringEncoding& operator=(const StringEncoding&) = delete;
    ~StringEncoding() override;

    // True when both converters opened.
    bool IsValid() const { return m_converter != nullptr && m_utf8 != nullptr; }
    // Bytes in the named encoding to UTF-8. The output's earlier contents go.
    bool ToUTF8(const std::vector<char>& bytes, Utf8String& text);
    // UTF-8 to bytes in the named encoding. The output's earlier contents go.
    bool FromUTF8(Utf8String text, std::vector<char>& bytes);
    // The ICU status (a UErrorCode) that the last open or conversion left.
    int GetStatus() const { return m_status; }

private:
    explicit StringEncoding(const Utf8String& name);
    bool Convert(UConverter* target, UConverter* source, const char* begin, const char* end, std::vector<char>& output);

    UConverter* m_converter = nullptr;
    UConverter* m_utf8 = nullptr;
    int m_status = 0;
};

}  // namespace Typeframe
