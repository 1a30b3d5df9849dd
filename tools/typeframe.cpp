// The typeframe command-line tool: a host program for libtypeframe that
// inspects font files and writes fonts back through the library.

#include <cstdio>
#include <exception>
#include <new>
#include <string>

#include "Commands.h"
#include "ToolSupport.h"

#ifndef TYPEFRAME_VERSION
#define TYPEFRAME_VERSION "unknown"
#endif

namespace {

void PrintUsage() {
    std::printf(
        "usage: typeframe COMMAND [ARGUMENTS]\n"
        "       typeframe COMMAND --help\n"
        "       typeframe --version\n"
        "\n"
        "commands:\n");
    for (const auto& command : TypeframeTool::GetCommands()) std::printf("  %-8s %s\n", command.name, command.summary);
}

int Run(int argc, char** argv) {
    if (argc < 2) return TypeframeTool::ReportError("usage", "missing command (see 'typeframe --help')");
    const std::string first = argv[1];
    if (first == "--help" || first == "-h" || first == "help") {
        if (first == "help" && argc > 2) {
            const auto* command = TypeframeTool::FindCommand(argv[2]);
            if (!command) return TypeframeTool::ReportError(argv[2], "unknown command (see 'typeframe --help')");
            std::fputs(command->help, stdout);
            return 0;
        }
        PrintUsage();
        return 0;
    }
    if (first == "--version" || first == "-V") {
        std::printf("typeframe %s\n", TYPEFRAME_VERSION);
        return 0;
    }
    if (!first.empty() && first[0] == '-') {
        return TypeframeTool::ReportError(first, "unknown option (see 'typeframe --help')");
    }
    const auto* command = TypeframeTool::FindCommand(first);
    if (!command) return TypeframeTool::ReportError(first, "unknown command (see 'typeframe --help')");
    return command->run(TypeframeTool::Arguments(argv + 2, argv + argc));
}

}  // namespace

int main(int argc, char** argv) {
    // The library throws nothing of its own, but the allocator may; a font
    // that asks for too much memory is a failure like any other, reported
    // on one line, and the temporary output is removed while unwinding.
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        return TypeframeTool::ReportError(argc > 2 ? argv[2] : "typeframe", "out of memory");
    } catch (const std::exception& error) {
        return TypeframeTool::ReportError(argc > 2 ? argv[2] : "typeframe", error.what());
    }
}
