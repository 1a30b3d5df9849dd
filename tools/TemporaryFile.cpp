#include "TemporaryFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace TypeframeTool {

TemporaryFile::TemporaryFile(std::string target) : m_target(std::move(target)) {}

TemporaryFile::~TemporaryFile() { Discard(); }

bool TemporaryFile::Create(std::string& error) {
    Discard();
    const std::string pattern = m_target + ".tmpXXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int descriptor = ::mkstemp(name.data());
    if (descriptor < 0) {
        error = std::strerror(errno);
        return false;
    }
    ::close(descriptor);
    m_path = name.data();
    m_exists = true;
    return true;
}

bool TemporaryFile::Commit(std::string& error) {
    if (!m_exists) {
        error = "no file was written";
        return false;
    }
    // mkstemp makes the file private (0600); the result should look like any
    // other new file, so apply the usual 0666 less the umask.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    if (::chmod(m_path.c_str(), 0666 & ~mask) != 0 || std::rename(m_path.c_str(), m_target.c_str()) != 0) {
        error = std::strerror(errno);
        return false;
    }
    m_exists = false;
    return true;
}

void TemporaryFile::Discard() {
    if (m_exists) std::remove(m_path.c_str());
    m_exists = false;
}

}  // namespace TypeframeTool
