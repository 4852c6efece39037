// The compiler's shared state. Compilation is synchronous and never
// re-entered, so the text being read and the buffers being filled are
// module statics shared by the source reader and the compiler.
#pragma once

#include <cstdint>

#include "baublecore/thread.h"

namespace bcthreads {

// Fixed sizes of the compile-time buffers; a script that needs more is refused.
inline constexpr int kCodeWords = 20000;
inline constexpr int kStatements = 8000;
inline constexpr int kFileNameSize = 128;

// The text of the source file being read, followed by CR and NUL.
extern char* textBuffer;
extern char* textCursor;
extern char* tokenStart;
extern char fileName[kFileNameSize];

// Next free word of the code buffer; zeroed by the script-state reset.
extern int codeCount;
// Set by `procedure`: the next operand is the procedure's name.
extern int procedurePending;
// Blocks open around the clause being compiled.
extern int blockDepth;

// A reason for a refusal that the compile message shows beside the source.
extern const char* refusal;

// Moves `p` past blanks: control bytes, 32, 127 and 128-255; CR only when
// `acrossLines`. Non-zero when `p` rests on a byte from 33 to 126.
inline int skipBlanks(char*& p, int acrossLines) {
    if (!*p) return 0;
    for (;; ++p) {
        unsigned char c = static_cast<unsigned char>(*p);
        if (c == 0) return 0;
        if (c >= 33 && c <= 126) return 1;
        if (c == 13 && !acrossLines) return 0;
    }
}

// Frees what a compilation leaves behind: the include records and the text.
void endCompilation();

// "include NAME" at the start of a clause: the file's text replaces the
// rest of the line; its first token is the result.
char* includeFile(YThread& t);
// The text being read has ended: reading goes back to the file that
// included it (its next token is the result), or null at the end of all.
char* endOfSource(YThread& t);

}  // namespace bcthreads
