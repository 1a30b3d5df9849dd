// Includes the installed headers the way a host does, with nothing but
// <prefix>/include on its include path: the umbrella header and one header by
// its folder. It uses only the reference-counting base and the font-header
// check of the file class, so that it keeps building whatever else the
// headers hold.
#include <typeframe/typeframe.h>
#include <typeframe/core/OTFile.h>

#include <cstdio>

namespace {

int g_destroyed = 0;

class Probe : public Bedrock::Countable {
public:
    ~Probe() override { ++g_destroyed; }
    int value = 7;
};

}  // namespace

int main() {
    {
        Bedrock::Counted<Probe> probe = Bedrock::MakeCounted<Probe>();
        Bedrock::Counted<Probe> copy = probe;
        if (probe->GetReferenceCount() != 2 || copy->value != 7) {
            std::fprintf(stderr, "consumer: wrong reference count %llu\n",
                         static_cast<unsigned long long>(probe->GetReferenceCount()));
            return 1;
        }
    }
    if (g_destroyed != 1) {
        std::fprintf(stderr, "consumer: object destroyed %d times\n", g_destroyed);
        return 1;
    }
    // Control blocks come from the library's allocator, so this needs the
    // shared library's code, not just its headers.
    if (Bedrock::CountedControlBlockCache::GetAllocatedCount() == 0) {
        std::fprintf(stderr, "consumer: no control block allocated\n");
        return 1;
    }
    // Library code behind a core header, not just the base layer.
    if (!Typeframe::OTFile::IsValidFontHeader(0x00010000) || Typeframe::OTFile::IsValidFontHeader(0)) {
        std::fprintf(stderr, "consumer: font header check disagrees\n");
        return 1;
    }
    std::printf("consumer: ok\n");
    return 0;
}
