// The commands of the bauble host. Each subcommand is registered on the
// command line by its own function, in its own file; its callback runs the
// command and leaves the process's exit status with setExitStatus.
#pragma once

#include <cstdint>
#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace bauble {

// Exit statuses every command keeps to.
inline constexpr int kExitOk = 0;
inline constexpr int kExitIo = 1;  // a file could not be read or written
inline constexpr int kExitUsage = 2;
inline constexpr int kExitCompile = 3;
inline constexpr int kExitTimeout = 4;  // bauble run: --timeout passed

void setExitStatus(int status);

// A whole number in decimal, refused (naming the option) when it is not one
// or lies outside [min, max]; never saturated.
CLI::Option* addNumber(CLI::App& app, const std::string& name, int64_t& out, int64_t min, int64_t max,
                       const std::string& help);
// A script or file name as the library takes it: not empty, and short
// enough for its name buffers.
CLI::Option* addFileName(CLI::App& app, const std::string& name, std::string& out, const std::string& help);

void addRunCommand(CLI::App& app);
void addCompileCommand(CLI::App& app);
void addInspectCommand(CLI::App& app);
void addDemoCommand(CLI::App& app);
// bauble ao (info, pack, build) and bauble palette. Their callbacks throw
// CLI::RuntimeError with the exit status when a file cannot be used.
void addAoCommands(CLI::App& app);

}  // namespace bauble
