#pragma once

// A 32-bit tag as an object, so that formatting prints it as text.

#include <cstdint>

#include "base/String.h"

namespace Bedrock {

struct IDTag {
    uint32_t tag = 0;

    constexpr IDTag() = default;
    constexpr explicit IDTag(uint32_t value) : tag(value) {}

    // The four bytes from the most significant on, each as it is (spaces and
    // unprintable bytes included); the tag 0 gives "<>".
    Utf8String ToString() const;
    void AppendTo(Utf8String& out) const;

    friend bool operator==(const IDTag&, const IDTag&) = default;
};

template <class S>
S ToStringT(IDTag tag) {
    return tag.ToString();
}

}  // namespace Bedrock
