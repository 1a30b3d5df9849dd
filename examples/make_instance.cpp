// Makes a static instance of a variable font at wght 550 and saves it under
// its PostScript name. Every failing call leaves a reason to print.
//
//   make_instance DATA_DIR OUT_DIR   (DATA_DIR holds PartialInstancerTest3-VF.ttf)
#include <cstdio>
#include <string>

#include <typeframe/typeframe.h>

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::string in = std::string(argv[1]) + "/PartialInstancerTest3-VF.ttf";

    Typeframe::FontInstancer instancer;
    auto fail = [&instancer](const std::string& subject) {
        std::fprintf(stderr, "%s: %s\n", subject.c_str(), instancer.GetLastFailure().GetMessage().c_str());
        return 1;
    };
    if (!instancer.LoadFont(Bedrock::Utf8String(in.c_str()), 0)) return fail(in);

    // Axes by tag, in any order; the axes not named stay at their defaults.
    if (!instancer.MakeInstanceAt({{Typeframe::MakeTag("wght"), 550}})) return fail(in);

    const std::string name = instancer.GetPostScriptName().c_str();
    const std::string out = std::string(argv[2]) + "/" + name + ".ttf";
    // Saving succeeds once the font is handed over; a failed write says so
    // afterwards.
    if (!instancer.SaveFont(Bedrock::Utf8String(out.c_str())) || instancer.GetLastFailure()) return fail(out);

    std::printf("%s\n", out.c_str());
    return 0;
}
