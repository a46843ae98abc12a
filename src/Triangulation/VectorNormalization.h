#pragma once

// The one normalisation rule of the library's geometry code, in single precision: the length comes
// from the float overloads of std::hypot (computed inline, to the same value); a length within
// kNormalizationTolerance of 1 leaves the vector as it is (so already-unit vectors are not
// perturbed by a division), and a length of at most kNormalizationTolerance counts as no direction
// at all. Every stage that normalises uses these functions so that their results agree to the bit.

#include <cmath>

namespace Vardune::Qel {

struct Vector2f
{
    float x;
    float y;
};

struct Vector3f
{
    float x;
    float y;
    float z;
};

constexpr float kNormalizationTolerance = 0.00001f;

// std::hypot(x, y) for floats, bit for bit, without the library call that the ear tests make
// millions of times: the squares of two floats are exact in double, so their sum is rounded
// once, its square root once more and the float once more, which is how the C library computes
// it too. An infinite side, whose result depends on what kind of NaN may stand beside it, is
// left to the library.
inline float length2D(float x, float y)
{
    if (std::isinf(x) || std::isinf(y))
        return std::hypot(x, y);
    return static_cast<float>(std::sqrt(double(x) * double(x) + double(y) * double(y)));
}

// std::hypot(x, y, z) for floats as the C++ library computes it, written out so that code working
// on several vectors at once (SmallFaceWinding) can repeat it exactly: the largest magnitude
// scales the three, and the length is that magnitude times the root of their sum of squares.
inline float length3D(float x, float y, float z)
{
    x = std::abs(x);
    y = std::abs(y);
    z = std::abs(z);
    const float largest = x < y ? (y < z ? z : y) : (x < z ? z : x);
    if (largest == 0.0f)
        return 0.0f;
    const float sx = x / largest;
    const float sy = y / largest;
    const float sz = z / largest;
    return largest * std::sqrt(sx * sx + sy * sy + sz * sz);
}

// The vector divided by its length; unchanged when the length is already within the tolerance of
// 1, the zero vector when the length is at most the tolerance.
inline Vector2f normalized(Vector2f v)
{
    const float length = length2D(v.x, v.y);
    if (std::abs(length - 1.0f) <= kNormalizationTolerance)
        return v;
    if (length <= kNormalizationTolerance)
        return { 0.0f, 0.0f };
    return { v.x / length, v.y / length };
}

// The 3D form of the rule above.
inline Vector3f normalized(Vector3f v)
{
    const float length = length3D(v.x, v.y, v.z);
    if (std::abs(length - 1.0f) <= kNormalizationTolerance)
        return v;
    if (length <= kNormalizationTolerance)
        return { 0.0f, 0.0f, 0.0f };
    return { v.x / length, v.y / length, v.z / length };
}

// Normalises in place; unlike the copy form, a near-zero vector is left as it is rather than
// zeroed, so that a caller can still tell a tiny vector from none.
inline void normalize(Vector3f &v)
{
    const float length = length3D(v.x, v.y, v.z);
    if (std::abs(length - 1.0f) <= kNormalizationTolerance || length <= kNormalizationTolerance)
        return;
    v.x /= length;
    v.y /= length;
    v.z /= length;
}

} // namespace Vardune::Qel
