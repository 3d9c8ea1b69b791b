#include "settings/document.h"

#define SI_NO_CONVERSION
#include <SimpleIni.h>

#include <map>
#include <strings.h>

namespace settings {

namespace {

constexpr std::string_view signature = "\xEF\xBB\xBF";
constexpr std::string_view blanks = " \t\r\n\v\f";

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

// The parser accepts either kind of line end; so does this.
template <class Visitor>
void forEachLine(std::string_view text, Visitor visit)
{
    while (!text.empty()) {
        const std::size_t end = text.find_first_of("\r\n");
        visit(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

bool isComment(std::string_view line)
{
    return line.front() == ';' || line.front() == '#';
}

// Outside of multi-line values, the lines (or their ends) that hold something and are neither section nor key.
std::vector<std::string> commentsAndStrays(std::string_view text)
{
    std::vector<std::string> found;
    std::string endTag;
    forEachLine(text, [&](std::string_view whole) {
        const std::string_view line = trimmed(whole);
        if (!endTag.empty()) {
            if (line == endTag)
                endTag.clear();
            return;
        }
        if (line.empty())
            return;
        if (isComment(line)) {
            found.emplace_back(line);
            return;
        }
        if (line.front() == '[') {
            const std::size_t close = line.find(']');
            const std::string_view rest = close == std::string_view::npos ? line : trimmed(line.substr(close + 1));
            if (!rest.empty())
                found.emplace_back(rest);
            return;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos || equals == 0) {
            found.emplace_back(line);
            return;
        }
        const std::string_view value = trimmed(line.substr(equals + 1));
        if (value.size() > 3 && value.substr(0, 3) == "<<<")
            endTag = value.substr(3);
    });
    return found;
}

std::vector<std::string> missingFrom(std::vector<std::string> lines, const std::vector<std::string> &kept)
{
    std::map<std::string, int> counts;
    for (const std::string &line : kept)
        ++counts[line];
    std::vector<std::string> missing;
    for (std::string &line : lines) {
        if (counts[line]-- <= 0)
            missing.push_back(std::move(line));
    }
    return missing;
}

bool standsInQuotes(std::string_view value)
{
    return value.size() >= 2 && value.front() == '"' && value.back() == '"';
}

bool needsQuotes(const std::string &value)
{
    if (value.find_first_of("\r\n") != std::string::npos)
        return false;
    return standsInQuotes(value) || trimmed(value).size() != value.size() || value.compare(0, 3, "<<<") == 0;
}

std::string quoted(const std::string &value)
{
    return needsQuotes(value) ? '"' + value + '"' : value;
}

std::string unquoted(std::string_view value)
{
    // Several lines are written without quotes of their own, so theirs belong to the value.
    const bool own = standsInQuotes(value) && value.find('\n') == std::string_view::npos;
    return std::string(own ? value.substr(1, value.size() - 2) : value);
}

} // namespace

class Document::Store : public CSimpleIniA
{
public:
    // Keys that stand twice are kept; values of several lines are understood.
    Store() : CSimpleIniA(false, true, true) {}

    std::string text() const
    {
        std::string result;
        return Save(result) == SI_OK ? result : std::string();
    }

    // Every section, key and value, in the order of the text.
    std::vector<std::string> content() const
    {
        std::vector<std::string> result;
        for (const Entry &section : ordered([this](TNamesDepend &names) { GetAllSections(names); })) {
            result.emplace_back(section.pItem);
            for (const Entry &key : ordered([&](TNamesDepend &names) { GetAllKeys(section.pItem, names); })) {
                result.emplace_back(key.pItem);
                for (const Entry &value :
                     ordered([&](TNamesDepend &names) { GetAllValues(section.pItem, key.pItem, names); }))
                    result.emplace_back(value.pItem);
            }
        }
        return result;
    }

    // The key as it is spelled in the text already, which is how it stays.
    std::string spelling(const std::string &section, const std::string &key) const
    {
        TNamesDepend names;
        GetAllKeys(section.c_str(), names);
        for (const Entry &entry : names) {
            if (::strcasecmp(entry.pItem, key.c_str()) == 0)
                return entry.pItem;
        }
        return key;
    }

    template <class Filler>
    static TNamesDepend ordered(Filler fill)
    {
        TNamesDepend names;
        fill(names);
        names.sort(Entry::LoadOrder());
        return names;
    }
};

Document::Document() : m_store(std::make_unique<Store>()) {}

Document::~Document() = default;

bool Document::load(const std::string &text)
{
    m_store = std::make_unique<Store>();
    m_strayLines.clear();
    m_signature = text.compare(0, signature.size(), signature) == 0;
    const std::string body = m_signature ? text.substr(signature.size()) : text;
    // A NUL ends the parser's reading early, and a write would then lose all that follows it.
    if (body.size() > maxSize || body.find('\0') != std::string::npos)
        return false;
    if (m_store->LoadData(body.data(), body.size()) != SI_OK)
        return false;
    m_strayLines = missingFrom(commentsAndStrays(body), commentsAndStrays(m_store->text()));
    return true;
}

std::string Document::rawText() const
{
    std::string text = m_signature ? std::string(signature) : std::string();
    text += m_store->text();
    if (!m_strayLines.empty() && !text.empty())
        text += '\n';
    for (const std::string &line : m_strayLines)
        text += (isComment(line) ? line : "; " + line) + '\n';
    return text;
}

std::optional<std::string> Document::save() const
{
    const std::string text = rawText();
    Document again;
    if (!again.load(text) || again.m_store->content() != m_store->content())
        return std::nullopt;
    return text;
}

std::optional<std::string> Document::value(const std::string &section, const std::string &key) const
{
    const char *found = m_store->GetValue(section.c_str(), key.c_str());
    return found ? std::make_optional(unquoted(found)) : std::nullopt;
}

bool Document::setValue(const std::string &section, const std::string &key, const std::string &value)
{
    if (section.empty() || key.empty() || section.find('\0') != std::string::npos ||
        key.find('\0') != std::string::npos || value.find('\0') != std::string::npos)
        return false;
    // Tried in a document of its own first: what does not come back alike is not let in.
    Store trial;
    trial.SetValue(section.c_str(), key.c_str(), quoted(value).c_str());
    Document back;
    if (!back.load(trial.text()) || back.value(section, key) != value || back.m_store->content() != trial.content() ||
        !back.m_strayLines.empty())
        return false;
    m_store->SetValue(section.c_str(), m_store->spelling(section, key).c_str(), quoted(value).c_str(), nullptr, true);
    return true;
}

bool Document::removeSection(const std::string &section)
{
    return m_store->Delete(section.c_str(), nullptr);
}

std::vector<std::string> Document::sections() const
{
    std::vector<std::string> result;
    for (const Store::Entry &section :
         Store::ordered([this](Store::TNamesDepend &names) { m_store->GetAllSections(names); }))
        result.emplace_back(section.pItem);
    return result;
}

} // namespace settings
