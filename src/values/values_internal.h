// What the values subsystem shares with the rest of the library (the
// compiler, the interpreter, the start-up order) and with its tests: the
// expression compiler's scratch, the error code, the fixed sizes, the
// helpers of YVariable that are not its own operations, and the one door to
// the private operations of the heap and of values.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <utility>

#include "baublecore/heap.h"
#include "baublecore/variable.h"

namespace bcvalues {

struct HeapLookup;
struct KnownNumber;

// The longest text a value hands out; buffers for values hold one more byte.
inline constexpr int kTextMax = 1023;
inline constexpr int kValueBufferSize = 1024;
// A computed compound name: 127 bytes and a NUL.
inline constexpr int kNameBufferSize = 128;
inline constexpr int kMaxSubscripts = 32;
// Expression code: 127 bytes and a NUL; at most 128 terminals.
inline constexpr int kCodeBufferSize = 128;
inline constexpr int kMaxTerminals = 128;
// Terms refer to each other by 16-bit index read back as signed, and 0xFFFF
// marks an absent term: 32767 is the last index an entry may take.
inline constexpr int kLastIndex = 32767;
inline constexpr uint16_t kNoTerm = 0xFFFF;
// Table growth step.
inline constexpr int kHeapGrowth = 128;

// A value's text lives in a malloc block of at least kMinTextBlock bytes, so
// that an assignment of a short text can always reuse the block it has.
inline constexpr int kMinTextBlock = 16;
inline char* newTextBlock(int len) {
    size_t n = static_cast<size_t>(len) + 1;
    return static_cast<char*>(std::malloc(n < kMinTextBlock ? kMinTextBlock : n));
}

// strnlen, inline: the texts measured on the hot paths are a few bytes long,
// shorter than the call.
inline int textLength(const char* s, int cap) {
    int n = 0;
    while (n < cap && s[n]) ++n;
    return n;
}

// Error codes of compiling and evaluating, 0 for none.
enum CompileError : int32_t {
    kErrNone = 0,
    kErrBrackets = 1,    // unbalanced brackets or quote, or (... without )
    kErrTooLong = 2,     // empty, too long, too many terms or code bytes
    kErrMissing = 3,     // two operators in a row: an operand is missing
    kErrDivZero = 4,     // \ or % by a divisor that truncates to 0
    kErrRange = 5,       // / by a tiny divisor; negative base, fractional power
    kErrUnquoted = 6,    // tokenizer: unclosed quote
    kErrNotNumber = 7,   // - * / \ % ^ on an operand that is not a number
};

// The compiler's scratch, made at start-up. While compiling, polishCursor is
// the start of the code built so far (from the end of polishBuffer backwards)
// and polishTerms the terminals so far; while evaluating, the next code byte
// and the terminals not yet taken.
extern char* polishBuffer;
extern char* polishCursor;
extern int32_t polishTerms;
extern uint16_t* polishWords;
// Cleared at the start of each evaluation and by a thread's (re)start; set
// by the first failure.
extern int32_t compileError;

// Start-up step 6: the heap (its fields are zero from load on) and the hook
// that lets variables drop an object that is being destroyed.
void startScriptHeap();
void stopScriptHeap();
// Start-up step 7: the compiler scratch.
void startScriptScratch();
void stopScriptScratch();

// The entry a variable forwards to, after following every hop, or the
// variable itself. Every read and write of a value goes to its target.
const YVariable* forwarded(const YVariable& v);
// Most variables forward nowhere: they are their own target at once.
inline const YVariable* target(const YVariable& v) {
    return v.alias == -1 && v.firstClone != 0 ? forwarded(v) : &v;
}
inline YVariable* target(YVariable& v) { return const_cast<YVariable*>(target(std::as_const(v))); }

// v.set(s, len), where the caller already knows what reading s as a number
// gives (null: it is read here).
void setText(YVariable& v, const char* s, int len, const KnownNumber* known);
// Evaluates the expression entry (or reads any other term) and assigns the
// text to t exactly as t->set(text, -1) would.
void assignTo(const YVariable& term, YVariable* t);
// Lets go of the object without deleting it and without following
// forwarding: what a holder does when its object is destroyed elsewhere.
void release(YVariable& v);

// The private operations of the heap and of values, for the free functions
// of the values files, for the parts of the library that are not YThread,
// and for tests. YHeap and YVariable name this door their friend.
struct ValuesAccess {
    // heap[i], inline for the evaluator's and the interpreter's hot paths.
    static YVariable* entry(const YHeap& heap, int i) {
        return heap.initialised && i >= 0 && i < heap.count ? heap.entries[i] : nullptr;
    }
    static void init(YHeap& heap) { heap.init(); }
    static void kill(YHeap& heap) { heap.kill(); }
    static void reset(YHeap& heap) { heap.reset(); }
    static void polish(const YHeap& heap, const char* text, int len) { heap.polish(text, len); }
    static void polish(const YHeap& heap, const char* a, const char* b) { heap.polish(a, b); }
    static int pile(YHeap& heap, const char* name, int len, YVT t) { return heap.pile(name, len, t); }
    static void dropBaubles(YHeap& heap, int kill) { heap.dropBaubles(kill); }
    static int index(const YHeap& heap, YVariable* v) { return heap.index(v); }
    // What the compiler does with one word: compile it, and pile it as an
    // expression when it is one; otherwise the word is a lone term. Returns
    // the heap index, or -1 when the term could not be made (full table).
    // compileError is not cleared here, so a compile keeps its first error;
    // after a failed compile the result is a harmless index and
    // compileError tells why.
    static int attach(YHeap& heap, const char* text, int len);
    // Every variable that holds the object lets go of it without deleting
    // it; called at the start of each ~PXScriptableObject.
    static void objectGone(PXScriptableObject* o);
    static void inflict(YVariable* v, YThread* t) { v->inflict(t); }
    static void killBauble(YVariable& v, int del) { v.killBauble(del); }
    static void plug(YVariable& v, const char* s) { v.plug(s); }
    static HeapLookup* lookup(const YHeap& heap) { return heap.lookup; }
    // Temporaries, as the evaluator makes them.
    static YVariable* makeTemporary() { return new YVariable(); }
    static void destroy(YVariable* v) { delete v; }
};

}  // namespace bcvalues
