// A small scriptable class for the object tests: a data property "level"
// (set and get), one without handlers ("mute"), a method "bump" that records
// its parameters and may raise an event, and an event "lit".
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "baublecore/scriptable_object.h"
#include "objects/objects_internal.h"

class Lamp : public PXScriptableObject {
public:
    int level = 0;
    std::vector<std::string> params;
    int passFromHandler = -1;  // what sobPass gave inside a handler
    std::string echoed;        // the first parameter a set or get handler saw

    PXScriptableObject* copy() const override {
        auto* twin = new Lamp;
        twin->level = level;
        sobClone(twin);
        return twin;
    }

    void sobAssignProperties() override {
        PXLinkToMember<Lamp> set(this, &Lamp::setLevel, nullptr);
        PXLinkToMember<Lamp> get(this, &Lamp::getLevel, nullptr);
        PXLinkToMember<Lamp> bump(this, &Lamp::bump);
        PXLinkToMember<Lamp> def(this, &Lamp::defaultMethod);
        PXLinkToMember<Lamp> echoSet(this, &Lamp::echoSet, nullptr);
        PXLinkToMember<Lamp> echoGet(this, &Lamp::echoGet, nullptr);
        PXLinkToMember<Lamp> nested(this, &Lamp::nested);
        sobAddDataProperty("level", &set, &get);
        sobAddDataProperty("mute", nullptr, nullptr);
        sobAddMethodProperty("bump", &bump);
        sobAddMethodProperty(&def);
        sobAddEventProperty("lit");
        sobAddDataProperty("echo", &echoSet, &echoGet);
        sobAddMethodProperty("nested", &nested);
    }

    void setLevel(const void* value) {
        level = std::atoi(static_cast<const char*>(value));
        passFromHandler = sobPass("lit");
    }
    void getLevel(const void* buffer) {
        std::snprintf(static_cast<char*>(const_cast<void*>(buffer)), 1024, "%d", level);
    }
    void bump() {
        params.clear();
        for (int i = 0; i < bcobjects::parameterCount(); ++i) params.emplace_back(nextParameter());
        params.emplace_back(nextParameter());  // past the end: ""
        passFromHandler = sobPass("lit");
    }
    void defaultMethod() { ++level; }
    void echoSet(const void*) { echoed = nextParameter(); }
    void echoGet(const void* buffer) {
        std::snprintf(static_cast<char*>(const_cast<void*>(buffer)), 1024, "%s", nextParameter());
    }
    // Calls another method, then raises an event: the inner call has ended
    // the property call, so the event goes out.
    void nested() {
        sobPlay("default", kPXEndOfParameters);
        passFromHandler = sobPass("lit");
    }
};

inline PXScriptableObject* makeLamp() {
    auto* lamp = new Lamp;
    lamp->level = std::atoi(PXScriptableObject::nextParameter());
    return lamp;
}
