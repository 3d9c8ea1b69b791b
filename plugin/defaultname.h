#ifndef DEFAULTNAME_H
#define DEFAULTNAME_H

#include <QString>

#include <functional>

/**
 * The first free default name for a new entry: the base name, then the numbered form with 1 to 49.
 * @param numbered  the numbered form, "%1" standing for the number
 * @param taken     whether a name is in use
 * @return empty when all fifty are taken
 */
QString freeDefaultName(const QString &base, const QString &numbered,
                        const std::function<bool(const QString &)> &taken);

#endif
