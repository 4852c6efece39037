// bauble inspect: what a compiled script holds (the statement table with its
// operand words, the code words, the heap records) the way the thread has it
// once loaded.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <string>

#include "baublecore/baublecore.h"
#include "commands.h"

namespace bauble {
namespace {

const char* const typeNames[] = {"Plain", "Literal", "Compound", "Slice", "Expression", "Unclassified"};
const char* const stateNames[] = {"None", "Object", "String", "Long", "Double"};

template <class T, size_t N>
const char* nameIn(const char* const (&names)[N], T value) {
    return value >= 0 && static_cast<size_t>(value) < N ? names[value] : "?";
}

// Printable ASCII as it is, every other byte (and the backslash) escaped.
std::string shown(const char* s) {
    if (!s) return "(none)";
    std::string out;
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(s); *p; ++p) {
        if (*p >= 32 && *p < 127 && *p != '\\') {
            out += static_cast<char>(*p);
        } else {
            char hex[8];
            std::snprintf(hex, sizeof hex, "\\x%02X", *p);
            out += hex;
        }
    }
    return out;
}

std::string termName(int index) {
    const YVariable* v = YHeap::theHeap[index];
    return v ? shown(v->getName()) : "?";
}

void showStatements(const YThread& t) {
    std::printf("%d statements\n", t.jumpCount);
    for (int i = 0; i <= t.jumpCount; ++i) {
        const YStatement& s = t.jumps[i];
        const char* command = baublecore::commandName(s.command);
        std::printf("%6d  %-12s", i, command ? command : "?");
        if (i == t.jumpCount) {
            std::printf("  (end entry)\n");
            continue;
        }
        if (s.command == ycJump || s.command == ycBranch) {
            std::printf("  -> %d\n", s.operand);
            continue;
        }
        std::printf("  @%d", s.operand);
        if (s.command != ycNop && s.command != ycReturn) {
            for (int w = s.operand; w >= 0 && w < t.codeWordCount && t.code[w] != -1; ++w)
                std::printf("  %d:%s", t.code[w], termName(t.code[w]).c_str());
        }
        std::printf("\n");
    }
}

void showCode(const YThread& t) {
    std::printf("%d code words\n", t.codeWordCount);
    for (int i = 0; i < t.codeWordCount; ++i) {
        if (i % 10 == 0) std::printf("%s%6d:", i ? "\n" : "", i);
        std::printf(" %d", t.code[i]);
    }
    if (t.codeWordCount) std::printf("\n");
}

void showHeap() {
    const YHeap& heap = YHeap::theHeap;
    std::printf("heap: %d entries, %d stored\n", heap.size(), heap.size() > 3 ? heap.size() - 3 : 0);
    for (int i = 3; i < heap.size(); ++i) {
        const YVariable* v = heap[i];
        std::printf("%6d  %-10s %-6s size %-3d alias %-2d name %s  text %s", i, nameIn(typeNames, v->type),
                    nameIn(stateNames, v->state), v->size_, v->alias, shown(v->name).c_str(),
                    shown(v->text).c_str());
        if (v->state == YVS_Long) std::printf("  number %d", v->number.l);
        if (v->state == YVS_Double) std::printf("  number %.15g", v->number.d);
        if (v->firstClone || v->cloneCount)
            std::printf("  clones %d from %d", v->cloneCount, v->firstClone);
        if (v->terms) {
            int parts = v->type == YVT_Slice ? 3 : v->size_;
            std::printf("  parts");
            for (int k = 0; k < parts; ++k) {
                if (v->terms[k] == 0xFFFF)
                    std::printf(" -");
                else
                    std::printf(" %d", v->terms[k]);
            }
        }
        std::printf("\n");
    }
}

int inspect(const std::string& name) {
    const char* file = name.c_str();
    // The thread loads the file (or compiles a source) first, refusing with
    // its own message what it cannot run, a FIFO or a directory among them;
    // only then is the file opened here, for its format byte.
    YThread thread(file);
    if (!thread) return kExitCompile;
    std::FILE* f = std::fopen(file, "rb");
    if (!f) {
        std::fprintf(stderr, "bauble inspect: can't open '%s'\n", file);
        return kExitIo;
    }
    int format = std::fgetc(f);
    std::fclose(f);
    const char* kind = format == 2   ? "compiled script, little-endian (format 2)"
                       : format == 1 ? "compiled script, big-endian (format 1)"
                                     : "source text, compiled for this listing";
    std::printf("%s: %s\n", file, kind);
    showStatements(thread);
    showCode(thread);
    showHeap();
    return kExitOk;
}

}  // namespace

void addInspectCommand(CLI::App& app) {
    CLI::App* inspectCommand =
        app.add_subcommand("inspect", "Show the statements, code words and heap records of a compiled script");
    auto file = std::make_shared<std::string>();
    addFileName(*inspectCommand, "FILE", *file, "The compiled script (a source is compiled for the listing)")
        ->required();
    inspectCommand->callback([file] { setExitStatus(inspect(*file)); });
}

}  // namespace bauble
