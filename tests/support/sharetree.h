/**
 * @file
 * A folder to share and what stands beside it, with short ways to look at both.
 */
#ifndef SHARETREE_H
#define SHARETREE_H

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>

/** share/ is for sharing; outside/ and share-private/ are not. Paths are relative to the folder that holds them. */
class ShareTree
{
public:
    ShareTree()
    {
        for (const char *folder : {"share/sub", "outside", "share-private"})
            QDir(m_root.path()).mkpath(QString::fromLatin1(folder));
        write("outside/secret.txt", "secret");
        write("share-private/secret.txt", "secret");
        write("share/file.txt", "content");
        write("share/sub/inner.txt", "inner");
    }

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

    /** Every name below a folder with the content of files: what an attack must leave as it was. */
    QStringList everything(const char *relative = "") const
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
};

#endif
