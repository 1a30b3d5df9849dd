// The main() of a fuzz target's replay program, built with any compiler and
// without libFuzzer: every file named on the command line, and every file in
// a directory named there (hidden files aside), goes once through the
// target. Options in libFuzzer's "-name=value" form are ignored.
//
// An input that makes the library ask for gigabytes fails here as it does
// under the fuzzers' -malloc_limit_mb, instead of swapping the machine: with
// AddressSanitizer a single allocation is capped, without it the address
// space.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <sys/resource.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

#if defined(__SANITIZE_ADDRESS__)
#define TYPEFRAME_REPLAY_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TYPEFRAME_REPLAY_ASAN 1
#endif
#endif

#ifdef TYPEFRAME_REPLAY_ASAN
// Read by AddressSanitizer at start-up; ASAN_OPTIONS can still override it.
extern "C" const char* __asan_default_options() { return "max_allocation_size_mb=512"; }
#endif

namespace {

namespace fs = std::filesystem;

bool IsHidden(const fs::path& path) { return path.filename().string().starts_with("."); }

bool Replay(const fs::path& path) {
    // Unbuffered, so that the input a crash happened on is named.
    std::fprintf(stderr, "replay: running %s\n", path.c_str());
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "replay: cannot read %s\n", path.c_str());
        return false;
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // An allocation of exactly the input's size, so that a read past its
    // end is caught by AddressSanitizer.
    auto data = std::make_unique<uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), data.get());
    LLVMFuzzerTestOneInput(data.get(), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
#ifndef TYPEFRAME_REPLAY_ASAN
    const rlimit limit{4ul << 30, 4ul << 30};
    setrlimit(RLIMIT_AS, &limit);
#endif
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.starts_with("-")) continue;
        const fs::path path(argument);
        std::error_code error;
        if (fs::is_directory(path, error)) {
            std::vector<fs::path> files;
            for (const auto& entry : fs::recursive_directory_iterator(path, error)) {
                if (entry.is_regular_file() && !IsHidden(entry.path())) files.push_back(entry.path());
            }
            if (error) {
                std::fprintf(stderr, "replay: cannot list %s: %s\n", path.c_str(), error.message().c_str());
                return 1;
            }
            // The same order on every machine.
            std::sort(files.begin(), files.end());
            for (const auto& file : files) {
                if (!Replay(file)) return 1;
                ++replayed;
            }
        } else if (fs::is_regular_file(path, error)) {
            if (!Replay(path)) return 1;
            ++replayed;
        } else {
            std::fprintf(stderr, "replay: no such file or directory: %s\n", path.c_str());
            return 1;
        }
    }
    std::printf("replay: %d inputs, no crash\n", replayed);
    return 0;
}
