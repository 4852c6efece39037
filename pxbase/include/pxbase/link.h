// PXLink: the callback object. Whoever stores a link stores its own clone and
// deletes it; a link aimed at no object, or with no function, does nothing
// when fired, so firing never fails.
#pragma once

#include "pxbase/export.h"

class PX_API PXLink {
public:
    explicit PXLink(const void* d = nullptr) : data(d) {}
    PXLink(const PXLink&) = default;
    PXLink& operator=(const PXLink&) = default;

    // Virtual operations in slot order; the destructor comes after them only
    // because C++ puts it where it is declared.
    virtual void call(const void* withData) const = 0;
    virtual void call() const { call(data); }
    virtual PXLink* clone() const = 0;
    virtual void setObject(void* object) = 0;
    virtual void* getObject() const = 0;
    virtual ~PXLink() = default;

    const void* data;
};

// The storage pattern of every set...Link: delete the old, store a clone of
// the new one, or null.
inline void PXStoreLink(PXLink*& slot, const PXLink* link) {
    delete slot;
    slot = link ? link->clone() : nullptr;
}

// A link to a plain function taking no argument; the stored data is not
// passed on.
class PX_API PXLinkToFct : public PXLink {
public:
    using Fct = void (*)();

    explicit PXLinkToFct(Fct f) : PXLink(nullptr), fct(f) {}

    void call(const void*) const override {
        if (fct) fct();
    }
    using PXLink::call;
    PXLink* clone() const override { return new PXLinkToFct(*this); }
    void setObject(void*) override {}
    void* getObject() const override { return nullptr; }

    Fct fct;
};

// A link to a member function of C, with or without data. Member function
// pointers carry their own this-adjustment, so classes with several bases
// work unchanged.
template <class C>
class PXLinkToMember : public PXLink {
public:
    using Method = void (C::*)();
    using MethodWithData = void (C::*)(const void*);

    PXLinkToMember(C* o, Method m) : PXLink(nullptr), object(o), method(m) {}
    PXLinkToMember(C* o, MethodWithData m, const void* d)
        : PXLink(d), object(o), methodWithData(m) {}

    void call(const void* withData) const override {
        if (!object) return;
        if (method)
            (object->*method)();
        else if (methodWithData)
            (object->*methodWithData)(withData);
    }
    using PXLink::call;
    PXLink* clone() const override { return new PXLinkToMember(*this); }
    void setObject(void* o) override { object = static_cast<C*>(o); }
    void* getObject() const override { return object; }

    C* object = nullptr;
    Method method = nullptr;
    MethodWithData methodWithData = nullptr;
};
