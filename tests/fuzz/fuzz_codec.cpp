/**
 * @file
 * Packets and headers: whatever comes is cut up without a fault, and what was read is written back to the same bytes.
 */
#include "obex/auth.h"
#include "obex/isotime.h"
#include "seeds.h"

#include <cstring>

namespace {

using obex::Bytes;
using obex::HeaderId;

bool isSame(Bytes a, Bytes b)
{
    return a.size == b.size && (a.size == 0 || std::memcmp(a.data, b.data, a.size) == 0);
}

/** Writes a header as it was read and reads it again: the same value must come back. */
void checkRoundTrip(const obex::Header &header)
{
    static std::uint8_t buffer[obex::MaxPacketSize];
    obex::PacketWriter writer(buffer, sizeof buffer);
    writer.begin(obex::Opcode::Put);
    bool added = false;
    switch (encodingOf(header.id)) {
    case obex::Encoding::Text:
        added = writer.addText(header.id, header.text());
        break;
    case obex::Encoding::Sequence:
        added = writer.addSequence(header.id, header.value);
        break;
    case obex::Encoding::Byte:
        added = writer.addByte(header.id, static_cast<std::uint8_t>(header.number));
        break;
    case obex::Encoding::Number:
        added = writer.addNumber(header.id, header.number);
        break;
    }
    if (!added) // text without its NUL may have no room for one
        return;
    obex::Packet packet;
    obex::Header again;
    if (readPacket(writer.finish(), obex::MaxPacketSize, packet) != obex::Parse::Ok ||
        !findHeader(packet.body, header.id, again))
        std::abort();
    const bool text = encodingOf(header.id) == obex::Encoding::Text;
    if (text ? again.text() != header.text() : again.number != header.number || !isSame(again.value, header.value))
        std::abort();
}

void walk(Bytes headers)
{
    obex::HeaderReader reader(headers);
    obex::Header header;
    obex::HeaderReader::Next next;
    while ((next = reader.next(header)) == obex::HeaderReader::Next::Header) {
        checkRoundTrip(header);
        obex::Challenge challenge;
        obex::ChallengeAnswer answer;
        (void)readChallenge(header.value, challenge);
        (void)readChallengeAnswer(header.value, answer);
        (void)obex::parseTime(header.latin1());
    }
    if (headersAreSound(headers) != (next == obex::HeaderReader::Next::End))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    const auto everyHeader = [](obex::PacketWriter &writer) {
        (void)writer.addNumber(HeaderId::ConnectionId, 1);
        (void)writer.addText(HeaderId::Name, QStringLiteral("n\u00E4me"));
        (void)writer.addText(HeaderId::Description, QString());
        (void)writer.addSequence(HeaderId::Type, seedBytes("x-obex/folder-listing"));
        (void)writer.addSequence(HeaderId::Time, seedBytes("20260102T030405Z"));
        (void)writer.addByte(HeaderId::Srm, obex::SrmEnable);
        (void)writer.addSequence(HeaderId::AuthChallenge, seedBytes(obex::makeChallenge(QByteArray(16, 'n'))));
        (void)writer.addSequence(HeaderId::EndOfBody, seedBytes("body"));
    };
    const QByteArray put = seedPacket(obex::Opcode::PutFinal, everyHeader);
    const QByteArray connect = seedPacket(obex::Opcode::Connect, [](obex::PacketWriter &writer) {
        (void)writer.addConnectFields(65535);
        (void)writer.addSequence(HeaderId::Target, {obex::FolderBrowsing, sizeof obex::FolderBrowsing});
    });
    writeSeedsIfAsked({put, connect, connect + put, seedPacket(obex::ResponseCode::Continue)});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Bytes rest{data, size};
    obex::Packet packet;
    while (readPacket(rest, obex::MaxPacketSize, packet) == obex::Parse::Ok) {
        obex::ConnectFields connect;
        obex::SetPathFields setPath;
        Bytes headers;
        walk(packet.body);
        if (readConnectFields(packet.body, connect, headers) == obex::Parse::Ok)
            walk(headers);
        if (readSetPathFields(packet.body, setPath, headers) == obex::Parse::Ok)
            walk(headers);
        rest = rest.from(packet.size);
    }
    return 0;
}
