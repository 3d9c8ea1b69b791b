#ifndef OBEX_PASSKEYGUARD_H
#define OBEX_PASSKEYGUARD_H

#include <QByteArray>

#include <chrono>
#include <map>
#include <mutex>
#include <string>

namespace obex {

/**
 * Keeps strangers from trying passkeys one after the other: from the third wrong one on, a host's next answer is looked
 * at only after a while, however many connections it opens. A right answer clears the host. Any thread.
 */
class PasskeyGuard
{
public:
    using Milliseconds = std::chrono::milliseconds;

    /** @param delay  what the third and each further wrong answer costs */
    explicit PasskeyGuard(Milliseconds delay) : m_delay(delay) {}

    /**
     * Asks to have an answer looked at. Each answer counts as wrong until rightAnswer() says otherwise, so that many at
     * once gain nothing.
     * @return 0, or how long to wait before asking again
     */
    Milliseconds claim(const std::string &host);

    /** The answer that was claimed last was right: nothing is held against the host. */
    void rightAnswer(const std::string &host);

    void setDelay(Milliseconds delay);

private:
    using Clock = std::chrono::steady_clock;

    struct Host
    {
        int attempts = 0;
        Clock::time_point notBefore;
    };

    void makeRoom();

    std::mutex m_mutex;
    Milliseconds m_delay;
    std::map<std::string, Host> m_hosts;
};

/** A fresh nonce for a challenge, of NonceSize bytes that nobody can foresee; empty when the system has none. */
QByteArray freshNonce();

/** The host of a peer's address: all before the last colon, all of it when there is none or it is a Bluetooth one. */
std::string hostOf(const std::string &peer);

} // namespace obex

#endif
