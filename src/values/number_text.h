// How values turn text into numbers and back. Numbers behave as on the
// platform the language was made for: a long is 32 bits, texts are parsed as
// "%lf" parses decimal text there, and a double converted to a long that
// cannot hold it gives the integer-indefinite value 0x80000000 rather than
// undefined behaviour.
#pragma once

#include <cstdint>

namespace bcvalues {

// Enough for any "%ld" of 32 bits or "%.15g" of a double.
inline constexpr int kNumberTextSize = 32;

// The first byte of a number: a digit, '.', '-' or '+'.
inline bool startsNumber(char c) {
    return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+';
}

// "%lf" into a zeroed double: leading blanks, a sign, digits with an optional
// fraction and exponent. Hex, "inf" and "nan" are not numbers here. Text that
// does not start a number gives 0.
double scanDouble(const char* s);
// atoi: leading blanks, a sign, digits; saturates at the 32-bit limits.
int32_t atoi32(const char* s);
// A C cast to a 32-bit long: truncation toward zero; NaN and values outside
// the range give INT32_MIN.
int32_t trunc32(double d);
// Rounds to nearest, ties going down: 2.5 gives 2, -2.5 gives -3.
int32_t roundTiesDown(double d);

// "%ld" of a 32-bit long and "%.15g"; both return the printed length.
int formatLong(char* dst, int32_t v);
int formatDouble(char* dst, double d);

}  // namespace bcvalues
