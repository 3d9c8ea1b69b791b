#include "peer.h"

#include <QtTest>

#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <random>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr int fileCount = 2000;
constexpr int maxDepth = 8;
constexpr std::uint64_t totalSize = 250'000'000;
constexpr std::uint64_t maxSize = 5'000'000;

struct Node
{
    bool folder = false;
    std::uint64_t size = 0;
    std::int64_t modified = 0;
    std::size_t hash = 0;

    bool operator==(const Node &other) const
    {
        return folder == other.folder && size == other.size && hash == other.hash &&
               (folder || modified == other.modified);
    }
};

using Tree = std::map<std::string, Node>;

// What names are made of: markup, escapes, blanks, quotes, shell's and protocols' own, combining marks, other scripts.
const char *const alphabet[] = {"a",  "Z",  "7",  " ", "%", "%20", "#",       "&",     "&amp;", "<", ">",
                                "\"", "'",  "\\", "?", "*", "|",   ";",       ":",     "+",     "=", "~",
                                "\n", "\t", "$",  "`", "!", "é",   "e\u0301", "ß",     "日本",  "🎵", "\u202E",
                                ".",  "..", "-",  "_", "[", "]]>", "{}",      "\u00A0"};

std::string randomName(std::mt19937 &random)
{
    std::string name;
    const std::size_t parts = 1 + random() % 12;
    for (std::size_t part = 0; part < parts; ++part)
        name += alphabet[random() % (sizeof alphabet / sizeof *alphabet)];
    if (random() % 100 == 0)
        name += std::string(200, 'x');
    return name == "." || name == ".." ? "dots" + name : name;
}

std::uint64_t randomSize(std::mt19937 &random, std::uint64_t left)
{
    switch (random() % 20) {
    case 0:
        return 0;
    case 1:
        return std::min<std::uint64_t>(random() % maxSize, left);
    case 2:
        return std::min<std::uint64_t>(65535 + random() % 3 - 1, left); // about a packet
    default:
        return std::min<std::uint64_t>(random() % 50'000, left);
    }
}

void makeTree(const fs::path &root)
{
    std::mt19937 random(20261121);
    std::vector<std::pair<fs::path, int>> folders{{root, 0}};
    std::uint64_t left = totalSize;
    for (int number = 0; number < fileCount; ++number) {
        const auto [parent, depth] = folders[random() % folders.size()];
        if (depth < maxDepth && random() % 8 == 0) {
            const fs::path folder = parent / randomName(random);
            if (!fs::exists(folder)) {
                fs::create_directory(folder);
                folders.emplace_back(folder, depth + 1);
            }
        }
        const fs::path target = folders[random() % folders.size()].first;
        fs::path file = target / randomName(random);
        while (fs::exists(file))
            file += std::to_string(number);
        const std::uint64_t size = randomSize(random, left);
        left -= size;
        QVERIFY(writeFile(QString::fromStdString(file.string()), static_cast<qint64>(size),
                          static_cast<quint32>(number) + 1));
        const std::int64_t time = 315532800 + static_cast<std::int64_t>(random() % 1'450'000'000);
        const timespec times[2] = {{time, 0}, {time, 0}};
        QCOMPARE(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    }
}

std::size_t hashOf(const fs::path &path)
{
    const QByteArray content = readFile(QString::fromStdString(path.string()));
    return std::hash<std::string_view>()({content.constData(), static_cast<std::size_t>(content.size())});
}

Tree readTree(const fs::path &root)
{
    Tree tree;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(root)) {
        struct stat status;
        Node node;
        node.folder = entry.is_directory();
        if (!node.folder && ::stat(entry.path().c_str(), &status) == 0) {
            node.size = static_cast<std::uint64_t>(status.st_size);
            node.modified = status.st_mtim.tv_sec;
            node.hash = hashOf(entry.path());
        }
        tree.emplace(entry.path().lexically_relative(root).string(), node);
    }
    return tree;
}

// The remote tree by listings alone: names, kinds, sizes and times.
void readRemote(unsigned int connection, const std::string &folder, const std::string &relative, Tree &tree)
{
    QCOMPARE(Btsdk_FTPSetRmtDir(connection, folder.c_str()), 0u);
    unsigned int result = 0;
    const std::vector<Listed> entries = listed(connection, &result);
    QCOMPARE(result, 0u);
    for (const Listed &entry : entries) {
        const std::string name =
            relative.empty() ? entry.name.toStdString() : relative + '/' + entry.name.toStdString();
        Node node;
        node.folder = entry.folder;
        node.size = entry.folder ? 0 : entry.size;
        QDateTime time =
            QDateTime::fromString(QString::fromLatin1(entry.modified), QStringLiteral("yyyyMMdd'T'hhmmss'Z'"));
        time.setTimeSpec(Qt::UTC);
        node.modified = entry.folder ? 0 : time.toSecsSinceEpoch();
        tree.emplace(name, node);
        if (entry.folder)
            readRemote(connection, folder + '/' + entry.name.toStdString(), name, tree);
    }
}

void compare(const Tree &expected, const Tree &actual)
{
    for (const auto &[name, node] : expected) {
        const auto found = actual.find(name);
        QVERIFY2(found != actual.end(), ("missing: " + name).c_str());
        QVERIFY2(found->second == node, ("differs: " + name).c_str());
    }
    QCOMPARE(actual.size(), expected.size());
}

} // namespace

/** A random tree, put, listed, got back and compared. */
class TestTree : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void put_tree_arrivesAsItIs();
    void list_tree_isAsItIs();
    void get_tree_comesBackAsItIs();
    void delete_tree_nothingLeft();

private:
    std::string path(const char *name) const { return m_folder.filePath(QString::fromUtf8(name)).toStdString(); }

    QTemporaryDir m_folder;
    DeviceProcess m_device;
    std::unique_ptr<Client> m_client;
    Tree m_tree;
};

void TestTree::initTestCase()
{
    fs::create_directories(path("source"));
    fs::create_directories(path("share"));
    makeTree(path("source"));
    m_tree = readTree(path("source"));
    const auto files =
        std::count_if(m_tree.begin(), m_tree.end(), [](const auto &entry) { return !entry.second.folder; });
    QCOMPARE(files, fileCount);
    QVERIFY(m_device.start(QString::fromStdString(path("share"))));
    m_client = std::make_unique<Client>(m_device.port());
    QCOMPARE(m_client->connect(), 0u);
}

void TestTree::cleanupTestCase()
{
    m_client.reset();
    Btsdk_HostShutdown();
}

void TestTree::put_tree_arrivesAsItIs()
{
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Btsdk_FTPPutDir(m_client->connection, path("source").c_str(), "tree"), 0u);
    qInfo("put in %lld ms", static_cast<long long>(timer.elapsed()));
    compare(m_tree, readTree(path("share") + "/tree"));
}

void TestTree::list_tree_isAsItIs()
{
    Tree expected = m_tree;
    for (auto &entry : expected) {
        entry.second.hash = 0;
        entry.second.modified = entry.second.folder ? 0 : entry.second.modified;
    }
    Tree remote;
    QElapsedTimer timer;
    timer.start();
    readRemote(m_client->connection, "/tree", {}, remote);
    qInfo("listed %d entries in %lld ms", static_cast<int>(remote.size()), static_cast<long long>(timer.elapsed()));
    compare(expected, remote);
    QCOMPARE(Btsdk_FTPSetRmtDir(m_client->connection, "/"), 0u);
}

void TestTree::get_tree_comesBackAsItIs()
{
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Btsdk_FTPGetDir(m_client->connection, "tree", path("back").c_str()), 0u);
    qInfo("got back in %lld ms", static_cast<long long>(timer.elapsed()));
    compare(m_tree, readTree(path("back")));
}

void TestTree::delete_tree_nothingLeft()
{
    QCOMPARE(Btsdk_FTPDeleteDir(m_client->connection, "tree"), 0u);
    QVERIFY(fs::is_empty(path("share")));
}

QTEST_GUILESS_MAIN(TestTree)
#include "tst_tree.moc"
