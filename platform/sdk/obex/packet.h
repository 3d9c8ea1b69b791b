#ifndef OBEX_PACKET_H
#define OBEX_PACKET_H

#include "obex/bytes.h"

namespace obex {

/** Operations, with the final bit where one alone is legal. IrOBEX 1.5, 3.4 */
enum class Opcode : std::uint8_t {
    Connect = 0x80,
    Disconnect = 0x81,
    Put = 0x02,
    PutFinal = 0x82,
    Get = 0x03,
    GetFinal = 0x83,
    SetPath = 0x85,
    Action = 0x86,
    Session = 0x87,
    Abort = 0xFF
};

/** Response codes with their final bit. IrOBEX 1.5, 3.2.1 */
enum class ResponseCode : std::uint8_t {
    Continue = 0x90,
    Success = 0xA0,
    Created = 0xA1,
    Accepted = 0xA2,
    NonAuthoritative = 0xA3,
    NoContent = 0xA4,
    ResetContent = 0xA5,
    PartialContent = 0xA6,
    MultipleChoices = 0xB0,
    MovedPermanently = 0xB1,
    MovedTemporarily = 0xB2,
    SeeOther = 0xB3,
    NotModified = 0xB4,
    UseProxy = 0xB5,
    BadRequest = 0xC0,
    Unauthorized = 0xC1,
    PaymentRequired = 0xC2,
    Forbidden = 0xC3,
    NotFound = 0xC4,
    MethodNotAllowed = 0xC5,
    NotAcceptable = 0xC6,
    ProxyAuthentication = 0xC7,
    RequestTimeOut = 0xC8,
    Conflict = 0xC9,
    Gone = 0xCA,
    LengthRequired = 0xCB,
    PreconditionFailed = 0xCC,
    EntityTooLarge = 0xCD,
    UrlTooLarge = 0xCE,
    UnsupportedMediaType = 0xCF,
    InternalServerError = 0xD0,
    NotImplemented = 0xD1,
    BadGateway = 0xD2,
    ServiceUnavailable = 0xD3,
    GatewayTimeout = 0xD4,
    HttpVersion = 0xD5,
    DatabaseFull = 0xE0,
    DatabaseLocked = 0xE1
};

/** Success in any of its shades: 0xA0 to 0xA6. */
constexpr bool isSuccess(ResponseCode code)
{
    return (static_cast<std::uint8_t>(code) & 0xF0) == 0xA0;
}

constexpr std::uint8_t FinalBit = 0x80;        // IrOBEX 1.5, 3.2
constexpr std::uint8_t ProtocolVersion = 0x10; // 1.0, which every later revision keeps. IrOBEX 1.5, 3.4.1.1
constexpr std::size_t PrefixSize = 3;          // code and length. IrOBEX 1.5, 3.1
constexpr std::size_t MinPacketSize = 255;     // what every peer must take. IrOBEX 1.5, 3.4.1.4
constexpr std::size_t MaxPacketSize = 65535;   // IrOBEX 1.5, 3.4.1.4

/** SETPATH flags. IrOBEX 1.5, 3.4.6.1 */
constexpr std::uint8_t SetPathBackup = 0x01;   // up one level before the name is applied
constexpr std::uint8_t SetPathNoCreate = 0x02; // a missing folder is an error

/** A packet as it stands in a buffer. */
struct Packet
{
    std::uint8_t code = 0; /**< opcode or response code, as sent */
    Bytes body;            /**< everything after the prefix */
    std::size_t size = 0;  /**< of the whole packet */

    Opcode opcode() const { return static_cast<Opcode>(code); }
    ResponseCode response() const { return static_cast<ResponseCode>(code | FinalBit); }
    bool final() const { return (code & FinalBit) != 0; }
};

/**
 * Cuts the first packet off what has come so far.
 * @param limit  the largest packet that was offered to the peer, MinPacketSize to MaxPacketSize
 * A length under 3 or over the limit is Malformed as soon as the prefix is there.
 */
Parse readPacket(Bytes input, std::size_t limit, Packet &packet);

/** The fields between prefix and headers of a CONNECT and of the response to one. IrOBEX 1.5, 3.4.1 */
struct ConnectFields
{
    std::uint8_t version = ProtocolVersion;
    std::uint8_t flags = 0;
    std::uint16_t maxPacket = 0; /**< as sent; under MinPacketSize is against the rules, but common */
};

/** @param headers receives what follows the fields. @return Ok or Malformed */
Parse readConnectFields(Bytes body, ConnectFields &fields, Bytes &headers);

/** The fields of a SETPATH: flags and a constant that is 0. IrOBEX 1.5, 3.4.6 */
struct SetPathFields
{
    std::uint8_t flags = 0;
};

Parse readSetPathFields(Bytes body, SetPathFields &fields, Bytes &headers);

} // namespace obex

#endif
