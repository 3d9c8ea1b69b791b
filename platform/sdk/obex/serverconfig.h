#ifndef OBEX_SERVERCONFIG_H
#define OBEX_SERVERCONFIG_H

#include "obex/packet.h"
#include "share/status.h"

#include <chrono>
#include <string>

namespace obex {

/** What a file transfer server offers, to whom, and for how long it waits. */
struct ServerConfig
{
    std::string folder; /**< looked up anew for each client, so that it may come and go; "" is the current one */
    share::Access access = share::Access::ReadOnly;

    /** What clients must prove to know before they see a name, UTF-8; empty: nothing is asked. */
    std::string passkey;

    std::size_t packetSize = MaxPacketSize; /**< MinPacketSize to MaxPacketSize; the link may carry less */
    bool singleResponseMode = true;
    unsigned maxClients = 64; /**< further ones are hung up on */

    /** From the link to the answered CONNECT. */
    std::chrono::milliseconds connectTime{10000};
    /** For the answer to a challenge: somebody may have to type the passkey first. */
    std::chrono::milliseconds passkeyTime{120000};
    /** From the first byte of a packet to its last. */
    std::chrono::milliseconds packetTime{20000};
    /** For the next packet of a transfer, and for a response to be taken. */
    std::chrono::milliseconds transferTime{30000};
    /** What the third and each further wrong passkey from one host costs. */
    std::chrono::milliseconds wrongPasskeyTime{5000};
};

} // namespace obex

#endif
