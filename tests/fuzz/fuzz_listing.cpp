/**
 * @file
 * Folder listings: whatever comes is read without a fault, alike in whatever pieces it comes, and only usable names
 * come out; and every name that the writer accepts is the name that the parser gives.
 *
 * The first byte of the input is the size of the pieces; 0 means that the rest are names with NULs between them.
 */
#include "obex/listingparser.h"
#include "obex/listingwriter.h"
#include "seeds.h"

#include <algorithm>

namespace {

struct Parsed
{
    QList<QByteArray> entries;
    obex::Error error = obex::Error::None;
};

Parsed parse(const QByteArray &document, int pieceSize)
{
    Parsed parsed;
    obex::ListingParser parser([&](const obex::ListingEntry &entry) {
        if (!obex::isEntryName(entry.name))
            std::abort();
        parsed.entries.append(entry.name + (entry.folder ? "/" : "=") + QByteArray::number(entry.size) + "@" +
                              QByteArray::number(qint64(entry.modified)));
    });
    for (int at = 0; at < document.size() && parsed.error == obex::Error::None; at += pieceSize)
        parsed.error = parser.feed(seedBytes(document.mid(at, pieceSize)));
    if (parsed.error == obex::Error::None)
        parsed.error = parser.finish();
    return parsed;
}

/** A document is right in pieces when it is right as a whole, and the other way round. (Of one that is wrong, more
 *  entries may have come out before that was found.) */
void checkPieces(const QByteArray &document, int pieceSize)
{
    const Parsed whole = parse(document, document.size() + 1);
    const Parsed pieces = parse(document, pieceSize);
    if (whole.error != pieces.error || (whole.error == obex::Error::None && whole.entries != pieces.entries))
        std::abort();
}

void checkNames(const QByteArray &names)
{
    std::string document = "<?xml version=\"1.0\"?>\n<folder-listing version=\"1.0\">\n";
    QList<QByteArray> expected;
    for (const QByteArray &name : names.split('\0')) {
        std::string escaped;
        if (!obex::appendEscaped(&escaped, name.toStdString()))
            continue;
        document += "<file name=\"" + escaped + "\" size=\"7\"/>\n";
        if (obex::isEntryName(name))
            expected.append(name);
    }
    document += "</folder-listing>\n";
    QList<QByteArray> found;
    obex::ListingParser parser([&](const obex::ListingEntry &entry) { found.append(entry.name); });
    if (parser.feed(seedBytes(QByteArray::fromStdString(document))) != obex::Error::None ||
        parser.finish() != obex::Error::None || found != expected)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    const QByteArray document = "<?xml version=\"1.0\"?>\n"
                                "<!DOCTYPE folder-listing SYSTEM \"obex-folder-listing.dtd\">\n"
                                "<folder-listing version=\"1.0\">\n<parent-folder/>\n"
                                "<folder name=\"a &amp; b\" modified=\"20260102T030405Z\" user-perm=\"RWD\"/>\n"
                                "<file name=\"&#10;&#x1F600;\" size=\"123\" modified=\"20260102T030405\"/>\n"
                                "<file name=\"..\" size=\"-1\"/></folder-listing>\n";
    const QByteArray entities = "<?xml version=\"1.0\"?><!DOCTYPE folder-listing [<!ENTITY a \"b\"><!ENTITY c "
                                "\"&a;&a;\">]><folder-listing><file name=\"&c;\" size=\"99999999999999999999\"/>"
                                "</folder-listing>";
    writeSeedsIfAsked({QByteArray("\x01", 1) + document, QByteArray("\x40", 1) + document,
                       QByteArray("\x07", 1) + entities,
                       QByteArray("\x00", 1) + QByteArray("a&b\0<c>\"'\0\t\n\r\0x", 15)});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray rest(reinterpret_cast<const char *>(data + 1), static_cast<int>(size - 1));
    if (data[0] == 0)
        checkNames(rest);
    else
        checkPieces(rest, data[0]);
    return 0;
}
