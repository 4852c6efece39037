// The parameter channel: one ordered list of texts for the whole library.
// Callers reset and fill it, the library puts the cursor on the first entry,
// callees pull texts with nextParameter. The end of the list, and a cursor
// that has not been prepared since the last reset, read as "".
#include <cstdlib>
#include <cstring>

#include "baublecore/scriptable_object.h"
#include "objects/objects_internal.h"

namespace {

PXList<PXSParameter>* parameterList = nullptr;
// The cursor stands on a node of parameterList, or on none. A reset leaves it
// on none, so it never points at freed nodes.
PXListNode<PXSParameter>* parameterCursor = nullptr;

char* copyText(const char* text) {
    size_t n = std::strlen(text) + 1;
    char* out = static_cast<char*>(std::malloc(n));
    if (out) std::memcpy(out, text, n);
    return out;
}

void freeParameters() {
    parameterCursor = nullptr;
    if (!parameterList) return;
    for (PXListWalk<PXSParameter> walk(*parameterList); PXSParameter* p = walk.next();) delete p;
    parameterList->clear();
}

}  // namespace

PXSParameter::PXSParameter(const char* t) : text(copyText(t ? t : "")) {}

PXSParameter::~PXSParameter() { std::free(text); }

PXSParameter& PXSParameter::operator=(const PXSParameter& other) {
    if (this != &other) {
        std::free(text);
        text = copyText(other.text ? other.text : "");
    }
    return *this;
}

namespace bcobjects {

void ensureParameterChannel() {
    if (!parameterList) parameterList = new PXList<PXSParameter>;
}

void dropParameterChannel() {
    if (!parameterList) return;
    freeParameters();
    delete parameterList;
    parameterList = nullptr;
}

}  // namespace bcobjects

void PXScriptableObject::resetParameters() { freeParameters(); }

void bcobjects::takeParameters(const char* first, va_list rest) {
    const char marker = PXScriptableObject::kPXEndOfParameters[0];
    if (first && first[0] == marker) return;
    PXScriptableObject::resetParameters();
    for (const char* text = first; text && text[0] != marker; text = va_arg(rest, const char*))
        PXScriptableObject::addParameter(text);
}

void PXScriptableObject::addParameter(const char* text) {
    // The channel lives as long as any class is registered; should every
    // record be gone, it comes back rather than lose the call.
    bcobjects::ensureParameterChannel();
    parameterList->append(new PXSParameter(text));
}

void PXScriptableObject::prepareParameters() {
    parameterCursor = parameterList ? parameterList->head : nullptr;
}

const char* PXScriptableObject::nextParameter() {
    if (!parameterCursor) return "";
    const char* text = *parameterCursor->value;
    parameterCursor = parameterCursor->next;
    return text ? text : "";
}

int bcobjects::parameterCount() { return parameterList ? parameterList->count : 0; }
