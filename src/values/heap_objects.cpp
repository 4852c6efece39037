// YHeap: how the host reaches script objects (names, handles, dropping), the
// name and clone walks, and the rule that no variable outlives its object.
//
// Invariant: no heap entry, and not theBauble, holds the address of an object
// that has been destroyed. Owners delete through killBauble; every other
// holder is cleared by objectGone, which the object's destructor calls.
#include "baublecore/heap.h"

#include <cstring>

#include "baublecore/scriptable_object.h"
#include "objects/objects_shared.h"
#include "values/values_internal.h"

using namespace bcvalues;

namespace {

// One position for all name walks, one for the clone walk.
int walkIndex = 0;
YVS walkFilter = YVS_None;
int cloneCursor = 0;
PXScriptableObject* theBauble = nullptr;

bool holds(const YVariable* v, const PXScriptableObject* o) {
    return v && v->state == YVS_Object && v->number.object == o;
}

// The plain variable a computed name stands for, found the way a compound
// term finds its associate (the first plain entry of that name), but without
// making it. Another kind of entry of the same name is not it.
int plainIndex(const char* name, int len) {
    if (!name) return -1;
    for (int i = 0; i < YHeap::theHeap.size(); ++i) {
        const YVariable* e = YHeap::theHeap[i];
        if (e && e->type == YVT_Plain && e->name && std::strlen(e->name) == static_cast<size_t>(len) &&
            std::memcmp(e->name, name, static_cast<size_t>(len)) == 0)
            return i;
    }
    return -1;
}

// The entry that actually holds the object behind this one: through
// forwarding, and for a compound name its associate.
YVariable* holderOf(YVariable* v) {
    for (int hops = 0; v && hops < 16; ++hops) {
        if (v->alias == -1 && v->firstClone != 0) {
            YVariable* next = YHeap::theHeap[v->firstClone];
            if (!next || next == v) break;
            v = next;
        } else if (v->type == YVT_Compound) {
            int len = 0;
            const char* n = v->resolveName(len);
            int a = n ? plainIndex(n, len) : -1;
            YVariable* next = YHeap::theHeap[a];
            if (!next || next == v) break;
            v = next;
        } else {
            break;
        }
    }
    return v;
}

// Handing an object to the host: the variable that holds it stops owning it.
// A forwarding variable never owns, and must keep forwarding.
void makeHolderAlias(YVariable* v, PXScriptableObject* o) {
    YVariable* h = holderOf(v);
    if (h && holds(h, o) && h->alias != -1) h->alias = 1;
}

}  // namespace

namespace bcvalues {

void ValuesAccess::objectGone(PXScriptableObject* o) {
    if (!o) return;
    if (theBauble == o) theBauble = nullptr;
    YHeap& heap = YHeap::theHeap;
    // Walks the slots directly: this also runs while the table is being
    // killed, when slots already emptied hold null.
    for (int i = 0; heap.entries && i < heap.count; ++i) {
        YVariable* e = heap.entries[i];
        if (holds(e, o)) release(*e);
    }
}

// The heap's fields are zero from load on (it is constant-initialised); what
// this step adds is the watch on objects being destroyed. It stays in place
// after the heap is killed, when there is nothing left for it to clear.
void startScriptHeap() { bcobjects::addObjectGoneHandler(&ValuesAccess::objectGone); }

void stopScriptHeap() { ValuesAccess::kill(YHeap::theHeap); }

}  // namespace bcvalues

PXSobHandle YHeap::getSobHandle(const char* name) const {
    if (!initialised || !name) return PXSobHandle(-1);
    int i = index(name, static_cast<int>(std::strlen(name)));
    if (i < 0) return PXSobHandle(-1);
    if (entries[i]->type == YVT_Compound) {
        int len = 0;
        const char* computed = entries[i]->resolveName(len);
        i = computed ? plainIndex(computed, len) : -1;
        if (i < 0) return PXSobHandle(-1);
    }
    entries[i]->handled = 1;
    return PXSobHandle(i);
}

PXScriptableObject* YHeap::getSob(PXSobHandle h, int* valid, int makeAlias) const {
    YVariable* v = (*this)[h.index];
    if (valid) *valid = v ? v->handled : 0;
    if (!v) return nullptr;
    PXScriptableObject* o = nullptr;
    v->value(o);
    if (o && makeAlias) makeHolderAlias(v, o);
    return o;
}

PXScriptableObject* YHeap::getSob(const char* name, int makeAlias) const {
    if (!initialised || !name) return nullptr;
    YVariable* v = (*this)[index(name, static_cast<int>(std::strlen(name)))];
    if (!v) return nullptr;
    PXScriptableObject* o = nullptr;
    v->resolve(o);
    if (o && makeAlias) makeHolderAlias(v, o);
    return o;
}

const char* YHeap::getName(PXScriptableObject* o, int* index) const {
    if (!initialised || !o) return nullptr;
    for (int i = 0; i < count; ++i) {
        const YVariable* e = entries[i];
        if (holds(e, o) && e->alias == 0) {
            if (index) *index = i;
            return e->name;
        }
    }
    return nullptr;
}

// Only the first holder found may delete the object (when it owns it and kill
// is set); every later holder is emptied first, without deleting.
int YHeap::drop(PXScriptableObject* o, int kill) {
    if (!initialised || !o) return 0;
    int result = 0;
    bool found = false;
    for (int i = 0; entries && i < count; ++i) {
        YVariable* e = entries[i];
        if (!holds(e, o)) continue;
        if (e->alias == -1) {
            // RECEIVER and its kind only point at objects: emptied, they
            // leave the choice of who may delete to a real holder.
            e->set(nullptr, -3);
            continue;
        }
        if (found) {
            e->set(nullptr, -3);
        } else {
            found = true;
            result = 1;
        }
        e->set(nullptr, kill ? -2 : -3);
    }
    return result;
}

void YHeap::dropBaubles(int kill) {
    if (!initialised) return;
    for (int i = 0; entries && i < count; ++i) {
        YVariable* e = entries[i];
        if (e && e->state == YVS_Object && e->alias == 0) e->set(nullptr, kill ? -2 : -3);
    }
}

const char* YHeap::getFirstProcName() const {
    walkIndex = 0;
    return getNextProcName();
}

// A procedure is a variable holding "+" and its entry point.
const char* YHeap::getNextProcName() const {
    for (; initialised && walkIndex < count; ++walkIndex) {
        const YVariable* e = entries[walkIndex];
        if (e && e->text && e->text[0] == '+') {
            ++walkIndex;
            return e->name;
        }
    }
    return nullptr;
}

const char* YHeap::getFirstVarName(YVS filter) const {
    walkIndex = 2;
    walkFilter = filter;
    return getNextVarName();
}

const char* YHeap::getNextVarName() const {
    for (; initialised && walkIndex < count; ++walkIndex) {
        const YVariable* e = entries[walkIndex];
        if (!e || e->type != YVT_Plain || e->alias != 0 || !e->text || e->text[0] == '+') continue;
        if (walkFilter != YVS_None && e->state != walkFilter) continue;
        theBauble = e->state == YVS_Object ? e->number.object : nullptr;
        ++walkIndex;
        return e->name;
    }
    return nullptr;
}

PXScriptableObject* YHeap::getTheBauble() const { return theBauble; }

// An entry without clones has nothing to walk; past the end of the table the
// walk gives null.
YVariable* YHeap::getFirstClone(int i) const {
    const YVariable* base = (*this)[i];
    if (!base || base->firstClone == 0) {
        cloneCursor = count;
        return nullptr;
    }
    cloneCursor = base->firstClone;
    return getNextClone();
}

YVariable* YHeap::getNextClone() const {
    YVariable* v = (*this)[cloneCursor];
    if (v) ++cloneCursor;
    return v;
}
