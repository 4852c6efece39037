// YVariable: reading a term as text, number or object, computed names and
// substrings.
//
// Every read follows forwarding first. Every text written to a caller's
// buffer is at most 1023 bytes and NUL-terminated; terms that a term refers
// to may be absent (a refused part reads as the empty text and the number 0).
#include "baublecore/variable.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "baublecore/heap.h"
#include "values/number_text.h"
#include "values/values_internal.h"

using namespace bcvalues;

namespace {

// Results of value(int&): a result stays valid across exactly one further
// call, so two can be held at once.
char valueBufferA[kValueBufferSize];
char valueBufferB[kValueBufferSize];
bool useBufferB = false;

char resolvedNameBuffer[kNameBufferSize];

char* nextValueBuffer() {
    useBufferB = !useBufferB;
    return useBufferB ? valueBufferB : valueBufferA;
}

// Copies at most 1023 bytes and a NUL; a null text is the empty text.
int copyOut(char* dst, const char* s, int len) {
    if (!s || len < 0) len = 0;
    if (len > kTextMax) len = kTextMax;
    if (len > 0) std::memmove(dst, s, static_cast<size_t>(len));
    dst[len] = '\0';
    return len;
}

int lengthOf(const char* s) { return s ? static_cast<int>(std::strlen(s)) : 0; }

const YVariable* termAt(const uint16_t* terms, int i) {
    if (!terms || terms[i] == kNoTerm) return nullptr;
    return YHeap::theHeap[terms[i]];
}

int32_t longOf(const YVariable* v) {
    int32_t n = 0;
    if (v) v->value(&n);
    return n;
}

int readPlain(const YVariable& v, char* dst) {
    if (v.state == YVS_None) return copyOut(dst, v.name, lengthOf(v.name)), 0;
    copyOut(dst, v.text, v.text ? (v.size_ >= 0 ? v.size_ : lengthOf(v.text)) : 0);
    return 0;
}

int readLiteral(const YVariable& v, char* dst) {
    if (v.name && v.name[0] == '?') {
        // A new digit at every read; whatever follows the ? is ignored.
        int n = std::snprintf(dst, kValueBufferSize, "%d", std::rand() % 10);
        return -n;
    }
    if (v.name && (v.name[0] == '"' || v.name[0] == '\'')) {
        // Without the first byte, and the last cut whatever it is. A lone
        // quote has nothing between: the empty text.
        copyOut(dst, v.name + 1, v.size_ >= 2 ? v.size_ - 2 : 0);
        return 0;
    }
    copyOut(dst, v.name, lengthOf(v.name));
    return 0;
}

int readSlice(const YVariable& v, char* dst) {
    // The base text is kept in a buffer of its own: reading a start or a
    // length that is not a plain term (a compound name) goes through the
    // value buffers, and dst may be one of them. The parts are still read
    // in order, base first, so random terms draw as they always did.
    char whole[kValueBufferSize];
    int baseLen = 0;
    const YVariable* base = termAt(v.terms, 0);
    const char* t = base ? base->value(baseLen) : "";
    int L = copyOut(whole, t, baseLen);

    if (v.size_ == 1) {
        int32_t s = longOf(termAt(v.terms, 1));
        if (s > L) return copyOut(dst, "", 0), 0;
        int start = s < 2 ? 0 : s - 1;
        copyOut(dst, whole + start, L - start);
        return 0;
    }
    int32_t n = longOf(termAt(v.terms, 2));
    if (n < 0) n = 0;
    if (n > L) n = L;
    if (v.terms && v.terms[1] == kNoTerm) return copyOut(dst, whole + L - n, n), 0;
    int32_t s = longOf(termAt(v.terms, 1));
    if (s > L) return copyOut(dst, "", 0), 0;
    int start = s < 2 ? 0 : s - 1;
    if (n > L - start) n = L - start;
    copyOut(dst, whole + start, n);
    return 0;
}

}  // namespace

int YVariable::value(char* dst) const {
    const YVariable* v = target(*this);
    switch (v->type) {
    case YVT_Plain:
        return readPlain(*v, dst);
    case YVT_Literal:
        return readLiteral(*v, dst);
    case YVT_Compound: {
        int a = v->getAssociate();
        const YVariable* associate = a >= 0 ? YHeap::theHeap[a] : nullptr;
        if (!associate) {
            // The computed name could not be made: the term reads as its own
            // source text, and assignments through it go nowhere.
            copyOut(dst, v->name, lengthOf(v->name));
            return 0;
        }
        associate->value(dst);
        return a;
    }
    case YVT_Slice:
        return readSlice(*v, dst);
    case YVT_Expression:
        // A failed evaluation reads as the expression's own source text.
        if (v->palue(dst) != 0) copyOut(dst, v->name, lengthOf(v->name));
        return 0;
    default:
        copyOut(dst, v->name, lengthOf(v->name));
        return 0;
    }
}

const char* YVariable::value(int& len) const {
    const YVariable* v = target(*this);
    char* buffer = nextValueBuffer();
    if (v->type == YVT_Plain) {
        // Stored text as it is: no copy, no formatting.
        if (v->state != YVS_None) {
            if (!v->text) return len = 0, "";
            len = v->size_ >= 0 ? v->size_ : lengthOf(v->text);
            return v->text;
        }
        len = lengthOf(v->name);
        return v->name ? v->name : "";
    }
    if (v->type == YVT_Literal && v->name && v->name[0] != '?') {
        if (v->name[0] != '"' && v->name[0] != '\'') {
            len = v->size_;
            return v->name;
        }
        len = copyOut(buffer, v->name + 1, v->size_ >= 2 ? v->size_ - 2 : 0);
        return buffer;
    }
    int n = v->value(buffer);
    len = n < 0 ? -n : lengthOf(buffer);
    return buffer;
}

const char* YVariable::value(int32_t* out) const {
    const YVariable* v = target(*this);
    if (v->type == YVT_Plain || v->type == YVT_Literal) {
        switch (v->state) {
        case YVS_Long:
            *out = v->number.l;
            break;
        case YVS_Double:
            *out = roundTiesDown(v->number.d);
            break;
        default:
            *out = 0;
            break;
        }
        // The text; a literal has none of its own and answers with its name.
        if (v->state != YVS_None && v->text) return v->text;
        return v->name ? v->name : "";
    }
    int len = 0;
    const char* t = v->value(len);
    *out = atoi32(t);
    return t;
}

const char* YVariable::value(double* out) const {
    const YVariable* v = target(*this);
    if (v->type == YVT_Plain || v->type == YVT_Literal) {
        switch (v->state) {
        case YVS_Long:
            *out = v->number.l;
            break;
        case YVS_Double:
            *out = v->number.d;
            break;
        default:
            *out = 0.0;
            break;
        }
        if (v->state != YVS_None && v->text) return v->text;
        return v->name ? v->name : "";
    }
    int len = 0;
    const char* t = v->value(len);
    *out = scanDouble(t);
    return t;
}

const char* YVariable::value(PXScriptableObject*& out) const {
    const YVariable* v = target(*this);
    out = nullptr;
    if (v->type == YVT_Plain) {
        if (v->state == YVS_Object) out = v->number.object;
        if (v->state != YVS_None && v->text) return v->text;
        return v->name ? v->name : "";
    }
    if (v->type == YVT_Compound) {
        int a = v->getAssociate();
        if (const YVariable* associate = a >= 0 ? YHeap::theHeap[a] : nullptr)
            return associate->value(out);
        return v->name ? v->name : "";
    }
    int len = 0;
    return v->value(len);
}

const char* YVariable::resolve(char* dst) const {
    // value() already answers with the associate's text for a compound name.
    value(dst);
    return dst;
}

const char* YVariable::resolve(PXScriptableObject*& out) const { return value(out); }

const char* YVariable::resolve() const {
    int len = 0;
    return value(len);
}

// The base name up to the first dot, then ".text" for each subscript whose
// text is not empty. A name that would not fit in 127 bytes is refused.
const char* YVariable::resolveName(int& len) const {
    len = 0;
    if (type != YVT_Compound || !name) return nullptr;
    char built[kNameBufferSize];
    const char* dot = std::strchr(name, '.');
    int n = dot ? static_cast<int>(dot - name) : lengthOf(name);
    if (n >= kNameBufferSize) return nullptr;
    std::memcpy(built, name, static_cast<size_t>(n));
    for (int i = 0; i < size_; ++i) {
        const YVariable* sub = termAt(terms, i);
        int subLen = 0;
        const char* t = sub ? sub->value(subLen) : "";
        if (subLen <= 0) continue;
        if (n + 1 + subLen >= kNameBufferSize) return nullptr;
        built[n++] = '.';
        std::memcpy(built + n, t, static_cast<size_t>(subLen));
        n += subLen;
    }
    built[n] = '\0';
    std::memcpy(resolvedNameBuffer, built, static_cast<size_t>(n) + 1);
    len = n;
    return resolvedNameBuffer;
}

// The plain variable the computed name stands for, found or made; -1 when
// the name is refused or the table is full.
int YVariable::getAssociate() const {
    int len = 0;
    const char* n = resolveName(len);
    if (!n) return -1;
    return YHeap::theHeap.pile(n, len, YVT_Plain);
}
