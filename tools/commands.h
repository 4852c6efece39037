// The commands of the bauble host. Each takes the arguments after its name
// and returns the process's exit status.
#pragma once

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

}  // namespace bauble
