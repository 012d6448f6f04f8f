// Internal fixed-point and range helpers shared by every subsystem.
//
// Q14: 16384 = 1.0; a Q14 product is rounded by adding 8192 before an
// arithmetic shift right by 14. NUC values are 14-bit responses held in
// 16 bits. These helpers keep the exact widths the arithmetic depends on,
// so no function re-types a rounding, clamp or 16-bit truncation.
#pragma once

#include <cstdint>
#include <limits>

namespace radimo::fx {

inline constexpr int32_t kQ14One = 16384;
inline constexpr int32_t kQ14Half = 8192;
inline constexpr int kQ14Shift = 14;
inline constexpr double kQ14Scale = 6.103515625e-05;  // 2^-14, exact

inline constexpr uint16_t kNucMax = 16383;  // largest 14-bit NUC value

// (v + 8192) >> 14 in 32-bit signed arithmetic (arithmetic shift).
constexpr int32_t q14_round(int32_t v) {
    return (v + kQ14Half) >> kQ14Shift;
}

// (v + 8192) >> 14 in 64-bit signed arithmetic (arithmetic shift).
constexpr int64_t q14_round64(int64_t v) {
    return (v + kQ14Half) >> kQ14Shift;
}

// Truncation toward zero of a double into a signed 32-bit integer, defined
// for every input: NaN and values outside the int32 range give INT32_MIN, the
// value the x86-64 conversion instruction produces. Use it where an
// extrapolated intermediate or an infinite slope from a zero float divisor may
// leave the int range (a plain cast would be undefined behaviour there).
constexpr int32_t trunc_i32(double v) {
    if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(v);
}

// Truncation toward zero of a double into a signed 64-bit integer, defined
// for every input: NaN and values outside the int64 range give INT64_MIN, the
// value the x86-64 conversion instruction produces.
constexpr int64_t trunc_i64(double v) {
    if (!(v >= -9223372036854775808.0 && v < 9223372036854775808.0)) return INT64_MIN;
    return static_cast<int64_t>(v);
}

// Clamp into [lo, hi].
constexpr int32_t clamp(int32_t v, int32_t lo, int32_t hi) {
    return v < lo ? lo : (v > hi ? hi : v);
}

// Low 16 bits, as the unsigned and the signed 16-bit holder would keep them.
constexpr uint16_t low16(int64_t v) {
    return static_cast<uint16_t>(v);
}
constexpr int16_t low16s(int64_t v) {
    return static_cast<int16_t>(static_cast<uint16_t>(v));
}

// Two's-complement 32-bit wrap of a wider integer result (the width the
// arithmetic is defined in, without signed-overflow undefined behaviour).
constexpr int32_t wrap32(int64_t v) {
    return static_cast<int32_t>(static_cast<uint32_t>(v));
}

// Signed 32-bit division truncating toward zero; b must not be 0. The one
// overflowing case, INT32_MIN / -1, wraps to INT32_MIN instead of trapping.
constexpr int32_t div32(int32_t a, int32_t b) {
    return (b == -1) ? wrap32(-static_cast<int64_t>(a)) : a / b;
}

// Caps an unsigned value at the largest NUC value.
constexpr uint16_t cap_nuc(uint32_t v) {
    return v > kNucMax ? kNucMax : static_cast<uint16_t>(v);
}

// Clamps a signed value into the NUC range 0..16383.
constexpr uint16_t clamp_nuc(int32_t v) {
    return static_cast<uint16_t>(clamp(v, 0, kNucMax));
}

// Signed 32-bit product that wraps on overflow like the hardware multiply,
// for products the arithmetic defines "in 32-bit integers".
constexpr int32_t mul_wrap32(int32_t a, int32_t b) {
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// Signed 64-bit product and sum that wrap on overflow like the hardware
// instructions, for 64-bit arithmetic whose inputs are not range-checked.
constexpr int64_t mul_wrap64(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}
constexpr int64_t add_wrap64(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}
constexpr int64_t sub_wrap64(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}

// A double truncated toward zero and kept in 16 bits, as a 16-bit unsigned
// holder keeps the converted value (defined for every input).
constexpr uint16_t trunc_u16(double v) {
    return low16(trunc_i32(v));
}

}  // namespace radimo::fx
