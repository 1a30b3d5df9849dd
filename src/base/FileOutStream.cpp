#include "base/FileOutStream.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <string>

namespace Bedrock {

Counted<FileOutStream> FileOutStream::Create(const char* path) {
    if (!path) return nullptr;
    const int descriptor = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) return nullptr;
    return Counted<FileOutStream>(new FileOutStream(descriptor, path, std::string()));
}

Counted<FileOutStream> FileOutStream::CreateReplacing(const char* target) {
    if (!target || !*target) {
        errno = ENOENT;
        return nullptr;
    }
    // A name of our own with O_EXCL rather than mkstemp: the file is then
    // made with the usual 0666 less the umask, without touching the
    // process-wide umask to find it out.
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string name =
            std::string(target) + ".tmp" + std::to_string(::getpid()) + "-" + std::to_string(counter.fetch_add(1));
        const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0) return Counted<FileOutStream>(new FileOutStream(descriptor, name, target));
        if (errno != EEXIST) return nullptr;
    }
    return nullptr;
}

FileOutStream::FileOutStream(int descriptor, std::string path, std::string target)
    : m_descriptor(descriptor),
      m_buffer(new unsigned char[kBufferSize]),
      m_path(std::move(path)),
      m_target(std::move(target)) {}

FileOutStream::~FileOutStream() {
    Close();
    // Never committed: the half-made file goes.
    if (!m_target.empty()) std::remove(m_path.c_str());
}

bool FileOutStream::Commit() {
    if (m_target.empty()) {
        errno = EINVAL;
        return false;
    }
    errno = 0;
    bool ok = Close();
    if (ok) {
        ok = std::rename(m_path.c_str(), m_target.c_str()) == 0;
    } else if (errno == 0) {
        errno = EIO;
    }
    if (ok) {
        m_target.clear();
        return true;
    }
    const int error = errno;
    std::remove(m_path.c_str());
    m_target.clear();
    errno = error;
    return false;
}

bool FileOutStream::WriteAll(const unsigned char* data, uint64_t count) {
    constexpr uint64_t kMaxChunk = uint64_t(1) << 30;
    while (count > 0) {
        const ssize_t put = ::write(m_descriptor, data, static_cast<size_t>(count < kMaxChunk ? count : kMaxChunk));
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        data += put;
        count -= static_cast<uint64_t>(put);
    }
    return true;
}

bool FileOutStream::Flush() {
    if (m_buffered == 0) return true;
    const bool ok = WriteAll(m_buffer.get(), m_buffered);
    m_buffered = 0;
    if (!ok) m_failed = true;
    return ok;
}

bool FileOutStream::Write(const void* data, uint64_t count) {
    if (m_descriptor < 0 || m_failed) return false;
    const auto* bytes = static_cast<const unsigned char*>(data);
    if (count < kBufferSize - m_buffered) {
        std::memcpy(m_buffer.get() + m_buffered, bytes, static_cast<size_t>(count));
        m_buffered += static_cast<size_t>(count);
    } else if (!Flush()) {
        return false;
    } else if (count < kBufferSize) {
        std::memcpy(m_buffer.get(), bytes, static_cast<size_t>(count));
        m_buffered = static_cast<size_t>(count);
    } else if (!WriteAll(bytes, count)) {
        m_failed = true;
        return false;
    }
    m_position += count;
    return true;
}

bool FileOutStream::Close() {
    if (m_descriptor < 0) return !m_failed;
    Flush();
    if (::close(m_descriptor) != 0) m_failed = true;
    m_descriptor = -1;
    return !m_failed;
}

}  // namespace Bedrock
