// YHeap::polish: one expression text to prefix code.
//
// Three levels, loosest first: sum "+-<>=#", product "*/\%@^", prefix "~$"
// (unary). Within a level operators bind alike, left to right. The code is
// built from the end of polishBuffer backwards, so what is emitted last is
// read first:
//   "t"             the next terminal, taken from the end of the list
//   "z"             the number 0, a missing left operand (-x is 0-x)
//   "s" op A [B]    A is the code of the right operand, B of the left one;
//                   ~ and $ have only A
// So a-b+c gives the terminals a, b, c and the code "s+ts-tt".
//
// Bounds: at most 127 code bytes and 128 terminals; more is refused with
// error 2, and nothing is ever written outside the scratch.
#include <cstring>
#include <vector>

#include "baublecore/heap.h"
#include "values/values_internal.h"

namespace bcvalues {

char* polishBuffer = nullptr;
char* polishCursor = nullptr;
int32_t polishTerms = 0;
uint16_t* polishWords = nullptr;
int32_t compileError = 0;

void startScriptScratch() {
    if (!polishBuffer) polishBuffer = new char[kCodeBufferSize]();
    if (!polishWords) polishWords = new uint16_t[kMaxTerminals]();
    polishBuffer[kCodeBufferSize - 1] = '\0';
    polishCursor = polishBuffer + kCodeBufferSize - 1;
    polishTerms = 0;
}

void stopScriptScratch() {
    delete[] polishBuffer;
    delete[] polishWords;
    polishBuffer = nullptr;
    polishWords = nullptr;
    polishCursor = nullptr;
    polishTerms = 0;
}

int ValuesAccess::attach(YHeap& heap, const char* text, int len) {
    heap.polish(text, len);
    if (polishCursor && *polishCursor == 's') return heap.pile(text, len, YVT_Expression);
    if (polishTerms > 0) return polishWords[0];
    if (compileError) return 0;
    // A code of a lone "z" (the text "-" or "+") took no terminal: the word
    // is then a term of its own.
    return heap.pile(text, len, static_cast<const char*>(nullptr));
}

}  // namespace bcvalues

using namespace bcvalues;

namespace {

enum Level { kSumLevel, kProductLevel, kPrefixLevel };

const char* const kDelimiters[] = {"+-<>=#", "*/\\%@^", "~$"};

struct Segment {
    char op;  // the operator before the segment, 0 for none
    const char* start;
    int len;
};

// First failure wins for the refusals this file adds.
void fail(int32_t code) {
    if (!compileError) compileError = code;
}

void emit(char c) {
    if (polishCursor <= polishBuffer) {
        fail(kErrTooLong);
        return;
    }
    *--polishCursor = c;
}

void emitOperator(char op) {
    if (!op) return;
    emit(op);
    emit('s');
}

void split(const char* text, int len, Level level);

void terminal(const char* text, int len) {
    if (polishTerms >= kMaxTerminals) {
        fail(kErrTooLong);
        return;
    }
    int i = YHeap::theHeap.pile(text, len, static_cast<const char*>(nullptr));
    if (i < 0 || i > kLastIndex) {
        fail(kErrTooLong);
        return;
    }
    polishWords[polishTerms++] = static_cast<uint16_t>(i);
    emit('t');
}

void primary(const char* text, int len, char op) {
    if (len >= 2 && text[0] == '(' && text[len - 1] == ')') {
        split(text + 1, len - 2, kSumLevel);
    } else {
        if (len > 0 && text[0] == '(') compileError = kErrBrackets;
        terminal(text, len);
    }
    emitOperator(op);
}

// Each level hands its segments to the next, then emits the operator that
// stood before the segment it was given.
void nextLevel(const Segment& s, Level level) {
    if (level == kPrefixLevel) {
        primary(s.start, s.len, s.op);
        return;
    }
    split(s.start, s.len, static_cast<Level>(level + 1));
    emitOperator(s.op);
}

bool isDelimiter(char c, Level level) { return c != '\0' && std::strchr(kDelimiters[level], c) != nullptr; }

void split(const char* text, int len, Level level) {
    int depth = 0;
    char quote = 0;
    char opBefore = 0;
    char lastOp = 0;
    std::vector<Segment> segments;
    int pos = 0;
    for (;;) {
        int start = pos;
        char found = 0;
        for (; pos < len; ++pos) {
            char c = text[pos];
            if (c == '"' || c == '\'') {
                if (!quote)
                    quote = c;
                else if (quote == c)
                    quote = 0;
            } else if (c == '(') {
                ++depth;  // brackets count inside quotes too
            } else if (c == ')') {
                if (--depth < 0) fail(kErrBrackets);
            } else if (depth == 0 && !quote && isDelimiter(c, level)) {
                found = c;
                lastOp = c;
                break;
            }
        }
        if (!found && (depth != 0 || quote)) {
            fail(kErrBrackets);
            return;
        }
        int segLen = pos - start;
        if (segLen == 0) {
            if (opBefore && !compileError)
                compileError = kErrMissing;
            else if (lastOp != '~' && lastOp != '$')
                emit('z');
        } else {
            segments.push_back({opBefore, text + start, segLen});
        }
        opBefore = lastOp;
        // An operator at the very end starts nothing: "a+" is "a".
        if (!found || pos + 1 >= len) break;
        ++pos;
    }
    if (compileError) return;
    for (const Segment& s : segments) nextLevel(s, level);
}

}  // namespace

void YHeap::polish(const char* text, int len) const {
    polishTerms = 0;
    if (!polishBuffer || !polishWords) {
        // No scratch (before start-up or after the end): nothing compiles.
        compileError = kErrTooLong;
        return;
    }
    polishCursor = polishBuffer + kCodeBufferSize - 1;
    *polishCursor = '\0';
    if (!text || len <= 0 || len > kTextMax) {
        compileError = kErrTooLong;
        return;
    }
    // Terminals are heap entries: without a heap there is nowhere to put them.
    if (!initialised) {
        fail(kErrTooLong);
        return;
    }
    split(text, len, kSumLevel);
    if (compileError) polishCursor = polishBuffer + kCodeBufferSize - 1;
}

void YHeap::polish(const char* text) const { polish(text, text ? static_cast<int>(std::strlen(text)) : 0); }

// The inclusive span from a to b; an inverted span is empty.
void YHeap::polish(const char* a, const char* b) const {
    int len = (a && b && b >= a) ? static_cast<int>(b - a + 1) : 0;
    polish(a, len);
}
