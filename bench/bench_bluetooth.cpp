#include "world.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <cstdio>

/**
 * Moves a file of 1 MB over one connection, and prints the milliseconds of each call: "l2cap get 812", "l2cap put 790".
 *   bench_bluetooth rfcomm|l2cap LOCAL-FILE REMOTE-FILE
 */
int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    if (words.size() != 4)
        return 2;
    world::set("BLUETOOTH", "L2cap", words[1] == QLatin1String("l2cap") ? "1" : "0");
    for (int i = 0; i < 200 && world::theirShortcut() == 0; ++i)
        QThread::msleep(50);
    unsigned int connection = 0;
    unsigned int result = Btsdk_ConnectEx(world::theirDevice(), BTSDK_CLS_OBEX_FILE_TRANS, 0, &connection);
    const QByteArray local = QFile::encodeName(words[2]);
    const QByteArray remote = words[3].toUtf8();
    QElapsedTimer clock;
    clock.start();
    if (result == BTSDK_OK)
        result = Btsdk_FTPGetFile(connection, remote.constData(), (local + ".got").constData());
    const qint64 get = clock.restart();
    if (result == BTSDK_OK)
        result = Btsdk_FTPPutFile(connection, local.constData(), (remote + ".put").constData());
    const qint64 put = clock.elapsed();
    if (result != BTSDK_OK)
        std::printf("failed: %s\n", Btsdk_HostResultText(result));
    else
        std::printf("%s get %lld\n%s put %lld\n", world::link().constData(), get, world::link().constData(), put);
    (void)Btsdk_Disconnect(connection);
    Btsdk_HostShutdown();
    return result == BTSDK_OK ? 0 : 1;
}
