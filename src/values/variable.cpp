// YVariable: making a term from its source text, and every assignment.
//
// Invariants kept here: a stored text is at most 1023 bytes and ends in a
// NUL; a name ends at its first NUL and is at most 1023 bytes, so a literal's
// size never exceeds its name; `number` holds nothing that reads as an object
// pointer unless state is YVS_Object; an object is deleted only by a holder
// with alias 0, and its pointer is cleared from that holder before the delete
// runs, so the heap's clean-up (which clears every other holder) never sees
// it half-gone.
#include "baublecore/variable.h"

#include <cstdlib>
#include <cstring>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "baublecore/heap.h"
#include "baublecore/scriptable_object.h"
#include "frame/stress.h"
#include "values/number_text.h"
#include "values/operand.h"
#include "values/values_internal.h"

using namespace bcvalues;

namespace {

// A forwarding chain is followed this many hops at most: only a damaged table
// (a loaded file) can hold a longer one or a loop, and it then stops where it
// is rather than spin.
constexpr int kMaxForwardingHops = 16;

char* copyText(const char* s, int len) {
    char* t = new char[static_cast<size_t>(len) + 1];
    if (len > 0) std::memcpy(t, s, static_cast<size_t>(len));
    t[len] = '\0';
    return t;
}

// How many bytes of text (NUL included) the block can hold; every block holds
// kMinTextBlock, and only a longer text asks malloc for more.
size_t textRoom(const char* t, size_t need) {
    if (!t) return 0;
    if (need <= kMinTextBlock) return kMinTextBlock;
#if defined(__GLIBC__)
    return malloc_usable_size(const_cast<char*>(t));
#else
    return 0;
#endif
}

int pileTerm(const char* s, int len) {
    int i = YHeap::theHeap.pile(s, len, static_cast<const char*>(nullptr));
    // A part that could not be made (full table) is an absent term; the whole
    // is then refused by the heap as well, since it cannot be appended either.
    return (i >= 0 && i <= kLastIndex) ? i : kNoTerm;
}

void classifySlice(YVariable& v, const char* bar) {
    v.type = YVT_Slice;
    v.terms = new uint16_t[3]{kNoTerm, kNoTerm, kNoTerm};
    v.terms[0] = static_cast<uint16_t>(pileTerm(v.name, static_cast<int>(bar - v.name)));
    const char* second = std::strchr(bar + 1, '|');
    if (second) {
        v.size_ = 2;
        if (second != bar + 1)
            v.terms[1] = static_cast<uint16_t>(pileTerm(bar + 1, static_cast<int>(second - bar - 1)));
        const char* last = std::strrchr(v.name, '|');
        v.terms[2] = static_cast<uint16_t>(pileTerm(last + 1, static_cast<int>(std::strlen(last + 1))));
    } else {
        v.size_ = 1;
        v.terms[1] = static_cast<uint16_t>(pileTerm(bar + 1, static_cast<int>(std::strlen(bar + 1))));
    }
}

// Each subscript becomes a term of its own, numeric ones too, piled from the
// last to the first; terms[i] is the i-th subscript.
void classifyCompound(YVariable& v, int subscripts) {
    v.type = YVT_Compound;
    v.size_ = subscripts;
    v.terms = new uint16_t[static_cast<size_t>(subscripts)];
    const char* starts[kMaxSubscripts];
    int lengths[kMaxSubscripts];
    int k = 0;
    for (const char* dot = std::strchr(v.name, '.'); dot && k < subscripts; ++k) {
        const char* next = std::strchr(dot + 1, '.');
        starts[k] = dot + 1;
        lengths[k] = static_cast<int>((next ? next : dot + 1 + std::strlen(dot + 1)) - (dot + 1));
        dot = next;
    }
    for (int i = subscripts - 1; i >= 0; --i)
        v.terms[i] = static_cast<uint16_t>(pileTerm(starts[i], lengths[i]));
}

// A forwarding variable whose target is there counts as holding a value.
bool hasTarget(const YVariable& v) {
    return v.alias == -1 && v.firstClone != 0 && YHeap::theHeap[v.firstClone] != nullptr;
}

}  // namespace

YVariable::YVariable()
    : size_(-1), name(nullptr), text(nullptr), alias(1), firstClone(0), cloneCount(0),
      type(YVT_Plain), state(YVS_String), number(), terms(nullptr), handled(0) {
    std::memset(&number, 0, sizeof number);
}

YVariable::YVariable(const char* n, int len, YVT t)
    : size_(-1), name(nullptr), text(nullptr), alias(0), firstClone(0), cloneCount(0), type(t),
      state(YVS_None), number(), terms(nullptr), handled(0) {
    std::memset(&number, 0, sizeof number);
    nameIt(n, len);
}

YVariable::YVariable(const char* n, int len, const char* value)
    : YVariable(n, len, YVT_Unclassified) {
    set(value, -1);
}

YVariable::~YVariable() {
    delete[] name;
    delete[] terms;
    std::free(text);
    name = nullptr;
    terms = nullptr;
    text = nullptr;
    killBauble(1);
}

YVariable& YVariable::operator=(const YVariable& other) {
    size_ = other.size_;
    name = other.name;
    text = other.text;
    alias = other.alias;
    firstClone = other.firstClone;
    cloneCount = other.cloneCount;
    type = other.type;
    state = other.state;
    number = other.number;
    terms = other.terms;
    handled = other.handled;
    return *this;
}

void YVariable::nameIt(const char* n, int len) {
    if (!n) len = 0;
    if (len < 0) len = static_cast<int>(std::strlen(n));
    // A name ends at its first NUL, and is cut at 1023 bytes like any text a
    // value hands out: no reader can then be led past its end.
    const void* nul = len > 0 ? std::memchr(n, '\0', static_cast<size_t>(len)) : nullptr;
    if (nul) len = static_cast<int>(static_cast<const char*>(nul) - n);
    if (len > kTextMax) len = kTextMax;
    name = copyText(n, len);

    if (type == YVT_Expression) {
        // The expression just compiled: its terminals and its code.
        int count = polishWords ? polishTerms : 0;
        if (count < 0) count = 0;
        if (count > kMaxTerminals) count = kMaxTerminals;
        size_ = count;
        if (count > 0) {
            terms = new uint16_t[static_cast<size_t>(count)];
            std::memcpy(terms, polishWords, sizeof(uint16_t) * static_cast<size_t>(count));
        }
        const char* code = polishCursor ? polishCursor : "";
        int n = static_cast<int>(std::strlen(code));
        text = newTextBlock(n);
        std::memcpy(text, code, static_cast<size_t>(n) + 1);
    } else if (type == YVT_Literal) {
        size_ = len;
    } else if (type == YVT_Unclassified) {
        classify(len);
    }
}

// Decides the kind of term from its text, in a fixed order: a bar anywhere
// makes a slice, then numbers, then quoted strings and ?, then names.
void YVariable::classify(int len) {
    if (const char* bar = std::strchr(name, '|')) {
        classifySlice(*this, bar);
        return;
    }
    char first = name[0];
    if (startsNumber(first)) {
        type = YVT_Literal;
        size_ = len;
        number.d = scanDouble(name);
        state = YVS_Double;
        reduce();
        return;
    }
    if (first == '"' || first == '\'' || first == '?') {
        type = YVT_Literal;
        size_ = len;
        state = YVS_String;
        return;
    }
    type = YVT_Plain;
    if (!std::strchr(name, '.')) return;

    int subscripts = 0;
    bool allNumeric = true;
    for (const char* dot = std::strchr(name, '.'); dot; dot = std::strchr(dot + 1, '.')) {
        ++subscripts;
        if (!startsNumber(dot[1])) allNumeric = false;
    }
    // More subscripts than a name may have: the term is refused as a computed
    // name and stays a plain variable of that literal name.
    if (allNumeric || subscripts > kMaxSubscripts) {
        size_ = -1;
        return;
    }
    classifyCompound(*this, subscripts);
}

// A whole double with a short text becomes a long. A value with no recorded
// text (size -1) qualifies; a number written with more than ten characters
// stays a double. The text is left as it was: 007 keeps its text.
void YVariable::reduce() {
    if (state != YVS_Double || size_ > 10) return;
    double d = number.d;
    if (!(d >= -2000000000.0 && d <= 2000000000.0)) return;
    int32_t l = static_cast<int32_t>(d);
    if (static_cast<double>(l) != d) return;
    number.l = l;
    state = YVS_Long;
}

// Any assignment that stores text cuts the variable from its clones and from
// a forwarding target.
// The new text is copied before the old one is freed, and moved (not copied)
// within a block that is kept: s may point into the old text.
void YVariable::plug(const char* s) {
    char* old = text;
    text = nullptr;
    firstClone = 0;
    if (!s) {
        std::free(old);
        killBauble(1);
        return;
    }
    if (size_ == -1) size_ = static_cast<int32_t>(std::strlen(s));
    if (size_ > kTextMax) size_ = kTextMax;
    size_t n = static_cast<size_t>(size_);
    BC_ASSERT(size_ >= 0 && size_ <= kTextMax);
    // The stress build always takes a new block: then a text that points
    // into the old one is copied before the old one goes, every time.
    if (!bcframe::stress() && textRoom(old, n + 1) > n) {
        text = old;
        std::memmove(text, s, n);
    } else {
        text = newTextBlock(size_);
        if (n) std::memcpy(text, s, n);
        std::free(old);
    }
    text[n] = '\0';
}

void YVariable::killBauble(int del) {
    handled = 0;
    if (state != YVS_Object) return;
    PXScriptableObject* o = number.object;
    bool destroy = alias == 0 && del && o;
    if (alias != -1) alias = 0;
    std::memset(&number, 0, sizeof number);
    // Cleared first: the object's destructor has the heap clear every other
    // holder, and this one must already read as not holding it. A bauble
    // leaving its window on deletion is the bauble's own destructor's work.
    if (destroy) delete o;
}

namespace bcvalues {

void release(YVariable& v) {
    ValuesAccess::killBauble(v, 0);
    v.state = YVS_None;
    if (v.type == YVT_Plain) {
        v.size_ = -1;
        ValuesAccess::plug(v, nullptr);
    }
}

const YVariable* forwarded(const YVariable& from) {
    const YVariable* v = &from;
    for (int hops = 0; v->alias == -1 && v->firstClone != 0 && hops < kMaxForwardingHops; ++hops) {
        const YVariable* next = YHeap::theHeap[v->firstClone];
        if (!next || next == v) break;
        v = next;
    }
    return v;
}

}  // namespace bcvalues

YVariable::operator int() const {
    if (hasTarget(*this)) return 1;
    return state != YVS_None;
}

int YVariable::size() const { return target(*this)->size_; }

void YVariable::set(const char* s, int len) { setText(*this, s, len, nullptr); }

void bcvalues::setText(YVariable& v, const char* s, int len, const KnownNumber* known) {
    if (v.type != YVT_Plain) return;
    if (YVariable* t = target(v); t != &v) {
        setText(*t, s, len, known);
        if (len <= -2) v.firstClone = 0;
        return;
    }
    ValuesAccess::killBauble(v, len != -3);
    if (s) {
        // With a text, any negative length means NUL-terminated; a text longer
        // than a value may hand out is cut to 1023 bytes.
        if (len < 0) len = static_cast<int>(std::strlen(s));
        if (len > kTextMax) len = kTextMax;
        v.size_ = len;
        ValuesAccess::plug(v, s);
        KnownNumber k = known ? *known : readNumber(v.text, v.size_);
        v.state = k.state;
        if (v.state != YVS_String) v.number = k.number;
        return;
    }
    if (len <= -2) v.state = YVS_None;
    char buffer[kNumberTextSize];
    switch (v.state) {
    case YVS_Long:
        v.size_ = formatLong(buffer, v.number.l);
        ValuesAccess::plug(v, buffer);
        break;
    case YVS_Double:
        v.size_ = formatDouble(buffer, v.number.d);
        ValuesAccess::plug(v, buffer);
        break;
    case YVS_None:
        v.size_ = -1;
        ValuesAccess::plug(v, nullptr);
        break;
    case YVS_Object:
    case YVS_String:
        break;
    }
}

void YVariable::set(int32_t v) {
    killBauble(1);
    number.l = v;
    state = YVS_Long;
    // reduce leaves a long as it is. A plain variable that forwards nowhere
    // takes the text of the long here, as set(nullptr, -1) would give it.
    if (type == YVT_Plain && target(*this) == this) {
        char buffer[kNumberTextSize];
        size_ = formatLong(buffer, v);
        plug(buffer);
        return;
    }
    set(nullptr, -1);
}

void YVariable::set(double v) {
    killBauble(1);
    number.d = v;
    state = YVS_Double;
    reduce();
    set(nullptr, -1);
}

void YVariable::set(PXScriptableObject* o) {
    if (YVariable* t = target(*this); t != this) {
        t->set(o);
        return;
    }
    // The very object already held: nothing changes, a handle stays valid.
    if (state == YVS_Object && number.object == o) return;
    killBauble(1);
    number.object = o;
    if (o) {
        static const char objectText[2] = {static_cast<char>(kObjectText), '\0'};
        state = YVS_Object;
        size_ = 1;
        plug(objectText);
    } else {
        set(nullptr, -2);
    }
}

void YVariable::set(YVariable* src) {
    if (!src || src == this) return;
    handled = 0;
    char buffer[kValueBufferSize];
    int n = src->value(buffer);
    if (n > 0) {
        if (YVariable* associate = YHeap::theHeap[n]) src = associate;
    }
    if (src->state == YVS_Object) {
        PXScriptableObject* o = src->number.object;
        if (alias == 0 && src->alias == 0) {
            // Owner to owner: each owns its own object. A class that cannot
            // be copied leaves this variable cleared.
            set(o ? o->copy() : static_cast<PXScriptableObject*>(nullptr));
        } else if (alias != -1) {
            set(o);
            alias = 1;
        } else {
            // A forwarding variable refers to the holder itself. An entry the
            // table does not hold (or SYSTEM, whose index means "none") cannot
            // be a target.
            int i = YHeap::theHeap.index(src);
            firstClone = i > 0 ? i : 0;
        }
        return;
    }
    if (n > 0) {
        int len = 0;
        const char* t = src->value(len);
        set(t, len);
    } else {
        set(buffer, static_cast<int>(std::strlen(buffer)));
    }
}
