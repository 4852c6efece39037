// YThread: construction and destruction, the controls a host uses on one
// script, and the operations over all threads. One task, made with the
// first thread and removed with the last, runs every thread.
#include "baublecore/thread.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "baublecore/event_record.h"
#include "baublecore/heap.h"
#include "pxbase/app.h"
#include "pxbase/link.h"
#include "pxbase/sys.h"
#include "threads/compiler_state.h"
#include "threads/threads_internal.h"
#include "values/values_internal.h"

PXTask* YThread::task = nullptr;
int YThread::yieldEventsOff = 0;
PXList<YThread> YThread::threadList;
YThread* YThread::leavingThread = nullptr;
const char* YThread::relayName = nullptr;
int YThread::relayVariable = 0;
uint32_t YThread::pauseUntil = 0;
int YThread::lastDoneCommand = 0;

namespace bcthreads {
namespace {

struct ScriptName {
    char* name;
};
PXList<ScriptName>* scriptStack = nullptr;

void makeTask() {
    // A new task starts the age clock afresh: its first tick records the time.
    resetScheduler();
    PXLinkToFct link(serviceThreads);
    YThread::task = new PXTask(&link, 0);
    PXApp::theApp->addTask(YThread::task);
}

void resetScriptState(YThread& t) {
    t.inInterrupt = t.blocked = t.sleeping = t.running = 0;
    t.idleAge = t.idleLimit = t.scheduleLimit = t.scheduleEntry = t.idleEntry = 0;
    t.pc = t.stackDepth = t.yield = 0;
    t.condition = 1;
    t.eventsOn = 1;
    t.forTop = -1;
    t.firstYieldOn = 1;
    codeCount = 0;
    bcvalues::compileError = 0;
    procedurePending = 0;
}

// The fields every constructor starts from.
void construct(YThread& t, YThread::URL opener) {
    t.url = opener;
    t.doneMainArmed = 1;
    t.exitLink = t.yieldLink = t.goLink = t.doneMainLink = nullptr;
    t.jumps = nullptr;
    t.code = nullptr;
    t.stack = nullptr;
    t.name[0] = '\0';
    std::memset(t.forRecords, 0, sizeof t.forRecords);
    t.jumpCount = t.codeWordCount = 0;
    t.scheduleAge = t.idleAge = 0;
    t.valid = 0;
    t.interruptDepth = 0;
    t.savedPc = t.savedSleeping = t.savedStackDepth = t.savedCondition = 0;
    t.savedForTop = -1;
    resetScriptState(t);
}

}  // namespace

void startScriptStack() {
    if (!scriptStack) scriptStack = new PXList<ScriptName>;
}

void stopScriptStack() {
    clearScriptStack();
    delete scriptStack;
    scriptStack = nullptr;
}

void pushScriptName(const char* name) {
    startScriptStack();
    auto* entry = new ScriptName{static_cast<char*>(std::malloc(std::strlen(name) + 1))};
    std::strcpy(entry->name, name);
    scriptStack->append(entry);
}

char* popScriptName() {
    if (!scriptStack || !scriptStack->count) return nullptr;
    ScriptName* entry = scriptStack->last();
    scriptStack->remove(entry);
    char* name = entry->name;
    delete entry;
    return name;
}

void clearScriptStack() {
    while (char* name = popScriptName()) std::free(name);
}

int scriptStackDepth() { return scriptStack ? scriptStack->count : 0; }

void stopThreadList() { YThread::threadList.clear(); }

}  // namespace bcthreads

using namespace bcthreads;

YThread::YThread(PXIStream* source) {
    construct(*this, nullptr);
    if (!task && PXApp::theApp) makeTask();
    name[0] = '\0';
    bcvalues::ValuesAccess::init(YHeap::theHeap);
    kill();
    resetScriptState(*this);
    stack = new int16_t[kStackWords];
    valid = compile(source);
    // Only a thread that compiled enters the list.
    if (valid)
        threadList.append(this);
    else
        strip();
}

YThread::YThread(const char* scriptName, URL opener) {
    construct(*this, opener);
    if (!task && PXApp::theApp) makeTask();
    name[0] = '\0';
    bcvalues::ValuesAccess::init(YHeap::theHeap);
    set(scriptName);
    // set has stripped a thread that did not compile.
    if (valid) threadList.append(this);
}

YThread::~YThread() {
    eventRecord::flush();
    threadList.remove(this);
    if (leavingThread == this) {
        leavingThread = nullptr;
        relayName = nullptr;
        relayVariable = 0;
    }
    if (threadList.count == 0) {
        if (PXApp::theApp && task) PXApp::theApp->removeTask(task);
        delete task;
        task = nullptr;
        bcvalues::ValuesAccess::kill(YHeap::theHeap);
    }
    strip();
    delete exitLink;
    delete yieldLink;
    delete goLink;
    delete doneMainLink;
}

void YThread::set(const char* scriptName) {
    bool tooLong = false;
    if (!scriptName) {
        chooseFile(name, 0);
    } else if (std::strlen(scriptName) >= sizeof name) {
        // A name the thread cannot hold is no script.
        tooLong = true;
    } else if (scriptName != name) {
        std::memmove(name, scriptName, std::strlen(scriptName) + 1);
    }
    kill();
    resetScriptState(*this);
    strip();
    if (tooLong) {
        name[0] = '\0';
        PXSysUserMessage("can't read a script of a name that long: a script name has at most 127 bytes",
                         0x3000, nullptr);
    }
    if (name[0]) {
        stack = new int16_t[kStackWords];
        valid = compile(name);
    }
    if (!valid) strip();
}

void YThread::go() {
    if (!valid) return;
    running = 1;
    if (goLink) goLink->call();
}

void YThread::stop() {
    running = 0;
    eventRecord::flush();
}

void YThread::kill() {
    if (valid) {
        stop();
        strip();
        bcvalues::ValuesAccess::reset(YHeap::theHeap);
        valid = 0;
    }
    if (exitLink) exitLink->call();
}

void YThread::strip() {
    std::free(jumps);
    std::free(code);
    delete[] stack;
    jumps = nullptr;
    code = nullptr;
    stack = nullptr;
}

void YThread::relay(const char* scriptName) {
    if (!scriptName || std::strcmp(scriptName, name) == 0) return;
    leavingThread = this;
    relayName = scriptName;
}

void YThread::call(const char* scriptName) {
    if (!scriptName || std::strcmp(scriptName, name) == 0) return;
    pushScriptName(name);
    relay(scriptName);
}

void YThread::alertOnExit() {
    if (exitLink) exitLink->call();
}

void YThread::setExitLink(const PXLink* link) { PXStoreLink(exitLink, link); }
void YThread::setGoLink(const PXLink* link) { PXStoreLink(goLink, link); }
void YThread::setYieldLink(const PXLink* link) { PXStoreLink(yieldLink, link); }
void YThread::setDoneMainLink(const PXLink* link) { PXStoreLink(doneMainLink, link); }

YThread* YThread::getCurrent() { return threadList.first(); }

namespace {
template <class Each>
void forEveryThread(Each each) {
    for (PXListWalk<YThread> walk(YThread::threadList); YThread* t = walk.next();) each(*t);
}
}  // namespace

void YThread::dozeOffAll() { forEveryThread([](YThread& t) { t.blocked = 1; }); }
void YThread::wakeUpAll() { forEveryThread([](YThread& t) { t.blocked = 0; }); }
void YThread::suspendAll() { forEveryThread([](YThread& t) { t.sleeping = 1; }); }
void YThread::resumeAll() { forEveryThread([](YThread& t) { t.sleeping = 0; }); }
void YThread::resetIdle() { forEveryThread([](YThread& t) { t.idleAge = 0; }); }
