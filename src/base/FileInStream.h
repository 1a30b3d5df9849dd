#pragma once

// A file opened for reading. Reads go straight to positioned system reads, so
// a stream may be shared by readers that each seek before they read.

#include "base/InStreamSeekable.h"

namespace Bedrock {

class FileInStream final : public InStreamSeekable {
public:
    // Null if the path can't be opened as a regular file. The flag is kept
    // for callers that pass it; it changes nothing.
    static Counted<FileInStream> Open(const char* path, bool unused = false);

    FileInStream(const FileInStream&) = delete;
    FileInStream& operator=(const FileInStream&) = delete;
    ~FileInStream() override;

    uint64_t Read(void* dest, uint64_t count) override;
    bool Seek(int origin, int64_t offset) override;
    uint64_t GetSize() const override { return m_size; }
    uint64_t GetPosition() const override { return m_position; }

private:
    FileInStream(int descriptor, uint64_t size) : m_descriptor(descriptor), m_size(size) {}

    int m_descriptor;
    uint64_t m_size;
    uint64_t m_position = 0;
};

}  // namespace Bedrock
