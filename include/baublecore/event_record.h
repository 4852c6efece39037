// eventRecord: one binding of a script procedure to an event of an object,
// to the birth of objects of a class, or to a timer. An object's watcher
// link carries the record's key (its serial, a number never given to another
// record); delivery looks the record up by it, so a link that outlives its
// record (a copy of a copy keeps its original's watcher) reaches nothing. A
// record that goes also takes the links it can find with it.
#pragma once

#include <cstdint>

#include "baublecore/api.h"
#include "pxbase/list.h"

class PXScriptableObject;
class YThread;

// The library's own door to the private operations below.
namespace bcthreads {
struct ThreadsAccess;
}

class BC_API eventRecord {
public:
    static PXList<eventRecord>* eventRecordList;

    // The search key of remove.
    struct Pair {
        const char* property;
        PXScriptableObject* object;
    };
    static Pair pair;

    ~eventRecord();
    eventRecord(const eventRecord&) = delete;
    eventRecord& operator=(const eventRecord&) = delete;

    // Destroys every record.
    static void flush();
    // Destroys every record of the object, or with a property the first one
    // of that object and property.
    static void remove(PXScriptableObject* const object, const char* property);

    int32_t entry;               // the statement behind the procedure's entry
    PXScriptableObject* object;  // null for a class's born handler and for timers
    const char* name;            // the script variable's name at binding; null in a clone
    char* property;              // owned copy, may be null
    uint32_t serial;             // the key; never reused

private:
    friend class YThread;
    friend struct bcthreads::ThreadsAccess;

    eventRecord(const char* name, int32_t entry, PXScriptableObject* object, const char* property);

    int find(const void* o) const { return o == object; }
    int findBoth() const;
    void discard(const void* o);
    // Fired when an object with this binding is copied: gives the copy's
    // watcher a record of its own.
    void clone(const void* pair);
    // The variable name behind an object's binding.
    static const char* getName(PXScriptableObject* const object);
};
