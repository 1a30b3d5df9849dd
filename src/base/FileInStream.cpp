#include "base/FileInStream.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Bedrock {

Counted<FileInStream> FileInStream::Open(const char* path, bool) {
    if (!path) return nullptr;
    const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return nullptr;
    struct stat info;
    if (::fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size < 0) {
        ::close(descriptor);
        return nullptr;
    }
    return Counted<FileInStream>(new FileInStream(descriptor, static_cast<uint64_t>(info.st_size)));
}

FileInStream::~FileInStream() { ::close(m_descriptor); }

uint64_t FileInStream::Read(void* dest, uint64_t count) {
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
