// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/audio/libav/Libav.h"

#include <string_view>

namespace kavrin
{

/// Bytes in memory that libav reads as a file. They must live as long as this object.
class MemoryFile
{
public:
    explicit MemoryFile(std::string_view bytes);

    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    [[nodiscard]] bool isEmpty() const { return m_bytes.empty(); }
    [[nodiscard]] AVIOContext *stream() const { return m_stream.get(); }

private:
    static int read(void *self, std::uint8_t *target, int room);
    static std::int64_t seek(void *self, std::int64_t offset, int whence);

    std::string_view m_bytes;
    std::size_t m_position = 0;
    libav::Stream m_stream;
};

} // namespace kavrin
