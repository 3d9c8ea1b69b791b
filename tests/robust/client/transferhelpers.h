/** @file What the tests of gets and puts share. */
#ifndef TESTS_TRANSFERHELPERS_H
#define TESTS_TRANSFERHELPERS_H

#include "obex/clientsession.h"
#include "scriptedpeer.h"

#include <QDir>
#include <QtTest>

inline obex::ClientOptions impatient()
{
    obex::ClientOptions options;
    options.requestTimeout = std::chrono::milliseconds(150);
    options.transferTimeout = std::chrono::milliseconds(150);
    options.cancelTimeout = std::chrono::milliseconds(200);
    return options;
}

inline obex::ClientOptions patient()
{
    obex::ClientOptions options;
    options.packetSize = 4096;
    return options;
}

inline QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

inline QStringList everythingIn(const QString &path)
{
    return QDir(path).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

inline QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

#endif
