// The commands of the bauble host. Each takes the arguments after its name
// and returns the process's exit status.
#pragma once

namespace CLI {
class App;
}

namespace bauble {

// Exit statuses every command keeps to.
inline constexpr int kExitOk = 0;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitCompile = 3;

int usageError(const char* what, const char* arg);
// Reads a whole number option value; false (with a usage message) otherwise.
bool numberOption(const char* option, const char* text, long& out);

int runCommand(int argc, char** argv);
int compileCommand(int argc, char** argv);
int inspectCommand(int argc, char** argv);

// bauble ao (info, pack, build) and bauble palette, as CLI11 subcommands of
// `app`; a failing command throws CLI::RuntimeError with its exit status.
void registerAoCommands(CLI::App& app);
// Parses argv (the program name first) with only those commands registered.
int aoCommandsMain(int argc, char** argv);

}  // namespace bauble
