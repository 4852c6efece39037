// Number parsing and formatting for values; see number_text.h.
#include "values/number_text.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace bcvalues {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// No locale counts a digit, sign or dot as a blank: those, by far the common
// first bytes, skip the locale's test.
const char* skipBlanks(const char* s) {
    while (*s && !startsNumber(*s) && std::isspace(static_cast<unsigned char>(*s))) ++s;
    return s;
}

// The decimal number of exactly [first, last), which holds digits with an
// optional fraction and exponent after an optional sign. from_chars rounds
// as strtod does, without the locale; it takes no '+', and leaves out of
// range values to strtod, whose answer (infinity, or a tiny or zero value)
// is the one "%lf" gives.
double decimal(const char* first, const char* last) {
    bool negative = false;
    const char* p = first;
    if (*p == '+' || *p == '-') negative = *p++ == '-';
    double d = 0.0;
    auto [end, error] = std::from_chars(p, last, d, std::chars_format::general);
    if (error == std::errc() && end == last) return negative ? -d : d;
    size_t n = static_cast<size_t>(last - first);
    char local[64];
    if (n < sizeof local) {
        std::memcpy(local, first, n);
        local[n] = '\0';
        return std::strtod(local, nullptr);
    }
    std::string number(first, n);
    return std::strtod(number.c_str(), nullptr);
}

}  // namespace

double scanDouble(const char* s) {
    if (!s) return 0.0;
    s = skipBlanks(s);
    const char* p = s;
    if (*p == '+' || *p == '-') ++p;
    int digits = 0;
    bool fraction = false;
    while (isDigit(*p)) ++p, ++digits;
    if (*p == '.') {
        fraction = true;
        ++p;
        while (isDigit(*p)) ++p, ++digits;
    }
    if (digits == 0) return 0.0;
    // Whole numbers of up to 15 digits are exact in a double: no need for
    // strtod, which dominates the cost of reading a number.
    if (!fraction && digits <= 15 && *p != 'e' && *p != 'E') {
        const char* q = s;
        bool negative = false;
        if (*q == '+' || *q == '-') negative = *q++ == '-';
        int64_t whole = 0;
        while (q < p) whole = whole * 10 + (*q++ - '0');
        double d = static_cast<double>(whole);
        return negative ? -d : d;
    }
    // An exponent counts only when digits follow it: "1.5e" is 1.5.
    if (*p == 'e' || *p == 'E') {
        const char* q = p + 1;
        if (*q == '+' || *q == '-') ++q;
        if (isDigit(*q)) {
            while (isDigit(*q)) ++q;
            p = q;
        }
    }
    // Exactly the matched bytes, so that nothing past them (such as the x of
    // a hex prefix) is taken in.
    return decimal(s, p);
}

int32_t atoi32(const char* s) {
    if (!s) return 0;
    s = skipBlanks(s);
    bool negative = false;
    if (*s == '+' || *s == '-') negative = *s++ == '-';
    int64_t v = 0;
    while (isDigit(*s)) {
        v = v * 10 + (*s++ - '0');
        if (v > int64_t{1} << 32) v = int64_t{1} << 32;  // saturated below
    }
    if (negative) v = -v;
    if (v > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
    if (v < std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

int32_t trunc32(double d) {
    if (!(d > -2147483649.0 && d < 2147483648.0)) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(d);
}

int32_t roundTiesDown(double d) {
    double lo = std::floor(d);
    double hi = std::ceil(d);
    int32_t floorValue = trunc32(lo);
    int32_t ceilValue = trunc32(hi);
    return (hi - d < d - lo) ? ceilValue : floorValue;
}

// What "%ld" prints for a 32-bit long.
int formatLong(char* dst, int32_t v) {
    char* end = std::to_chars(dst, dst + 11, v).ptr;
    *end = '\0';
    return static_cast<int>(end - dst);
}

// to_chars with a precision prints as "%.*g" does in the C locale; infinity
// and NaN keep printf's own spelling.
int formatDouble(char* dst, double d) {
    if (std::isfinite(d)) {
        auto [end, error] = std::to_chars(dst, dst + kNumberTextSize - 1, d, std::chars_format::general, 15);
        if (error == std::errc()) {
            *end = '\0';
            return static_cast<int>(end - dst);
        }
    }
    int n = std::snprintf(dst, kNumberTextSize, "%.15g", d);
    return n < kNumberTextSize ? n : kNumberTextSize - 1;
}

}  // namespace bcvalues
