#pragma once

// An output file written under a temporary name beside its target and
// renamed over the target only once it is complete, so that a failed run
// never leaves a partial file at the target's name.

#include <string>

namespace TypeframeTool {

class TemporaryFile {
public:
    explicit TemporaryFile(std::string target);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    // Removes the temporary file unless it was committed.
    ~TemporaryFile();

    // Makes an empty, uniquely named file "TARGET.tmpXXXXXX" in the target's
    // folder. On failure `error` says why.
    bool Create(std::string& error);
    const std::string& GetPath() const { return m_path; }
    // Gives the file the permissions a new file would get and renames it to
    // the target.
    bool Commit(std::string& error);
    void Discard();

private:
    std::string m_target;
    std::string m_path;
    bool m_exists = false;
};

}  // namespace TypeframeTool
