#include "obex/passkeyguard.h"

#include "obex/auth.h"

#include <algorithm>
#include <sys/random.h>

namespace obex {

namespace {

constexpr int FreeAttempts = 2;
constexpr std::size_t MaxHosts = 1024;

} // namespace

PasskeyGuard::Milliseconds PasskeyGuard::claim(const std::string &host)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_hosts.size() >= MaxHosts && m_hosts.count(host) == 0)
        makeRoom();
    Host &entry = m_hosts[host];
    const Clock::time_point now = Clock::now();
    if (now < entry.notBefore)
        return std::chrono::ceil<Milliseconds>(entry.notBefore - now);
    ++entry.attempts;
    if (entry.attempts > FreeAttempts)
        entry.notBefore = now + m_delay;
    return Milliseconds(0);
}

void PasskeyGuard::rightAnswer(const std::string &host)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hosts.erase(host);
}

void PasskeyGuard::setDelay(Milliseconds delay)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_delay = delay;
}

/** Forgets the host that has been quiet for the longest time. */
void PasskeyGuard::makeRoom()
{
    const auto oldest = std::min_element(m_hosts.begin(), m_hosts.end(), [](const auto &a, const auto &b) {
        return a.second.notBefore < b.second.notBefore;
    });
    m_hosts.erase(oldest);
}

QByteArray freshNonce()
{
    QByteArray nonce(NonceSize, '\0');
    if (::getrandom(nonce.data(), NonceSize, 0) != NonceSize)
        return {};
    return nonce;
}

std::string hostOf(const std::string &peer)
{
    // "AA:BB:CC:DD:EE:FF" names one device; cut at its last colon it would name 256.
    const bool bluetooth = std::count(peer.begin(), peer.end(), ':') == 5 && peer.size() == 17;
    return bluetooth ? peer : peer.substr(0, peer.rfind(':'));
}

} // namespace obex
