#pragma once

// Plain point and rectangle records in font units, y growing upward.

namespace Bedrock {

template <class T>
struct PointT {
    T x{};
    T y{};

    friend bool operator==(const PointT&, const PointT&) = default;
};

// An empty rectangle is all zeros.
template <class T>
struct RectT {
    T left{};
    T bottom{};
    T right{};
    T top{};

    T GetWidth() const { return right - left; }
    T GetHeight() const { return top - bottom; }
    friend bool operator==(const RectT&, const RectT&) = default;
};

}  // namespace Bedrock
