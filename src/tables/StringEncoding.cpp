#include "tables/StringEncoding.h"

#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#include <unicode/udata.h>

// The "icucnv" package, made at build time from .ucm files and compiled in
// by genccode (an aligned block of ICU common data).
extern "C" const char typeframe_icucnv_dat[];

namespace Typeframe {

namespace {

// Hands the embedded package to ICU, once per process. ICU keeps the first
// data registered under a name, so a second copy of the library in the same
// process finds the package already there, with the same contents.
void RegisterConverterPackage() {
    static const bool registered = [] {
        UErrorCode status = U_ZERO_ERROR;
        udata_setAppData(StringEncoding::kPackageName, typeframe_icucnv_dat, &status);
        return U_SUCCESS(status);
    }();
    (void)registered;
}

// Without this, ICU writes a substitution character for what it cannot
// convert and reports success.
void StopOnFailure(UConverter* converter) {
    if (converter == nullptr) return;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    status = U_ZERO_ERROR;
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
}

// The target grows by this much each time it runs out.
constexpr size_t kGrowth = 8;
constexpr int kPivotSize = 64;

}  // namespace

Bedrock::Counted<StringEncoding> StringEncoding::Make(const Utf8String& name) {
    return Bedrock::Counted<StringEncoding>(new StringEncoding(name));
}

StringEncoding::StringEncoding(const Utf8String& name) {
    RegisterConverterPackage();
    // Some converters open with a warning (an ambiguous alias, say): only a
    // failure counts. The UTF-8 converter is opened with the same status, so
    // that it stays closed when the named one could not be opened.
    UErrorCode status = U_ZERO_ERROR;
    m_converter = ucnv_open(name.c_str(), &status);
    if (m_converter == nullptr) {
        status = U_ZERO_ERROR;
        m_converter = ucnv_openPackage(kPackageName, name.c_str(), &status);
    }
    m_utf8 = ucnv_open("UTF-8", &status);
    m_status = status;
    StopOnFailure(m_converter);
    StopOnFailure(m_utf8);
}

StringEncoding::~StringEncoding() {
    if (m_converter != nullptr) ucnv_close(m_converter);
    if (m_utf8 != nullptr) ucnv_close(m_utf8);
}

bool StringEncoding::ToUTF8(const std::vector<char>& bytes, Utf8String& text) {
    std::vector<char> output(static_cast<size_t>(text.GetLength()));
    const char* begin = bytes.empty() ? "" : bytes.data();
    const bool result = Convert(m_utf8, m_converter, begin, begin + bytes.size(), output);
    text = Utf8String(output.data(), static_cast<int>(output.size()));
    return result;
}

bool StringEncoding::FromUTF8(Utf8String text, std::vector<char>& bytes) {
    const char* begin = text.GetBuffer();
    return Convert(m_converter, m_utf8, begin, begin + text.GetLength(), bytes);
}

// One ucnv_convertEx call when the output fits in its present size plus a
// little; otherwise the target grows and the conversion carries on where it
// stopped, keeping the pivot between calls. The output is cut to the bytes
// written, whatever the outcome.
bool StringEncoding::Convert(UConverter* target, UConverter* source, const char* begin, const char* end,
                             std::vector<char>& output) {
    if (!IsValid()) {
        output.clear();
        return false;
    }
    UChar pivot[kPivotSize];
    UChar* pivotSource = pivot;
    UChar* pivotTarget = pivot;
    output.resize(output.size() + kGrowth);
    char* out = output.data();
    const char* in = begin;
    UErrorCode status = U_ZERO_ERROR;
    bool reset = true;
    for (;;) {
        ucnv_convertEx(target, source, &out, output.data() + output.size(), &in, end, pivot, &pivotSource, &pivotTarget,
                       pivot + kPivotSize, reset, true, &status);
        reset = false;
        if (status != U_BUFFER_OVERFLOW_ERROR) break;
        status = U_ZERO_ERROR;
        const size_t written = static_cast<size_t>(out - output.data());
        output.resize(output.size() + kGrowth);
        out = output.data() + written;
    }
    output.resize(static_cast<size_t>(out - output.data()));
    m_status = status;
    return U_SUCCESS(status);
}

}  // namespace Typeframe
