#include "base/FileSystem.h"

#include <cstdlib>
#include <vector>

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>

namespace Bedrock::FileSystem {

namespace {

// A symbol of this binary, to ask the dynamic loader which file holds it.
void Anchor() {}

bool IsDirectory(const Path& path) {
    struct stat info;
    return !path.IsEmpty() && ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

Path Canonical(const char* path) {
    char* resolved = ::realpath(path, nullptr);
    if (!resolved) return Path(path);
    Path result(resolved);
    std::free(resolved);
    return result;
}

// The shared object or executable that holds this code.
Path GetOwnBinary() {
    Dl_info info{};
    link_map* map = nullptr;
    if (::dladdr1(reinterpret_cast<void*>(&Anchor), &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0)
        return Path();
    // The main program's link map has no name, and the loader then reports
    // argv[0], which need not be a path; the kernel knows the real one.
    if (!map || !map->l_name || map->l_name[0] == 0 || !info.dli_fname) return Canonical("/proc/self/exe");
    return Canonical(info.dli_fname);
}

Path Locate() {
    std::vector<Path> candidates;
    const Path binary = GetOwnBinary();
    if (!binary.IsEmpty()) {
        const Path directory = binary.GetParent();
        // Installed: <prefix>/lib/ or <prefix>/lib/<multiarch>/ beside
        // <prefix>/share/typeframe.
        Path installed = directory.GetParent();
        installed.Append("share/typeframe");
        Path multiarch = directory.GetParent().GetParent();
        multiarch.Append("share/typeframe");
        Path beside = directory;
        beside.Append("resources");
        candidates.push_back(installed);
        candidates.push_back(multiarch);
        candidates.push_back(beside);
    }
#ifdef TYPEFRAME_BUILD_RESOURCES_DIR
    // The build tree's copy, for binaries that run where they were built.
    candidates.emplace_back(TYPEFRAME_BUILD_RESOURCES_DIR);
#endif
    for (const Path& candidate : candidates) {
        if (IsDirectory(candidate)) return candidate;
    }
    // None exists: the installed place, where opening a file fails cleanly.
    return candidates.empty() ? Path() : candidates.front();
}

}  // namespace

PathT<Utf8String, PathTraitsUnix> GetResourcesDirectory() {
    static const Path directory = Locate();
    return directory;
}

}  // namespace Bedrock::FileSystem
