#include "options.h"

#include <QCommandLineParser>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void refuse(const QString &reason)
{
    std::fprintf(stderr, "velmaro-demo-device: %s\n", qPrintable(reason));
    std::exit(2);
}

int number(const QCommandLineParser &parser, const QString &option, int most)
{
    if (!parser.isSet(option))
        return 0;
    bool ok = false;
    const int value = parser.value(option).toInt(&ok);
    if (!ok || value < 0 || value > most)
        refuse(QStringLiteral("--%1 takes a number from 0 to %2").arg(option).arg(most));
    return value;
}

/** Whether a text can stand in a settings file as it is. */
bool isOneWord(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber(); });
}

const char description[] =
    "A device to try file transfer with, without any radio: serves a sample folder over OBEX on 127.0.0.1.\n\n"
    "It prints one line, \"listening 127.0.0.1:PORT\", and ends on SIGTERM or SIGINT, or when the process that "
    "started\n"
    "it ends. What clients change is changed in a scratch copy, which is removed at the end.";

void addOptions(QCommandLineParser &parser)
{
    parser.addOptions({
        {QStringLiteral("port"), QStringLiteral("Listen on this port instead of any free one."), QStringLiteral("N")},
        {QStringLiteral("folder"), QStringLiteral("Serve this folder itself instead of a sample."),
         QStringLiteral("DIR")},
        {QStringLiteral("read-only"), QStringLiteral("Refuse every change.")},
        {QStringLiteral("secure"), QStringLiteral("Ask clients for this passkey."), QStringLiteral("PASSKEY")},
        {QStringLiteral("name"), QStringLiteral("What the device calls itself in its welcome text."),
         QStringLiteral("NAME"), QStringLiteral("Demo device")},
        {QStringLiteral("large"), QStringLiteral("Size of the large file, 64M by default; K, M and G are understood."),
         QStringLiteral("SIZE"), QStringLiteral("64M")},
        {QStringLiteral("entries"), QStringLiteral("Add a folder \"Many entries\" of N empty files."),
         QStringLiteral("N")},
        {QStringLiteral("follow-stdin"), QStringLiteral("End also at the end of the standard input.")},
        {QStringLiteral("delay-connect"), QStringLiteral("Answer a client's first request this much later."),
         QStringLiteral("MS")},
        {QStringLiteral("deny"), QStringLiteral("Refuse to open or send the folder or file of this name (Forbidden)."),
         QStringLiteral("NAME")},
        {QStringLiteral("refuse"), QStringLiteral("Refuse every connection; the port is the printed one.")},
    });
}

} // namespace

bool parseSize(const QString &text, qint64 *bytes)
{
    static const QString units = QStringLiteral("KMG");
    const int unit = text.isEmpty() ? -1 : units.indexOf(text.back().toUpper());
    bool ok = false;
    const qint64 value = (unit < 0 ? text : text.chopped(1)).toLongLong(&ok);
    const int shift = 10 * (unit + 1);
    if (!ok || value < 0 || value > (qint64(1) << 40 >> shift))
        return false;
    *bytes = value << shift;
    return true;
}

Options readOptions(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QLatin1String(description));
    parser.addHelpOption();
    parser.addVersionOption();
    addOptions(parser);
    if (!parser.parse(arguments))
        refuse(parser.errorText());
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp();
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();
    if (!parser.positionalArguments().isEmpty())
        refuse(QStringLiteral("what is \"%1\"? See --help.").arg(parser.positionalArguments().first()));

    Options options;
    options.port = static_cast<quint16>(number(parser, QStringLiteral("port"), 65535));
    options.folder = parser.value(QStringLiteral("folder"));
    options.name = parser.value(QStringLiteral("name"));
    options.passkey = parser.value(QStringLiteral("secure"));
    options.readOnly = parser.isSet(QStringLiteral("read-only"));
    options.followStdin = parser.isSet(QStringLiteral("follow-stdin"));
    options.refuse = parser.isSet(QStringLiteral("refuse"));
    options.connectDelay = number(parser, QStringLiteral("delay-connect"), 3600000);
    options.deniedName = parser.value(QStringLiteral("deny"));
    options.entries = number(parser, QStringLiteral("entries"), 1000000);
    if (!parseSize(parser.value(QStringLiteral("large")), &options.largeSize))
        refuse(QStringLiteral("--large takes a size such as 500K, 64M or 2G"));
    const bool keyFits = options.passkey.size() <= 16 && isOneWord(options.passkey);
    if (parser.isSet(QStringLiteral("secure")) && (options.passkey.isEmpty() || !keyFits))
        refuse(QStringLiteral("--secure takes a passkey of 1 to 16 letters and digits"));
    if (parser.isSet(QStringLiteral("folder")) && options.folder.isEmpty())
        refuse(QStringLiteral("--folder takes a folder"));
    return options;
}
