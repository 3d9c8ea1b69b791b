#include "remotepath.h"

namespace {
constexpr QLatin1Char s_separator('/');
constexpr QLatin1String s_root("/", 1); // with its size: not every compiler counts at compile time
} // namespace

QString remotepath::parent(const QString &path)
{
    const int separator = path.lastIndexOf(s_separator);
    return separator <= 0 ? QString(s_root) : path.left(separator);
}

QString remotepath::child(const QString &folder, const QString &name)
{
    return folder == s_root ? folder + name : folder + s_separator + name;
}

QString remotepath::lastName(const QString &path)
{
    return path == s_root ? path : path.mid(path.lastIndexOf(s_separator) + 1);
}
