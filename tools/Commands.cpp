#include "Commands.h"

namespace TypeframeTool {

const std::vector<Command>& GetCommands() {
    static const std::vector<Command> commands = {
        {"info", "show the kind of a font file and each font's tables",
         "usage: typeframe info FONT\n"
         "\n"
         "Shows the kind of FONT (TrueType, OpenType (CFF), or a ttcf collection)\n"
         "and, for each of its fonts, the sfnt version, glyph count, units per em\n"
         "and the table directory: tag, checksum, offset and length of each table.\n",
         RunInfo},
        {"save", "write one font of a file or collection as a standalone font",
         "usage: typeframe save IN OUT [--index N] [--rebuild TAG,...|all]\n"
         "\n"
         "Loads font N (default 0) of the font or collection IN and writes it to OUT\n"
         "as a single font. Tables not named by --rebuild are copied byte for byte;\n"
         "head is always rewritten (modification date and checksum adjustment) and\n"
         "a digital signature (DSIG) is dropped. OUT appears only once complete.\n"
         "\n"
         "  --index N             the font of a collection to save, from 0\n"
         "  --rebuild TAG,...     write these tables from their parsed fields; a tag\n"
         "                        shorter than four characters is padded with spaces.\n"
         "                        Tables the library keeps only as bytes come out as\n"
         "                        they are. May be repeated.\n"
         "  --rebuild all         the same for every table the library can parse\n",
         RunSave},
    };
    return commands;
}

const Command* FindCommand(const std::string& name) {
    for (const auto& command : GetCommands()) {
        if (name == command.name) return &command;
    }
    return nullptr;
}

}  // namespace TypeframeTool
