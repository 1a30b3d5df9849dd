#pragma once

// A file opened for reading. Reads go straight to positioned system reads, so
// a stream may be shared by readers that each seek before they read; or, when
// asked, the whole file is read into memory at once and the file is closed.

#include <vector>

#include "base/InStreamSeekable.h"

namespace Bedrock {

class FileInStream final : public InStreamSeekable {
public:
    // Null if the path can't be opened as a regular file (errno tells why;
    // 0 for something that is not a regular file). With readIntoMemory the
    // whole file is read now and closed, so that the stream no longer depends
    // on it: the file may then be replaced or removed while fonts read from
    // it are still in use.
    static Counted<FileInStream> Open(const char* path, bool readIntoMemory = false);

    FileInStream(const FileInStream&) = delete;
    FileInStream& operator=(const FileInStream&) = delete;
    ~FileInStream() override;

    uint64_t Read(void* dest, uint64_t count) override;
    bool Seek(int origin, int64_t offset) override;
    uint64_t GetSize() const override { return m_size; }
    uint64_t GetPosition() const override { return m_position; }

private:
    FileInStream(int descriptor, uint64_t size) : m_descriptor(descriptor), m_size(size) {}

    int m_descriptor;  // -1 once the contents are in memory
    std::vector<unsigned char> m_contents;
    uint64_t m_size;
    uint64_t m_position = 0;
};

}  // namespace Bedrock
