// A tour of what a host can reach: a scriptable class of its own, registered
// by name; a custom statement; a script thread that makes, drives and
// watches an object of that class; the heap's variables and handles; the
// event bindings; tracing; and the free functions. It checks what it sees
// and ends with "tour host: ok".
#include <baublecore/baublecore.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

class Lamp : public PXScriptableObject {
public:
    int level = 0;

    PXScriptableObject* copy() const override {
        auto* twin = new Lamp;
        twin->level = level;
        sobClone(twin);
        return twin;
    }
    void sobAssignProperties() override {
        PXLinkToMember<Lamp> set(this, &Lamp::setLevel, nullptr), get(this, &Lamp::getLevel, nullptr);
        PXLinkToMember<Lamp> up(this, &Lamp::up);
        sobAddDataProperty("level", &set, &get);
        sobAddMethodProperty("up", &up);
        sobAddEventProperty("changed");
    }

private:
    void setLevel(const void* text) { level = std::atoi(static_cast<const char*>(text)); }
    void getLevel(const void* buffer) {
        std::snprintf(static_cast<char*>(const_cast<void*>(buffer)), 1024, "%d", level);
    }
    void up() { level += std::atoi(nextParameter()); }
};

PXScriptableObject* makeLamp() {
    auto* lamp = new Lamp;
    lamp->level = std::atoi(PXScriptableObject::nextParameter());
    return lamp;
}
PXSR lampClass("Lamp", makeLamp);

// The custom statement "double N": its answer goes to RESULT.
void doubleIt() { YSetRESULT(static_cast<int32_t>(2 * std::atoi(PXScriptableObject::nextParameter()))); }

int statementsTraced = 0, saysTraced = 0;
void trace(const YThread& thread, int statement, void*) {
    ++statementsTraced;
    const char* name = baublecore::commandName(thread.jumps[statement].command);
    if (name && std::strcmp(name, "ycSay") == 0) ++saysTraced;
}

const char kScript[] =
    "changes=0\r\n"
    "lamp=Lamp 3\r\n"
    "set lamp changed onchanged\r\n"
    "play lamp up 2\r\n"
    "get lamp level seen\r\n"
    "double seen\r\n"
    "say \"level\" seen RESULT\r\n"
    "wait\r\n"
    "procedure onchanged\r\n"
    "[\r\n"
    "changes=changes+1\r\n"
    "]\r\n";

std::string textOf(const char* name) {
    YVariable* v = YHeap::theHeap[YHeap::theHeap.index(name, static_cast<int>(std::strlen(name)))];
    if (!v) return "(none)";
    int len = 0;
    const char* text = v->value(len);
    return std::string(text, static_cast<size_t>(len < 0 ? -len : len));
}

int failures = 0;
void expect(bool ok, const char* what) {
    if (!ok) {
        std::printf("tour host: %s failed\n", what);
        ++failures;
    }
}

}  // namespace

int main() {
    std::printf("baublecore %s\n", BCSysGetVersion());
    PXApp app;  // headless unless the host installs another backend

    PXLinkToFct doubler(doubleIt);
    YExtend("double", &doubler);
    expect(std::strcmp(YGetFirstCustomKeyword(), "double") == 0 && YGetLastKeywordLink() &&
               !YGetNextCustomKeyword(),
           "the custom statement");
    baublecore::setTraceHook(trace, nullptr);

    PXIStreamMemory source(kScript, sizeof kScript - 1);
    YThread thread(&source);
    expect(thread && YThread::getCurrent() == &thread, "compiling the script");
    thread.go();
    app.run(50);

    // The script made a Lamp through its class record and drove it.
    PXSobHandle handle = YHeap::theHeap.getSobHandle("lamp");
    int valid = 0;
    auto* lamp = static_cast<Lamp*>(YHeap::theHeap.getSob(handle, &valid, 0));
    expect(lamp && valid && lamp->level == 5 && std::strcmp(lamp->isA(), "Lamp") == 0, "the lamp");
    expect(PXSR::classList && PXSR::classList->count >= 1 && lampClass.creator == makeLamp, "the class");
    expect(textOf("seen") == "5" && textOf("RESULT") == "10", "get and the custom statement");
    expect(statementsTraced > 0 && saysTraced == 1, "tracing");

    // Its binding: an event of the lamp runs the script's procedure.
    expect(eventRecord::eventRecordList && eventRecord::eventRecordList->count == 1, "the binding");
    if (lamp) {
        const PXScriptableObjectProperty* level = nullptr;
        for (PXListNode<PXScriptableObjectProperty>* n = lamp->properties->head; n; n = n->next)
            if (n->value->find("level")) level = n->value;
        expect(level && level->type == PXSOB_DataProperty && std::strcmp(level->get(), "5") == 0,
               "the property");
        lamp->sobPass("changed");
        app.run(10);
    }
    expect(textOf("changes") == "1", "the event");

    // A parameter is a private copy of its text: the host only passes texts.
    static_assert(sizeof(PXSParameter) == sizeof(char*));
    unsigned char word[2] = {0x12, 0x34};
    SwapWord(word);
    SwapNWords(word, 1);
    SwapN32s(nullptr, 0);
    expect(word[0] == 0x12 && word[1] == 0x34, "byte swapping");

    baublecore::setTraceHook(nullptr, nullptr);
    if (failures) return 1;
    std::printf("tour host: ok\n");
    return 0;
}
