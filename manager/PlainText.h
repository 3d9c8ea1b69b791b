#ifndef MANAGER_PLAINTEXT_H
#define MANAGER_PLAINTEXT_H

#include <QString>

namespace manager {

/** A name from a stranger as it may be shown in one line: without control characters, line breaks and marks that turn
 *  the reading direction, all of which become U+FFFD. */
QString shownName(const QString &name);

/** A text for a tool tip, which Qt would otherwise read as rich text when it looks like it. */
QString shownTip(const QString &text);

} // namespace manager

#endif
