#include "obex/listingwriter.h"

#include "obex/isotime.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace obex {

namespace {

constexpr std::string_view Head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                  "<!DOCTYPE folder-listing SYSTEM \"obex-folder-listing.dtd\">\n"
                                  "<folder-listing version=\"1.0\">\n";
constexpr std::string_view Parent = "<parent-folder/>\n";
constexpr std::string_view Tail = "</folder-listing>\n";

/** Bytes of the well-formed UTF-8 character that begins here and that XML 1.0 can carry, 0 when there is none. */
std::size_t characterSize(const unsigned char *text, std::size_t left)
{
    const unsigned char lead = text[0];
    if (lead < 0x80)
        return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
    const std::size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || left < size)
        return 0;
    std::uint32_t code = lead & (0xFFu >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        if ((text[i] & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (text[i] & 0x3Fu);
    }
    const bool overlong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    const bool notXml = code == 0xFFFE || code == 0xFFFF;
    return overlong || surrogate || notXml || code > 0x10FFFF ? 0 : size;
}

/** How a character is written that an attribute cannot hold as it is; empty for the others. */
std::string_view escapeOf(char character)
{
    switch (character) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&apos;";
    case '\t': // as they are, these three would be read as blanks
        return "&#9;";
    case '\n':
        return "&#10;";
    case '\r':
        return "&#13;";
    default:
        return {};
    }
}

void appendEntry(std::string *text, const share::Entry &entry)
{
    const std::size_t before = text->size();
    text->append(entry.isFolder ? "<folder name=\"" : "<file name=\"");
    if (!appendEscaped(text, entry.name)) {
        text->resize(before);
        return;
    }
    if (!entry.isFolder)
        text->append("\" size=\"").append(std::to_string(entry.size));
    const QByteArray modified = formatTime(entry.modified);
    if (!modified.isEmpty())
        text->append("\" modified=\"").append(modified.constData());
    text->append(entry.isWritable ? "\" user-perm=\"RWD\"/>\n" : "\" user-perm=\"R\"/>\n");
}

} // namespace

bool appendEscaped(std::string *text, const std::string &name)
{
    const std::size_t before = text->size();
    const auto *bytes = reinterpret_cast<const unsigned char *>(name.data());
    for (std::size_t i = 0; i < name.size();) {
        const std::size_t size = characterSize(bytes + i, name.size() - i);
        if (size == 0) {
            text->resize(before);
            return false;
        }
        const std::string_view escaped = escapeOf(name[i]);
        text->append(escaped.empty() ? std::string_view(name).substr(i, size) : escaped);
        i += size;
    }
    return true;
}

ListingWriter::ListingWriter(std::unique_ptr<share::DirectoryReader> entries, bool hasParent)
    : m_entries(std::move(entries)), m_pending(Head)
{
    if (hasParent)
        m_pending += Parent;
}

/** Makes sure that this many bytes are pending, if there are so many. */
void ListingWriter::prepare(std::size_t size)
{
    if (m_pending.size() - m_taken >= size || !m_entries)
        return;
    m_pending.erase(0, m_taken);
    m_taken = 0;
    share::Entry entry;
    while (m_entries && m_pending.size() < size) {
        if (m_entries->next(&entry)) {
            appendEntry(&m_pending, entry);
        } else {
            m_entries.reset();
            m_pending += Tail;
        }
    }
}

bool ListingWriter::fits(std::size_t room)
{
    prepare(room + 1);
    return !m_entries && m_pending.size() - m_taken <= room;
}

bool ListingWriter::read(std::uint8_t *data, std::size_t room, std::size_t *count)
{
    prepare(room);
    *count = std::min(room, m_pending.size() - m_taken);
    std::memcpy(data, m_pending.data() + m_taken, *count);
    m_taken += *count;
    return true;
}

} // namespace obex
