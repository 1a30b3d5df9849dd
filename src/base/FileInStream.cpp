#include "base/FileInStream.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Bedrock {

Counted<FileInStream> FileInStream::Open(const char* path, bool readIntoMemory) {
    if (!path) {
        errno = ENOENT;
        return nullptr;
    }
    const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return nullptr;
    struct stat info {};
    const bool described = ::fstat(descriptor, &info) == 0;
    if (!described || !S_ISREG(info.st_mode) || info.st_size < 0) {
        const int error = described ? 0 : errno;
        ::close(descriptor);
        errno = error;
        return nullptr;
    }
    Counted<FileInStream> stream(new FileInStream(descriptor, static_cast<uint64_t>(info.st_size)));
    if (readIntoMemory) {
        std::vector<unsigned char> contents(stream->m_size);
        errno = 0;
        if (stream->Read(contents.data(), contents.size()) != contents.size()) {
            if (errno == 0) errno = EIO;
            return nullptr;
        }
        stream->m_contents = std::move(contents);
        ::close(stream->m_descriptor);
        stream->m_descriptor = -1;
        stream->m_position = 0;
    }
    return stream;
}

FileInStream::~FileInStream() {
    if (m_descriptor >= 0) ::close(m_descriptor);
}

uint64_t FileInStream::Read(void* dest, uint64_t count) {
    if (m_descriptor < 0) {
        const uint64_t available = m_position < m_size ? m_size - m_position : 0;
        const uint64_t done = count < available ? count : available;
        if (done != 0) std::memcpy(dest, m_contents.data() + m_position, static_cast<size_t>(done));
        m_position += done;
        return done;
    }
    constexpr uint64_t kMaxChunk = uint64_t(1) << 30;
    auto* out = static_cast<unsigned char*>(dest);
    uint64_t done = 0;
    while (done < count) {
        const uint64_t chunk = count - done < kMaxChunk ? count - done : kMaxChunk;
        const ssize_t got =
            ::pread(m_descriptor, out + done, static_cast<size_t>(chunk), static_cast<off_t>(m_position + done));
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        done += static_cast<uint64_t>(got);
    }
    m_position += done;
    return done;
}

bool FileInStream::Seek(int origin, int64_t offset) {
    return ResolveSeek(origin, offset, m_position, m_size, m_position);
}

}  // namespace Bedrock
