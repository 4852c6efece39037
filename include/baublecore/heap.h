// YHeap: the single table of every script term, shared by all threads, and
// the host's way to reach script variables and their objects.
//
// Compiled code refers to terms by 16-bit index, so an entry keeps its index
// for the life of the heap: nothing is ever removed until kill. Index 0 is
// SYSTEM, 1 RECEIVER, 2 RESULT. Names are unique among the entries found by
// index(name, len): the first in table order wins.
#pragma once

#include <cstdint>
#include <cstdio>

#include "baublecore/api.h"
#include "baublecore/variable.h"

class PXScriptableObject;
class YThread;

// The library's own door to the private operations below, and the hash
// indexes the heap keeps beside its table; neither is part of what a host uses.
namespace bcvalues {
struct ValuesAccess;
struct HeapLookup;
}  // namespace bcvalues

// A heap index by value, -1 for none. A host keeps one to ask later, through
// YHeap::getSob, whether the script has reassigned the variable.
class BC_API PXSobHandle {
public:
    explicit PXSobHandle(int32_t i = -1) : index(i) {}
    operator int32_t() const { return index; }

    int32_t index;
};

class BC_API YHeap {
public:
    // The one heap. Its fields are zero from load on; it is initialised by
    // the first thread.
    static YHeap theHeap;
    static YHeap& get() { return theHeap; }

    constexpr YHeap() : initialised(0), capacity(0), count(0), entries(nullptr), lookup(nullptr) {}
    ~YHeap();
    YHeap(const YHeap&) = delete;
    YHeap& operator=(const YHeap&) = delete;

    int size() const { return count; }
    operator int() const { return count; }
    int operator!() const { return count == 0; }

    // Null when not initialised or i is out of range. The non-const form
    // keeps heap[0] from being taken for a null name.
    YVariable* operator[](int i) const;
    YVariable* operator[](int i) { return static_cast<const YHeap&>(*this)[i]; }
    // The text of the variable of that name, made first if need be.
    const char* operator[](const char* name);

    // The first entry whose name is exactly these len bytes, or -1.
    int index(const char* name, int len) const;

    // Finds or makes a classified term; 0 when not initialised, -1 when the
    // table is full (see append).
    int pile(const char* name, int len, const char* value);
    // Finds or makes the variable and gives it the object.
    int pile(const char* name, PXScriptableObject* o);
    // Makes the next clone of the variable, gives it the object, and returns
    // the clone's name (the empty string when nothing could be made).
    const char* pileClone(const char* name, PXScriptableObject* o);
    // The next clone of entry i: 0 when not initialised, -1 when refused.
    int clone(int i);

    PXSobHandle getSobHandle(const char* name) const;
    PXScriptableObject* getSob(PXSobHandle h, int* valid, int makeAlias) const;
    PXScriptableObject* getSob(const char* name, int makeAlias) const;
    // The variable that owns the object (alias 0), first in table order.
    const char* getName(PXScriptableObject* o, int* index) const;
    // Clears every variable that holds the object; only the first holder may
    // delete it. 1 when a holder other than a forwarding one was found.
    int drop(PXScriptableObject* o, int kill);

    // Name walks. One position serves them all; they are not re-entrant.
    const char* getFirstProcName() const;
    const char* getNextProcName() const;
    const char* getFirstVarName(YVS filter) const;
    const char* getNextVarName() const;
    PXScriptableObject* getTheBauble() const;
    // Clone walk over consecutive entries from the first clone; the caller
    // takes clones() of them. Null past the end of the table.
    YVariable* getFirstClone(int i) const;
    YVariable* getNextClone() const;

    // Fields, in order.
    int32_t initialised;
    int32_t capacity;
    int32_t count;
    YVariable** entries;

private:
    friend class YVariable;
    friend class YThread;
    friend struct bcvalues::ValuesAccess;

    void init();
    void kill();
    void reset();

    // First entry with the same type and name, or -1.
    int index(YVariable* const v) const;
    // Finds or makes an unclassified term of this type. The name compared is
    // the whole NUL-terminated text at name, not len bytes.
    int pile(const char* name, int len, YVT t);
    int fixName(const char* name, int len, int& i);
    int append(YVariable* const v);
    void extend();
    void dropBaubles(int kill);
    // Writes the records of entries 3 and up, in table order.
    void save(std::FILE* f) const;

    void polish(const char* text, int len) const;
    void polish(const char* text) const;
    void polish(const char* a, const char* b) const;

    // Hash indexes beside the table, so lookups are not a scan. Every answer
    // is checked against the table, which wins when they disagree.
    bcvalues::HeapLookup* lookup;
};
