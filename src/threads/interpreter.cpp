// The statement interpreter: step runs one statement of the table. There is
// no operand stack: statements read heap variables through their code word
// list and write results to variables, objects or thread fields. The
// statement is counted past before it runs, so a call out of the script
// (which may re-enter step through an event) finds a consistent thread.
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "baublecore/event_record.h"
#include "baublecore/heap.h"
#include "baublecore/scriptable_object.h"
#include "baublecore/thread.h"
#include "baublecore/trace.h"
#include "frame/stress.h"
#include "pxbase/app.h"
#include "pxbase/link.h"
#include "pxbase/sys.h"
#include "threads/threads_internal.h"
#include "values/values_internal.h"

using namespace bcthreads;

namespace {

constexpr int kBuffer = bcvalues::kValueBufferSize;
constexpr int kSayBuffer = 2048;

// Words `drop` knows by the operand variable's name.
const char* const dropWords[] = {"schedule", "idle", "stack", "wait", "[", "baubles", "var", "script"};

YVariable* variable(int w) { return bcvalues::ValuesAccess::entry(YHeap::theHeap, w); }

// The variable a word stands for at this moment: a compound name reaches its
// associate.
YVariable* target(int w) {
    YVariable* v = variable(w);
    // Only a compound name answers with an associate: every other term is
    // its own target, and reading it (an expression is evaluated) would be
    // work for nothing.
    if (!v || v->type != YVT_Compound) return v;
    char buffer[kBuffer];
    int associate = v->value(buffer);
    return associate > 0 ? variable(associate) : v;
}

// The text of a word's variable; a variable without a value is its name.
// The text lives in one of two alternating buffers: copy what must last.
const char* string(int w, int* length = nullptr) {
    YVariable* v = variable(w);
    int len = 0;
    const char* text = v ? v->value(len) : "";
    if (len < 0) len = -len;
    if (length) *length = len;
    return text;
}

PXScriptableObject* object(YVariable* v) {
    PXScriptableObject* o = nullptr;
    if (v) v->value(o);
    return o;
}

bool holdsObject(const YVariable* v) { return v && v->state == YVS_Object; }

double asDouble(YVariable* v) {
    double d = 0;
    if (v) v->value(&d);
    return d;
}

int32_t asLong(YVariable* v) {
    int32_t l = 0;
    if (v) v->value(&l);
    return l;
}

baublecore::TraceHook traceHook = nullptr;
void* traceContext = nullptr;

// Truncation toward zero into 32 bits; what does not fit (or is not a
// number) gives the 32-bit machine's answer, 0x80000000, not undefined
// behaviour.
int32_t truncate32(double d) {
    if (!(d > -2147483649.0 && d < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(d);
}

void copyText(char* dst, const char* src) { std::snprintf(dst, kBuffer, "%s", src ? src : ""); }

bool listed(const YThread& t) {
    for (PXListNode<YThread>* n = YThread::threadList.head; n; n = n->next)
        if (n->value == &t) return true;
    return false;
}

// Behind a call out through which an event may come back into the thread (a
// creator's born link, a custom keyword, a get handler, the thread's own
// links). The stress build re-enters the thread there as an event does, with
// the key of a binding that is gone: such an event is lost, and the thread
// must come out of it as it went in.
void afterCallOut(YThread& t) {
    if (!bcframe::stress() || !listed(t)) return;
    const int yield = t.yield, pc = t.pc, inInterrupt = t.inInterrupt, stackDepth = t.stackDepth;
    t.handleEvent(reinterpret_cast<const void*>(uintptr_t{UINT32_MAX}));
    BC_ASSERT(t.yield == yield && t.pc == pc && t.inInterrupt == inInterrupt && t.stackDepth == stackDepth);
    checkInterruptState(t);
}

}  // namespace

void bcthreads::checkInterruptState(const YThread& t) {
    BC_ASSERT(t.inInterrupt == 0 || t.inInterrupt == 1);
    BC_ASSERT(t.interruptDepth >= 0);
    BC_ASSERT(t.stackDepth >= 0 && t.stackDepth <= YThread::kStackWords);
    BC_ASSERT(t.forTop >= -1 && t.forTop < YThread::kForRecords);
    BC_ASSERT(t.sleeping == 0 || t.sleeping == 1);
    BC_ASSERT(!t.inInterrupt || (t.savedStackDepth >= 0 && t.savedStackDepth <= YThread::kStackWords));
    BC_ASSERT(!t.inInterrupt || (t.savedForTop >= -1 && t.savedForTop < YThread::kForRecords));
    BC_ASSERT(!t.inInterrupt || t.savedSleeping == 0 || t.savedSleeping == 1);
}

void baublecore::setTraceHook(TraceHook hook, void* context) {
    traceHook = hook;
    traceContext = context;
}

const char* baublecore::commandName(int command) {
    return bcthreads::commandName(static_cast<YCMND>(command));
}

void YThread::startInterrupt(int entry) {
    savedForTop = forTop;
    savedStackDepth = stackDepth;
    savedCondition = condition;
    savedPc = pc;
    savedSleeping = sleeping;
    inInterrupt = 1;
    sleeping = 0;
    pc = entry;
    checkInterruptState(*this);
}

void YThread::leaveInterrupt() {
    // Loops a handler leaves behind are not the main line's.
    forTop = savedForTop;
    stackDepth = savedStackDepth;
    condition = savedCondition;
    pc = savedPc;
    sleeping = savedSleeping;
    inInterrupt = 0;
    checkInterruptState(*this);
}

namespace {

// The operand list of a statement: words up to -1. An operand list that
// does not lie inside the code reads as empty. The list is not measured up
// front: most statements look at a word or two, and jumps at none.
struct Operands {
    const int16_t* w;
    int limit;  // code words from w to the end of the code
    int operator[](int i) const {
        for (int k = 0; k <= i; ++k)
            if (k >= limit || w[k] == -1) return -1;
        return w[i];
    }
    int count() const {
        int n = 0;
        while (n < limit && w[n] != -1) ++n;
        return n;
    }
};

Operands operandsOf(const YThread& t, int a) {
    static const int16_t none = -1;
    if (a < 0 || a >= t.codeWordCount) return {&none, 0};
    return {t.code + a, t.codeWordCount - a};
}

// The statements' helpers, in the order they are defined below.
void fireDoneMain(YThread& t, int command, bool atEnd);
void rest(YThread& t, int command);
void jumpTo(YThread& t, int a);
void test(YThread& t, const Operands& w);
void forStart(YThread& t, const Operands& w);
void forNext(YThread& t, const Operands& w);
void say(const Operands& w);
void assign(YThread& thread, const Operands& w);
void dropFamily(YVariable* v);
void drop(YThread& t, int a);
void custom(YThread& t, const Operands& w);
void setTimer(YThread& t, int c, const Operands& w);
void setProperty(YThread& thread, const Operands& w);
void getProperty(YThread& thread, const Operands& w);
void play(YThread& t, const Operands& w);

}  // namespace

void YThread::step(const void* event) {
    checkInterruptState(*this);
    if (!running || blocked || !jumps) {
        yield = kYieldRefused;
        return;
    }
    if (event) {
        if (!eventsOn) {
            yield = kYieldEventsOff;
            return;
        }
        auto* record = static_cast<const eventRecord*>(event);
        YVariable* receiver = YHeap::theHeap[1];
        if (record->name == keywordText(ycSchedule) || record->name == keywordText(ycIdle)) {
            if (receiver) receiver->set(record->name, -1);
        } else {
            PXScriptableObject* o = record->object ? record->object : PXScriptableObject::getNewborn();
            if (o && receiver) receiver->set(o);
        }
        interruptDepth = 0;
        if (inInterrupt) leaveInterrupt();
        startInterrupt(record->entry);
    }
    if (pauseUntil && PXSysMilliSecCount() > pauseUntil) {
        // Only the running state wakes: inside a handler, the main line's
        // saved sleep (a wait, or a pause of its own) comes back when the
        // handler ends, and only drop wait or the host's resume ends a wait.
        pauseUntil = 0;
        sleeping = 0;
    }
    if (sleeping) return;

    // A jump never leaves the table; should pc stand outside it, the thread
    // is at its end.
    if (pc < 0 || pc > jumpCount) pc = jumpCount;
    if (traceHook) traceHook(*this, pc, traceContext);
    int c = jumps[pc].command;
    int a = jumps[pc].operand;
    ++pc;
    if (doneMainLink && !doneMainArmed && c != lastDoneCommand) doneMainArmed = 1;
    Operands w = operandsOf(*this, a);

    // A number that names no command rests like the end.
    switch (isCommand(c) ? static_cast<YCMND>(c) : ycEnd) {
        case ycCall: {
            if (w[0] < 0) break;
            int last = -1, cur = w[0];
            char s[kBuffer];
            s[0] = '\0';  // only the start: the reader writes the rest
            while (cur != -1 && cur != last) {
                last = cur;
                YVariable* v = variable(cur);
                if (!v) break;
                v->resolve(s);
                cur = YHeap::theHeap.index(s, static_cast<int>(std::strlen(s)));
            }
            if (s[0] == '+') {
                if (stackDepth >= kStackWords) break;  // refused: no room to return
                push(-1);
                pc = std::atoi(s);
                interruptDepth += inInterrupt;
            } else {
                pushScriptName(name);
                yield = -last;
                running = 0;
                leavingThread = this;
            }
            break;
        }
        case ycEntry:
            if (stackDepth == 0) {
                // The main line ran into a definition: go on behind it.
                while (pc < jumpCount && jumps[pc].command != ycReturn) ++pc;
                if (pc < jumpCount) ++pc;
            } else {
                int caller = stack[stackDepth - 1] - 1;
                if (caller < 0 || caller >= jumpCount) break;
                Operands actual = operandsOf(*this, jumps[caller].operand);
                for (int i = 1; actual[i] != -1 && w[i] != -1; ++i) {
                    int len = 0;
                    const char* text = string(actual[i], &len);
                    if (YVariable* formal = variable(w[i])) formal->set(text, len);
                }
            }
            break;
        case ycForStart:
            forStart(*this, w);
            break;
        case ycForNext:
            forNext(*this, w);
            break;
        case ycBranch:
            if (condition == 0) jumpTo(*this, a);
            break;
        case ycJump:
            jumpTo(*this, a);
            break;
        case ycTest:
            test(*this, w);
            break;
        case ycNop:
        case ycDebug:
            break;
        case ycSay:
            say(w);
            break;
        case ycReturn:
            if (inInterrupt && (interruptDepth == 0 || stackDepth == 0)) {
                // With nothing left to pop, a handler ends here too.
                leaveInterrupt();
                if (yieldEventsOff) yield = kYieldEventsOff;
            } else if (stackDepth > 0) {
                pc = pop();
                if (inInterrupt) --interruptDepth;
            }
            // The main line with nothing to pop: nothing to return to.
            break;
        case ycAssign:
            assign(*this, w);
            break;
        case ycDrop:
            drop(*this, a);
            break;
        case ycCustom:
            custom(*this, w);
            break;
        case ycWait:
            sleeping = 1;
            fireDoneMain(*this, c, false);
            break;
        case ycIdle:
        case ycSchedule:
            setTimer(*this, c, w);
            break;
        case ycExit:
            running = 0;
            leavingThread = this;
            break;
        case ycSuspend:
            eventsOn = 0;
            break;
        case ycResume:
            eventsOn = 1;
            break;
        case ycPause: {
            double units = w[0] < 0 ? 0 : asDouble(target(w[0]));
            if (units != 0) {
                pauseUntil = PXSysMilliSecCount() + static_cast<uint32_t>(truncate32(units * 900));
                sleeping = 1;
            }
            break;
        }
        case ycSet:
            setProperty(*this, w);
            break;
        case ycGet:
            getProperty(*this, w);
            break;
        case ycPlay:
            play(*this, w);
            break;
        case ycYield: {
            int len = 0;
            if (w[0] >= 0) string(w[0], &len);
            yield = len == 2 ? 0 : 1;
            if (yieldLink) {
                yieldLink->call();
                afterCallOut(*this);
            }
            if (yield == 0) firstYieldOn = 0;
            break;
        }
        case ycQuit:
            if (PXApp::theApp) PXApp::theApp->stop();
            [[fallthrough]];
        case ycRelay:
            yield = -w[0];
            running = 0;
            leavingThread = this;
            break;
        // The end entry, and the keyword commands, which never stand in the
        // table (nor does a number that names no command).
        case ycEnd:
        case ycIf:
        case ycFor:
        case ycBreak:
        case ycProcedure:
        case ycContinue:
        case ycElse:
            rest(*this, c);
            break;
    }
}

bool bcthreads::cannotMove(const YThread& t) {
    if (t.sleeping || !t.running || t.blocked || !t.jumps) return true;
    if (t.pc < 0 || t.pc >= t.jumpCount) return true;
    // The keyword commands never stand in the table, and a number without a
    // name rests like the end.
    constexpr uint64_t moving = [] {
        uint64_t m = 0;
        for (int k = 0; k < 64; ++k)
            if (isCommand(k)) m |= uint64_t{1} << k;
        for (int k : {ycEnd, ycIf, ycFor, ycBreak, ycProcedure, ycContinue, ycElse}) m &= ~(uint64_t{1} << k);
        return m;
    }();
    int c = t.jumps[t.pc].command;
    return c < 0 || c >= 64 || !((moving >> c) & 1);
}

namespace {

void fireDoneMain(YThread& t, int command, bool atEnd) {
    if (!t.doneMainArmed || !t.doneMainLink) return;
    t.doneMainArmed = 0;
    if (atEnd) YThread::lastDoneCommand = command;
    t.doneMainLink->call();
    afterCallOut(t);
}

// The end of the code, or a command that has no business in the table: the
// thread rests here. It is put in order before the host's link may re-enter it.
void rest(YThread& t, int command) {
    --t.pc;
    if (YThread::yieldEventsOff) t.yield = kYieldRefused;
    fireDoneMain(t, command, true);
}

void jumpTo(YThread& t, int a) {
    t.pc = a;
    if (t.forTop != -1 && t.forRecords[t.forTop].exitTarget == a) --t.forTop;
}

void test(YThread& t, const Operands& w) {
    if (w[0] < 0) {
        t.condition = 1;
        return;
    }
    char text[kBuffer];
    text[0] = '\0';  // only the start: the reader writes the rest
    if (YVariable* v = variable(w[0])) v->resolve(text);
    t.condition = text[0] != '0';
}

void forStart(YThread& t, const Operands& w) {
    if (w[0] < 0 || w[1] < 0) return;
    int exitTarget = t.pc + 1 <= t.jumpCount ? t.jumps[t.pc + 1].operand : t.jumpCount;
    if (t.forTop + 1 >= YThread::kForRecords) {
        // No record left for this loop: it is refused, and does not run.
        t.pc = exitTarget;
        return;
    }
    YForRecord& r = t.forRecords[++t.forTop];
    r.cursor = static_cast<int16_t>(asLong(variable(w[1])));
    if (w[2] < 0) {
        r.limit = 0;
        r.stride = -1;
    } else {
        r.limit = static_cast<int16_t>(asLong(variable(w[2])));
        r.stride = w[3] < 0 ? 1 : static_cast<int16_t>(asLong(variable(w[3])));
    }
    r.exitTarget = static_cast<int16_t>(exitTarget);
    r.direction = r.cursor < r.limit ? 1 : -1;
    r.cursor = static_cast<int16_t>(r.cursor - r.stride);
}

void forNext(YThread& t, const Operands& w) {
    if (w[0] < 0 || w[1] < 0) return test(t, w);
    if (t.forTop < 0) {
        t.condition = 0;
        return;
    }
    YForRecord& r = t.forRecords[t.forTop];
    r.cursor = static_cast<int16_t>(r.cursor + r.stride);
    if (YVariable* v = variable(w[0])) v->set(static_cast<int32_t>(r.cursor));
    if (r.direction == 0) {
        t.condition = 0;
    } else if (r.cursor == r.limit) {
        t.condition = 1;
        r.direction = 0;
    } else {
        t.condition = r.direction > 0 ? r.cursor < r.limit : r.cursor > r.limit;
    }
}

void say(const Operands& w) {
    static char sayBuffer[kSayBuffer];
    int used = 0;
    for (int i = 0; w[i] != -1; ++i) {
        int len = 0;
        const char* text = string(w[i], &len);
        if (used + len + 1 >= kSayBuffer) continue;  // would not fit: left out
        std::memcpy(sayBuffer + used, text, static_cast<size_t>(len));
        used += len;
        sayBuffer[used++] = ' ';
    }
    if (used) --used;
    sayBuffer[used] = '\0';
    if (std::FILE* f = std::fopen("debug.txt", "a")) {
        std::fprintf(f, "%s\n", sayBuffer);
        std::fclose(f);
    }
}

void assign(YThread& thread, const Operands& w) {
    YVariable* t = target(w[0]);
    if (!t) return;
    if (holdsObject(t))
        if (PXScriptableObject* held = object(t)) eventRecord::remove(held, nullptr);
    if (w[1] < 0) {
        t->set(nullptr, -2);
        return;
    }
    YVariable* s = target(w[1]);
    if (!s) return;
    if (t != s && bcvalues::target(*s) == s &&
        (s->type == YVT_Expression || s->type == YVT_Literal || s->type == YVT_Slice)) {
        // These terms hold no object and construct nothing: their text is
        // all there is, read once and stored.
        bcvalues::assignTo(*s, t);
        return;
    }
    char x[kBuffer];
    int len = 0;
    const char* text = s->value(len);
    if (len < 0) len = -len;
    len = bcvalues::textLength(text, len < kBuffer ? len : kBuffer - 1);
    std::memcpy(x, text, static_cast<size_t>(len));
    x[len] = '\0';
    PXScriptableObject* o = object(s);

    if (s->type == YVT_Plain && s->state == YVS_None && PXScriptableObject::isXtor(x)) {
        PXScriptableObject::resetParameters();
        for (int i = 2; w[i] != -1; ++i) {
            int n = 0;
            const char* p = string(w[i], &n);
            char param[kBuffer];
            std::snprintf(param, sizeof param, "%.*s", n, p);
            PXScriptableObject::addParameter(param);
        }
        int16_t targetWord = static_cast<int16_t>(w[0]);
        const int16_t* codeBefore = thread.code;
        PXScriptableObject* made = PXScriptableObject::create(x, PXScriptableObject::kPXEndOfParameters);
        afterCallOut(thread);
        // The creator may have run script code, even replaced the script:
        // find the target again, and keep the object only for this script.
        t = thread.code == codeBefore ? target(targetWord) : nullptr;
        if (!t) {
            delete made;
            return;
        }
        if (made)
            t->set(made);
        else
            t->set(static_cast<int32_t>(0));
        return;
    }
    if (t == s) return;
    if (o && (holdsObject(s) || static_cast<unsigned char>(x[0]) == YVariable::kObjectText)) {
        if (t->alias != 0)
            t->set(o);
        else
            t->set(o->copy());
        return;
    }
    // Text, including a text that starts with the object byte but holds no
    // object: there is nothing to copy.
    t->set(x, -1);
}

}  // namespace

// Matches the operand's variable name with the words drop knows; 1 when it
// is none of them.
int YThread::checkDrop(int& i, char*) {
    YVariable* v = variable(code[i]);
    const char* word = v ? v->getName() : nullptr;
    int which = -1;
    for (int k = 0; word && k < 8; ++k)
        if (std::strcmp(word, dropWords[k]) == 0) which = k;
    if (which < 0) return 1;

    // The words that name a further operand stand on it; without one they
    // do nothing.
    auto next = [&]() -> YVariable* {
        if (i + 1 >= codeWordCount || code[i + 1] == -1) return nullptr;
        return variable(code[++i]);
    };
    switch (which) {
        case 0:
            scheduleEntry = 0;
            inInterrupt = 0;
            break;
        case 1:
            idleEntry = 0;
            inInterrupt = 0;
            break;
        case 2:
            savedStackDepth = 0;
            stackDepth = 0;
            break;
        case 3:
            savedSleeping = 0;
            sleeping = 0;
            break;
        case 4:
            if (YVariable* family = next()) dropFamily(family);
            break;
        case 5:
            bcvalues::ValuesAccess::dropBaubles(YHeap::theHeap, 1);
            eventRecord::flush();
            break;
        case 6:
            if (YVariable* named = next()) {
                int len = 0;
                const char* text = named->value(len);
                int at = YHeap::theHeap.index(text, len < 0 ? -len : len);
                if (YVariable* found = variable(at)) found->set(nullptr, -2);
            }
            break;
        case 7:
            if (YVariable* what = next()) {
                int len = 0;
                const char* text = what->value(len);
                if (len == 5 && std::strncmp(text, "stack", 5) == 0) clearScriptStack();
            }
            break;
    }
    return 0;
}

namespace {

// `drop [ list`: clears list.1, list.2, ... one level deep.
void dropFamily(YVariable* v) {
    char prefix[kBuffer + 1];
    int associate = v->value(prefix);
    if (associate <= 0) copyText(prefix, v->getName());
    size_t n = std::strlen(prefix);
    prefix[n++] = '.';
    prefix[n] = '\0';
    for (int i = 3; i < YHeap::theHeap.size(); ++i) {
        YVariable* e = YHeap::theHeap[i];
        if (!e || e->type != YVT_Plain || e->state == YVS_None || !e->getName()) continue;
        const char* name = e->getName();
        if (std::strncmp(name, prefix, n) != 0 || !name[n] || std::strchr(name + n, '.')) continue;
        if (holdsObject(e))
            if (PXScriptableObject* o = object(e)) eventRecord::remove(o, nullptr);
        e->set(nullptr, -2);
    }
}

void drop(YThread& t, int a) {
    if (a < 0 || a >= t.codeWordCount || t.code[a] == -1) return;
    int i = a;
    do {
        if (ThreadsAccess::checkDrop(t, i)) {
            YVariable* v = target(t.code[i]);
            if (holdsObject(v)) {
                if (PXScriptableObject* o = object(v)) {
                    eventRecord::remove(o, nullptr);
                    YHeap::theHeap.drop(o, 1);
                }
            } else if (v) {
                v->set(nullptr, -2);
            }
        }
        ++i;
    } while (i < t.codeWordCount && t.code[i] != -1);
}

void custom(YThread& t, const Operands& w) {
    if (w[0] < 0) return;
    const PXLink* link = nullptr;
    if (!findCustomKeyword(string(w[0]), &link)) return;
    PXScriptableObject::resetParameters();
    char text[kBuffer];
    for (int i = 1; w[i] != -1; ++i) {
        text[0] = '\0';
        if (YVariable* v = variable(w[i])) v->resolve(text);
        PXScriptableObject::addParameter(text);
    }
    if (link) {
        PXScriptableObject::prepareParameters();
        link->call();
        afterCallOut(t);
    }
}

void setTimer(YThread& t, int c, const Operands& w) {
    if (w[0] < 0 || w[1] < 0) return;
    double v = asDouble(target(w[0]));
    if (v == 0) return;
    int32_t entry = asLong(variable(w[1])) + 1;
    int32_t limit = truncate32(v * 9.0);
    if (c == ycIdle) {
        t.idleEntry = entry;
        t.idleLimit = limit;
        t.idleAge = 0;
    } else {
        t.scheduleEntry = entry;
        t.scheduleLimit = limit;
        t.scheduleAge = 0;
    }
}

// Parameters for set and get: the operands from the third up to, not
// including, the last.
void addMiddleParameters(const Operands& w, int last) {
    PXScriptableObject::resetParameters();
    char param[kBuffer];
    for (int i = 2; i < last; ++i) {
        int n = 0;
        const char* p = string(w[i], &n);
        std::snprintf(param, sizeof param, "%.*s", n, p);
        PXScriptableObject::addParameter(param);
    }
}

void setProperty(YThread& thread, const Operands& w) {
    YVariable* t = target(w[0]);
    if (!t || w[1] < 0) return;
    PXScriptableObject* o = object(t);
    if (!o && !PXScriptableObject::isXtor(t->getName())) return;
    char p[kBuffer];
    p[0] = '\0';  // only the start: the reader writes the rest
    if (YVariable* pv = variable(w[1])) pv->value(p);

    if (w[2] < 0) {
        if (o) {
            eventRecord::remove(o, p);
            o->sobSet(p, nullptr, nullptr);
        } else {
            PXScriptableObject::setBornHandler(t->getName(), nullptr);
        }
        return;
    }
    int lastIndex = w.count() - 1;
    addMiddleParameters(w, lastIndex);
    YVariable* last = target(w[lastIndex]);
    if (!last) return;
    if (last->text && last->text[0] == '+') {
        int32_t n = asLong(last);
        if (o) eventRecord::remove(o, p);
        eventRecord* record = ThreadsAccess::bind(t->getName(), n + 1, o, p);
        PXLinkToMember<YThread> watcher(&thread, &YThread::handleEvent, recordKey(*record));
        if (o) {
            PXLinkToMember<eventRecord> onClone(record, ThreadsAccess::cloneMethod, nullptr);
            o->sobSet(p, &watcher, &onClone);
        } else {
            PXScriptableObject::setBornHandler(t->getName(), &watcher);
        }
        return;
    }
    if (o) {
        char value[kBuffer];
        int n = 0;
        const char* text = last->value(n);
        std::snprintf(value, sizeof value, "%.*s", n < 0 ? -n : n, text);
        o->sobSet(p, value);
    }
}

void getProperty(YThread& thread, const Operands& w) {
    YVariable* t = target(w[0]);
    if (!t || w[1] < 0) return;
    char p[kBuffer];
    copyText(p, string(w[1]));
    int lastIndex = w.count() - 1;
    addMiddleParameters(w, lastIndex);
    const char* s = nullptr;
    if (std::strcmp(p, "name") == 0) {
        s = w[0] == 1 ? ThreadsAccess::bindingName(object(t)) : t->getName();
    } else {
        PXScriptableObject* o = object(t);
        if (!o) return;
        s = o->sobGet(p);
        afterCallOut(thread);
    }
    if (!s) return;
    char result[kBuffer];
    copyText(result, s);
    if (YVariable* d = target(w[lastIndex])) d->set(result, -1);
}

void play(YThread& t, const Operands& w) {
    PXScriptableObject* o = nullptr;
    if (YVariable* v = variable(w[0])) v->resolve(o);
    if (!o) return;
    PXScriptableObject::resetParameters();
    char m[kBuffer];
    m[0] = '\0';  // only the start: the reader writes the rest
    if (w[1] >= 0) {
        if (YVariable* mv = variable(w[1])) mv->value(m);
        bool wait = m[0] == '}';
        char param[kBuffer];
        // Parameters go in up to a `}`, even when the method itself is one.
        for (int i = 2; w[i] != -1; ++i) {
            int n = 0;
            const char* x = string(w[i], &n);
            if (n > 0 && x[0] == '}') {
                wait = true;
                break;
            }
            std::snprintf(param, sizeof param, "%.*s", n, x);
            PXScriptableObject::addParameter(param);
        }
        if (wait) {
            // The script waits for the object to say it is done.
            t.blocked = 1;
            PXLinkToMember<YThread> done(&t, &YThread::sti);
            o->sobSetSyncLink(&done);
            if (m[0] == '}') m[0] = '\0';
        }
    }
    const char* method = m[0] ? m : PXScriptableObject::sobDefaultMethod;
    if (!o->sobPlay(method, PXScriptableObject::kPXEndOfParameters)) {
        o->sobSetSyncLink(nullptr);
        t.blocked = 0;
    }
}
}  // namespace
