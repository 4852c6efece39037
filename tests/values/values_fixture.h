// Shared by the values tests: a fresh heap for every test, a scriptable
// object that counts its lives, and short ways to pile, compile and read.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "baublecore/heap.h"
#include "baublecore/scriptable_object.h"
#include "baublecore/variable.h"
#include "values/values_internal.h"

namespace valuestest {

// Counts constructions and destructions, so a test sees an object deleted
// once, not at all, or twice.
class Probe : public PXScriptableObject {
public:
    static inline int alive = 0;
    static inline int destroyed = 0;

    explicit Probe(int id = 0, bool copyable = true) : id(id), copyable(copyable) { ++alive; }
    ~Probe() override {
        --alive;
        ++destroyed;
    }
    PXScriptableObject* copy() const override { return copyable ? new Probe(id + 100) : nullptr; }
    void sobAssignProperties() override {}

    int id;
    bool copyable;
};

class ValuesTest : public ::testing::Test {
protected:
    void SetUp() override {
        bcvalues::ValuesAccess::reset(heap());
        bcvalues::compileError = 0;
        Probe::alive = 0;
        Probe::destroyed = 0;
    }
    void TearDown() override { bcvalues::ValuesAccess::kill(heap()); }

    static YHeap& heap() { return YHeap::theHeap; }

    // Finds or makes the term written as `name`.
    static int pile(const char* name, const char* value = nullptr) {
        return heap().pile(name, static_cast<int>(std::strlen(name)), value);
    }
    static YVariable* var(const char* name, const char* value = nullptr) { return heap()[pile(name, value)]; }

    // value(char*) as text.
    static std::string read(const YVariable* v) {
        char buffer[bcvalues::kValueBufferSize];
        v->value(buffer);
        return buffer;
    }
    static int32_t readLong(const YVariable* v) {
        int32_t n = -12345;
        v->value(&n);
        return n;
    }

    // One word as the compiler takes it: an expression entry, or the lone
    // term it names.
    static YVariable* word(const char* text) {
        bcvalues::compileError = 0;
        return heap()[bcvalues::ValuesAccess::attach(heap(), text, static_cast<int>(std::strlen(text)))];
    }
    // Reads an expression word; the error code is left in compileError.
    static std::string eval(const char* text) {
        YVariable* w = word(text);
        if (!w) return "<no term>";
        return read(w);
    }
    // The prefix code of a text, or "" after a compile error.
    static std::string code(const char* text) {
        bcvalues::compileError = 0;
        bcvalues::ValuesAccess::polish(heap(), text, static_cast<int>(std::strlen(text)));
        return bcvalues::polishCursor;
    }
    static std::string nameAt(int i) {
        const YVariable* v = heap()[i];
        return v ? v->getName() : "<none>";
    }
};

}  // namespace valuestest
