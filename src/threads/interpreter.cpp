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

YThread::TraceHook traceHook = nullptr;
void* traceContext = nullptr;

// Truncation toward zero into 32 bits; what does not fit (or is not a
// number) gives the 32-bit machine's answer, 0x80000000, not undefined
// behaviour.
int32_t truncate32(double d) {
    if (!(d > -2147483649.0 && d < 2147483648.0)) return INT32_MIN;
    return static_cast<int32_t>(d);
}

void copyText(char* dst, const char* src) { std::snprintf(dst, kBuffer, "%s", src ? src : ""); }

}  // namespace

void YThread::setTraceHook(TraceHook hook, void* context) {
    traceHook = hook;
    traceContext = context;
}

// The names of the commands; constexpr so that cannotMove's table is made
// from the same list.
static constexpr const char* YCommandNameOf(int command) {
    switch (command) {
        case ycEnd: return "ycEnd";
        case ycIf: return "ycIf";
        case ycFor: return "ycFor";
        case ycBreak: return "ycBreak";
        case ycProcedure: return "ycProcedure";
        case ycContinue: return "ycContinue";
        case ycCall: return "ycCall";
        case ycEntry: return "ycEntry";
        case ycForStart: return "ycForStart";
        case ycForNext: return "ycForNext";
        case ycBranch: return "ycBranch";
        case ycJump: return "ycJump";
        case ycTest: return "ycTest";
        case ycNop: return "ycNop";
        case ycSay: return "ycSay";
        case ycReturn: return "ycReturn";
        case ycElse: return "ycElse";
        case ycAssign: return "ycAssign";
        case ycDrop: return "ycDrop";
        case ycCustom: return "ycCustom";
        case ycWait: return "ycWait";
        case ycIdle: return "ycIdle";
        case ycSchedule: return "ycSchedule";
        case ycExit: return "ycExit";
        case ycSuspend: return "ycSuspend";
        case ycResume: return "ycResume";
        case ycPause: return "ycPause";
        case ycDebug: return "ycDebug";
        case ycSet: return "ycSet";
        case ycGet: return "ycGet";
        case ycYield: return "ycYield";
        case ycPlay: return "ycPlay";
        case ycRelay: return "ycRelay";
        case ycQuit: return "ycQuit";
        default: return nullptr;
    }
}

const char* YCommandName(int command) { return YCommandNameOf(command); }

void YThread::startInterrupt(int entry) {
    savedForTop = forTop;
    savedStackDepth = stackDepth;
    savedCondition = condition;
    savedPc = pc;
    savedSleeping = sleeping;
    inInterrupt = 1;
    sleeping = 0;
    pc = entry;
}

void YThread::leaveInterrupt() {
    // Loops a handler leaves behind are not the main line's.
    forTop = savedForTop;
    stackDepth = savedStackDepth;
    condition = savedCondition;
    pc = savedPc;
    sleeping = savedSleeping;
    inInterrupt = 0;
}

// The operand list of a statement: words up to -1. An operand list that
// does not lie inside the code reads as empty. The list is not measured up
// front: most statements look at a word or two, and jumps at none.
struct YOperands {
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

static YOperands operandsOf(const YThread& t, int a) {
    static const int16_t none = -1;
    if (a < 0 || a >= t.codeWordCount) return {&none, 0};
    return {t.code + a, t.codeWordCount - a};
}

void YThread::step(const void* event) {
    if (!running || blocked || !jumps) {
        yield = 333;
        return;
    }
    if (event) {
        if (!eventsOn) {
            yield = 777;
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
    YOperands w = operandsOf(*this, a);

    switch (c) {
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
                YOperands actual = operandsOf(*this, jumps[caller].operand);
                for (int i = 1; actual[i] != -1 && w[i] != -1; ++i) {
                    int len = 0;
                    const char* text = string(actual[i], &len);
                    if (YVariable* formal = variable(w[i])) formal->set(text, len);
                }
            }
            break;
        case ycForStart:
            forStart(w);
            break;
        case ycForNext:
            forNext(w);
            break;
        case ycBranch:
            if (condition == 0) jumpTo(a);
            break;
        case ycJump:
            jumpTo(a);
            break;
        case ycTest:
            test(w);
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
                if (yieldEventsOff) yield = 777;
            } else if (stackDepth > 0) {
                pc = pop();
                if (inInterrupt) --interruptDepth;
            }
            // The main line with nothing to pop: nothing to return to.
            break;
        case ycAssign:
            assign(w);
            break;
        case ycDrop:
            drop(a);
            break;
        case ycCustom:
            custom(w);
            break;
        case ycWait:
            sleeping = 1;
            fireDoneMain(c, false);
            break;
        case ycIdle:
        case ycSchedule:
            setTimer(c, w);
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
            setProperty(w);
            break;
        case ycGet:
            getProperty(w);
            break;
        case ycPlay:
            play(w);
            break;
        case ycYield: {
            int len = 0;
            if (w[0] >= 0) string(w[0], &len);
            yield = len == 2 ? 0 : 1;
            if (yieldLink) yieldLink->call();
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
        default:
            // The end of the code, or a command without a name: rest here.
            // The thread is put in order before the host's link may re-enter it.
            --pc;
            if (yieldEventsOff) yield = 333;
            fireDoneMain(c, true);
            break;
    }
}

bool YThread::cannotMove() const {
    if (sleeping || !running || blocked || !jumps) return true;
    if (pc < 0 || pc >= jumpCount) return true;
    // The keyword commands never stand in the table, and a number without a
    // name rests like the end.
    constexpr uint64_t moving = [] {
        uint64_t m = 0;
        for (int k = 0; k < 64; ++k)
            if (YCommandNameOf(k)) m |= uint64_t{1} << k;
        for (int k : {ycEnd, ycIf, ycFor, ycBreak, ycProcedure, ycContinue, ycElse}) m &= ~(uint64_t{1} << k);
        return m;
    }();
    int c = jumps[pc].command;
    return c < 0 || c >= 64 || !((moving >> c) & 1);
}

void YThread::fireDoneMain(int command, bool atEnd) {
    if (!doneMainArmed || !doneMainLink) return;
    doneMainArmed = 0;
    if (atEnd) lastDoneCommand = command;
    doneMainLink->call();
}

void YThread::jumpTo(int a) {
    pc = a;
    if (forTop != -1 && forRecords[forTop].exitTarget == a) --forTop;
}

void YThread::test(const YOperands& w) {
    if (w[0] < 0) {
        condition = 1;
        return;
    }
    char text[kBuffer];
    text[0] = '\0';  // only the start: the reader writes the rest
    if (YVariable* v = variable(w[0])) v->resolve(text);
    condition = text[0] != '0';
}

void YThread::forStart(const YOperands& w) {
    if (w[0] < 0 || w[1] < 0) return;
    int exitTarget = pc + 1 <= jumpCount ? jumps[pc + 1].operand : jumpCount;
    if (forTop + 1 >= kForRecords) {
        // No record left for this loop: it is refused, and does not run.
        pc = exitTarget;
        return;
    }
    YForRecord& r = forRecords[++forTop];
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

void YThread::forNext(const YOperands& w) {
    if (w[0] < 0 || w[1] < 0) return test(w);
    if (forTop < 0) {
        condition = 0;
        return;
    }
    YForRecord& r = forRecords[forTop];
    r.cursor = static_cast<int16_t>(r.cursor + r.stride);
    if (YVariable* v = variable(w[0])) v->set(static_cast<int32_t>(r.cursor));
    if (r.direction == 0) {
        condition = 0;
    } else if (r.cursor == r.limit) {
        condition = 1;
        r.direction = 0;
    } else {
        condition = r.direction > 0 ? r.cursor < r.limit : r.cursor > r.limit;
    }
}

void YThread::say(const YOperands& w) {
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

void YThread::assign(const YOperands& w) {
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
    if (t != s && s->target() == s &&
        (s->type == YVT_Expression || s->type == YVT_Literal || s->type == YVT_Slice)) {
        // These terms hold no object and construct nothing: their text is
        // all there is, read once and stored.
        s->assignTo(t);
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
        const int16_t* codeBefore = code;
        PXScriptableObject* made = PXScriptableObject::create(x, PXScriptableObject::kPXEndOfParameters);
        // The creator may have run script code, even replaced the script:
        // find the target again, and keep the object only for this script.
        t = code == codeBefore ? target(targetWord) : nullptr;
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

// `drop [ list`: clears list.1, list.2, ... one level deep.
void YThread::dropFamily(YVariable* v) {
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

void YThread::drop(int a) {
    if (a < 0 || a >= codeWordCount || code[a] == -1) return;
    int i = a;
    do {
        if (checkDrop(i, nullptr)) {
            YVariable* v = target(code[i]);
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
    } while (i < codeWordCount && code[i] != -1);
}

void YThread::custom(const YOperands& w) {
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
    }
}

void YThread::setTimer(int c, const YOperands& w) {
    if (w[0] < 0 || w[1] < 0) return;
    double v = asDouble(target(w[0]));
    if (v == 0) return;
    int32_t entry = asLong(variable(w[1])) + 1;
    int32_t limit = truncate32(v * 9.0);
    if (c == ycIdle) {
        idleEntry = entry;
        idleLimit = limit;
        idleAge = 0;
    } else {
        scheduleEntry = entry;
        scheduleLimit = limit;
        scheduleAge = 0;
    }
}

// Parameters for set and get: the operands from the third up to, not
// including, the last.
static void addMiddleParameters(const YOperands& w, int last) {
    PXScriptableObject::resetParameters();
    char param[kBuffer];
    for (int i = 2; i < last; ++i) {
        int n = 0;
        const char* p = string(w[i], &n);
        std::snprintf(param, sizeof param, "%.*s", n, p);
        PXScriptableObject::addParameter(param);
    }
}

void YThread::setProperty(const YOperands& w) {
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
        auto* record = new eventRecord(t->getName(), n + 1, o, p);
        PXLinkToMember<YThread> watcher(this, &YThread::handleEvent, record->key());
        if (o) {
            PXLinkToMember<eventRecord> onClone(record, &eventRecord::clone, nullptr);
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

void YThread::getProperty(const YOperands& w) {
    YVariable* t = target(w[0]);
    if (!t || w[1] < 0) return;
    char p[kBuffer];
    copyText(p, string(w[1]));
    int lastIndex = w.count() - 1;
    addMiddleParameters(w, lastIndex);
    const char* s = nullptr;
    if (std::strcmp(p, "name") == 0) {
        s = w[0] == 1 ? eventRecord::getName(object(t)) : t->getName();
    } else {
        PXScriptableObject* o = object(t);
        if (!o) return;
        s = o->sobGet(p);
    }
    if (!s) return;
    char result[kBuffer];
    copyText(result, s);
    if (YVariable* d = target(w[lastIndex])) d->set(result, -1);
}

void YThread::play(const YOperands& w) {
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
            blocked = 1;
            PXLinkToMember<YThread> done(this, &YThread::sti);
            o->sobSetSyncLink(&done);
            if (m[0] == '}') m[0] = '\0';
        }
    }
    const char* method = m[0] ? m : PXScriptableObject::sobDefaultMethod;
    if (!o->sobPlay(method, PXScriptableObject::kPXEndOfParameters)) {
        o->sobSetSyncLink(nullptr);
        blocked = 0;
    }
}
