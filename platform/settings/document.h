#ifndef SETTINGS_DOCUMENT_H
#define SETTINGS_DOCUMENT_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace settings {

/**
 * The text of a settings file, taken apart into sections, keys and values, and put together again.
 *
 * Sections and keys are found without regard to case. Of keys that stand twice the first counts. Comments, unknown keys
 * and even lines that are neither comment nor key survive; the latter move to the end of the text as comments. A value
 * that stands between double quotes is read without them, and one that needs them is written with them.
 *
 * Not for use by two threads at a time.
 */
class Document
{
public:
    /** The longest text that is read or written, in bytes. */
    static constexpr std::size_t maxSize = 1024 * 1024;

    Document();
    ~Document();
    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;

    /** Replaces the content. @return false for text that is too long or holds a NUL, and the document is then empty */
    bool load(const std::string &text);

    /** @return the text of the whole; nothing when it would not be read back as it is */
    std::optional<std::string> save() const;

    std::optional<std::string> value(const std::string &section, const std::string &key) const;

    /** @return false when section, key or value cannot be written so that they are read back alike; nothing changes */
    bool setValue(const std::string &section, const std::string &key, const std::string &value);

    /** Takes out a section with its keys and their comments. @return false when there is none */
    bool removeSection(const std::string &section);

    /** The sections' names as they are spelled, in the order of the text. */
    std::vector<std::string> sections() const;

private:
    class Store;
    std::string rawText() const;

    std::unique_ptr<Store> m_store;
    std::vector<std::string> m_strayLines; // what the parser would drop
    bool m_signature = false;
};

} // namespace settings

#endif
