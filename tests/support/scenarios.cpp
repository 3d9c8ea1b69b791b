#include "double.h"

namespace {

QList<RemoteEntry> hostileNames()
{
    return {
        {"<b>bold</b>", false, 10},
        {"&lt;img src=x&gt;", false, 11},
        {"line\nbreak.txt", false, 12},
        {"\xE2\x80\xAEgpj.exe", false, 13},
        {"%1 %2 %n.txt", false, 14},
        {"a%20b", false, 15},
        {"50%", false, 16},
        {"back\\slash", false, 17},
        {"broken\xFF\xC0utf8", false, 18},
        {QByteArray(295, 'x'), false, 19},
        {"..", true},
        {".", true},
        {"", false, 20},
        {"up/../../etc", true},
    };
}

} // namespace

void Double::play(Scenario scenario)
{
    setListing("/", {{"Photos", true}, {"Docs", true}, {"hello.txt", false, 5}, {"archive.tar.gz", false, 123456}});
    setListing("/Photos", {{"2008", true}, {"cat.jpg", false, 2048}});
    setListing("/Photos/2008", {});
    setListing("/Docs", {{"a.txt", false, 1}});
    switch (scenario) {
    case Scenario::Connects:
        break;
    case Scenario::Refuses:
        setResult("Btsdk_ConnectEx", BTSDK_ER_CONNECT_FAILED);
        break;
    case Scenario::ConnectsLate: {
        const std::lock_guard<std::mutex> lock(m_state->mutex);
        m_state->connectDelay = 300;
        break;
    }
    case Scenario::Hangs:
        hold("Btsdk_ConnectEx");
        break;
    case Scenario::DropsTheLink: {
        const std::lock_guard<std::mutex> lock(m_state->mutex);
        m_state->dropAfterFirstReport = true;
        break;
    }
    case Scenario::SendsHostileNames:
        setListing("/", hostileNames());
        break;
    case Scenario::TransfersHang:
        setTransfersHang(true);
        break;
    case Scenario::ReadOnly:
        for (const char *function :
             {"Btsdk_FTPPutFile", "Btsdk_FTPPutDir", "Btsdk_FTPDeleteFile", "Btsdk_FTPDeleteDir", "Btsdk_FTPCreateDir"})
            setResult(function, BTSDK_ER_READ_ONLY);
        break;
    }
}
