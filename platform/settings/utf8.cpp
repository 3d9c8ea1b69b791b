#include "settings/utf8.h"

#include <cstring>

namespace settings {

namespace {

bool isContinuation(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

std::string_view cutUtf8(std::string_view text, std::size_t limit)
{
    if (text.size() <= limit)
        return text;
    std::size_t end = limit;
    // A character has three continuation bytes at the most; a longer run is no UTF-8 and is cut where it stands.
    for (int step = 0; step < 3 && end > 0 && isContinuation(text[end]); ++step)
        --end;
    return text.substr(0, isContinuation(text[end]) ? limit : end);
}

std::size_t copyUtf8(char *buffer, std::size_t size, std::string_view text)
{
    if (!buffer || size == 0)
        return 0;
    const std::string_view cut = cutUtf8(text, size - 1);
    if (!cut.empty())
        std::memcpy(buffer, cut.data(), cut.size());
    buffer[cut.size()] = '\0';
    return cut.size();
}

} // namespace settings
