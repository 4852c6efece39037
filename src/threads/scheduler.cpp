// Scheduling: one tick of all threads, one thread's visit, the coarse age
// clock behind the timers, event delivery, and the leaving step at the end
// of a tick, when a thread goes from one script to another.
#include <cstdlib>

#include "baublecore/event_record.h"
#include "baublecore/heap.h"
#include "baublecore/thread.h"
#include "pxbase/link.h"
#include "pxbase/sys.h"
#include "threads/threads_internal.h"

using namespace bcthreads;

namespace {

uint32_t lastAgeTime = 0;
int16_t ageDue = 0;

bool stopsStepping(int yield) { return yield == 0 || yield == kYieldEventsOff || yield == kYieldRefused; }

// Starts the thread on the script it was given, when that compiled.
void restart(YThread* t, const char* script) {
    t->set(script);
    if (*t) {
        t->running = 1;
        if (t->goLink) t->goLink->call();
    }
}

}  // namespace

namespace bcthreads {

void resetScheduler() {
    lastAgeTime = 0;
    ageDue = 0;
}

void serviceThreads() {
    if (YThread::threadList.count == 0) return;
    uint32_t now = PXSysMilliSecCount();
    if (lastAgeTime == 0) {
        lastAgeTime = now;
    } else if (static_cast<int32_t>(now - lastAgeTime) > 100) {
        ageDue = 1;
        lastAgeTime = now;
    }
    for (PXListWalk<YThread> walk(YThread::threadList); YThread* t = walk.next();)
        if (t->advance()) break;
    ageDue = 0;

    YThread* leaving = YThread::leavingThread;
    if (!leaving) return;
    eventRecord::flush();
    if (YThread::relayName) {
        const char* script = YThread::relayName;
        YThread::relayName = nullptr;
        YThread::leavingThread = nullptr;
        restart(leaving, script);
        return;
    }
    if (YThread::relayVariable) {
        char script[1024] = "";  // a value's text; set() refuses what is too long for a name
        if (YVariable* v = YHeap::theHeap[YThread::relayVariable]) v->resolve(script);
        YThread::relayVariable = 0;
        YThread::leavingThread = nullptr;
        restart(leaving, script);
        return;
    }
    YThread::leavingThread = nullptr;
    char* back = popScriptName();
    if (!back) {
        leaving->kill();
        return;
    }
    restart(leaving, back);
    std::free(back);
}

}  // namespace bcthreads

int YThread::advance() {
    if (ageDue && age()) return 0;
    if (!leavingThread) {
        for (;;) {
            step(nullptr);
            if (stopsStepping(yield)) return 0;
            if (leavingThread) break;
            // Status 1 on a thread that cannot move (asleep, or resting at
            // its end) would never give the loop back: it yields like 0.
            if (cannotMove(*this)) return 0;
        }
    }
    if (yield < -1) relayVariable = -yield;
    return 1;
}

int YThread::age() {
    // A timer's event is a record made through the constructor like every
    // other, so that the handler's first statement finds it on the list (get
    // RECEIVER name); it goes after that one step. The step may have flushed
    // the list (drop baubles, a leaving thread) and the record with it: it is
    // looked up again by its key.
    auto fire = [this](const char* name, int32_t entry) {
        auto* record = new eventRecord(name, entry, nullptr, nullptr);
        const void* key = recordKey(*record);
        step(record);
        // Without a list (after the library's end) nothing could take it.
        delete (eventRecord::eventRecordList ? recordByKey(key) : record);
    };
    ++scheduleAge;
    ++idleAge;
    if (scheduleEntry && scheduleAge > scheduleLimit) {
        int32_t entry = scheduleEntry;
        scheduleEntry = scheduleAge = idleAge = 0;
        fire(keywordText(ycSchedule), entry);
        if (yield != kYieldEventsOff) return yield >= 0 ? 1 : 0;
    }
    if (idleEntry && idleAge > idleLimit) {
        idleAge = 0;
        fire(keywordText(ycIdle), idleEntry);
        if (yield != kYieldEventsOff) return yield >= 0 ? 1 : 0;
    }
    return 0;
}

void YThread::handleEvent(const void* key) {
    if (leavingThread) return;
    // The link carries the record's key: a record that is gone is not found,
    // and its event is lost.
    eventRecord* record = recordByKey(key);
    if (!record) return;
    int remembered = yield;
    if (yieldEventsOff) yield = 1;
    step(record);
    for (;;) {
        if (leavingThread && yield < -1) relayVariable = -yield;
        if (stopsStepping(yield) || leavingThread) break;
        if (cannotMove(*this)) break;
        step(nullptr);
    }
    if (yieldEventsOff) yield = remembered;
}
