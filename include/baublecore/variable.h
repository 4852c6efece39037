// YVariable: the one value of the Y language. Every term a compiled script
// refers to (a variable, a literal, a computed name, a substring, a whole
// expression) is one YVariable in the heap, addressed by its index.
//
// A value is text first: a number keeps the text it came from (or was
// formatted to, once, at assignment), an object reads as the one byte 0xA5,
// and a variable with no value reads as its own name. Every text a value
// hands out is at most 1023 bytes, so a 1024-byte buffer always suffices.
#pragma once

#include <cstdint>
#include <cstdio>

#include "baublecore/api.h"

class PXScriptableObject;
class YHeap;
class YThread;

// The library's own door to the private operations below.
namespace bcvalues {
struct ValuesAccess;
}

// The kind of term: decided when the entry is made, never changed.
enum YVT : int32_t {
    YVT_Plain = 0,         // a name that can hold a value
    YVT_Literal = 1,       // a number, a quoted string, or the random term ?
    YVT_Compound = 2,      // a.b: stands for the plain variable named by the subscripts' values
    YVT_Slice = 3,         // a|b, a|b|c, a||c
    YVT_Expression = 4,    // prefix code, evaluated at every read
    YVT_Unclassified = 5,  // only while a constructor runs
};

// The state of the value: changes with every assignment.
enum YVS : int32_t {
    YVS_None = 0,    // no value: reads as its own name
    YVS_Object = 1,  // holds a PXScriptableObject*
    YVS_String = 2,  // text that does not start like a number
    YVS_Long = 3,    // a 32-bit signed integer
    YVS_Double = 4,  // a 64-bit IEEE double
};

// The 8-byte number of a value, by state.
union YNumber {
    int32_t l;                   // YVS_Long
    double d;                    // YVS_Double
    PXScriptableObject* object;  // YVS_Object
};

class BC_API YVariable {
public:
    // The text of an object.
    static constexpr unsigned char kObjectText = 0xA5;

    // Copies every field as it stands, owned pointers included: the two
    // variables then share their blocks, and only one of them may free them.
    YVariable& operator=(const YVariable& other);
    YVariable(const YVariable&) = delete;

    // Assigns text. len >= 0: the length of s; -1: s is NUL-terminated, or,
    // with a null s, the text is made again from the number; -2 with a null
    // s: no value, an owned object is deleted; -3 with a null s: no value,
    // nothing deleted. Only plain variables take text.
    void set(const char* s, int len = -1);
    void set(int32_t v);
    void set(long v) { set(static_cast<int32_t>(v)); }  // long is 32 bits here
    void set(double v);
    void set(PXScriptableObject* o);
    void set(YVariable* src);

    // The current text into dst (at least 1024 bytes). 0: plain text; > 0: the
    // term is a compound name and dst holds the text of the plain variable at
    // that heap index (its associate); < 0: the random term, minus the length.
    int value(char* dst) const;
    // The current text and its length. Plain variables hand out their stored
    // text; other answers live in one of two alternating buffers, so a result
    // stays valid across exactly one further call.
    const char* value(int& len) const;
    const char* value(int32_t* out) const;
    const char* value(long* out) const {
        int32_t v = 0;
        const char* t = value(&v);
        *out = v;
        return t;
    }
    const char* value(double* out) const;
    const char* value(PXScriptableObject*& out) const;

    const char* resolve(char* dst) const;
    const char* resolve(PXScriptableObject*& out) const;
    const char* resolve() const;
    // For a compound name: the computed name (in a shared 128-byte buffer) and
    // its length. Null for any other type, and for a name that would not fit.
    const char* resolveName(int& len) const;

    int size() const;
    operator int() const;
    int operator!() const { return !static_cast<int>(*this); }
    int clones() const { return firstClone ? cloneCount : 0; }
    const char* getName() const { return name; }
    int getAlias() const { return alias; }
    void makeAlias() { alias = 1; }
    void drop(int kill) { set(nullptr, kill ? -2 : -3); }

    // The saved record of this entry: fixed fields, then name, text and
    // parts, numbers little-endian on any host.
    void write(std::FILE* f) const;
    // Read one record over this variable; `swap` non-zero reads numbers of
    // the other byte order. 1 when a whole, sound record was read; 0 when it
    // was cut short or holds what no record can, and the variable is then
    // left as it was.
    int read(std::FILE* f, int swap);
    // From memory, moving p behind the record. This form knows no end: the
    // caller vouches for a whole record at p, and it reads no further than
    // the largest record reaches. The library itself reads within bounds.
    int read(const unsigned char*& p, int swap);

    // Fields, in order. size_ is the `size` field: the length of text when a
    // value is held (-1 when unknown or none); for a literal the length of
    // name; for a compound the number of subscripts; for a slice 1 (a|b) or 2
    // (a|b|c, a||c); for an expression the number of terminals.
    int32_t size_;
    char* name;  // owned: the source text of the term, quotes included
    char* text;  // owned: the value as text; for an expression, its prefix code
    int32_t alias;  // 0: owns its object; 1: refers to it; -1: forwards to firstClone
    int32_t firstClone;  // first clone's index; when forwarding, the target's
    int32_t cloneCount;  // highest clone number handed out
    YVT type;
    YVS state;
    YNumber number;
    uint16_t* terms;  // owned: heap indices of the parts
    int32_t handled;  // 1 from the moment a handle was given out until the next assignment

private:
    friend class YHeap;
    friend class YThread;
    friend struct bcvalues::ValuesAccess;

    // A temporary of the evaluator: alias 1, so an object passing through is
    // never deleted with it.
    YVariable();
    // An entry of type t with no value. YVT_Unclassified classifies the name;
    // YVT_Expression takes the expression just compiled.
    YVariable(const char* name, int len, YVT t);
    // Classifies the name, then set(value, -1).
    YVariable(const char* name, int len, const char* value);
    ~YVariable();

    void nameIt(const char* name, int len);
    void classify(int len);
    void reduce();
    void plug(const char* s);
    void killBauble(int del);
    // Compiles the name into the thread as a new term; a plain variable that
    // comes out of it without a value takes this entry's text.
    void inflict(YThread* t);
    int getAssociate() const;
    // Runs this expression's code into dst; the error code, 0 for none.
    int palue(char* dst) const;
};
