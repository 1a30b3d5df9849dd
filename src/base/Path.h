#pragma once

// A file-system path held as a string, joined part by part.

#include "base/String.h"

namespace Bedrock {

struct PathTraitsUnix {
    static constexpr char kSeparator = '/';
};

template <class S, class Traits>
class PathT {
public:
    PathT() = default;
    explicit PathT(const S& path) : m_path(path) {}
    explicit PathT(const char* path, int length = -1) : m_path(path, length) {}

    // Joins the part with exactly one separator between the two (none when
    // this path is empty). A length of -1 takes a NUL-terminated part.
    PathT& Append(const char* part, int length = -1);
    PathT& Append(const S& part) { return Append(part.GetBuffer(), part.GetLength()); }

    // Everything before the last separator ("/" for a file at the root, empty
    // when there is no separator).
    PathT GetParent() const;

    const S& GetString() const { return m_path; }
    const char* c_str() const { return m_path.c_str(); }
    bool IsEmpty() const { return m_path.IsEmpty(); }

    friend bool operator==(const PathT&, const PathT&) = default;

private:
    S m_path;
};

using Path = PathT<Utf8String, PathTraitsUnix>;

extern template class PathT<Utf8String, PathTraitsUnix>;

}  // namespace Bedrock
