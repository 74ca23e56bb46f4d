// SPDX-License-Identifier: MIT
#include "platform/linux/audio/libav/MemoryFile.h"

namespace kavrin
{

MemoryFile::MemoryFile(std::string_view bytes)
    : m_bytes(bytes), m_stream(libav::makeStream(this, &read, nullptr, &seek))
{
}

int MemoryFile::read(void *self, std::uint8_t *target, int room)
{
    auto *file = static_cast<MemoryFile *>(self);
    const std::size_t count =
        file->m_bytes.copy(reinterpret_cast<char *>(target), std::size_t(room), file->m_position);
    file->m_position += count;
    return count > 0 ? int(count) : AVERROR_EOF;
}

std::int64_t MemoryFile::seek(void *self, std::int64_t offset, int whence)
{
    auto *file = static_cast<MemoryFile *>(self);
    const auto size = std::int64_t(file->m_bytes.size());
    if ((whence & AVSEEK_SIZE) != 0) {
        return size;
    }
    if ((whence & ~AVSEEK_FORCE) != SEEK_SET || offset < 0 || offset > size) {
        return AVERROR(EINVAL);
    }
    file->m_position = std::size_t(offset);
    return offset;
}

} // namespace kavrin
