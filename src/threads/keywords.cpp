// Custom keywords: statements a host adds by name, and the answers it gives
// through RESULT.
#include <cstdlib>
#include <cstring>

#include "baublecore/extend.h"
#include "baublecore/heap.h"
#include "pxbase/link.h"
#include "pxbase/list.h"
#include "threads/threads_internal.h"

namespace {

struct Keyword {
    char* name;
    PXLink* link;
};

// Made at start-up and freed, with every keyword, at the end of the library.
PXList<Keyword>* customKeywords = nullptr;
// The walk's next node; kept off any node that goes (see forget).
PXListNode<Keyword>* keywordCursor = nullptr;
const PXLink* lastKeywordLink = nullptr;

void free(Keyword* k) {
    if (keywordCursor && keywordCursor->value == k) keywordCursor = keywordCursor->next;
    if (lastKeywordLink == k->link) lastKeywordLink = nullptr;
    customKeywords->remove(k);
    std::free(k->name);
    delete k->link;
    delete k;
}

Keyword* find(const char* name) {
    if (!customKeywords) return nullptr;
    for (PXListNode<Keyword>* n = customKeywords->head; n; n = n->next)
        if (std::strcmp(n->value->name, name) == 0) return n->value;
    return nullptr;
}

YVariable* result() { return YHeap::theHeap[2]; }

}  // namespace

namespace bcthreads {

void startCustomKeywords() {
    if (!customKeywords) customKeywords = new PXList<Keyword>;
}

void startKeywordCursor() {
    keywordCursor = nullptr;
    lastKeywordLink = nullptr;
}

void stopCustomKeywords() {
    if (!customKeywords) return;
    while (Keyword* k = customKeywords->first()) free(k);
    delete customKeywords;
    customKeywords = nullptr;
    startKeywordCursor();
}

bool findCustomKeyword(const char* name, const PXLink** link) {
    Keyword* k = name ? find(name) : nullptr;
    if (k) *link = k->link;
    return k != nullptr;
}

}  // namespace bcthreads

void YExtend(const char* name, const PXLink* link) {
    if (!name) return;
    bcthreads::startCustomKeywords();
    if (Keyword* old = find(name)) free(old);
    auto* k = new Keyword{static_cast<char*>(std::malloc(std::strlen(name) + 1)),
                          link ? link->clone() : nullptr};
    std::strcpy(k->name, name);
    customKeywords->append(k);
}

const char* YGetFirstCustomKeyword() {
    keywordCursor = customKeywords ? customKeywords->head : nullptr;
    lastKeywordLink = nullptr;
    return YGetNextCustomKeyword();
}

const char* YGetNextCustomKeyword() {
    if (!keywordCursor) return nullptr;
    Keyword* k = keywordCursor->value;
    lastKeywordLink = k->link;
    keywordCursor = keywordCursor->next;
    return k->name;
}

const PXLink* YGetLastKeywordLink() { return lastKeywordLink; }

void YSetRESULT(const char* text) {
    if (YVariable* r = result()) r->set(text, -1);
}
void YSetRESULT(double value) {
    if (YVariable* r = result()) r->set(value);
}
void YSetRESULT(int32_t value) {
    if (YVariable* r = result()) r->set(value);
}
void YSetRESULT(long value) { YSetRESULT(static_cast<int32_t>(value)); }
