// A plug-in module for the registry tests. It registers the class named by
// PLUGIN_CLASS (and, when given, PLUGIN_SECOND_CLASS): a data property
// "size", a method "grow" that adds each of its parameters to the size, and
// an event "popped". With PLUGIN_MARKER, loading it leaves a file of that
// name in the current directory, so a test sees that it was loaded at all.
#include <cstdio>
#include <cstdlib>

#include "baublecore/scriptable_object.h"
#include "baublecore/sr.h"

namespace {

class Widget : public PXScriptableObject {
public:
    int size = 0;

    PXScriptableObject* copy() const override {
        auto* twin = new Widget;
        twin->size = size;
        sobClone(twin);
        return twin;
    }
    void sobAssignProperties() override {
        PXLinkToMember<Widget> set(this, &Widget::setSize, nullptr);
        PXLinkToMember<Widget> get(this, &Widget::getSize, nullptr);
        PXLinkToMember<Widget> grow(this, &Widget::grow);
        sobAddDataProperty("size", &set, &get);
        sobAddMethodProperty("grow", &grow);
        sobAddEventProperty("popped");
    }

private:
    void setSize(const void* v) { size = std::atoi(static_cast<const char*>(v)); }
    void getSize(const void* buffer) {
        std::snprintf(static_cast<char*>(const_cast<void*>(buffer)), 1024, "%d", size);
    }
    void grow() {
        for (const char* p = nextParameter(); *p; p = nextParameter()) size += std::atoi(p);
    }
};

PXScriptableObject* makeWidget() {
    auto* w = new Widget;
    w->size = std::atoi(PXScriptableObject::nextParameter());
    return w;
}

PXSR record(PLUGIN_CLASS, makeWidget);
#ifdef PLUGIN_SECOND_CLASS
PXSR second(PLUGIN_SECOND_CLASS, makeWidget);
#endif
#ifdef PLUGIN_MARKER
const bool marked = [] {
    if (std::FILE* f = std::fopen(PLUGIN_MARKER, "w")) std::fclose(f);
    return true;
}();
#endif

}  // namespace
