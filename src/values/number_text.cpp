// Number parsing and formatting for values; see number_text.h.
#include "values/number_text.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace bcvalues {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

const char* skipBlanks(const char* s) {
    while (*s && std::isspace(static_cast<unsigned char>(*s))) ++s;
    return s;
}

}  // namespace

double scanDouble(const char* s) {
    if (!s) return 0.0;
    s = skipBlanks(s);
    const char* p = s;
    if (*p == '+' || *p == '-') ++p;
    int digits = 0;
    while (isDigit(*p)) ++p, ++digits;
    if (*p == '.') {
        ++p;
        while (isDigit(*p)) ++p, ++digits;
    }
    if (digits == 0) return 0.0;
    // An exponent counts only when digits follow it: "1.5e" is 1.5.
    if (*p == 'e' || *p == 'E') {
        const char* q = p + 1;
        if (*q == '+' || *q == '-') ++q;
        if (isDigit(*q)) {
            while (isDigit(*q)) ++q;
            p = q;
        }
    }
    // strtod on exactly the matched bytes, so that nothing past them (such as
    // the x of a hex prefix) is taken in.
    size_t n = static_cast<size_t>(p - s);
    char local[64];
    if (n < sizeof local) {
        std::memcpy(local, s, n);
        local[n] = '\0';
        return std::strtod(local, nullptr);
    }
    std::string number(s, n);
    return std::strtod(number.c_str(), nullptr);
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

int formatLong(char* dst, int32_t v) {
    return std::snprintf(dst, kNumberTextSize, "%ld", static_cast<long>(v));
}

int formatDouble(char* dst, double d) {
    int n = std::snprintf(dst, kNumberTextSize, "%.15g", d);
    return n < kNumberTextSize ? n : kNumberTextSize - 1;
}

}  // namespace bcvalues
