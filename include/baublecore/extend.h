// Extending Y: a host or a plug-in adds statements by name. A statement whose
// first word is no built-in keyword looks the word up here when it runs, and
// the keyword's link fires with the other operands as parameters. It answers
// through the variable RESULT.
#pragma once

#include <cstdint>

#include "baublecore/api.h"

class PXLink;

// Registers a keyword; a second registration of a name replaces the first,
// which moves to the end. A null name is refused.
BC_API void YExtend(const char* name, const PXLink* link);

// One walk over the keywords for the whole library.
BC_API const char* YGetFirstCustomKeyword();
BC_API const char* YGetNextCustomKeyword();
// The link of the name the walk gave last; not the caller's to delete.
BC_API const PXLink* YGetLastKeywordLink();

// RESULT takes the answer; nothing happens when the heap has no RESULT.
BC_API void YSetRESULT(const char* text);
BC_API void YSetRESULT(double value);
BC_API void YSetRESULT(int32_t value);
BC_API void YSetRESULT(long value);  // stored as 32 bits
