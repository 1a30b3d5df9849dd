#pragma once

// A file written strictly forward through a buffer. It closes at its last
// release; Close() reports whether every byte reached the file.

#include <cstddef>
#include <memory>
#include <string>

#include "base/OutStream.h"

namespace Bedrock {

class FileOutStream final : public OutStream {
public:
    // Creates or truncates the file; null on failure.
    static Counted<FileOutStream> Create(const char* path);
    // Writes to a new temporary file beside `target` instead, which Commit()
    // renames over `target` once everything is written; a stream released
    // without Commit() removes its temporary file, so a failed save leaves
    // `target` as it was. Null on failure, with errno telling why.
    static Counted<FileOutStream> CreateReplacing(const char* target);

    FileOutStream(const FileOutStream&) = delete;
    FileOutStream& operator=(const FileOutStream&) = delete;
    ~FileOutStream() override;

    bool Write(const void* data, uint64_t count) override;
    uint64_t GetPosition() const override { return m_position; }

    // Flushes and closes. False if any write failed, or the flush or the
    // close did; after it every write fails.
    bool Close();
    // For a stream made by CreateReplacing: closes it and, if every write
    // succeeded, puts the file in place of the target, with the permissions
    // a newly created file would have. False (errno telling why) otherwise,
    // and the temporary file is gone.
    bool Commit();
    // The file being written: the temporary one for CreateReplacing.
    const std::string& GetPath() const { return m_path; }

private:
    static constexpr size_t kBufferSize = 64 * 1024;

    FileOutStream(int descriptor, std::string path, std::string target);
    bool Flush();
    bool WriteAll(const unsigned char* data, uint64_t count);

    int m_descriptor;
    std::unique_ptr<unsigned char[]> m_buffer;
    size_t m_buffered = 0;
    uint64_t m_position = 0;
    bool m_failed = false;
    std::string m_path;
    std::string m_target;  // empty unless the stream replaces a file on commit
};

}  // namespace Bedrock
