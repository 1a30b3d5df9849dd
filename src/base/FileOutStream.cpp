#include "base/FileOutStream.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace Bedrock {

Counted<FileOutStream> FileOutStream::Create(const char* path) {
    if (!path) return nullptr;
    const int descriptor = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) return nullptr;
    return Counted<FileOutStream>(new FileOutStream(descriptor));
}

FileOutStream::FileOutStream(int descriptor) : m_descriptor(descriptor), m_buffer(new unsigned char[kBufferSize]) {}

FileOutStream::~FileOutStream() { Close(); }

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
