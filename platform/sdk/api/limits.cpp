#include "api/limits.h"

#include "settings/settingsfile.h"

namespace api {

namespace {

constexpr char section[] = "OBEX";

int numberWithin(const settings::Document &document, const char *key, int least, int most, int fallback)
{
    const int number = settings::toInt(document.value(section, key).value_or(""), fallback);
    return number >= least && number <= most ? number : fallback;
}

// No call may be made to block for longer than it is promised to, so the defaults are the upper limits.
void readTime(const settings::Document &document, const char *key, std::chrono::milliseconds &time)
{
    const int longest = static_cast<int>(time.count());
    time = std::chrono::milliseconds(numberWithin(document, key, 1, longest, longest));
}

} // namespace

Limits Limits::read(const settings::SettingsFile &file)
{
    Limits limits;
    settings::Document document;
    if (!file.read(document))
        return limits;
    readTime(document, "ConnectTimeout", limits.connectTimeout);
    readTime(document, "RequestTimeout", limits.requestTimeout);
    readTime(document, "TransferTimeout", limits.transferTimeout);
    readTime(document, "CancelTimeout", limits.cancelTimeout);
    limits.packetSize = static_cast<std::size_t>(
        numberWithin(document, "PacketSize", static_cast<int>(obex::MinPacketSize),
                     static_cast<int>(obex::MaxPacketSize), static_cast<int>(obex::MaxPacketSize)));
    limits.singleResponseMode = numberWithin(document, "SingleResponseMode", 0, 1, 1) != 0;
    limits.serverAddress = document.value(section, "ServerAddress").value_or(limits.serverAddress);
    limits.serverPort = static_cast<std::uint16_t>(numberWithin(document, "ServerPort", 0, 65535, 0));
    return limits;
}

void Limits::apply(obex::ClientOptions &options) const
{
    options.connectTimeout = connectTimeout;
    options.requestTimeout = requestTimeout;
    options.transferTimeout = transferTimeout;
    options.cancelTimeout = cancelTimeout;
    options.packetSize = packetSize;
    options.singleResponseMode = singleResponseMode;
}

void Limits::apply(obex::ServerConfig &config) const
{
    config.connectTime = connectTimeout;
    config.packetTime = requestTimeout;
    config.transferTime = transferTimeout;
    config.packetSize = packetSize;
    config.singleResponseMode = singleResponseMode;
}

} // namespace api
