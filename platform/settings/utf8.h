#ifndef SETTINGS_UTF8_H
#define SETTINGS_UTF8_H

#include <cstddef>
#include <string_view>

namespace settings {

/** The longest start of text that has at most limit bytes and ends with a whole UTF-8 character. */
std::string_view cutUtf8(std::string_view text, std::size_t limit);

/**
 * Copies text into a buffer, cut at a character boundary where it does not fit, always with a final NUL.
 * @param size  the buffer's bytes; with 0 nothing is written
 * @return the bytes copied, without the NUL
 */
std::size_t copyUtf8(char *buffer, std::size_t size, std::string_view text);

} // namespace settings

#endif
