// Running an expression's prefix code: palue, pevaluate, operate.
//
// Operands are temporaries; each operator looks at them to choose number or
// text. A failure sets compileError and every later operator of the same
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
#include "values/values_internal.h"

using namespace bcvalues;

namespace {

constexpr int kMaxNesting = 32;
int nesting = 0;

char emptyCode[1] = {'\0'};

void fail(int32_t code) {
    if (!compileError) compileError = code;
}

bool isNumber(const YVariable& v) { return v.state == YVS_Long || v.state == YVS_Double; }

// The integer quotient and remainder as on a 32-bit machine, except that
// -2147483648 by -1, which would trap there, wraps to -2147483648 with
// remainder 0.
int32_t quotient(int32_t l, int32_t r) { return (l == INT32_MIN && r == -1) ? INT32_MIN : l / r; }
int32_t remainder32(int32_t l, int32_t r) { return (r == -1) ? 0 : l % r; }

}  // namespace

int YVariable::palue(char* dst) const {
    compileError = 0;
    if (nesting >= kMaxNesting) {
        compileError = kErrTooLong;
        return compileError;
    }
    char* savedCursor = polishCursor;
    int32_t savedTerms = polishTerms;
    ++nesting;
    polishCursor = text ? text : emptyCode;
    polishTerms = size_;
    YVariable result;
    pevaluate(result);
    --nesting;
    polishCursor = savedCursor;
    polishTerms = savedTerms;
    if (!compileError) result.readPlain(dst);
    return compileError;
}

// Code that runs out, or names a terminal it does not have, can only come
// from a damaged table; it fails with error 2.
void YVariable::pevaluate(YVariable& result) const {
    char c = *polishCursor;
    if (c == 'z') {
        ++polishCursor;
        result.set(int32_t{0});
        return;
    }
    if (c == 't') {
        ++polishCursor;
        if (polishTerms <= 0 || polishTerms > size_ || !terms) {
            fail(kErrTooLong);
            return;
        }
        --polishTerms;
        YVariable* term = YHeap::theHeap[terms[polishTerms]];
        if (!term) {
            fail(kErrTooLong);
            return;
        }
        result.set(term);
        return;
    }
    if (c == '\0' || polishCursor[1] == '\0') {
        fail(kErrTooLong);
        return;
    }
    char op = polishCursor[1];
    polishCursor += 2;
    YVariable right;
    pevaluate(right);
    if (op == '~' || op == '$') {
        operate(result, op, right, right);
        return;
    }
    YVariable left;
    pevaluate(left);
    operate(result, op, right, left);
}

void YVariable::operate(YVariable& result, char op, YVariable& right, YVariable& left) const {
    if (compileError) return;
    if (left.state == YVS_Object && right.state == YVS_Object) {
        result.set(int32_t{0});
        return;
    }
    bool numbers = isNumber(left) && isNumber(right);
    if (!numbers && op && std::strchr("-*/\\%^", op)) {
        compileError = kErrNotNumber;
        return;
    }
    if (numbers && op && std::strchr("+-*/\\%^=#<>", op)) {
        double l = 0.0;
        double r = 0.0;
        left.value(&l);
        right.value(&r);
        operateNumbers(result, op, l, r);
        return;
    }
    operateText(result, op, right, left);
}

void YVariable::operateNumbers(YVariable& result, char op, double l, double r) const {
    switch (op) {
    case '+':
        result.set(l + r);
        break;
    case '-':
        result.set(l - r);
        break;
    case '*':
        result.set(l * r);
        break;
    case '/':
        if (r * r < 0.00000001)
            compileError = kErrRange;
        else
            result.set(l / r);
        break;
    case '\\':
    case '%': {
        int32_t divisor = trunc32(r);
        if (divisor == 0) {
            compileError = kErrDivZero;
            break;
        }
        int32_t dividend = trunc32(l);
        result.set(op == '\\' ? quotient(dividend, divisor) : remainder32(dividend, divisor));
        break;
    }
    case '^':
        if (l < 0 && r != std::floor(r))
            compileError = kErrRange;
        else
            result.set(std::pow(l, r));
        break;
    case '=':
        result.set(int32_t{l == r});
        break;
    case '#':
        result.set(int32_t{l != r});
        break;
    case '<':
        result.set(int32_t{l < r});
        break;
    case '>':
        result.set(int32_t{l > r});
        break;
    default:
        break;
    }
}

// Text operators; a number with a text compares as its stored text.
void YVariable::operateText(YVariable& result, char op, YVariable& right, YVariable& left) const {
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
        char joined[kValueBufferSize];
        std::memcpy(joined, lt, static_cast<size_t>(ll));
        std::memcpy(joined + ll, rt, static_cast<size_t>(rl));
        joined[ll + rl] = '\0';
        result.set(joined, ll + rl);
        break;
    }
    case '=':
    case '#': {
        const char* lt = left.value(ll);
        const char* rt = right.value(rl);
        int32_t equal = ll == rl && std::strcmp(lt, rt) == 0;
        result.set(op == '=' ? equal : int32_t{!equal});
        break;
    }
    case '<':
    case '>': {
        const char* lt = left.value(ll);
        const char* rt = right.value(rl);
        int c = std::strcmp(lt, rt);
        result.set(int32_t{op == '<' ? c < 0 : c > 0});
        break;
    }
    case '@': {
        const char* lt = left.value(ll);
        const char* rt = right.value(rl);
        const char* at = std::strstr(rt, lt);
        result.set(at ? static_cast<int32_t>(at - rt + 1) : int32_t{0});
        break;
    }
    case '~':
        if (right) {
            result.set(static_cast<int32_t>(right.size()));
        } else {
            right.value(rl);
            result.set(static_cast<int32_t>(rl));
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
void YVariable::unquote(YVariable& result, YVariable& operand) const {
    int len = 0;
    const char* source = operand.value(len);
    char* savedCursor = polishCursor;
    int32_t savedTerms = polishTerms;
    YHeap& heap = YHeap::theHeap;
    heap.polish(source, len);
    if (!compileError) {
        const YVariable* term = nullptr;
        if (*polishCursor == 's')
            term = heap[heap.pile(source, len, YVT_Expression)];
        else if (polishTerms > 0)
            term = heap[polishWords[0]];
        if (term) {
            int n = 0;
            const char* t = term->value(n);
            if (!compileError) result.set(t, n);
        } else if (*polishCursor == 'z') {
            result.set(int32_t{0});  // "-" or "+" alone: the number 0
        } else {
            fail(kErrTooLong);  // the expression could not be piled
        }
    }
    polishCursor = savedCursor;
    polishTerms = savedTerms;
}
