// Running an expression's prefix code: palue, pevaluate, operate.
//
// Operands are temporaries (see operand.h); each operator looks at them to
// choose number or text. A terminal is read as an assignment of the term to
// a temporary would read it: its text, then that text read as a number. A failure sets compileError and every later operator of the same
// evaluation does nothing, so the expression reads as its own source text.
//
// Every evaluation runs with its own code position: palue saves the shared
// cursor and terminal count and puts them back, so an evaluation nested in
// another (through $) never moves the outer one. $ nests at most
// kMaxNesting deep; deeper (a variable whose text $-reads itself) fails with
// error 2 instead of exhausting the stack.
#include <cmath>
#include <cstring>

#include "baublecore/heap.h"
#include "baublecore/variable.h"
#include "values/number_text.h"
#include "values/operand.h"
#include "values/values_internal.h"

using namespace bcvalues;

namespace {

constexpr int kMaxNesting = 32;
int nesting = 0;

char emptyCode[1] = {'\0'};

void fail(int32_t code) {
    if (!compileError) compileError = code;
}

// The operators that take numbers only.
bool numbersOnly(char op) {
    return op == '-' || op == '*' || op == '/' || op == '\\' || op == '%' || op == '^';
}

// The integer quotient and remainder as on a 32-bit machine, except that
// -2147483648 by -1, which would trap there, wraps to -2147483648 with
// remainder 0.
int32_t quotient(int32_t l, int32_t r) { return (l == INT32_MIN && r == -1) ? INT32_MIN : l / r; }
int32_t remainder32(int32_t l, int32_t r) { return (r == -1) ? 0 : l % r; }

int evaluate(const YVariable& v, Operand& result);
void readTerm(const YVariable& term, Operand& result);
void pevaluate(const YVariable& v, Operand& result);
void operate(Operand& result, char op, Operand& right, Operand& left);
void operateNumbers(Operand& result, char op, double l, double r);
void operateText(Operand& result, char op, Operand& right, Operand& left);
void unquote(Operand& result, Operand& operand);

}  // namespace

int YVariable::palue(char* dst) const {
    Operand result;
    if (evaluate(*this, result) != 0) return compileError;
    int len = 0;
    const char* t = result.value(len);
    if (len > kTextMax) len = kTextMax;
    std::memmove(dst, t, static_cast<size_t>(len));
    dst[len] = '\0';
    return 0;
}

namespace {

int evaluate(const YVariable& v, Operand& result) {
    compileError = 0;
    if (nesting >= kMaxNesting) {
        compileError = kErrTooLong;
        return compileError;
    }
    char* savedCursor = polishCursor;
    int32_t savedTerms = polishTerms;
    ++nesting;
    polishCursor = v.text ? v.text : emptyCode;
    polishTerms = v.size_;
    pevaluate(v, result);
    --nesting;
    polishCursor = savedCursor;
    polishTerms = savedTerms;
    return compileError;
}

}  // namespace

// What the assignment statement does with the text of a term it is given:
// t->set(text, -1), the text taken up to its first NUL. An expression's
// result is stored without being read as a number again when it already
// holds what that reading gives; a failed evaluation stores the source text.
void bcvalues::assignTo(const YVariable& term, YVariable* t) {
    const YVariable* v = target(term);
    if (v->type != YVT_Expression) {
        int len = 0;
        const char* s = term.value(len);
        setText(*t, s, textLength(s, len < 0 ? -len : len), nullptr);
        return;
    }
    Operand result;
    if (evaluate(*v, result) != 0) {
        const char* s = v->name ? v->name : "";
        setText(*t, s, textLength(s, kTextMax), nullptr);
        return;
    }
    int len = 0;
    const char* s = result.value(len);
    int n = textLength(s, len);
    if (n == len && result.textIsNumber && result.state == YVS_Long) {
        // As the reading leaves it: the double, then the long over it.
        KnownNumber known{};
        known.state = YVS_Long;
        known.number.d = result.number.l;
        known.number.l = result.number.l;
        setText(*t, s, n, &known);
    } else {
        setText(*t, s, n, nullptr);
    }
}

namespace {

// A term as an operand: what assigning the term to a temporary gives. The
// common terms (plain variables and number literals) lend their text; the
// rest are read into a buffer and copied.
void readTerm(const YVariable& term, Operand& result) {
    const YVariable* src = &term;
    const YVariable* v = target(term);
    bool quoted = false;
    if (v->type == YVT_Literal && v->name) {
        char first = v->name[0];
        quoted = first == '"' || first == '\'';
        if (first == '?') v = nullptr;
    } else if (v->type != YVT_Plain) {
        v = nullptr;
    }
    if (v) {
        // The text is what value(char*) writes, taken up to its first NUL.
        if (src->state == YVS_Object) {
            result.setObject(src->number.object);
            return;
        }
        const char* t = nullptr;
        int cap = 0;
        if (quoted) {
            t = v->name + 1;
            cap = v->size_ >= 2 ? v->size_ - 2 : 0;
        } else if (v->type == YVT_Literal || v->state == YVS_None) {
            t = v->name;
            cap = t ? static_cast<int>(std::strlen(t)) : 0;
        } else {
            t = v->text;
            cap = t ? (v->size_ >= 0 ? v->size_ : static_cast<int>(std::strlen(t))) : 0;
        }
        if (!t) t = "";
        if (cap > kTextMax) cap = kTextMax;
        int len = textLength(t, cap);
        if (!quoted && t[len] == '\0')
            result.borrowText(t, len);
        else
            result.setText(t, len);
        return;
    }
    char buffer[kValueBufferSize];
    int n = src->value(buffer);
    if (n > 0) {
        if (const YVariable* associate = YHeap::theHeap[n]) src = associate;
    }
    if (src->state == YVS_Object) {
        result.setObject(src->number.object);
        return;
    }
    if (n > 0) {
        int len = 0;
        const char* t = src->value(len);
        result.setText(t, len);
    } else {
        result.setText(buffer, static_cast<int>(std::strlen(buffer)));
    }
}

// Code that runs out, or names a terminal it does not have, can only come
// from a damaged table; it fails with error 2.
void pevaluate(const YVariable& v, Operand& result) {
    char c = *polishCursor;
    if (c == 'z') {
        ++polishCursor;
        result.setLong(0);
        return;
    }
    if (c == 't') {
        ++polishCursor;
        if (polishTerms <= 0 || polishTerms > v.size_ || !v.terms) {
            fail(kErrTooLong);
            return;
        }
        --polishTerms;
        YVariable* term = ValuesAccess::entry(YHeap::theHeap, v.terms[polishTerms]);
        if (!term) {
            fail(kErrTooLong);
            return;
        }
        readTerm(*term, result);
        return;
    }
    if (c == '\0' || polishCursor[1] == '\0') {
        fail(kErrTooLong);
        return;
    }
    char op = polishCursor[1];
    polishCursor += 2;
    Operand right;
    pevaluate(v, right);
    if (op == '~' || op == '$') {
        operate(result, op, right, right);
        return;
    }
    Operand left;
    pevaluate(v, left);
    operate(result, op, right, left);
}

void operate(Operand& result, char op, Operand& right, Operand& left) {
    if (compileError) return;
    if (left.state == YVS_Object && right.state == YVS_Object) {
        result.setLong(0);
        return;
    }
    bool numbers = left.isNumber() && right.isNumber();
    if (!numbers && numbersOnly(op)) {
        compileError = kErrNotNumber;
        return;
    }
    if (numbers && (numbersOnly(op) || op == '+' || op == '=' || op == '#' || op == '<' || op == '>')) {
        operateNumbers(result, op, left.asDouble(), right.asDouble());
        return;
    }
    operateText(result, op, right, left);
}

void operateNumbers(Operand& result, char op, double l, double r) {
    switch (op) {
    case '+':
        result.setDouble(l + r);
        break;
    case '-':
        result.setDouble(l - r);
        break;
    case '*':
        result.setDouble(l * r);
        break;
    case '/':
        if (r * r < 0.00000001)
            compileError = kErrRange;
        else
            result.setDouble(l / r);
        break;
    case '\\':
    case '%': {
        int32_t divisor = trunc32(r);
        if (divisor == 0) {
            compileError = kErrDivZero;
            break;
        }
        int32_t dividend = trunc32(l);
        result.setLong(op == '\\' ? quotient(dividend, divisor) : remainder32(dividend, divisor));
        break;
    }
    case '^':
        if (l < 0 && r != std::floor(r))
            compileError = kErrRange;
        else
            result.setDouble(std::pow(l, r));
        break;
    case '=':
        result.setLong(int32_t{l == r});
        break;
    case '#':
        result.setLong(int32_t{l != r});
        break;
    case '<':
        result.setLong(int32_t{l < r});
        break;
    case '>':
        result.setLong(int32_t{l > r});
        break;
    default:
        break;
    }
}

// Text operators; a number with a text compares as its stored text.
void operateText(Operand& result, char op, Operand& right, Operand& left) {
    int ll = 0;
    int rl = 0;
    switch (op) {
    case '+': {
        const char* lt = left.value(ll);
        const char* rt = right.value(rl);
        if (ll + rl > kTextMax) {
            compileError = kErrTooLong;
            break;
        }
        char* joined = result.room(ll + rl);
        std::memcpy(joined, lt, static_cast<size_t>(ll));
        std::memcpy(joined + ll, rt, static_cast<size_t>(rl));
        joined[ll + rl] = '\0';
        result.finishText(joined, ll + rl);
        break;
    }
    case '=':
    case '#': {
        const char* lt = left.value(ll);
        const char* rt = right.value(rl);
        int32_t equal = ll == rl && std::strcmp(lt, rt) == 0;
        result.setLong(op == '=' ? equal : int32_t{!equal});
        break;
    }
    case '<':
    case '>': {
        const char* lt = left.value(ll);
        const char* rt = right.value(rl);
        int c = std::strcmp(lt, rt);
        result.setLong(int32_t{op == '<' ? c < 0 : c > 0});
        break;
    }
    case '@': {
        const char* lt = left.value(ll);
        const char* rt = right.value(rl);
        const char* at = std::strstr(rt, lt);
        result.setLong(at ? static_cast<int32_t>(at - rt + 1) : int32_t{0});
        break;
    }
    case '~':
        if (right.hasValue()) {
            result.setLong(right.size);
        } else {
            right.value(rl);
            result.setLong(rl);
        }
        break;
    case '$':
        unquote(result, right);
        break;
    default:
        break;
    }
}

// $: the operand's text compiled and read. An expression is piled (or found)
// as an entry and evaluated; a lone term is read. The enclosing evaluation's
// cursor and terminal count are kept across the inner compile.
void unquote(Operand& result, Operand& operand) {
    int len = 0;
    const char* source = operand.value(len);
    char* savedCursor = polishCursor;
    int32_t savedTerms = polishTerms;
    YHeap& heap = YHeap::theHeap;
    ValuesAccess::polish(heap, source, len);
    if (!compileError) {
        const YVariable* term = nullptr;
        if (*polishCursor == 's')
            term = heap[ValuesAccess::pile(heap, source, len, YVT_Expression)];
        else if (polishTerms > 0)
            term = heap[polishWords[0]];
        if (term) {
            int n = 0;
            const char* t = term->value(n);
            if (!compileError) result.setText(t, n);
        } else if (*polishCursor == 'z') {
            result.setLong(0);  // "-" or "+" alone: the number 0
        } else {
            fail(kErrTooLong);  // the expression could not be piled
        }
    }
    polishCursor = savedCursor;
    polishTerms = savedTerms;
}

}  // namespace
