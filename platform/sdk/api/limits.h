#ifndef API_LIMITS_H
#define API_LIMITS_H

#include "obex/clientsession.h"
#include "obex/serverconfig.h"

#include <chrono>
#include <string>

namespace settings {
class SettingsFile;
}

namespace api {

/** What the section OBEX of the settings says; values out of range count as missing. */
struct Limits
{
    std::chrono::milliseconds connectTimeout{10000};
    std::chrono::milliseconds requestTimeout{20000};
    std::chrono::milliseconds transferTimeout{30000};
    std::chrono::milliseconds cancelTimeout{2000};
    std::size_t packetSize = obex::MaxPacketSize;
    bool singleResponseMode = true;
    std::string serverAddress = "127.0.0.1";
    std::uint16_t serverPort = 0; /**< 0: any free one */

    static Limits read(const settings::SettingsFile &file);

    void apply(obex::ClientOptions &options) const;
    void apply(obex::ServerConfig &config) const;
};

} // namespace api

#endif
