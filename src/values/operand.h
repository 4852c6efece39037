// The evaluator's operands and results. Each stands for a temporary variable
// of the evaluator (a plain variable that refers to any object it is given
// and never deletes it) and holds exactly what that temporary would: the
// state, the number, the size and the text. It differs only in where the
// text lives: a term's own text is borrowed for the evaluation's duration
// (nothing assigns while an expression is read), short texts sit inside the
// operand, and only long ones take a heap block.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "baublecore/variable.h"
#include "values/number_text.h"
#include "values/values_internal.h"

namespace bcvalues {

// What reading a text as a number gave: the state and number that set(text,
// len) stores for exactly that text and length.
struct KnownNumber {
    YVS state;
    YNumber number;
};

// State and number of a text as an assignment reads it: a text that starts
// like a number is read as a double and a whole one with at most ten
// characters becomes a long; any other text is a string.
inline KnownNumber readNumber(const char* s, int len) {
    KnownNumber k{};
    k.number.d = 0.0;
    if (!startsNumber(s[0])) {
        k.state = YVS_String;
        return k;
    }
    // A whole number of up to 15 digits, the common text, is read here; it is
    // exact in a double, as the general reading would give it.
    const char* p = s;
    bool negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    const char* digits = p;
    int64_t whole = 0;
    while (*p >= '0' && *p <= '9' && p - digits < 16) whole = whole * 10 + (*p++ - '0');
    int count = static_cast<int>(p - digits);
    double d;
    if (count > 0 && count <= 15 && *p != '.' && *p != 'e' && *p != 'E' && !(*p >= '0' && *p <= '9'))
        d = negative ? -static_cast<double>(whole) : static_cast<double>(whole);
    else
        d = scanDouble(s);
    k.state = YVS_Double;
    k.number.d = d;
    if (len <= 10 && d >= -2000000000.0 && d <= 2000000000.0) {
        int32_t l = static_cast<int32_t>(d);
        if (static_cast<double>(l) == d) {
            k.number.l = l;
            k.state = YVS_Long;
        }
    }
    return k;
}

struct Operand {
    YVS state = YVS_String;
    YNumber number{};
    // -1 for a fresh operand and for one with no value; otherwise the length
    // of text, which then has a NUL at text[size].
    int32_t size = -1;
    const char* text = nullptr;
    // Whether state and number are what an assignment of the text reads
    // from it: then a store can skip reading it again.
    bool textIsNumber = false;

    Operand() { number.d = 0.0; }
    Operand(const Operand&) = delete;
    Operand& operator=(const Operand&) = delete;
    ~Operand() {
        if (big) std::free(big);
        if (spare) std::free(spare);
    }

    // A temporary's text and length, as value(int&) gives them.
    const char* value(int& len) const {
        if (state == YVS_None || !text) return len = 0, "";
        len = size;
        return text;
    }
    double asDouble() const {
        if (state == YVS_Long) return number.l;
        if (state == YVS_Double) return number.d;
        return 0.0;
    }
    bool isNumber() const { return state == YVS_Long || state == YVS_Double; }
    bool hasValue() const { return state != YVS_None; }

    // set(s, len) of a temporary: the text is copied and read as a number.
    void setText(const char* s, int len) {
        if (len < 0) len = static_cast<int>(std::strlen(s));
        if (len > kTextMax) len = kTextMax;
        char* t = room(len);
        std::memmove(t, s, static_cast<size_t>(len));
        t[len] = '\0';
        finishText(t, len);
    }
    // The same for a text that stays put for the evaluation and has a NUL at
    // s[len]: borrowed, not copied.
    void borrowText(const char* s, int len) { finishText(s, len); }
    // Room for a text of len bytes and its NUL, to be filled and then handed
    // to finishText. Never the block of the current text.
    char* room(int len) {
        if (len < static_cast<int>(sizeof small) && text != small) return small;
        char* block = static_cast<char*>(std::malloc(static_cast<size_t>(len) + 1));
        std::free(spare);
        spare = block;
        return block;
    }
    void finishText(const char* t, int len) {
        finish(t, len);
        KnownNumber k = readNumber(t, len);
        state = k.state;
        number = k.number;
        textIsNumber = true;
    }

    // set(long) of a temporary.
    void setLong(int32_t v) {
        state = YVS_Long;
        number.l = v;
        writeLong();
    }
    // set(double) of a temporary: a whole value becomes a long when the
    // operand's current size allows it, as reduce decides.
    void setDouble(double v) {
        state = YVS_Double;
        number.d = v;
        if (size <= 10 && v >= -2000000000.0 && v <= 2000000000.0) {
            int32_t l = static_cast<int32_t>(v);
            if (static_cast<double>(l) == v) {
                state = YVS_Long;
                number.l = l;
                writeLong();
                return;
            }
        }
        char* t = room(kNumberTextSize);
        int n = formatDouble(t, number.d);
        finish(t, n);
        // The stored double may differ from the reading of its text.
        textIsNumber = false;
    }
    // set(o) of a temporary, then its alias mark: a reference.
    void setObject(PXScriptableObject* o) {
        if (state == YVS_Object && number.object == o) return;
        if (o) {
            static const char objectText[2] = {static_cast<char>(YVariable::kObjectText), '\0'};
            state = YVS_Object;
            number.object = o;
            size = 1;
            text = objectText;
        } else {
            state = YVS_None;
            number.d = 0.0;
            size = -1;
            text = nullptr;
        }
        textIsNumber = false;
    }

private:
    void writeLong() {
        char* t = room(kNumberTextSize);
        int n = formatLong(t, number.l);
        finish(t, n);
        // Reading "%ld" of a long gives it back, and it stays a long when
        // the text is short enough and the value within range.
        textIsNumber = n <= 10 && number.l >= -2000000000 && number.l <= 2000000000;
    }
    void finish(const char* t, int n) {
        if (t == spare) {
            std::free(big);
            big = spare;
            spare = nullptr;
        }
        size = n;
        text = t;
    }

    char small[48];
    char* big = nullptr;    // the block of the current text, when it is not small
    char* spare = nullptr;  // a block handed out by room and not yet filled
};

}  // namespace bcvalues
