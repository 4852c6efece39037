// PXSR: the record that registers a class by name, usually a static object
// of the library or of a plug-in module. Class names ignore case. A class that
// is not registered can be brought in by name: the module "NAME.plg" of the
// current directory is loaded, and its own records register it.
#pragma once

#include <cstdint>

#include "baublecore/api.h"
#include "pxbase/list.h"

class PXLink;
class PXScriptableObject;

class BC_API PXSR {
public:
    using Creator = PXScriptableObject* (*)();

    static const char* const pattern;  // "*.plg"; the extension is all but its first byte

    PXSR(const char* name, Creator creator);
    ~PXSR();
    PXSR(const PXSR&) = delete;
    // Copies the four fields as they stand; the born link is cloned so that
    // both records own one.
    PXSR& operator=(const PXSR& other);

    // 1 when `name` is this class's name, ignoring ASCII case.
    int find(const void* name) const;

    // Unloads this class's module, if it came from one; `module` stays.
    void rls();

    static void setDynamicLoad(int on);
    static int getDynamicLoad();
    // Loads the module of one class, or with null every module of the
    // current directory.
    static void load(const char* name);
    // Unloads the module of one class, or with null of every class.
    static void release(const char* name);

    static PXList<PXSR>* classList;
    // The record found by the last lookup of a class by name, null when it failed.
    static PXSR* currentClass;

    const char* name;
    Creator creator;
    void* module;      // the module loaded for this class, null when built in
    PXLink* bornLink;  // owned

private:
    friend class PXScriptableObject;
    void setBornLink(const PXLink* link);
    void executeBornLink() const;
};
