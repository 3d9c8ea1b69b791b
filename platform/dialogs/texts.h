#ifndef DIALOGS_TEXTS_H
#define DIALOGS_TEXTS_H

#include <QString>

/** Texts that several dialogs show. Pure but for the locale and the installed translators. */
namespace texts {

/** "512 B", "12.3 MB": 1024-based, one decimal above bytes, up to GB. */
QString size(quint64 bytes);

/** "12.3 MB/s". @param bytesPerSecond not negative */
QString rate(double bytesPerSecond);

/** "About 20 s left", rounded ever more coarsely the longer it is. @param seconds not negative */
QString timeLeft(qint64 seconds);

/** "21 Nov 2026 14:05 (3 min)": a moment in the local time and how long ago that is.
 *  @param since, now  milliseconds since 1970-01-01 UTC */
QString since(qint64 since, qint64 now);

/** A name from elsewhere made fit for one line: control characters and those that turn the writing direction, with
 *  which a name can pose as another one, become U+FFFD. */
QString oneLine(QString name);

/** A tool tip that shows its text literally, also where the text looks like rich text. */
QString toolTip(const QString &text);

} // namespace texts

#endif
