#include "base/Format.h"

#include "base/ToString.h"

namespace Bedrock {

void FormatHolderT::AppendTo(Utf8String& out) const {
    switch (m_kind) {
        case Kind::kString: out.Append(*m_value.string); break;
        case Kind::kText: out.Append(m_value.text); break;
        case Kind::kChar: out.Append(m_value.character); break;
        case Kind::kSigned:
            AppendInteger(out, ToStringDetail::Magnitude(m_value.signedValue), m_value.signedValue < 0, 10, 0, kPadNone,
                          kSignMinusOnly, false, nullptr);
            break;
        case Kind::kUnsigned:
            AppendInteger(out, m_value.unsignedValue, false, 10, 0, kPadNone, kSignMinusOnly, false, nullptr);
            break;
        case Kind::kDouble: AppendShortestDouble(out, m_value.doubleValue); break;
        case Kind::kTag: IDTag(m_value.tag).AppendTo(out); break;
    }
}

int AppendFormatVT(Utf8String& out, const char* format, const FormatHolderT* args, int count) {
    if (!format) return 0;
    const int before = out.GetLength();
    const char* run = format;
    const char* p = format;
    while (*p) {
        if (p[0] == '%' && p[1] >= '1' && p[1] <= '9' && p[1] - '0' <= count) {
            out.Append(run, static_cast<int>(p - run));
            args[p[1] - '1'].AppendTo(out);
            p += 2;
            run = p;
        } else {
            ++p;
        }
    }
    out.Append(run, static_cast<int>(p - run));
    return out.GetLength() - before;
}

void ConcatString(Utf8String& out, const char* first, int firstLength, const char* second, int secondLength) {
    // Built apart and swapped in, so that parts inside out stay valid.
    Utf8String joined(first, firstLength);
    joined.Append(second, secondLength);
    out.Swap(joined);
}

}  // namespace Bedrock
