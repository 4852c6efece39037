// Event records and delivery. A record is made by `set`, and by the timers
// for one step; every record is on the list. The object's watcher link
// carries it as data, and handleEvent runs the procedure as an interrupt of
// the thread.
#include "baublecore/event_record.h"

#include <cstdlib>
#include <cstring>

#include "baublecore/heap.h"
#include "baublecore/scriptable_object.h"
#include "baublecore/sr.h"
#include "baublecore/thread.h"
#include "objects/objects_internal.h"
#include "threads/threads_internal.h"

PXList<eventRecord>* eventRecord::eventRecordList = nullptr;
eventRecord::Pair eventRecord::pair = {nullptr, nullptr};

namespace {
uint32_t lastSerial = 0;
}  // namespace

eventRecord::eventRecord(const char* n, int32_t e, PXScriptableObject* o, const char* p)
    : entry(e), object(o), name(n), property(nullptr), serial(++lastSerial) {
    if (p) {
        property = static_cast<char*>(std::malloc(std::strlen(p) + 1));
        std::strcpy(property, p);
    }
    if (eventRecordList) eventRecordList->append(this);
}

eventRecord::~eventRecord() {
    unhook();
    std::free(property);
    if (eventRecordList) eventRecordList->remove(this);
}

void eventRecord::unhook() {
    // The watcher and clone links of the object's event, when they still aim
    // here (a newer binding has its own record).
    if (object && property) {
        for (PXListNode<PXScriptableObjectProperty>* n = object->properties->head; n; n = n->next) {
            auto* p = n->value;
            if (p->type != PXSOB_EventProperty || !p->find(property)) continue;
            if (p->link && p->link->data == key()) PXStoreLink(p->link, nullptr);
            auto* event = static_cast<PXSobEventProperty*>(p);
            if (event->cloneLink && event->cloneLink->getObject() == this)
                PXStoreLink(event->cloneLink, nullptr);
        }
    }
    // A class's born link.
    if (PXSR::classList)
        for (PXListNode<PXSR>* n = PXSR::classList->head; n; n = n->next)
            if (n->value->bornLink && n->value->bornLink->data == key()) {
                delete n->value->bornLink;
                n->value->bornLink = nullptr;
            }
}

const void* eventRecord::key() const {
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(serial));
}

eventRecord* eventRecord::byKey(const void* k) {
    if (!k || !eventRecordList) return nullptr;
    for (PXListNode<eventRecord>* n = eventRecordList->head; n; n = n->next)
        if (n->value->key() == k) return n->value;
    return nullptr;
}

void eventRecord::flush() {
    if (!eventRecordList) return;
    // Detach every node first, so the list is empty while records go.
    PXList<eventRecord> gone;
    for (PXListWalk<eventRecord> walk(*eventRecordList); eventRecord* r = walk.next();) gone.append(r);
    eventRecordList->clear();
    for (PXListWalk<eventRecord> walk(gone); eventRecord* r = walk.next();) delete r;
}

int eventRecord::findBoth() const {
    return pair.object == object && property && pair.property &&
           std::strcmp(property, pair.property) == 0;
}

void eventRecord::discard(const void* o) {
    if (find(o)) delete this;
}

void eventRecord::remove(PXScriptableObject* const o, const char* p) {
    if (!eventRecordList) return;
    if (!p) {
        for (PXListWalk<eventRecord> walk(*eventRecordList); eventRecord* r = walk.next();)
            r->discard(o);
        return;
    }
    pair = {p, o};
    for (PXListWalk<eventRecord> walk(*eventRecordList); eventRecord* r = walk.next();) {
        if (r->findBoth()) {
            delete r;
            return;
        }
    }
}

void eventRecord::clone(const void* pairData) {
    auto* copy = static_cast<const PXSobClonePair*>(pairData);
    if (!copy || !copy->link || !copy->owner) return;
    auto* record = new eventRecord(nullptr, entry, copy->owner, property);
    copy->link->data = record->key();
}

const char* eventRecord::getName(PXScriptableObject* const o) {
    if (!eventRecordList) return nullptr;
    for (PXListNode<eventRecord>* n = eventRecordList->head; n; n = n->next) {
        if (n->value->object != o) continue;
        if (n->value->name) return n->value->name;
        return YHeap::theHeap.getName(o, nullptr);
    }
    return nullptr;
}

namespace bcthreads {

void startEventRecords() {
    if (!eventRecord::eventRecordList) eventRecord::eventRecordList = new PXList<eventRecord>;
    bcobjects::addObjectGoneHandler(objectGone);
}

void stopEventRecords() {
    eventRecord::flush();
    delete eventRecord::eventRecordList;
    eventRecord::eventRecordList = nullptr;
}

void objectGone(PXScriptableObject* object) { eventRecord::remove(object, nullptr); }

}  // namespace bcthreads
