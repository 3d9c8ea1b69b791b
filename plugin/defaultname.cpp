#include "defaultname.h"

QString freeDefaultName(const QString &base, const QString &numbered, const std::function<bool(const QString &)> &taken)
{
    constexpr int attempts = 50;
    for (int number = 0; number < attempts; ++number) {
        const QString name = number == 0 ? base : numbered.arg(number);
        if (!taken(name))
            return name;
    }
    return {};
}
