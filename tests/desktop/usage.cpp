#include "usage.h"

#include <QApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <malloc.h>

namespace {

qint64 residentKilobytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.simplified().split(' ').value(1).toLongLong();
    }
    return -1;
}

int countChildren()
{
    int count = 0;
    QDirIterator tasks(QStringLiteral("/proc/self/task"), QDir::Dirs | QDir::NoDotAndDotDot);
    while (tasks.hasNext()) {
        QFile children(tasks.next() + QStringLiteral("/children"));
        if (children.open(QIODevice::ReadOnly))
            count += children.readAll().count(' '); // one behind each number
    }
    return count;
}

int countEntries(const char *folder)
{
    return QDir(QString::fromLatin1(folder)).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
}

} // namespace

Usage Usage::now()
{
    malloc_trim(0);
    Usage usage;
    usage.threads = countEntries("/proc/self/task");
    usage.descriptors = countEntries("/proc/self/fd");
    usage.windows = QApplication::topLevelWidgets().size();
    usage.children = countChildren();
    usage.resident = residentKilobytes();
    return usage;
}

QStringList Usage::threadNames()
{
    QStringList names;
    QDirIterator tasks(QStringLiteral("/proc/self/task"), QDir::Dirs | QDir::NoDotAndDotDot);
    while (tasks.hasNext()) {
        QFile name(tasks.next() + QStringLiteral("/comm"));
        if (name.open(QIODevice::ReadOnly))
            names << QString::fromUtf8(name.readAll()).trimmed();
    }
    return names;
}

QStringList Usage::temporaryFiles(const QStringList &folders)
{
    QStringList found;
    for (const QString &folder : folders) {
        QDirIterator files(folder, {QStringLiteral("*.part"), QStringLiteral(".btftp-part-*")},
                           QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (files.hasNext())
            found << files.next();
    }
    return found;
}

QStringList Usage::descriptorList()
{
    QStringList list;
    const QDir folder(QStringLiteral("/proc/self/fd"));
    const QStringList numbers = folder.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    for (const QString &number : numbers)
        list << number + QStringLiteral(" -> ") + QFile::symLinkTarget(folder.filePath(number));
    return list;
}

QString Usage::text() const
{
    return QStringLiteral("%1 threads, %2 descriptors, %3 windows, %4 children, %5 KiB resident")
        .arg(threads)
        .arg(descriptors)
        .arg(windows)
        .arg(children)
        .arg(resident);
}
