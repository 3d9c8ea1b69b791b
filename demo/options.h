#ifndef DEMO_OPTIONS_H
#define DEMO_OPTIONS_H

#include <QString>
#include <QStringList>

/** What the command line asks for. */
struct Options
{
    quint16 port = 0; ///< 0: any free one
    QString folder;   ///< empty: a sample tree in a scratch folder
    QString name;     ///< of the device
    QString passkey;  ///< empty: none is asked for
    bool readOnly = false;
    bool followStdin = false;
    bool refuse = false;
    int connectDelay = 0;                ///< milliseconds
    QString deniedName;                  ///< empty: nothing is denied
    qint64 largeSize = qint64(64) << 20; ///< bytes
    int entries = 0;                     ///< of an extra folder
};

/** Reads the command line; ends the process for --help, --version and what it does not understand (exit code 2). */
Options readOptions(const QStringList &arguments);

/** A number of bytes with an optional K, M or G behind it. @return false when the text is none, or over 1 TB */
bool parseSize(const QString &text, qint64 *bytes);

#endif
