#ifndef DEMO_RELAY_H
#define DEMO_RELAY_H

#include <QByteArray>
#include <QString>

#include <atomic>
#include <list>
#include <thread>

/** A server that refuses everybody: a port that is taken but not listened on. Closes with the object. */
class RefusingPort
{
public:
    ~RefusingPort();
    /** @return false with a reason */
    bool open(quint16 port, QString *error);
    quint16 port() const { return m_port; }

private:
    int m_socket = -1;
    quint16 m_port = 0;
};

/**
 * Stands between the clients and the real server on the loopback address and makes trouble as it was asked to: holds a
 * client's first request back for a while, and answers those with a forbidden name itself.
 */
class Relay
{
public:
    struct Rules
    {
        int connectDelay = 0; ///< milliseconds
        QString deniedName;   ///< of a folder to step into or an object to fetch; empty denies nothing
    };

    Relay(quint16 target, const Rules &rules);
    ~Relay();
    Relay(const Relay &) = delete;
    Relay &operator=(const Relay &) = delete;

    /** Starts listening. @return false with a reason */
    bool open(quint16 port, QString *error);
    quint16 port() const { return m_port; }

private:
    struct Client
    {
        int socket;
        std::atomic<bool> ended{false};
        std::thread thread;
    };

    void acceptClients();
    void reapClients(bool all);
    void serve(Client *client);
    bool waitOut(int client) const;
    void pass(int client, int server);
    bool passRequest(int client, int server, QByteArray *pending) const;
    bool isDenied(const QByteArray &packet) const;

    const quint16 m_target;
    const int m_connectDelay;
    const QByteArray m_deniedName; ///< as it stands in a Name header
    int m_listener = -1;
    int m_stop = -1; ///< eventfd
    quint16 m_port = 0;
    std::list<Client> m_clients;
    std::thread m_acceptor;
};

#endif
