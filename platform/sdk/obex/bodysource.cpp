#include "obex/bodysource.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace obex {

bool FileSource::read(std::uint8_t *data, std::size_t room, std::size_t *count)
{
    const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(room, m_left));
    *count = 0;
    while (*count < wanted) {
        const ssize_t got = ::read(m_file.fd.get(), data + *count, wanted - *count);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) // a file that shrank must not pass for a whole one
            return false;
        *count += static_cast<std::size_t>(got);
    }
    m_left -= wanted;
    return true;
}

} // namespace obex
