/**
 * @file
 * A whole session of the server over a small share: whatever a client sends, nothing outside the share is read or
 * changed, no unfinished file stays, and the session ends when the client has gone.
 *
 * The first byte of the input chooses: 1 a CONNECT is sent first, 2 the share is read-only, 4 a passkey is asked for,
 * 8 the input consists of an opcode, a 16-bit length and that many bytes of headers each, so that packets are whole.
 * The rest is what the client sends.
 */
#include "obex/serversession.h"
#include "seeds.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr char Secret[] = "not-for-strangers";
constexpr std::size_t MaxAnswer = 4 << 20; // a client that never reads more than this

enum Choice { SendConnect = 1, ReadOnly = 2, AskPasskey = 4, Framed = 8 };

/** What the client sends is there from the beginning; what it is sent is searched for the secret. */
class MemoryStream : public transport::Stream
{
public:
    explicit MemoryStream(QByteArray input) : m_input(std::move(input)) {}

    transport::IoResult read(std::uint8_t *data, std::size_t size, transport::Deadline deadline) override
    {
        // A glance at a client that may be silent: now it is, now it is not.
        if (deadline.pollTime() == 0 && (m_glances++ & 1) == 0)
            return {transport::IoStatus::TimedOut, 0};
        const std::size_t left = static_cast<std::size_t>(m_input.size()) - m_taken;
        const std::size_t count = std::min({size, left, std::size_t(1000)});
        if (count == 0)
            return {transport::IoStatus::Closed, 0};
        std::memcpy(data, m_input.constData() + m_taken, count);
        m_taken += count;
        return {transport::IoStatus::Ok, count};
    }

    transport::IoResult write(const std::uint8_t *data, std::size_t size, transport::Deadline) override
    {
        if (std::search(data, data + size, Secret, Secret + sizeof Secret - 1) != data + size)
            std::abort();
        m_written += size;
        return {m_written > MaxAnswer ? transport::IoStatus::Failed : transport::IoStatus::Ok, size};
    }

    void wake() override {}
    void clearWake() override {}
    void close() override {}
    int descriptor() const override { return -1; }
    std::size_t maxPacket() const override { return obex::MaxPacketSize; }
    bool supportsSrm() const override { return true; }
    std::string peer() const override { return "fuzzer:1"; }

private:
    QByteArray m_input;
    std::size_t m_taken = 0;
    std::size_t m_written = 0;
    unsigned m_glances = 0;
};

class NoObserver : public obex::SessionObserver
{
public:
    void connected() override {}
    void fileReceived(const std::string &, const std::string &name) override
    {
        if (!share::isStorableName(name))
            std::abort();
    }
    void bytesReceived(std::uint64_t) override {}
    void bytesSent(std::uint64_t) override {}
};

/** share/ with traps in it, and outside/ beside it, made anew for every input. */
class Playground
{
public:
    Playground()
    {
        fs::create_directories(m_root / "share/sub/deeper");
        fs::create_directories(m_root / "outside");
        std::ofstream(m_root / "share/file.txt") << "content";
        std::ofstream(m_root / "share/sub/b") << std::string(2000, 'b');
        std::ofstream(m_root / "outside/secret") << Secret;
        fs::create_symlink("../outside/secret", m_root / "share/l");
        fs::create_directory_symlink("../outside", m_root / "share/o");
        fs::create_directory_symlink("..", m_root / "share/sub/u");
        (void)::mkfifo((m_root / "share/f").c_str(), 0600);
    }

    ~Playground()
    {
        std::error_code error;
        fs::remove_all(m_root, error);
    }

    std::string folder() const { return m_root / "share"; }

    void check(bool readOnly) const
    {
        std::ifstream secret(m_root / "outside/secret");
        std::string content;
        std::getline(secret, content);
        const auto count = std::distance(fs::directory_iterator(m_root / "outside"), fs::directory_iterator());
        const auto roots = std::distance(fs::directory_iterator(m_root), fs::directory_iterator());
        if (content != Secret || count != 1 || roots != 2)
            std::abort();
        int entries = 0;
        for (const auto &entry : fs::recursive_directory_iterator(m_root / "share")) {
            ++entries;
            if (share::Upload::isTemporaryName(entry.path().filename().string()))
                std::abort();
        }
        if (readOnly && entries != 8)
            std::abort();
    }

private:
    static fs::path base()
    {
        static const fs::path path = [] {
            std::string text = fs::exists("/dev/shm") ? "/dev/shm/btftp-fuzz-XXXXXX" : "/tmp/btftp-fuzz-XXXXXX";
            if (!::mkdtemp(text.data()))
                std::abort();
            return fs::path(text);
        }();
        return path;
    }

    fs::path m_root = base() / "root";
};

QByteArray connectPacket()
{
    return seedPacket(obex::Opcode::Connect, [](obex::PacketWriter &writer) {
        (void)writer.addConnectFields(1000);
        (void)writer.addSequence(obex::HeaderId::Target, {obex::FolderBrowsing, sizeof obex::FolderBrowsing});
    });
}

QByteArray framed(const std::uint8_t *data, std::size_t size)
{
    QByteArray packets;
    while (size >= 3) {
        const std::size_t length = std::min<std::size_t>(obex::readU16(data + 1) % 1024, size - 3);
        std::uint8_t prefix[3] = {data[0], 0, 0};
        obex::writeU16(prefix + 1, static_cast<std::uint16_t>(length + 3));
        packets.append(reinterpret_cast<const char *>(prefix), 3);
        packets.append(reinterpret_cast<const char *>(data + 3), static_cast<int>(length));
        data += 3 + length;
        size -= 3 + length;
    }
    return packets;
}

/** Turns packets into the framed form: the length without the prefix. */
QByteArray seed(int choice, const QList<QByteArray> &packets)
{
    QByteArray input(1, static_cast<char>(choice));
    for (QByteArray packet : packets) {
        const auto length = static_cast<std::uint16_t>(packet.size() - ((choice & Framed) != 0 ? 3 : 0));
        obex::writeU16(reinterpret_cast<std::uint8_t *>(packet.data()) + 1, length);
        input += packet;
    }
    return input;
}

QByteArray named(obex::Opcode opcode, const char *name, const QByteArray &body = {}, bool srm = false)
{
    return seedPacket(opcode, [&](obex::PacketWriter &writer) {
        (void)writer.addText(obex::HeaderId::Name, QString::fromLatin1(name));
        if (srm)
            (void)writer.addByte(obex::HeaderId::Srm, obex::SrmEnable);
        if (!body.isNull())
            (void)writer.addSequence(obex::HeaderId::Body, seedBytes(body));
    });
}

QByteArray path(std::uint8_t flags, const char *name)
{
    return seedPacket(obex::Opcode::SetPath, [&](obex::PacketWriter &writer) {
        (void)writer.addSetPathFields(flags);
        (void)writer.addText(obex::HeaderId::Name, QString::fromLatin1(name));
    });
}

QByteArray listing()
{
    return seedPacket(obex::Opcode::GetFinal, [](obex::PacketWriter &writer) {
        (void)writer.addSequence(obex::HeaderId::Type, seedBytes(obex::ListingType));
    });
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    using obex::Opcode;
    const QByteArray abort = seedPacket(Opcode::Abort);
    const QByteArray next = seedPacket(Opcode::GetFinal);
    const QByteArray put = named(Opcode::Put, "new", "half");
    const QByteArray putEnd = seedPacket(Opcode::PutFinal, [](obex::PacketWriter &writer) {
        (void)writer.addSequence(obex::HeaderId::EndOfBody, seedBytes("end"));
    });
    const QByteArray bye = seedPacket(Opcode::Disconnect);
    QList<QByteArray> seeds;
    for (const int choice : {0, int(SendConnect), SendConnect | ReadOnly, SendConnect | AskPasskey,
                             SendConnect | Framed, SendConnect | ReadOnly | Framed}) {
        seeds << seed(choice, {connectPacket(), listing(), bye})
              << seed(choice, {named(Opcode::GetFinal, "file.txt"), named(Opcode::GetFinal, "l"), bye})
              << seed(choice, {path(2, "sub"), named(Opcode::GetFinal, "b", {}, true), next, abort})
              << seed(choice, {path(3, ""), path(0, "made"), put, putEnd, named(Opcode::PutFinal, "made")})
              << seed(choice, {put, abort, named(Opcode::Put, "file.txt", "x", true), putEnd, putEnd, listing()})
              << seed(choice,
                      {path(2, "o"), named(Opcode::GetFinal, "../outside/secret"), named(Opcode::PutFinal, "o")});
    }
    writeSeedsIfAsked(seeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const int choice = data[0];
    const Playground playground;
    obex::ServerConfig config;
    config.folder = playground.folder();
    config.access = (choice & ReadOnly) != 0 ? share::Access::ReadOnly : share::Access::Writable;
    config.passkey = (choice & AskPasskey) != 0 ? "123456" : "";
    config.wrongPasskeyTime = std::chrono::milliseconds(0);
    QByteArray input = (choice & SendConnect) != 0 ? connectPacket() : QByteArray();
    input += (choice & Framed) != 0 ? framed(data + 1, size - 1)
                                    : QByteArray(reinterpret_cast<const char *>(data + 1), static_cast<int>(size - 1));
    {
        MemoryStream stream(input);
        NoObserver observer;
        obex::PasskeyGuard guard(config.wrongPasskeyTime);
        obex::ServerSession session(stream, config, guard, observer);
        session.run();
    }
    playground.check((choice & ReadOnly) != 0);
    return 0;
}
