// The three kinds of property. Each owns its links; a property made for an
// owner has its link aimed at that owner, and a clone for a new owner re-aims
// data and method links but leaves an event's watcher where it was (the
// watcher belongs to whoever is watching, not to the object).
#include <cstring>

#include "baublecore/scriptable_object.h"
#include "objects/objects_internal.h"

namespace {

// Shared by every get handler; valid until the next get.
char sobGetBuffer[1024];

PXLink* cloneFor(const PXLink* link, PXScriptableObject* owner) {
    if (!link) return nullptr;
    PXLink* copy = link->clone();
    if (owner) copy->setObject(owner);
    return copy;
}

}  // namespace

const char* const PXScriptableObjectProperty::undefinedValue = "undefined";

PXScriptableObjectProperty::PXScriptableObjectProperty(PXScriptableObjectPropertyType t,
                                                       const char* n, const PXLink* l,
                                                       PXScriptableObject* owner)
    : type(t), name(n), link(cloneFor(l, owner)) {}

PXScriptableObjectProperty::PXScriptableObjectProperty(const PXScriptableObjectProperty& other)
    : type(other.type), name(other.name), link(other.link ? other.link->clone() : nullptr) {}

PXScriptableObjectProperty& PXScriptableObjectProperty::operator=(
    const PXScriptableObjectProperty& other) {
    if (this != &other) {
        type = other.type;
        name = other.name;
        PXStoreLink(link, other.link);
    }
    return *this;
}

PXScriptableObjectProperty::~PXScriptableObjectProperty() { delete link; }

int PXScriptableObjectProperty::set(const char*) { return 0; }
const char* PXScriptableObjectProperty::get() const { return undefinedValue; }
int PXScriptableObjectProperty::act() const { return 0; }

int PXScriptableObjectProperty::find(const void* n) const {
    return n && name && std::strcmp(name, static_cast<const char*>(n)) == 0;
}
int PXScriptableObjectProperty::findData(const void* n) const {
    return type == PXSOB_DataProperty && find(n);
}
int PXScriptableObjectProperty::findEvent(const void* n) const {
    return type == PXSOB_EventProperty && find(n);
}
int PXScriptableObjectProperty::findMethod(const void* n) const {
    return type == PXSOB_MethodProperty && find(n);
}

PXSobDataProperty::PXSobDataProperty(const char* n, const PXLink* setLink, const PXLink* get,
                                     PXScriptableObject* owner)
    : PXScriptableObjectProperty(PXSOB_DataProperty, n, setLink, owner),
      getLink(cloneFor(get, owner)) {}

PXSobDataProperty::~PXSobDataProperty() { delete getLink; }

PXScriptableObjectProperty* PXSobDataProperty::clone(PXScriptableObject* owner) const {
    return new PXSobDataProperty(name, link, getLink, owner);
}

int PXSobDataProperty::set(const char* value) {
    if (!link || !value) return 0;
    link->call(value);
    return 1;
}

const char* PXSobDataProperty::get() const {
    if (getLink) getLink->call(sobGetBuffer);
    // A handler may write all 1024 bytes: the text always ends in the buffer.
    sobGetBuffer[sizeof sobGetBuffer - 1] = '\0';
    return sobGetBuffer;
}

PXSobMethodProperty::PXSobMethodProperty(const char* n, const PXLink* l, PXScriptableObject* owner)
    : PXScriptableObjectProperty(PXSOB_MethodProperty, n, l, owner) {}

PXScriptableObjectProperty* PXSobMethodProperty::clone(PXScriptableObject* owner) const {
    return new PXSobMethodProperty(name, link, owner);
}

int PXSobMethodProperty::act() const {
    PXScriptableObject::prepareParameters();
    if (!link) return 0;
    link->call();
    return 1;
}

PXSobEventProperty::PXSobEventProperty(const char* n)
    : PXScriptableObjectProperty(PXSOB_EventProperty, n, nullptr, nullptr), cloneLink(nullptr) {}

PXSobEventProperty::~PXSobEventProperty() { delete cloneLink; }

PXScriptableObjectProperty* PXSobEventProperty::clone(PXScriptableObject* owner) const {
    auto* copy = new PXSobEventProperty(name);
    copy->link = link ? link->clone() : nullptr;  // still aimed at the watcher
    if (cloneLink) {
        PXSobClonePair pair{copy->link, owner};
        cloneLink->call(&pair);
    }
    return copy;
}

int PXSobEventProperty::act() const {
    if (!link || bcobjects::inPropertyCall) return 0;
    link->call();
    return 1;
}

void bcobjects::setWatcher(PXSobEventProperty& event, const PXLink* watcher,
                           const PXLink* onClone) {
    PXStoreLink(event.link, watcher);
    PXStoreLink(event.cloneLink, onClone);
}
