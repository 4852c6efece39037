// The class registry: records in order of registration, found by name
// ignoring ASCII case, the first match winning. A lookup that finds nothing
// loads the module named after the class when dynamic loading is on, and
// looks once more.
#include "baublecore/sr.h"

#include <cstdarg>
#include <cstring>

#include "baublecore/scriptable_object.h"
#include "objects/objects_internal.h"

PXList<PXSR>* PXSR::classList = nullptr;
PXSR* PXSR::currentClass = nullptr;
const char* const PXSR::pattern = "*.plg";

namespace {

int dynamicLoad = 1;

// Steps 3 to 6 of making an object: the class (loading it if need be), its
// creator with the channel prepared, then its name and its properties.
PXScriptableObject* makeObject(const char* className) {
    PXSR* record = bcobjects::lookupClass(className);
    if (!record) return nullptr;
    if (!record->creator) return nullptr;
    PXScriptableObject::prepareParameters();
    PXScriptableObject* object = record->creator();
    if (!object) return nullptr;
    object->className = record->name;
    object->sobAssignProperties();
    return object;
}

}  // namespace

namespace bcobjects {

bool sameIgnoringCase(const char* a, const char* b) {
    auto lower = [](unsigned char c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; };
    for (; *a && *b; ++a, ++b)
        if (lower(static_cast<unsigned char>(*a)) != lower(static_cast<unsigned char>(*b))) return false;
    return *a == *b;
}

PXSR* findClass(const char* name) {
    if (!name || !PXSR::classList) return nullptr;
    for (PXListNode<PXSR>* n = PXSR::classList->head; n; n = n->next)
        if (n->value->find(name)) return n->value;
    return nullptr;
}

void startClassRegistry() {
    if (!PXSR::classList) PXSR::classList = new PXList<PXSR>;
    ensureParameterChannel();
}

// The registry and the channel stay until the library goes, even when the
// last record leaves: a record leaves during release's own walk of the list,
// and a handler may still hold a parameter text.
void stopClassRegistry() {
    if (PXSR::classList && PXSR::classList->count == 0) {
        delete PXSR::classList;
        PXSR::classList = nullptr;
    }
    dropParameterChannel();
}

}  // namespace bcobjects

PXSR::PXSR(const char* n, Creator c) : name(n), creator(c), module(nullptr), bornLink(nullptr) {
    bcobjects::startClassRegistry();
    classList->append(this);
}

PXSR::~PXSR() {
    if (currentClass == this) currentClass = nullptr;
    if (classList) classList->remove(this);
    delete bornLink;
}

PXSR& PXSR::operator=(const PXSR& other) {
    if (this != &other) {
        name = other.name;
        creator = other.creator;
        // The module stays with one record, so two never unload it twice.
        module = nullptr;
        PXStoreLink(bornLink, other.bornLink);
    }
    return *this;
}

int PXSR::find(const void* n) const {
    return n && name && bcobjects::sameIgnoringCase(name, static_cast<const char*>(n));
}

void PXSR::setBornLink(const PXLink* link) { PXStoreLink(bornLink, link); }

void PXSR::executeBornLink() const {
    if (bornLink) bornLink->call();
}

void PXSR::setDynamicLoad(int on) { dynamicLoad = on; }
int PXSR::getDynamicLoad() { return dynamicLoad; }

PXSR* bcobjects::lookupClass(const char* n) {
    PXSR*& currentClass = PXSR::currentClass;
    currentClass = nullptr;
    if (!n) return nullptr;
    currentClass = findClass(n);
    if (!currentClass && dynamicLoad) {
        PXSR::load(n);
        currentClass = findClass(n);
    }
    return currentClass;
}

int PXScriptableObject::isXtor(const char* name) { return bcobjects::lookupClass(name) != nullptr; }

int PXScriptableObject::setBornHandler(const char* className, const PXLink* link) {
    PXSR* record = bcobjects::lookupClass(className);
    if (!record) return 0;
    record->setBornLink(link);
    return 1;
}

PXScriptableObject* PXScriptableObject::create(const char* className, const char* first, ...) {
    if (!className) return nullptr;
    va_list args;
    va_start(args, first);
    bcobjects::takeParameters(first, args);
    va_end(args);
    return makeObject(className);
}

PXScriptableObject* PXScriptableObject::createFromCommandLine(const char* className,
                                                              const char* line) {
    if (!className || !line) return nullptr;
    resetParameters();
    // The line is cut in a 1024-byte buffer: a longer one is cut to fit.
    char buffer[1024];
    std::strncpy(buffer, line, sizeof buffer - 1);
    buffer[sizeof buffer - 1] = '\0';

    // One blank separates tokens, so two blanks make an empty parameter. A
    // quoted token runs to the next quote; parsing goes on after the next
    // blank behind it. An unclosed quote runs to the next blank and ends it.
    char* p = buffer;
    while (*p) {
        if (*p == '"') {
            char* start = p + 1;
            char* close = std::strchr(start, '"');
            if (!close) {
                char* blank = std::strchr(start, ' ');
                if (blank) *blank = '\0';
                addParameter(start);
                break;
            }
            *close = '\0';
            addParameter(start);
            char* blank = std::strchr(close + 1, ' ');
            if (!blank) break;
            p = blank + 1;
        } else {
            char* blank = std::strchr(p, ' ');
            if (blank) *blank = '\0';
            addParameter(p);
            if (!blank) break;
            p = blank + 1;
        }
    }
    return makeObject(className);
}
