#include "Commands.h"

namespace TypeframeTool {

const std::vector<Command>& GetCommands() {
    static const std::vector<Command> commands = {
        {"info", "show the kind of a font file and each font's tables",
         "usage: typeframe info [--json] FONT\n"
         "\n"
         "Shows the kind of FONT (TrueType, OpenType (CFF), or a ttcf collection)\n"
         "and, for each of its fonts, the sfnt version, glyph count, units per em\n"
         "and the table directory: tag, checksum, offset and length of each table.\n"
         "\n"
         "A variable font also shows its axes and named instances.\n"
         "\n"
         "  --json   print the report as one JSON document, for scripts. It also\n"
         "           says of each table whether the library parses it and whether\n"
         "           its directory entry can be loaded.\n",
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
         "                        Naming a table the library keeps only as bytes\n"
         "                        (see 'typeframe info') is an error. May be repeated.\n"
         "  --rebuild all         the same for every table the library can parse\n",
         RunSave},
        {"instance", "make static instances of a variable font",
         "usage: typeframe instance IN OUT [--index N | --name PSNAME] [TAG=VALUE ...]\n"
         "       typeframe instance IN --all-named OUTDIR [--index N | --name PSNAME]\n"
         "\n"
         "Makes a static instance of the variable font IN at the given axis values,\n"
         "writes it to OUT and prints its PostScript name. Axes not named keep their\n"
         "default. TAG is an axis tag of the font, padded with spaces to four\n"
         "characters (CK=1 sets the axis 'CK  '); VALUE is a number in the axis's\n"
         "own units, with '.' as the decimal point. An argument holding '=' and no\n"
         "'/' is read as TAG=VALUE: write an output named like one as ./wght=500.ttf.\n"
         "OUT appears only once complete.\n"
         "\n"
         "  --index N            the font of a collection to use, from 0\n"
         "  --name PSNAME        the font of the file whose PostScript name is PSNAME\n"
         "  --all-named OUTDIR   one static font per named instance of the font,\n"
         "                       written to OUTDIR/PSNAME.ttf (.otf for CFF outlines)\n"
         "                       and printed one name per line. OUTDIR is made if\n"
         "                       missing; when one instance fails, none is written.\n"
         "\n"
         "A TrueType variable font gets the outlines, glyph metrics, control values\n"
         "(cvt), font-wide metrics (MVAR) and names of the location. Layout tables,\n"
         "OS/2 and post values and CFF2 outlines are not instanced yet. The\n"
         "variation tables are dropped.\n",
         RunInstance},
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
