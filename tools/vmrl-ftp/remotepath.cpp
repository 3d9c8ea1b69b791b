#include "vmrl-ftp/remotepath.h"

#include <algorithm>
#include <vector>

namespace vmrlftp {

std::string RemotePath::whole() const
{
    return folder == "/" ? folder + name : name.empty() ? folder : folder + '/' + name;
}

RemotePath parseRemote(const std::string &text)
{
    std::vector<std::string> names;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find('/', start), text.size());
        const std::string name = text.substr(start, end - start);
        if (name == ".." && !names.empty())
            names.pop_back();
        else if (!name.empty() && name != "." && name != "..")
            names.push_back(name);
        start = end + 1;
    }
    RemotePath path;
    path.folderMeant = text.empty() || text.back() == '/' || names.empty();
    if (names.empty())
        return path;
    path.name = names.back();
    names.pop_back();
    std::string folder;
    for (const std::string &name : names)
        folder += '/' + name;
    if (!folder.empty())
        path.folder = folder;
    return path;
}

std::string baseName(const std::string &path)
{
    const std::size_t last = path.find_last_not_of('/');
    if (last == std::string::npos)
        return {};
    const std::size_t slash = path.rfind('/', last);
    const std::string name = path.substr(slash == std::string::npos ? 0 : slash + 1,
                                         last - (slash == std::string::npos ? std::size_t(-1) : slash));
    return name == "." || name == ".." ? std::string() : name;
}

} // namespace vmrlftp
