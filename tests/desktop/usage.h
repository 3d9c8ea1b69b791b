#ifndef DESKTOP_USAGE_H
#define DESKTOP_USAGE_H

#include <QString>
#include <QStringList>

/** What this process holds at a moment. */
struct Usage
{
    int threads = 0;
    int descriptors = 0;
    int windows = 0; ///< top-level widgets, hidden ones too
    int children = 0;
    qint64 resident = 0; ///< KiB, after the allocator has given back what it can

    static Usage now();
    /** @param folders  are searched for files of unfinished transfers */
    static QStringList temporaryFiles(const QStringList &folders);

    bool holdsAsMuchAs(const Usage &other) const
    {
        return threads == other.threads && descriptors == other.descriptors && windows == other.windows &&
               children == other.children;
    }
    QString text() const;
    /** What the descriptors lead to, a line each. */
    static QStringList descriptorList();
    /** What the threads of this process call themselves. */
    static QStringList threadNames();
};

#endif
