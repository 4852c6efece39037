// YHeap: the table of terms, its growth, and finding or making entries.
//
// Invariants: entries 0..count-1 are allocated YVariables, never removed nor
// moved to another index until kill; capacity > count after every insertion;
// no entry takes an index past 32767, the last one a 16-bit term reference can
// name; the hash indexes hold exactly the entries of the table.
#include "baublecore/heap.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "frame/stress.h"
#include "values/heap_lookup.h"
#include "values/number_text.h"
#include "values/values_internal.h"

using namespace bcvalues;

constinit YHeap YHeap::theHeap;

namespace {

// The name of an entry is exactly these len bytes.
bool sameName(const YVariable* v, const char* name, int len) {
    return v && v->name && std::strncmp(v->name, name, static_cast<size_t>(len)) == 0 &&
           v->name[len] == '\0' && std::memchr(name, '\0', static_cast<size_t>(len)) == nullptr;
}

std::string_view nameOf(const YVariable* v) { return v && v->name ? std::string_view(v->name) : std::string_view(); }

// A base made after its clones takes the first of them as its first clone
// and the highest clone number as its count: the plain variables whose name
// is this name, a dot, and no further dot.
void relinkClones(const YHeap& heap, YVariable* base, const char* name, int len) {
    if (len <= 0 || std::memchr(name, '\0', static_cast<size_t>(len))) return;
    const std::vector<int32_t>* clones =
        ValuesAccess::lookup(heap)->clonesOf(std::string_view(name, static_cast<size_t>(len)));
    if (!clones) return;
    for (int32_t i : *clones) {
        const YVariable* e = heap[i];
        if (!e || e->type != YVT_Plain || !e->name) continue;
        if (std::strncmp(e->name, name, static_cast<size_t>(len)) != 0 || e->name[len] != '.' ||
            std::strchr(e->name + len + 1, '.'))
            continue;
        if (base->firstClone == 0) base->firstClone = i;
        int32_t n = atoi32(e->name + len + 1);
        if (n > base->cloneCount) base->cloneCount = n;
    }
}

}  // namespace

YHeap::~YHeap() { kill(); }

void YHeap::init() {
    if (initialised) return;
    count = 0;
    capacity = 3;
    entries = static_cast<YVariable**>(std::malloc(sizeof(YVariable*) * 3));
    lookup = new HeapLookup;
    initialised = 1;
    pile("SYSTEM", 6, static_cast<const char*>(nullptr));
    pile("RECEIVER", 8, static_cast<const char*>(nullptr));
    pile("RESULT", 6, static_cast<const char*>(nullptr));
    entries[0]->set("WIN", -1);
    entries[0]->alias = 1;
    entries[1]->alias = -1;
}

// Deleting an entry deletes the object it owns, whose destructor has the heap
// clear every other holder. So the table stays walkable throughout: each
// slot is emptied before its entry goes, and nothing new can be piled.
void YHeap::kill() {
    initialised = 0;
    if (entries) {
        for (int i = 0; i < count; ++i) {
            YVariable* e = entries[i];
            entries[i] = nullptr;
            delete e;
        }
    }
    std::free(entries);
    entries = nullptr;
    capacity = 0;
    count = 0;
    delete lookup;
    lookup = nullptr;
}

void YHeap::reset() {
    kill();
    init();
}

YVariable* YHeap::operator[](int i) const {
    if (!initialised || i < 0 || i >= count) return nullptr;
    return entries[i];
}

const char* YHeap::operator[](const char* name) {
    if (!initialised || !name) return nullptr;
    int len = static_cast<int>(std::strlen(name));
    int i = 0;
    if (fixName(name, len, i)) {
        YVariable* v = new YVariable(name, len, static_cast<const char*>(nullptr));
        i = append(v);
        if (i < 0) {
            delete v;
            return nullptr;
        }
    }
    int n = 0;
    return entries[i]->value(n);
}

int YHeap::index(const char* name, int len) const {
    if (!initialised || !name || len < 0) return -1;
    // Names are stored cut at the longest text a value holds: a longer name
    // is looked up the same way, or it would never be found again.
    len = std::min(len, kTextMax);
    int32_t i = lookup->first(std::string_view(name, static_cast<size_t>(len)));
    if (i < 0) return -1;
    if (i < count && sameName(entries[i], name, len)) return i;
    // The index disagrees with the table (a name changed under it): the
    // table is the truth.
    for (int k = 0; k < count; ++k)
        if (sameName(entries[k], name, len)) return k;
    return -1;
}

int YHeap::index(YVariable* const v) const {
    if (!initialised || !v || !v->name) return -1;
    for (int32_t i = lookup->first(nameOf(v)); i >= 0; i = lookup->next(i)) {
        const YVariable* e = i < count ? entries[i] : nullptr;
        if (e && e->type == v->type && nameOf(e) == nameOf(v)) return i;
    }
    return -1;
}

int YHeap::fixName(const char* name, int len, int& i) {
    i = index(name, len);
    if (i >= 0) return 0;
    i = count;
    return 1;
}

int YHeap::pile(const char* name, int len, const char* value) {
    if (!initialised) return 0;
    if (!name) name = "", len = 0;
    if (len < 0) len = static_cast<int>(std::strlen(name));
    // Look the name up as it will be stored: cut at a NUL, as entries are.
    len = static_cast<int>(::strnlen(name, static_cast<size_t>(len)));
    int i = 0;
    if (!fixName(name, len, i)) return i;
    if (count > kLastIndex) return -1;
    YVariable* v = new YVariable(name, len, value);
    relinkClones(*this, v, name, len);
    int k = append(v);
    if (k < 0) delete v;
    return k;
}

int YHeap::pile(const char* name, int len, YVT t) {
    if (!initialised || !name) return -1;
    std::string_view whole(name);
    for (int32_t i = lookup->first(whole); i >= 0; i = lookup->next(i)) {
        const YVariable* e = i < count ? entries[i] : nullptr;
        if (!e || e->type != t || nameOf(e) != whole) continue;
        // Two literals of one text but different lengths are two terms.
        if (t == YVT_Literal && e->size_ != len) continue;
        return i;
    }
    if (count > kLastIndex) return -1;
    YVariable* v = new YVariable(name, len, t);
    int k = append(v);
    if (k < 0) delete v;
    return k;
}

int YHeap::pile(const char* name, PXScriptableObject* o) {
    if (!initialised) return 0;
    if (!name) return -1;
    int i = pile(name, static_cast<int>(std::strlen(name)), static_cast<const char*>(nullptr));
    if (i < 0) return -1;
    entries[i]->set(o);
    return i;
}

int YHeap::clone(int i) {
    if (!initialised) return 0;
    YVariable* base = (*this)[i];
    if (!base || base->cloneCount == INT32_MAX) return -1;
    int next = base->cloneCount + 1;
    std::string name = base->name ? base->name : "";
    char number[kNumberTextSize];
    std::snprintf(number, sizeof number, ".%d", next);
    name += number;
    int len = static_cast<int>(name.size());
    // A clone name too long to be a name, or a full table: no clone, and the
    // base is left as it was.
    if (len > kTextMax) return -1;
    int k = index(name.c_str(), len);
    if (k < 0 && count > kLastIndex) return -1;

    if (base->cloneCount == 0) base->firstClone = count;
    base->cloneCount = next;
    if (k >= 0) return k;
    YVariable* v = new YVariable(name.c_str(), len, static_cast<const char*>(nullptr));
    k = append(v);
    if (k < 0) delete v;
    return k;
}

const char* YHeap::pileClone(const char* name, PXScriptableObject* o) {
    if (!initialised || !name) return "";
    int base = pile(name, static_cast<int>(std::strlen(name)), static_cast<const char*>(nullptr));
    int c = base >= 0 ? clone(base) : -1;
    YVariable* v = (*this)[c];
    if (!v) return "";
    v->set(o);
    return v->name;
}

void YHeap::extend() {
    if (count < capacity) return;
    void* grown = std::realloc(entries, sizeof(YVariable*) * static_cast<size_t>(capacity + kHeapGrowth));
    if (!grown) return;  // append then finds no free slot and refuses
    entries = static_cast<YVariable**>(grown);
    capacity += kHeapGrowth;
}

// The one place an entry joins the table. Refused (-1) when the table is not
// initialised or its next index would be past the 16-bit range.
int YHeap::append(YVariable* const v) {
    if (!initialised || !v || count > kLastIndex) return -1;
    extend();
    if (count >= capacity) return -1;
    int i = count;
    entries[i] = v;
    ++count;

    std::string_view name = nameOf(v);
    lookup->nextSameName.push_back(-1);
    auto it = lookup->byName.find(name);
    if (it == lookup->byName.end()) {
        lookup->byName.emplace(std::string(name), HeapLookup::Chain{i, i});
    } else {
        lookup->nextSameName[static_cast<size_t>(it->second.last)] = i;
        it->second.last = i;
    }
    if (v->type == YVT_Plain) {
        size_t dot = name.rfind('.');
        if (dot != std::string_view::npos) {
            std::string_view base = name.substr(0, dot);
            auto c = lookup->byCloneBase.find(base);
            if (c == lookup->byCloneBase.end())
                lookup->byCloneBase.emplace(std::string(base), std::vector<int32_t>{i});
            else
                c->second.push_back(i);
        }
    }
    extend();
    BC_ASSERT(count <= capacity && i <= kLastIndex);
    BC_ASSERT(lookup->nextSameName.size() == static_cast<size_t>(count));
    BC_ASSERT(lookup->byName.find(name)->second.last == i);
    return i;
}
