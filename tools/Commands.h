#pragma once

// The sub-commands of the typeframe tool. Each one takes the arguments that
// follow its name and returns the process exit status; errors have already
// been reported on stderr when it returns 1.

#include <string>
#include <vector>

namespace TypeframeTool {

using Arguments = std::vector<std::string>;

struct Command {
    const char* name;
    const char* summary;
    // The usage lines of the command, printed by `typeframe NAME --help`.
    const char* help;
    int (*run)(const Arguments& arguments);
};

// Every command, in the order `typeframe --help` lists them. A new command
// is one more row here and one more Run function.
const std::vector<Command>& GetCommands();
const Command* FindCommand(const std::string& name);

int RunInfo(const Arguments& arguments);
int RunInstance(const Arguments& arguments);
int RunSave(const Arguments& arguments);

}  // namespace TypeframeTool
