#pragma once

// A file written strictly forward through a buffer. It closes at its last
// release; Close() reports whether every byte reached the file.

#include <cstddef>
#include <memory>

#include "base/OutStream.h"

namespace Bedrock {

class FileOutStream final : public OutStream {
public:
    // Creates or truncates the file; null on failure.
    static Counted<FileOutStream> Create(const char* path);

    FileOutStream(const FileOutStream&) = delete;
    FileOutStream& operator=(const FileOutStream&) = delete;
    ~FileOutStream() override;

    bool Write(const void* data, uint64_t count) override;
    uint64_t GetPosition() const override { return m_position; }

    // Flushes and closes. False if any write failed, or the flush or the
    // close did; after it every write fails.
    bool Close();

private:
    static constexpr size_t kBufferSize = 64 * 1024;

    explicit FileOutStream(int descriptor);
    bool Flush();
    bool WriteAll(const unsigned char* data, uint64_t count);

    int m_descriptor;
    std::unique_ptr<unsigned char[]> m_buffer;
    size_t m_buffered = 0;
    uint64_t m_position = 0;
    bool m_failed = false;
};

}  // namespace Bedrock
