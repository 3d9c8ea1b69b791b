#ifndef SHAREFIXTURE_H
#define SHAREFIXTURE_H

#include "share/directoryreader.h"
#include "share/folder.h"
#include "share/upload.h"
#include "sharetree.h"

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

/** Shares share/ of its tree. */
class ShareFixture : public ShareTree
{
public:
    ShareFixture()
    {
        QDir(path("outside")).mkpath(QStringLiteral("folder"));
        open(share::Access::Writable);
    }

    void open(share::Access access) { m_folder = share::Folder::open(path("share").toStdString(), access); }
    const share::Folder &folder() const { return *m_folder; }

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

private:
    std::shared_ptr<const share::Folder> m_folder;
};

#endif
