// bauble compile: writes the compiled file of a script.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <string>

#include "baublecore/baublecore.h"
#include "commands.h"

namespace bauble {
namespace {

struct CompileOptions {
    std::string script;
    std::string out;
};

int compileScript(const CompileOptions& o) {
    // The compiler shows its own message when the script does not compile.
    YThread thread(o.script.c_str());
    if (!thread) return kExitCompile;
    if (!thread.save(o.out.c_str())) {
        std::fprintf(stderr, "bauble compile: can't write '%s'\n", o.out.c_str());
        return kExitIo;
    }
    return kExitOk;
}

}  // namespace

void addCompileCommand(CLI::App& app) {
    CLI::App* compile = app.add_subcommand("compile", "Write the compiled file of a script");
    auto o = std::make_shared<CompileOptions>();
    addFileName(*compile, "SCRIPT", o->script, "The script, source or compiled")->required();
    compile->add_option("-o,--output", o->out, "The compiled file to write")->type_name("OUT")->required();
    compile->callback([o] { setExitStatus(compileScript(*o)); });
}

}  // namespace bauble
