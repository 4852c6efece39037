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
#include "objects/objects_shared.h"
#include "threads/threads_internal.h"

PXList<eventRecord>* eventRecord::eventRecordList = nullptr;
eventRecord::Pair eventRecord::pair = {nullptr, nullptr};

using bcthreads::recordKey;

namespace {

uint32_t lastSerial = 0;

// Takes away the links that still aim at this record: the watcher and clone
// links of the object's event, when they still aim here (a newer binding has
// its own record), and a class's born link.
void unhook(const eventRecord& r) {
    if (r.object && r.property) {
        for (PXListNode<PXScriptableObjectProperty>* n = r.object->properties->head; n; n = n->next) {
            auto* p = n->value;
            if (p->type != PXSOB_EventProperty || !p->find(r.property)) continue;
            if (p->link && p->link->data == recordKey(r)) PXStoreLink(p->link, nullptr);
            auto* event = static_cast<PXSobEventProperty*>(p);
            if (event->cloneLink && event->cloneLink->getObject() == &r)
                PXStoreLink(event->cloneLink, nullptr);
        }
    }
    if (PXSR::classList)
        for (PXListNode<PXSR>* n = PXSR::classList->head; n; n = n->next)
            if (n->value->bornLink && n->value->bornLink->data == recordKey(r)) {
                delete n->value->bornLink;
                n->value->bornLink = nullptr;
            }
}

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
    unhook(*this);
    std::free(property);
    if (eventRecordList) eventRecordList->remove(this);
}

const void* bcthreads::recordKey(const eventRecord& r) {
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(r.serial));
}

eventRecord* bcthreads::recordByKey(const void* k) {
    if (!k || !eventRecord::eventRecordList) return nullptr;
    for (PXListNode<eventRecord>* n = eventRecord::eventRecordList->head; n; n = n->next)
        if (recordKey(*n->value) == k) return n->value;
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
    copy->link->data = recordKey(*record);
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
