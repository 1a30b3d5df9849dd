// Changes one field of a font's 'head' table and saves the font. Tables that
// nobody touched are written back byte for byte.
//
//   edit_table DATA_DIR OUT_DIR   (DATA_DIR holds TestTTF.ttf)
#include <cstdio>
#include <string>

#include <typeframe/typeframe.h>

using Bedrock::MakeCounted;

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::string in = std::string(argv[1]) + "/TestTTF.ttf";
    const std::string out = std::string(argv[2]) + "/TestTTF-revised.ttf";

    auto file = MakeCounted<Typeframe::OTFile>();
    file->Load(Bedrock::FileInStream::Open(in.c_str()));
    auto font = file->GetFont(0);
    if (!font) {
        std::fprintf(stderr, "%s: %s\n", in.c_str(), file->GetLastFailure().GetMessage().c_str());
        return 1;
    }

    auto head = font->GetTableT<Typeframe::OTheadTable>();
    if (!head) return 1;
    head->fontRevision = Typeframe::Fixed16_16(2.0);  // change a field ...
    head->SetIsDirty(true);                          // ... and mark the table

    // The font moves to a file object of its own for saving; it still reads
    // its other tables from the file it came from. The new file replaces
    // `out` only once it is complete.
    auto output = MakeCounted<Typeframe::OTFile>();
    output->AddFont(font);
    auto stream = Bedrock::FileOutStream::CreateReplacing(out.c_str());
    if (!stream || !output->Save(stream) || !stream->Commit()) {
        std::fprintf(stderr, "%s: %s\n", out.c_str(),
                     stream ? output->GetLastFailure().GetMessage().c_str() : "cannot create");
        return 1;
    }

    // Read it back: every table is there (but a digital signature, which no
    // rewritten font keeps), with the new revision.
    auto check = MakeCounted<Typeframe::OTFile>();
    check->Load(Bedrock::FileInStream::Open(out.c_str()));
    auto saved = check->GetFont(0);
    if (!saved || saved->GetTableT<Typeframe::OTheadTable>()->fontRevision != Typeframe::Fixed16_16(2.0)) return 1;
    for (Typeframe::Tag tag : font->GetTableTags()) {
        if (tag != Typeframe::MakeTag("DSIG") && !saved->GetTableForTag(tag)) {
            std::fprintf(stderr, "%s: table '%s' was lost\n", out.c_str(), Typeframe::TagToString(tag).c_str());
            return 1;
        }
    }
    std::printf("%s: %u tables, revision 2.0\n", out.c_str(), unsigned(saved->GetNumTables()));
    return 0;
}
