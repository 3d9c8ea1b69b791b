/**
 * @file
 * Seeds for a fuzzer: written when the program is called with a variable that names a folder.
 */
#ifndef SEEDS_H
#define SEEDS_H

#include "obex/headers.h"

#include <QByteArray>
#include <QDir>
#include <QFile>

#include <cstdlib>
#include <functional>

/** One packet as a well-behaved peer would send it. */
template <typename Code>
QByteArray seedPacket(Code code, const std::function<void(obex::PacketWriter &)> &build = {})
{
    QByteArray buffer(65535, '\0');
    obex::PacketWriter writer(reinterpret_cast<std::uint8_t *>(buffer.data()), 65535);
    writer.begin(code);
    if (build)
        build(writer);
    const obex::Bytes packet = writer.finish();
    return QByteArray(reinterpret_cast<const char *>(packet.data), static_cast<int>(packet.size));
}

inline obex::Bytes seedBytes(const QByteArray &array)
{
    return {reinterpret_cast<const std::uint8_t *>(array.constData()), static_cast<std::size_t>(array.size())};
}

/** With BTFTP_WRITE_SEEDS=FOLDER in the environment: writes the seeds there and ends the program. */
inline void writeSeedsIfAsked(const QList<QByteArray> &seeds)
{
    const QByteArray folder = qgetenv("BTFTP_WRITE_SEEDS");
    if (folder.isEmpty())
        return;
    int number = 0;
    bool written = QDir().mkpath(QFile::decodeName(folder));
    for (const QByteArray &seed : seeds) {
        QFile file(QFile::decodeName(folder + "/seed-" + QByteArray::number(++number)));
        written = written && file.open(QIODevice::WriteOnly) && file.write(seed) == seed.size();
    }
    std::exit(written ? 0 : 1);
}

#endif
