// The one-pass compiler: clauses straight from the text buffer into the
// statement table and the code words. Every operand is a heap term, and a
// code word is its heap index; -1 ends an operand list. Keyword statements
// push their index while their body compiles, and setJump patches their
// jumps when the body is done.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "baublecore/heap.h"
#include "baublecore/thread.h"
#include "pxbase/sys.h"
#include "threads/compiler_state.h"
#include "threads/threads_internal.h"
#include "values/values_internal.h"

using bcvalues::compileError;

namespace bcthreads {

int codeCount = 0;
int procedurePending = 0;
int blockDepth = 0;
const char* refusal = nullptr;

namespace {

// The fixed buffers of one compilation; the result is copied out at the
// exact size.
int16_t* codeBuffer = nullptr;
YStatement* jumpBuffer = nullptr;

struct Keyword {
    YCMND command;
    const char* text;
    uint8_t length;
};

constexpr Keyword keyword(YCMND command, const char* text) {
    uint8_t n = 0;
    while (text[n]) ++n;
    return {command, text, n};
}

// In the order of search. The texts of "schedule" and "idle" are also the
// names of the timer events, compared by address.
constexpr Keyword keywords[] = {
    keyword(ycIf, "if"),           keyword(ycElse, "else"),         keyword(ycCall, "call"),
    keyword(ycFor, "for"),         keyword(ycProcedure, "procedure"), keyword(ycBreak, "break"),
    keyword(ycContinue, "continue"), keyword(ycYield, "yield"),     keyword(ycPlay, "play"),
    keyword(ycSet, "set"),         keyword(ycGet, "get"),           keyword(ycSuspend, "suspend"),
    keyword(ycResume, "resume"),   keyword(ycDrop, "drop"),         keyword(ycSchedule, "schedule"),
    keyword(ycIdle, "idle"),       keyword(ycWait, "wait"),         keyword(ycPause, "pause"),
    keyword(ycRelay, "relay"),     keyword(ycSay, "say"),           keyword(ycExit, "exit"),
    keyword(ycDebug, "debug"),     keyword(ycQuit, "quit"),         {ycEnd, nullptr, 0},
};
static_assert(sizeof keywords / sizeof keywords[0] == 24, "23 keywords and the end row");

// Each keyword names a command of YCMND, and no command has two keywords.
constexpr bool keywordsNameDistinctCommands() {
    for (int i = 0; keywords[i].text; ++i) {
        if (!isCommand(keywords[i].command)) return false;
        for (int j = 0; j < i; ++j)
            if (keywords[j].command == keywords[i].command) return false;
    }
    return true;
}
static_assert(keywordsNameDistinctCommands());

const Keyword* findKeyword(const char* t, int length) {
    for (const Keyword* k = keywords; k->text; ++k) {
        if (length >= k->length && static_cast<signed char>(t[k->length]) <= 32 &&
            std::memcmp(t, k->text, k->length) == 0)
            return k;
    }
    return nullptr;
}

bool hasBody(YCMND c) { return c == ycIf || c == ycFor || c == ycProcedure || c == ycElse; }

constexpr const char* kLongWord = "a word longer than 1023 bytes";

// The reason a compile message gives when no refusal named one.
const char* reasonFor(int error) {
    switch (error) {
        case bcvalues::kErrBrackets: return "brackets or quotes that do not pair";
        case bcvalues::kErrMissing: return "an operand is missing between two operators";
        case bcvalues::kErrUnquoted: return "a quote that is not closed";
        default: return "a term the compiler cannot hold";
    }
}

}  // namespace

const char* keywordText(YCMND command) {
    for (const Keyword* k = keywords; k->text; ++k)
        if (k->command == command) return k->text;
    return nullptr;
}

}  // namespace bcthreads

using namespace bcthreads;

namespace {

void refuse(const char* why) {
    if (!compileError) {
        compileError = bcvalues::kErrTooLong;
        refusal = why;
    }
}

void emitWord(int word) {
    if (codeCount >= kCodeWords) return refuse("too many code words");
    codeBuffer[codeCount++] = static_cast<int16_t>(word);
}

// One message: the line of the failing token, then the source around it,
// from 6 bytes before the token to 50 bytes after it.
void showCompileError() {
    char text[256];
    int line = 1;
    const char* at = tokenStart && textBuffer ? tokenStart : nullptr;
    if (at)
        for (const char* p = textBuffer; p < at; ++p) line += *p == '\r';
    int n = std::snprintf(text, sizeof text, "%d: ", line);
    const char* why = refusal ? refusal : compileError ? reasonFor(compileError) : "a statement left open";
    n += std::snprintf(text + n, sizeof text - n, "%s: ", why);
    if (at) {
        const char* from = at - textBuffer >= 6 ? at - 6 : textBuffer;
        const char* end = at;
        while (*end && end < at + 50) ++end;
        for (const char* p = from; p < end && n < static_cast<int>(sizeof text) - 1; ++p)
            text[n++] = static_cast<unsigned char>(*p) < 32 ? ' ' : *p;
        text[n] = '\0';
    }
    PXSysUserMessage(text, 0x3000, nullptr);
}

bool insideFor(const YThread& t) {
    for (int i = 0; i < t.stackDepth; ++i)
        if (jumpBuffer[t.stack[i]].command == ycForStart) return true;
    return false;
}

}  // namespace

void YThread::push(int value) {
    if (stackDepth >= kStackWords) return refuse("statements nested too deep");
    stack[stackDepth++] = static_cast<int16_t>(value == -1 ? pc : value);
}

int YThread::pop() { return stackDepth > 0 ? stack[--stackDepth] : 0; }

void YThread::doCommand(YCMND command, int operand) {
    // One entry stays free for the end entry.
    if (pc >= kStatements - 1) return refuse("too many statements");
    jumpBuffer[pc].command = command;
    jumpBuffer[pc].operand = static_cast<int16_t>(operand ? operand : codeCount);
    ++pc;
}

int YThread::compile() {
    codeBuffer = static_cast<int16_t*>(std::malloc(sizeof(int16_t) * kCodeWords));
    jumpBuffer = static_cast<YStatement*>(std::calloc(kStatements, sizeof(YStatement)));
    refusal = nullptr;
    blockDepth = 0;
    for (int w = 0; w < 3; ++w) emitWord(w);
    while (doClause()) {
    }

    code = static_cast<int16_t*>(std::malloc(sizeof(int16_t) * (codeCount ? codeCount : 1)));
    std::memcpy(code, codeBuffer, sizeof(int16_t) * codeCount);
    codeWordCount = codeCount;
    jumps = static_cast<YStatement*>(std::calloc(pc + 1, sizeof(YStatement)));
    std::memcpy(jumps, jumpBuffer, sizeof(YStatement) * pc);
    jumps[pc].command = ycEnd;
    jumpCount = pc;
    std::free(codeBuffer);
    std::free(jumpBuffer);
    codeBuffer = nullptr;
    jumpBuffer = nullptr;

    bool failed = compileError != 0 || stackDepth != 0;
    if (failed) showCompileError();
    endCompilation();
    pc = 0;
    return failed ? 0 : 1;
}

int YThread::doClause() {
    char* t = getToken(1);
    if (std::strncmp(t, "include ", 8) == 0) t = includeFile(*this);
    // An included file may end its parent's text too: go back as far as needed.
    while (!*t) {
        t = endOfSource(*this);
        if (!t) return 0;
    }
    if (*t == ';') return compileError == 0;
    if (*t == '[') {
        // Blocks recurse: their depth is bounded like the statement stack.
        if (++blockDepth > kStackWords) {
            refuse("blocks nested too deep");
        } else {
            while (doClause()) {
            }
        }
        --blockDepth;
        return compileError == 0;
    }
    if (*t == ']') return 0;

    char* p = t;
    int length = advancePastSeparator(p, 0);
    if (compileError) return 0;
    if (p > t && p[-1] == '=') {
        // An assignment: the `=` touches the name.
        char c = *p;
        if (length > bcvalues::kTextMax) {
            refuse(kLongWord);
            return 0;
        }
        // Index 0 is SYSTEM, a target like any other; only -1 is a failure.
        int target = YHeap::theHeap.pile(t, length, nullptr);
        if (target < 0) {
            refuse("too many terms");
            return 0;
        }
        if (c == '[') {
            // A list initialiser: each word of the line goes into a new clone
            // of the target as its own text; nothing runs at run time.
            ++p;
            char buffer[bcvalues::kValueBufferSize];
            while (bcthreads::skipBlanks(p, 0)) {
                int clone = YHeap::theHeap.clone(target);
                if (clone < 0) {
                    refuse("too many terms");
                    return 0;
                }
                YVariable* slot = YHeap::theHeap[clone];
                int associate = slot->value(buffer);
                if (associate > 0) slot = YHeap::theHeap[associate];
                tokenStart = p;
                int n = advancePastSeparator(p, 1);
                if (n > bcvalues::kTextMax) refuse(kLongWord);
                if (compileError) return 0;
                YVariable word(tokenStart, n, static_cast<const char*>(nullptr));
                word.value(buffer);
                slot->set(buffer, -1);
            }
            textCursor = tokenStart = p;
        } else {
            doCommand(ycAssign, 0);
            emitWord(target);
            if (c == '&') {
                ++p;
                YHeap::theHeap[target]->makeAlias();
            }
            textCursor = p;
            doList();
        }
        return compileError == 0;
    }

    const Keyword* k = findKeyword(t, length);
    if (!k) {
        doCommand(ycCustom, 0);
        textCursor = t;
        doList();
        return compileError == 0;
    }

    YCMND c = k->command;
    if ((c == ycBreak || c == ycContinue) && !insideFor(*this)) refuse("break or continue outside a for");
    if (c == ycElse && (pc == 0 || jumpBuffer[pc - 1].command != ycNop))
        refuse("else that follows no if");
    if (compileError) return 0;

    push(-1);
    switch (c) {
        case ycIf:
            doCommand(ycTest, 0);
            doCommand(ycBranch, 0);
            break;
        case ycFor:
            doCommand(ycForStart, 0);
            doCommand(ycForNext, 0);
            doCommand(ycBranch, 0);
            break;
        case ycBreak:
            doCommand(ycJump, -1);
            break;
        case ycContinue:
            doCommand(ycJump, -2);
            break;
        case ycProcedure:
            doCommand(ycEntry, 0);
            procedurePending = 1;
            break;
        // Every other command stands for itself.
        case ycEnd: case ycCall: case ycEntry: case ycForStart: case ycForNext: case ycBranch:
        case ycJump: case ycTest: case ycNop: case ycSay: case ycReturn: case ycElse: case ycAssign:
        case ycDrop: case ycCustom: case ycWait: case ycIdle: case ycSchedule: case ycExit:
        case ycSuspend: case ycResume: case ycPause: case ycDebug: case ycSet: case ycGet:
        case ycYield: case ycPlay: case ycRelay: case ycQuit:
            doCommand(c, 0);
            break;
    }
    doList();
    if (hasBody(c) && !compileError) {
        textCursor = tokenStart;
        doClause();
    }
    setJump();
    return compileError == 0;
}

void YThread::doList() {
    // A `;` where an operand would stand is a comment: it ends the list (the
    // reader has already skipped the rest of the line).
    char* t = getToken(0);
    for (; *t != '\r' && *t && *t != ';' && !compileError; t = getToken(0)) doExpression();
    // Behind a comment the next clause starts on the next line, which the
    // reader has reached already.
    if (*t == ';') tokenStart = textCursor;
    emitWord(-1);
}

void YThread::doExpression() {
    char* s = tokenStart;
    if (bcthreads::skipBlanks(s, 0))
        attach(s);
    else
        textCursor = tokenStart;
    if (procedurePending && !compileError) {
        procedurePending = 0;
        YVariable* v = YHeap::theHeap[codeBuffer[codeCount - 1]];
        if (!v) return;
        char buffer[bcvalues::kValueBufferSize];
        int associate = v->value(buffer);
        if (associate > 0) v = YHeap::theHeap[associate];
        char entry[16];
        std::snprintf(entry, sizeof entry, "+%d", pc - 1);
        v->set(entry, -1);
    }
}

int YThread::attach(const char* text) {
    char* end = const_cast<char*>(text);
    int n = advancePastSeparator(end, 1);
    if (n > bcvalues::kTextMax) refuse(kLongWord);
    bool failedBefore = compileError != 0;
    int index = bcvalues::ValuesAccess::attach(YHeap::theHeap, text, n);
    // The expression compiler's "too long" is either a full heap (no room
    // for a term) or an expression beyond its code and terminal buffers.
    bool heapFull = YHeap::theHeap.size() > bcvalues::kLastIndex;
    if (!failedBefore && (index < 0 || compileError == bcvalues::kErrTooLong)) {
        compileError = bcvalues::kErrTooLong;
        refusal = heapFull ? "too many terms" : "an expression too big for the compiler";
    }
    if (index < 0) index = 0;
    if (codeBuffer)
        emitWord(index);
    return index;
}

// Nothing in the library calls this; it is kept for what it offers a host
// through YThread. It lives here, beside attach, so that values need not
// know threads.
void YVariable::inflict(YThread* t) {
    if (!t || !name) return;
    YVariable* v = YHeap::theHeap[t->attach(name)];
    if (text && v && v->type == YVT_Plain && v->state == YVS_None) v->set(text, size_);
}

void YThread::setJump() {
    if (stackDepth == 0) return;
    int k = pop();
    YStatement* j = jumpBuffer;
    switch (static_cast<YCMND>(j[k].command)) {
        case ycEntry:
            if (pc >= kStatements - 1) return refuse("too many statements");
            j[pc++].command = ycReturn;
            break;
        case ycForStart:
            if (pc >= kStatements - 1) return refuse("too many statements");
            j[pc] = {ycJump, static_cast<int16_t>(k + 1)};
            for (int i = k + 1; i < pc; ++i) {
                if (j[i].operand == -2) j[i].operand = static_cast<int16_t>(k + 1);
                if (j[i].operand == -1) j[i].operand = static_cast<int16_t>(pc + 1);
            }
            ++pc;
            j[k + 2].operand = static_cast<int16_t>(pc);
            break;
        case ycTest:
            if (pc >= kStatements - 1) return refuse("too many statements");
            j[pc++].command = ycNop;
            j[k + 1].operand = static_cast<int16_t>(pc);
            break;
        case ycElse:
            j[k].command = ycNop;
            j[k - 1] = {ycJump, static_cast<int16_t>(pc)};
            break;
        // Statements without a body have no jump to patch.
        case ycEnd: case ycIf: case ycFor: case ycBreak: case ycProcedure: case ycContinue: case ycCall:
        case ycForNext: case ycBranch: case ycJump: case ycNop: case ycSay: case ycReturn: case ycAssign:
        case ycDrop: case ycCustom: case ycWait: case ycIdle: case ycSchedule: case ycExit:
        case ycSuspend: case ycResume: case ycPause: case ycDebug: case ycSet: case ycGet:
        case ycYield: case ycPlay: case ycRelay: case ycQuit:
            break;
    }
}
