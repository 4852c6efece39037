// PXScriptableObject: the base of everything a script can address, with its
// named properties (data, method, event) and the one parameter channel that
// carries every argument as text.
//
// Handlers are member functions reached through a PXLink: a set handler gets
// the value text, a get handler a 1024-byte buffer to write to, a method no
// argument (it pulls its parameters with nextParameter).
#pragma once

#include "baublecore/api.h"
#include "pxbase/link.h"
#include "pxbase/list.h"

class PXScriptableObject;

enum PXSOBPropertyError {
    PXSOB_NoError = 0,
    PXSOB_NoSuchProperty = 1,  // the name is not there, or not of the kind asked for
    PXSOB_PropertyFailed = 2,  // found, but it gave nothing
};

enum PXScriptableObjectPropertyType {
    PXSOB_DataProperty = 0,
    PXSOB_EventProperty = 1,
    PXSOB_MethodProperty = 2,
};

// What an event property's clone link receives when its object is copied:
// the copy's watcher link (still aimed where the original's was) and the new
// object.
struct PXSobClonePair {
    PXLink* link;
    PXScriptableObject* owner;
};

class BC_API PXScriptableObjectProperty {
public:
    static const char* const undefinedValue;  // "undefined"

    // Copies the three fields; the link is cloned, since each property owns
    // its own and sharing one would delete it twice.
    PXScriptableObjectProperty(const PXScriptableObjectProperty& other);
    PXScriptableObjectProperty& operator=(const PXScriptableObjectProperty& other);

    // Virtual operations in slot order.
    virtual PXScriptableObjectProperty* clone(PXScriptableObject* owner) const = 0;
    virtual int set(const char* value);
    virtual const char* get() const;
    virtual int act() const;
    virtual ~PXScriptableObjectProperty();

    const PXLink* getLink() const { return link; }
    void setLink(const PXLink* l) { PXStoreLink(link, l); }

    // Search predicates over a name given as const void*: the name matches
    // (byte for byte) and, for the last three, the kind fits.
    int find(const void* name) const;
    int findData(const void* name) const;
    int findEvent(const void* name) const;
    int findMethod(const void* name) const;

    PXScriptableObjectPropertyType type;
    const char* name;  // not owned: must outlive the property
    PXLink* link;      // data: set handler; method: handler; event: watcher

protected:
    PXScriptableObjectProperty(PXScriptableObjectPropertyType t, const char* name,
                               const PXLink* link, PXScriptableObject* owner);
};

class BC_API PXSobDataProperty : public PXScriptableObjectProperty {
public:
    PXSobDataProperty(const char* name, const PXLink* setLink, const PXLink* getLink,
                      PXScriptableObject* owner);
    PXScriptableObjectProperty* clone(PXScriptableObject* owner) const override;
    int set(const char* value) override;
    const char* get() const override;
    ~PXSobDataProperty() override;

    // The get handler, owned. (It hides the base's getLink(), which stays
    // reachable as PXScriptableObjectProperty::getLink().)
    PXLink* getLink;
};

class BC_API PXSobMethodProperty : public PXScriptableObjectProperty {
public:
    PXSobMethodProperty(const char* name, const PXLink* link, PXScriptableObject* owner);
    PXScriptableObjectProperty* clone(PXScriptableObject* owner) const override;
    int act() const override;
};

class BC_API PXSobEventProperty : public PXScriptableObjectProperty {
public:
    explicit PXSobEventProperty(const char* name);
    PXScriptableObjectProperty* clone(PXScriptableObject* owner) const override;
    int act() const override;
    ~PXSobEventProperty() override;

    PXLink* cloneLink;  // owned; fired with a PXSobClonePair when the object is copied
};

// One parameter of the channel: a private copy of its text.
class BC_API PXSParameter {
public:
    ~PXSParameter();
    // Copies the text, so two parameters never share (and twice free) one.
    PXSParameter& operator=(const PXSParameter& other);

private:
    friend class PXScriptableObject;
    explicit PXSParameter(const char* text);
    PXSParameter(const PXSParameter&) = delete;
    operator char*() const { return text; }

    char* text;
};

class BC_API PXScriptableObject {
public:
    static const char* const kPXEndOfParameters;  // the one byte 0x01
    static const char* const sobBornEvent;        // "born"
    static const char* const sobDefaultMethod;    // "default"

    PXScriptableObject();
    // Copying the fields as they stand would share, and twice delete, the
    // property list and the sync link: objects are copied only by copy(),
    // which starts from the default constructor and calls sobClone.
    PXScriptableObject(const PXScriptableObject&) = delete;
    PXScriptableObject& operator=(const PXScriptableObject&) = delete;

    // Virtual operations in slot order.
    virtual ~PXScriptableObject();
    virtual PXScriptableObject* copy() const = 0;
    virtual void sobGetInfo(char* buffer) const;
    virtual void sobAssignProperties() = 0;

    void sobAddDataProperty(const char* name, const PXLink* set, const PXLink* get);
    void sobAddMethodProperty(const char* name, const PXLink* link);
    void sobAddMethodProperty(const PXLink* link);
    void sobAddEventProperty(const char* name);
    void sobRemoveProperty(const char* name);

    int sobSet(const char* name, const char* value);
    int sobSet(const char* name, const PXLink* watcher, const PXLink* onClone);
    const char* sobGet(const char* name) const;
    // The strings after `name` end at one whose first byte is 0x01; a first
    // argument that is the marker keeps the parameters already in the channel.
    int sobPlay(const char* name, const char* first, ...) const;
    int sobPass(const char* event) const;
    void sobClone(PXScriptableObject* target) const;
    void sobBorn(const char* className);

    void sobSetSyncLink(const PXLink* link) { PXStoreLink(syncLink, link); }
    void sobSyncDone();
    void sobSetClientData(const void* data) { clientData = data; }
    const void* sobGetClientData() const { return clientData; }
    const char* isA() const { return className; }

    static PXSOBPropertyError lastPropertyError();
    static PXScriptableObject* getNewborn();

    // The class registry (see sr.h).
    static int isXtor(const char* name);
    static int setBornHandler(const char* className, const PXLink* link);
    static PXScriptableObject* create(const char* className, const char* first, ...);
    static PXScriptableObject* createFromCommandLine(const char* className, const char* line);

    // The parameter channel: one ordered list of texts for the whole library.
    static void resetParameters();
    static void addParameter(const char* text);
    static void prepareParameters();
    // The next parameter; the empty string at the end and every time after.
    static const char* nextParameter();

    PXList<PXScriptableObjectProperty>* properties;
    const void* clientData;
    PXLink* syncLink;
    const char* className;

private:
    void sobAddProperty(PXScriptableObjectProperty* const p);
};
