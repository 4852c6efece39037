// bauble: the command-line host. It only calls the public API. The command
// line is CLI11's; every refusal names what it refused and ends with the
// usage status, and each subcommand answers its own --help.
#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "baublecore/baublecore.h"
#include "commands.h"

namespace bauble {
namespace {

int exitStatus = kExitOk;

// The library keeps a script's name in a buffer of 128 bytes.
constexpr size_t kLongestFileName = 127;

// Decimal digits with an optional leading minus, nothing else: CLI11 alone
// would take hexadecimal and octal and saturate what does not fit.
bool parseWhole(const std::string& text, int64_t& out) {
    size_t digits = text.size() > 0 && text[0] == '-' ? 1 : 0;
    if (digits == text.size()) return false;
    for (size_t i = digits; i < text.size(); ++i)
        if (text[i] < '0' || text[i] > '9') return false;
    errno = 0;
    char* end = nullptr;
    long long v = std::strtoll(text.c_str(), &end, 10);
    if (errno == ERANGE || *end) return false;
    out = v;
    return true;
}

// "bauble run" for an error inside run's options, "bauble" otherwise.
std::string commandPath(const CLI::App* app) {
    std::string path = app->get_name();
    for (const CLI::App* at = app; !at->get_subcommands().empty();) {
        at = at->get_subcommands().back();
        path += " " + at->get_name();
    }
    return path;
}

}  // namespace

void setExitStatus(int status) { exitStatus = status; }

CLI::Option* addNumber(CLI::App& app, const std::string& name, int64_t& out, int64_t min, int64_t max,
                       const std::string& help) {
    std::string range = "a whole number from " + std::to_string(min) + " to " + std::to_string(max);
    CLI::Validator inRange(
        [=](std::string& text) -> std::string {
            int64_t v = 0;
            if (!parseWhole(text, v) || v < min || v > max) return "'" + text + "' is not " + range;
            text = std::to_string(v);  // what CLI11 converts next, in the one reading it agrees with
            return {};
        },
        "");
    return app.add_option(name, out, help + " (" + std::to_string(min) + " to " + std::to_string(max) + ")")
        ->type_name("N")
        ->transform(inRange);
}

CLI::Option* addFileName(CLI::App& app, const std::string& name, std::string& out, const std::string& help) {
    CLI::Validator usable(
        [](std::string& text) -> std::string {
            if (text.empty()) return "a file name is not empty";
            if (text.size() > kLongestFileName)
                return "a file name has at most " + std::to_string(kLongestFileName) + " bytes";
            return {};
        },
        "");
    return app.add_option(name, out, help)->check(usable);
}

}  // namespace bauble

int main(int argc, char** argv) {
    CLI::App app("Runs scripted 2D scenes.", "bauble");
    app.get_formatter()->label("Usage", "usage");
    app.get_formatter()->column_width(24);
    app.require_subcommand(0, 1);
    // An option given twice takes its last value, so a wrapper's defaults can
    // be overridden by what follows them.
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.add_flag_callback(
        "--version",
        [] {
            std::printf("bauble %s\n", BCSysGetVersion());
            throw CLI::Success();
        },
        "Show the library version and exit");
    app.failure_message([](const CLI::App* root, const CLI::Error& e) {
        std::string path = bauble::commandPath(root);
        return path + ": " + e.what() + "\nTry '" + path + " --help' for more information.\n";
    });
    bauble::addRunCommand(app);
    bauble::addCompileCommand(app);
    bauble::addInspectCommand(app);
    bauble::addDemoCommand(app);
    bauble::addAoCommands(app);

    if (argc < 2) {
        std::fputs(app.help().c_str(), stderr);
        return bauble::kExitUsage;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::RuntimeError& e) {
        // A command that could not use its files; it said why.
        return e.get_exit_code();
    } catch (const CLI::ParseError& e) {
        // Help and version end well; every other refusal is a usage error.
        return app.exit(e) == 0 ? bauble::kExitOk : bauble::kExitUsage;
    }
    // Options alone, with no command: an unknown word would have been
    // refused above by name.
    if (app.get_subcommands().empty()) {
        std::fputs("bauble: a command is required\nTry 'bauble --help' for more information.\n", stderr);
        return bauble::kExitUsage;
    }
    return bauble::exitStatus;
}
