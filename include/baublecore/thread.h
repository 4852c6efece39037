// YThread: one running Y script. Its source is compiled in one pass into a
// statement table (`jumps`) and code words that index the shared heap; the
// one task of all threads runs them cooperatively, a statement at a time,
// and events enter as interrupts.
#pragma once

#include <cstdint>

#include "baublecore/api.h"
#include "pxbase/list.h"

class PXIStream;
class PXLink;
class PXTask;
class eventRecord;
class YVariable;

// The door through which the library's own files reach the private
// operations below; it is not part of what a host uses.
namespace bcthreads {
struct ThreadsAccess;
}

// Statement commands. The numbers are stored in compiled scripts and must
// never change; the gaps have no name and are never produced.
enum YCMND : int32_t {
    ycEnd = 0,
    ycIf = 1,
    ycFor = 2,
    ycBreak = 3,
    ycProcedure = 4,
    ycContinue = 5,
    ycCall = 6,
    ycEntry = 7,
    ycForStart = 8,
    ycForNext = 9,
    ycBranch = 10,
    ycJump = 11,
    ycTest = 12,
    ycNop = 13,
    ycSay = 14,
    ycReturn = 15,
    ycElse = 17,
    ycAssign = 18,
    ycDrop = 19,
    ycCustom = 21,
    ycWait = 22,
    ycIdle = 23,
    ycSchedule = 24,
    ycExit = 25,
    ycSuspend = 26,
    ycResume = 27,
    ycPause = 28,
    ycDebug = 29,
    ycSet = 35,
    ycGet = 36,
    ycYield = 37,
    ycPlay = 40,
    ycRelay = 45,
    ycQuit = 46,
};

// One entry of the statement table. `operand` is a statement index for the
// commands that jump, and the start of the operand list in `code` otherwise.
struct YStatement {
    int32_t command;
    int16_t operand;
};

// A running counted loop.
struct YForRecord {
    int16_t cursor;
    int16_t direction;  // +1, -1, or 0 once the last round has begun
    int16_t limit;
    int16_t stride;
    int16_t exitTarget;  // statement behind the loop
};

class BC_API YThread {
public:
    using URL = PXIStream* (*)(const char* name);

    static constexpr int kNameSize = 512;
    static constexpr int kStackWords = 2048;
    static constexpr int kForRecords = 128;

    // From a stream holding source text or a compiled script; the stream
    // stays the caller's. Needs PXApp::theApp for the task of all threads.
    explicit YThread(PXIStream* source);
    // From a file; `url` opens what the disk does not have. A null name asks
    // for a file through the file chooser.
    explicit YThread(const char* name = nullptr, URL url = nullptr);
    ~YThread();
    // A memberwise copy would share, and twice free, the owned arrays and
    // links: threads are not copied.
    YThread(const YThread&) = delete;
    YThread& operator=(const YThread&) = delete;

    // Script control.
    void set(const char* name);
    void go();
    void stop();
    void kill();
    void relay(const char* name);
    void call(const char* name);
    void suspend() { sleeping = 1; }
    void resume() { sleeping = 0; }
    void cli() { blocked = 1; }
    void sti() { blocked = 0; }
    void alertOnExit();
    void flushIdle() { idleAge = 0; }
    void timer() {}
    void step(const void* event);
    // Delivers the event of the record whose key a watcher link carries.
    void handleEvent(const void* key);
    int save(const char* path) const;
    int attach(const char* text);
    void installURL(URL opener) { url = opener; }
    void setExitLink(const PXLink* link);
    void setGoLink(const PXLink* link);
    void setYieldLink(const PXLink* link);
    void setDoneMainLink(const PXLink* link);

    // Scheduling.
    int advance();
    int age();

    // Queries.
    operator int() const { return valid; }
    int operator!() const { return valid == 0; }
    const char* getName() const { return name; }
    int getYield() const { return yield; }
    int isYielding() const { return yield == 0; }
    int isFirstYieldOn() const { return firstYieldOn; }

    // Over every thread.
    static YThread* getCurrent();
    static void dozeOffAll();
    static void wakeUpAll();
    static void suspendAll();
    static void resumeAll();
    static void resetIdle();
    static void setYieldEventsOff(int on) { yieldEventsOff = on; }
    static int getYieldEventsOff() { return yieldEventsOff; }
    // Asks for a script file: "*.mps", titled "Script". The empty string
    // when cancelled.
    static void chooseFile(char* out, int forSave);

    static PXTask* task;
    static int yieldEventsOff;
    static PXList<YThread> threadList;
    static YThread* leavingThread;
    static const char* relayName;
    static int relayVariable;
    static uint32_t pauseUntil;
    static int lastDoneCommand;

    URL url;
    int32_t doneMainArmed;
    PXLink* exitLink;
    PXLink* yieldLink;
    PXLink* goLink;
    PXLink* doneMainLink;
    YStatement* jumps;
    int16_t* code;
    int16_t* stack;
    char name[kNameSize];
    YForRecord forRecords[kForRecords];
    int32_t jumpCount;
    int32_t codeWordCount;
    int32_t forTop;
    int32_t idleEntry;
    int32_t scheduleEntry;
    int32_t scheduleAge;
    int32_t idleAge;
    int32_t scheduleLimit;
    int32_t idleLimit;
    int32_t blocked;
    int32_t valid;
    int32_t eventsOn;
    int32_t inInterrupt;
    int32_t running;
    int32_t firstYieldOn;
    int32_t interruptDepth;
    int32_t yield;
    int32_t pc;
    int32_t sleeping;
    int32_t stackDepth;
    int32_t condition;
    int32_t savedPc;
    int32_t savedSleeping;
    int32_t savedStackDepth;
    int32_t savedCondition;
    int32_t savedForTop;  // the main line's innermost loop while a handler runs

private:
    friend struct bcthreads::ThreadsAccess;

    void strip();

    // Source loading (source.cpp).
    int compile(PXIStream* source);
    int compile(const char* name);
    int fillTextBuffer(const char* name, int offset);
    int fillTextBuffer(PXIStream* source, int offset);
    int advancePastSeparator(char*& p, int keepEquals);
    char* getToken(int acrossLines);

    // The compiler (compiler.cpp).
    int compile();
    int doClause();
    void doList();
    void doExpression();
    void doCommand(YCMND command, int operand);
    void setJump();
    void push(int value);
    int pop();

    // The compiled-script file (script_file.cpp).
    int load(const char* path, int swap);
    int load(PXIStream* source, int swap);

    // The interpreter (interpreter.cpp).
    void startInterrupt(int entry);
    void leaveInterrupt();
    int checkDrop(int& index, char*);
};
