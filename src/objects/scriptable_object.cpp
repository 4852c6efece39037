// PXScriptableObject: properties found by exact name (first match wins), and
// the set/get/play/pass calls with their error codes. The last failure stays
// in theLastPropertyError across later successes: callers look at it only
// after a call failed.
#include "baublecore/scriptable_object.h"

#include <cstdarg>
#include <cstring>

#include "baublecore/sr.h"
#include "objects/objects_internal.h"

namespace {

PXSOBPropertyError theLastPropertyError = PXSOB_NoError;
PXScriptableObject* newborn = nullptr;
// Few subsystems watch objects go: a small fixed table is enough.
bcobjects::ObjectGoneHandler objectGone[4] = {};

// Runs a property with inPropertyCall raised. It is a flag, not a counter: a
// nested call clears it when the inner call ends.
template <class Call>
int inCall(Call call) {
    bcobjects::inPropertyCall = 1;
    int result = call();
    bcobjects::inPropertyCall = 0;
    return result;
}

int fail(PXSOBPropertyError code) {
    theLastPropertyError = code;
    return 0;
}

}  // namespace

namespace bcobjects {
int inPropertyCall = 0;
void addObjectGoneHandler(ObjectGoneHandler handler) {
    for (ObjectGoneHandler& slot : objectGone) {
        if (slot == handler) return;
        if (!slot) {
            slot = handler;
            return;
        }
    }
}
}  // namespace bcobjects

const char* const PXScriptableObject::kPXEndOfParameters = "\x01";
const char* const PXScriptableObject::sobBornEvent = "born";
const char* const PXScriptableObject::sobDefaultMethod = "default";

PXScriptableObject::PXScriptableObject()
    : properties(new PXList<PXScriptableObjectProperty>),
      clientData(nullptr),
      syncLink(nullptr),
      className(nullptr) {
    sobAddEventProperty(sobBornEvent);
}

PXScriptableObject::~PXScriptableObject() {
    for (bcobjects::ObjectGoneHandler gone : objectGone)
        if (gone) gone(this);
    if (newborn == this) newborn = nullptr;
    for (PXListWalk<PXScriptableObjectProperty> walk(*properties);
         PXScriptableObjectProperty* p = walk.next();)
        delete p;
    delete properties;
    delete syncLink;
}

void PXScriptableObject::sobGetInfo(char*) const {}

PXScriptableObjectProperty* bcobjects::findProperty(const PXScriptableObject& o, const char* name) {
    for (PXListNode<PXScriptableObjectProperty>* n = o.properties->head; n; n = n->next)
        if (n->value->find(name)) return n->value;
    return nullptr;
}

PXScriptableObjectProperty* bcobjects::findProperty(const PXScriptableObject& o, const char* name,
                                                    PXScriptableObjectPropertyType type) {
    for (PXListNode<PXScriptableObjectProperty>* n = o.properties->head; n; n = n->next)
        if (n->value->type == type && n->value->find(name)) return n->value;
    return nullptr;
}

void PXScriptableObject::sobAddProperty(PXScriptableObjectProperty* const p) {
    // A class replaces an inherited property this way; the replacement goes
    // to the end of the list.
    const char* name = p ? p->name : nullptr;
    if (name) {
        PXListIterator<PXScriptableObjectProperty> it(*properties);
        for (; !it.atEnd(); it.next()) {
            if (it.value()->find(name)) {
                delete it.remove();
                break;
            }
        }
    }
    if (p) properties->append(p);
}

void PXScriptableObject::sobAddDataProperty(const char* name, const PXLink* set,
                                            const PXLink* get) {
    sobAddProperty(new PXSobDataProperty(name, set, get, this));
}

void PXScriptableObject::sobAddMethodProperty(const char* name, const PXLink* link) {
    sobAddProperty(new PXSobMethodProperty(name, link, this));
}

void PXScriptableObject::sobAddMethodProperty(const PXLink* link) {
    sobAddMethodProperty(sobDefaultMethod, link);
}

void PXScriptableObject::sobAddEventProperty(const char* name) {
    sobAddProperty(new PXSobEventProperty(name));
}

void PXScriptableObject::sobRemoveProperty(const char* name) {
    PXListIterator<PXScriptableObjectProperty> it(*properties);
    for (; !it.atEnd(); it.next()) {
        if (it.value()->find(name)) {
            delete it.remove();
            return;
        }
    }
}

int PXScriptableObject::sobSet(const char* name, const char* value) {
    prepareParameters();
    PXScriptableObjectProperty* p = bcobjects::findProperty(*this, name);
    if (!p) return fail(PXSOB_NoSuchProperty);
    int result = inCall([&] { return p->set(value); });
    if (!result) fail(PXSOB_PropertyFailed);
    return result;
}

int PXScriptableObject::sobSet(const char* name, const PXLink* watcher, const PXLink* onClone) {
    auto* event =
        static_cast<PXSobEventProperty*>(bcobjects::findProperty(*this, name, PXSOB_EventProperty));
    if (!event) return fail(PXSOB_NoSuchProperty);
    bcobjects::setWatcher(*event, watcher, onClone);
    return 1;
}

const char* PXScriptableObject::sobGet(const char* name) const {
    prepareParameters();
    PXScriptableObjectProperty* p = bcobjects::findProperty(*this, name, PXSOB_DataProperty);
    if (!p) {
        fail(PXSOB_NoSuchProperty);
        return nullptr;
    }
    const char* result = p->get();
    if (result == PXScriptableObjectProperty::undefinedValue) fail(PXSOB_PropertyFailed);
    return result;
}

int PXScriptableObject::sobPlay(const char* name, const char* first, ...) const {
    va_list args;
    va_start(args, first);
    bcobjects::takeParameters(first, args);
    va_end(args);
    PXScriptableObjectProperty* p = bcobjects::findProperty(*this, name, PXSOB_MethodProperty);
    if (!p) return fail(PXSOB_NoSuchProperty);
    int result = inCall([&] { return p->act(); });
    if (!result) fail(PXSOB_PropertyFailed);
    return result;
}

int PXScriptableObject::sobPass(const char* event) const {
    PXScriptableObjectProperty* p = bcobjects::findProperty(*this, event, PXSOB_EventProperty);
    if (!p) return fail(PXSOB_NoSuchProperty);
    int result = p->act();
    if (!result) fail(PXSOB_PropertyFailed);
    return result;
}

void PXScriptableObject::sobClone(PXScriptableObject* target) const {
    if (!target || target == this) return;
    for (PXListWalk<PXScriptableObjectProperty> walk(*properties);
         PXScriptableObjectProperty* p = walk.next();)
        target->sobAddProperty(p->clone(target));
    target->className = className;
    newborn = target;
    if (PXSR* record = bcobjects::lookupClass(className)) record->executeBornLink();
}

void PXScriptableObject::sobBorn(const char* name) {
    newborn = this;
    if (!name || className) return;
    PXSR* record = bcobjects::lookupClass(name);
    if (!record) return;
    sobAssignProperties();
    className = record->name;
    record->executeBornLink();
}

void PXScriptableObject::sobSyncDone() {
    if (!syncLink) return;
    // The handler may set a new sync link: fire a copy, with the field clear.
    PXLink* once = syncLink;
    syncLink = nullptr;
    once->call();
    delete once;
}

PXSOBPropertyError PXScriptableObject::lastPropertyError() { return theLastPropertyError; }

PXScriptableObject* PXScriptableObject::getNewborn() { return newborn; }
