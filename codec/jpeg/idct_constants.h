// Constants of the inverse transform, cosines times 8192, rounded, gathered so that each output is
// one sum of products.
#pragma once

#include <cstdint>

namespace tavo::jpeg {

inline constexpr int kOne = 8192;
// The first pass keeps 2 bits of its fraction of 13; the second drops all, and the factor of 8 that
// two passes have more than A.3.3.
inline constexpr int kFirstShift = 13 - 2;
inline constexpr int kSecondShift = 13 + 2 + 3;

inline constexpr int kEven2 = 4433;            // 0.541196100
inline constexpr int kEven6 = 15137 - 4433;    // 1.847759065 - 0.541196100
inline constexpr int kEven6Sum = 4433 + 6270;  // 0.541196100 + 0.765366865

// kOdd[i] are the factors of inputs 1, 3, 5 and 7 in the odd part of outputs i and 7 - i. They are
// sums of the constants of the factored transform, so that the results are the same.
inline constexpr int16_t kOdd[4][4] = {
    {12299 - 7373 - 3196 + 9633, 9633, 9633 - 3196, 9633 - 7373},
    {9633, 25172 - 20995 - 16069 + 9633, 9633 - 20995, 9633 - 16069},
    {9633 - 3196, 9633 - 20995, 16819 - 20995 - 3196 + 9633, 9633},
    {9633 - 7373, 9633 - 16069, 9633, 2446 - 7373 - 16069 + 9633},
};

}  // namespace tavo::jpeg
