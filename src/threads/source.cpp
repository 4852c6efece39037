// Source loading and tokens. The text of a source is read whole into one
// buffer, followed by CR and NUL, and the compiler reads straight from it: a
// token is a pointer into the buffer. A source whose first byte is 1 or 2 is
// a compiled script and is loaded instead of compiled.
//
// Bytes: CR ends a line; LF is a blank, so CR LF files work and an LF-only
// file is one line; bytes from 128 up separate words outside quotes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "baublecore/heap.h"
#include "baublecore/thread.h"
#include "pxbase/file_chooser.h"
#include "pxbase/stream.h"
#include "pxbase/sys.h"
#include "threads/compiler_state.h"
#include "threads/threads_internal.h"
#include "values/values_internal.h"

using bcvalues::compileError;

namespace bcthreads {

char* textBuffer = nullptr;
char* textCursor = nullptr;
char* tokenStart = nullptr;
char fileName[kFileNameSize] = "";

namespace {

constexpr unsigned kMessageFlags = 0x3000;

// A source file whose reading was suspended by `include`. The parent's text
// is kept here rather than read again from its source at the end of the
// included file: a parent that came from a stream has no file to read again.
struct IncludeRecord {
    char* file;
    int32_t offset;
    char* text;
    char restore;  // the byte the include line's NUL replaced
};

PXList<IncludeRecord> includeStack;

// While set, a compiled script met by the reader is refused rather than
// loaded over the thread that is being compiled.
bool readingInclude = false;

[[noreturn]] void fatal(const char* text) {
    PXSysUserMessage(text, kMessageFlags, nullptr);
    PXSysExit(1);
}

// A compiled script named by an include would be loaded over the script
// being compiled: it is refused instead.
int refuseCompiledInclude() {
    refusal = "a compiled script cannot be included";
    if (!compileError) compileError = 2;
    return -1;
}

void setFileName(const char* name) {
    std::snprintf(fileName, sizeof fileName, "%s", name);
}

// Takes `bytes` as the new text: a CR and a NUL behind them, reading from
// `offset` (kept inside the text).
void takeText(const uint8_t* bytes, size_t size, int offset) {
    std::free(textBuffer);
    textBuffer = static_cast<char*>(std::malloc(size + 3));
    if (size) std::memcpy(textBuffer, bytes, size);
    textBuffer[size] = '\r';
    textBuffer[size + 1] = '\0';
    textBuffer[size + 2] = '\0';
    if (offset < 0 || static_cast<size_t>(offset) > size) offset = static_cast<int>(size);
    tokenStart = textCursor = textBuffer + offset;
}

const char* kindOf(mode_t mode) {
    if (S_ISDIR(mode)) return "it is a directory";
    if (S_ISFIFO(mode)) return "it is a FIFO";
    if (S_ISCHR(mode) || S_ISBLK(mode)) return "it is a device";
    return "it is not a regular file";
}

}  // namespace

std::FILE* openRegularFile(const char* path, char* why, size_t whySize) {
    why[0] = '\0';
    // Opened without waiting, so that a FIFO cannot block; a regular file
    // reads the same either way.
    int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        if (errno != ENOENT && errno != ENOTDIR) std::snprintf(why, whySize, "%s", std::strerror(errno));
        return nullptr;
    }
    struct stat st;
    bool known = ::fstat(fd, &st) == 0;
    if (!known || !S_ISREG(st.st_mode)) {
        std::snprintf(why, whySize, "%s", known ? kindOf(st.st_mode) : std::strerror(errno));
        ::close(fd);
        return nullptr;
    }
    std::FILE* f = ::fdopen(fd, "rb");
    if (!f) {
        std::snprintf(why, whySize, "%s", std::strerror(errno));
        ::close(fd);
    }
    return f;
}

void endCompilation() {
    for (PXListWalk<IncludeRecord> walk(includeStack); IncludeRecord* r = walk.next();) {
        std::free(r->file);
        std::free(r->text);
        delete r;
    }
    includeStack.clear();
    std::free(textBuffer);
    textBuffer = textCursor = tokenStart = nullptr;
    readingInclude = false;
}

}  // namespace bcthreads

using namespace bcthreads;

int YThread::compile(PXIStream* source) {
    int got = fillTextBuffer(source, 0);
    if (got == 1) return 1;
    if (got < 0) return 0;
    return compile();
}

int YThread::compile(const char* source) {
    int got = fillTextBuffer(source, 0);
    if (got == 1) return 1;
    if (got < 0) return 0;
    return compile();
}

// 0: the text is ready; 1: a compiled script was loaded; -1: refused, with
// a message shown.
int YThread::fillTextBuffer(const char* source, int offset) {
    fileName[0] = '\0';
    if (!source || std::strlen(source) >= kFileNameSize) {
        // Refused, not looked for: the name buffers hold 127 bytes.
        char text[128];
        std::snprintf(text, sizeof text, "can't read %.40s...: a script name has at most %d bytes",
                      source ? source : "", kFileNameSize - 1);
        PXSysUserMessage(text, 0x3000, nullptr);
        compileError = 2;
        return -1;
    }
    char why[96];
    std::FILE* f = openRegularFile(source, why, sizeof why);
    if (!f && why[0]) {
        // The disk has something of that name that is no script to read (a
        // directory, a FIFO, a device, a file without permission): it ends
        // the process like a missing file, and is not handed to the url
        // opener, which would read something else under the same name.
        char text[kFileNameSize + sizeof why + 16];
        std::snprintf(text, sizeof text, "can't read %s: %s", source, why);
        fatal(text);
    }
    if (f) {
        setFileName(source);
        int first = std::fgetc(f);
        if (first == 1 || first == 2) {
            std::fclose(f);
            if (readingInclude) return refuseCompiledInclude();
            return load(source, first == 1) ? 1 : -1;
        }
        std::fseek(f, 0, SEEK_END);
        long size = std::ftell(f);
        if (size < 0 || size / 2 > 32767) {
            std::fclose(f);
            fatal("Script too long");
        }
        auto* bytes = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(size) + 1));
        std::fseek(f, 0, SEEK_SET);
        size_t got = std::fread(bytes, 1, static_cast<size_t>(size), f);
        std::fclose(f);
        takeText(bytes, got, offset);
        std::free(bytes);
        return 0;
    }
    if (url) {
        setFileName(source);
        PXIStream* stream = url(source);
        int result = fillTextBuffer(stream, offset);
        delete stream;
        return result;
    }
    char text[kFileNameSize + 16];
    std::snprintf(text, sizeof text, "can't find %s", source);
    fatal(text);
}

int YThread::fillTextBuffer(PXIStream* source, int offset) {
    if (!source) {
        char text[kFileNameSize + 16];
        std::snprintf(text, sizeof text, "%s not found", fileName);
        fatal(text);
    }
    if (!fileName[0] && source->isA() == PXIStreamFile::className) setFileName(source->getFilename());
    source->setSrcOffset(0);
    source->getData(0);
    int first = source->size ? source->data[0] : -1;
    if (first == 1 || first == 2) {
        if (readingInclude) return refuseCompiledInclude();
        return load(source, first == 1) ? 1 : -1;
    }
    takeText(source->data, source->size, offset);
    return 0;
}

int YThread::advancePastSeparator(char*& p, int keepEquals) {
    bool inDouble = false, inSingle = false;
    int count = 0;
    for (unsigned char c; (c = static_cast<unsigned char>(*p)) >= 32;) {
        ++p;
        if (c >= 127 && !inDouble && !inSingle) return count;
        if (c == ' ' && !inDouble && !inSingle) return count;
        if (c == '"' && !inSingle) inDouble = !inDouble;
        if (c == '\'' && !inDouble) inSingle = !inSingle;
        if (c == '=' && !keepEquals && !inDouble && !inSingle) return count;
        ++count;
    }
    if (inDouble || inSingle) {
        char text[48];
        std::snprintf(text, sizeof text, "Unquote %.24s...", tokenStart ? tokenStart : "");
        PXSysUserMessage(text, 0x3000, nullptr);
        compileError = 6;
        return 0;
    }
    return count;
}

char* YThread::getToken(int acrossLines) {
    tokenStart = textCursor;
    skipBlanks(textCursor, acrossLines);
    char* t = textCursor;
    switch (*t) {
        case ';':
            tokenStart = t;
            while (*textCursor && *textCursor != '\r') ++textCursor;
            if (*textCursor) ++textCursor;
            return t;
        case '\0':
            return t;
        case '\r':
        case '[':
        case ']':
            textCursor = t + 1;
            return t;
        default:
            advancePastSeparator(textCursor, 1);
            return t;
    }
}

// "include NAME": the rest of the line names a file that is read in place
// of the line; reading goes on behind the line when that file ends.
char* bcthreads::includeFile(YThread& t) {
    char* nameStart = textCursor;
    ThreadsAccess::advancePastSeparator(t, textCursor, 1);
    auto* record = new IncludeRecord{nullptr, static_cast<int32_t>(textCursor - textBuffer),
                                     textBuffer, *textCursor};
    *textCursor = '\0';
    char file[kFileNameSize];
    bool fits = std::strlen(nameStart) < sizeof file;
    std::snprintf(file, sizeof file, "%s", nameStart);
    record->file = static_cast<char*>(std::malloc(std::strlen(fileName) + 1));
    std::strcpy(record->file, fileName);
    includeStack.append(record);
    textBuffer = nullptr;  // now the record's

    readingInclude = true;
    int got = fits ? ThreadsAccess::fillTextBuffer(t, file, 0)
                   : ThreadsAccess::fillTextBuffer(t, nameStart, 0);
    readingInclude = false;
    if (got != 0) {
        // Nothing to read: compile on as if the file were empty.
        compileError = compileError ? compileError : 2;
        takeText(nullptr, 0, 0);
    }
    return ThreadsAccess::getToken(t, 1);
}

// The current source has ended: go back to the file that included it, or
// report the end of all source (null).
char* bcthreads::endOfSource(YThread& t) {
    IncludeRecord* record = includeStack.last();
    if (!record) return nullptr;
    includeStack.remove(record);
    std::free(textBuffer);
    textBuffer = record->text;
    textBuffer[record->offset] = record->restore;
    tokenStart = textCursor = textBuffer + record->offset;
    setFileName(record->file);
    std::free(record->file);
    delete record;
    return ThreadsAccess::getToken(t, 1);
}

void YThread::chooseFile(char* out, int forSave) {
    PXSysChooseFile(out, kFileNameSize, "Script", "*.mps", forSave);
}
