#include "base/Path.h"

namespace Bedrock {

template <class S, class Traits>
PathT<S, Traits>& PathT<S, Traits>::Append(const char* part, int length) {
    if (!part) return *this;
    if (length < 0) length = BaseCharTraits<char>::GetLength(part);
    if (length == 0) return *this;
    if (!m_path.IsEmpty()) {
        const bool endsWithSeparator = m_path[m_path.GetLength() - 1] == Traits::kSeparator;
        if (part[0] == Traits::kSeparator) {
            if (endsWithSeparator) m_path.Erase(m_path.GetLength() - 1, 1);
        } else if (!endsWithSeparator) {
            m_path.Append(Traits::kSeparator);
        }
    }
    m_path.Append(part, length);
    return *this;
}

template <class S, class Traits>
PathT<S, Traits> PathT<S, Traits>::GetParent() const {
    int slash = -1;
    for (int i = m_path.GetLength() - 1; i >= 0; --i) {
        if (m_path[i] == Traits::kSeparator) {
            slash = i;
            break;
        }
    }
    if (slash < 0) return PathT();
    return PathT(m_path.Substring(0, slash == 0 ? 1 : slash));
}

template class PathT<Utf8String, PathTraitsUnix>;

}  // namespace Bedrock
