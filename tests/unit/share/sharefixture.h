/**
 * @file
 * A shared folder with an "outside" beside it, and short ways to look at both.
 */
#ifndef SHAREFIXTURE_H
#define SHAREFIXTURE_H

#include "share/directoryreader.h"
#include "share/folder.h"
#include "share/upload.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

/** Statuses read better than numbers when a comparison fails. */
inline char *toString(share::Status status)
{
    static const char *const names[] = {"Ok",        "BadName",  "NotFound", "Refused",
                                        "WrongKind", "ReadOnly", "Full",     "Failed"};
    return qstrdup(names[static_cast<int>(status)]);
}

namespace share {
using ::toString;
}

/** root()/share is shared; root()/outside and root()/share-private are not. */
class ShareFixture
{
public:
    ShareFixture()
    {
        QDir(m_root.path()).mkpath(QStringLiteral("share/sub"));
        QDir(m_root.path()).mkpath(QStringLiteral("outside/folder"));
        QDir(m_root.path()).mkpath(QStringLiteral("share-private"));
        write("outside/secret.txt", "secret");
        write("share-private/secret.txt", "secret");
        write("share/file.txt", "content");
        write("share/sub/inner.txt", "inner");
        open(share::Access::Writable);
    }

    void open(share::Access access) { m_folder = share::Folder::open(path("share").toStdString(), access); }
    const share::Folder &folder() const { return *m_folder; }

    QString path(const char *relative) const { return m_root.filePath(QString::fromUtf8(relative)); }
    QByteArray local(const char *relative) const { return QFile::encodeName(path(relative)); }

    void write(const char *relative, const QByteArray &content) const
    {
        QFile file(path(relative));
        QVERIFY2(file.open(QIODevice::WriteOnly), relative);
        file.write(content);
    }

    /** The content, or a null array when there is no such file. */
    QByteArray read(const char *relative) const
    {
        QFile file(path(relative));
        return file.open(QIODevice::ReadOnly) ? file.readAll() + "" : QByteArray();
    }

    bool exists(const char *relative) const
    {
        struct stat status = {};
        return ::lstat(local(relative).constData(), &status) == 0;
    }

    void link(const char *target, const char *relative) const
    {
        QCOMPARE(::symlink(target, local(relative).constData()), 0);
    }

    /** Names of a folder in order, folders with "/" behind them; "!" and the status when it cannot be listed. */
    QStringList list(const share::Path &path = {}) const
    {
        std::unique_ptr<share::DirectoryReader> reader;
        const share::Status status = m_folder->list(path, &reader);
        if (status != share::Status::Ok)
            return {QStringLiteral("!%1").arg(static_cast<int>(status))};
        QStringList names;
        share::Entry entry;
        while (reader->next(&entry))
            names.append(QString::fromStdString(entry.name) + QLatin1String(entry.isFolder ? "/" : ""));
        names.sort();
        return names;
    }

    /** Puts a whole file. */
    share::Status put(const share::Path &folder, const std::string &name, const QByteArray &content) const
    {
        std::unique_ptr<share::Upload> upload;
        share::Status status = m_folder->startUpload(folder, name, {}, &upload);
        if (status == share::Status::Ok)
            status = upload->write(content.constData(), static_cast<std::size_t>(content.size()));
        return status == share::Status::Ok ? upload->commit() : status;
    }

    share::Status get(const share::Path &folder, const std::string &name, QByteArray *content = nullptr) const
    {
        share::OpenFile opened;
        const share::Status status = m_folder->openFile(folder, name, &opened);
        if (status == share::Status::Ok && content) {
            QFile file;
            file.open(opened.fd.get(), QIODevice::ReadOnly);
            *content = file.readAll();
        }
        return status;
    }

    /** Every name below the temporary folder with the content of files: what an attack must leave as it was. */
    QStringList everything(const char *relative) const
    {
        QStringList all;
        QDirIterator it(path(relative), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QFileInfo info(it.next());
            QFile file(info.filePath());
            const bool plain = info.isFile() && !info.isSymLink() && file.open(QIODevice::ReadOnly);
            all.append(info.filePath() + QLatin1Char('=') + (plain ? QString::fromLatin1(file.readAll()) : QString()));
        }
        all.sort();
        return all;
    }

private:
    QTemporaryDir m_root;
    std::shared_ptr<const share::Folder> m_folder;
};

#endif
