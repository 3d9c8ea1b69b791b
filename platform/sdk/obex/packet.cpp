#include "obex/packet.h"

namespace obex {

Parse readPacket(Bytes input, std::size_t limit, Packet &packet)
{
    if (input.size < PrefixSize)
        return Parse::NeedMore;
    const std::size_t size = readU16(input.data + 1);
    if (size < PrefixSize || size > limit)
        return Parse::Malformed;
    if (input.size < size)
        return Parse::NeedMore;
    packet.code = input.data[0];
    packet.body = input.first(size).from(PrefixSize);
    packet.size = size;
    return Parse::Ok;
}

Parse readConnectFields(Bytes body, ConnectFields &fields, Bytes &headers)
{
    constexpr std::size_t size = 4;
    if (body.size < size)
        return Parse::Malformed;
    fields.version = body.data[0];
    fields.flags = body.data[1];
    fields.maxPacket = readU16(body.data + 2);
    headers = body.from(size);
    return Parse::Ok;
}

Parse readSetPathFields(Bytes body, SetPathFields &fields, Bytes &headers)
{
    constexpr std::size_t size = 2;
    if (body.size < size)
        return Parse::Malformed;
    fields.flags = body.data[0];
    headers = body.from(size);
    return Parse::Ok;
}

} // namespace obex
