// Uses only the reference-counting base of the library, so that it keeps
// building whatever else the installed headers hold.
#include "base/Counted.h"

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
    std::printf("consumer: ok\n");
    return 0;
}
