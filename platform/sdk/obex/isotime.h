#ifndef OBEX_ISOTIME_H
#define OBEX_ISOTIME_H

#include <QByteArray>
#include <QStringView>

#include <cstdint>
#include <limits>

namespace obex {

/** Seconds since 1970-01-01 UTC, or NoTime. */
using Seconds = std::int64_t;
constexpr Seconds NoTime = std::numeric_limits<Seconds>::min();

/** Reads "yyyyMMddTHHmmss" (local time) or "yyyyMMddTHHmmssZ" (UTC), years 1601 to 9999; NoTime for anything else.
 *  IrOBEX 1.5, 2.2.5 */
Seconds parseTime(QStringView text);

/** "yyyyMMddTHHmmssZ", or empty for NoTime and for years that four digits do not hold. */
QByteArray formatTime(Seconds time);

} // namespace obex

#endif
