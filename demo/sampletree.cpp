#include "sampletree.h"

#include <QColor>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QtMath>

#include <filesystem>

namespace {

constexpr qint64 kSpaceLeft = qint64(32) << 20; ///< bytes that are to stay free, small files included

/** Writes files below one folder and remembers the first that failed. */
class Writer
{
public:
    explicit Writer(const QString &folder) : m_folder(folder) {}

    bool ok() const { return m_error.isEmpty(); }
    QString error() const { return m_error; }

    void folder(const QString &path)
    {
        if (ok() && !m_folder.mkpath(path))
            m_error = QStringLiteral("cannot make the folder %1").arg(m_folder.filePath(path));
    }

    void file(const QString &path, const QByteArray &content)
    {
        QFile file;
        if (!open(&file, path))
            return;
        if (file.write(content) != content.size() || !file.flush())
            fail(file);
        age(&file);
    }

    void noise(const QString &path, qint64 size);
    void picture(const QString &path, int hue);

private:
    bool open(QFile *file, const QString &path)
    {
        if (!ok())
            return false;
        file->setFileName(m_folder.filePath(path));
        if (!file->open(QIODevice::WriteOnly))
            fail(*file);
        return ok();
    }

    void fail(const QFile &file)
    {
        if (ok())
            m_error = QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString());
    }

    /** Files of one and the same second look made up; these are some days apart. */
    void age(QFile *file)
    {
        m_age += 31 * 3600 + 1234;
        file->setFileTime(QDateTime::currentDateTimeUtc().addSecs(-m_age), QFileDevice::FileModificationTime);
    }

    QDir m_folder;
    QString m_error;
    qint64 m_age = 0;
};

void Writer::noise(const QString &path, qint64 size)
{
    QFile file;
    if (!open(&file, path))
        return;
    // Differs from block to block, so that a block lost or swapped on the way shows.
    QByteArray block(1 << 20, '\0');
    quint64 state = 0x9E3779B97F4A7C15;
    for (qint64 done = 0; done < size && ok(); done += block.size()) {
        for (int i = 0; i < block.size(); i += 8) {
            state ^= state << 13;
            state ^= state >> 7;
            state ^= state << 17;
            memcpy(block.data() + i, &state, 8);
        }
        const qint64 part = qMin<qint64>(block.size(), size - done);
        if (file.write(block.constData(), part) != part)
            fail(file);
    }
    if (!file.flush())
        fail(file);
    age(&file);
}

void Writer::picture(const QString &path, int hue)
{
    QFile file;
    if (!open(&file, path))
        return;
    QImage image(480, 320, QImage::Format_RGB32);
    const double sunX = 100 + hue * 0.75;
    for (int y = 0; y < image.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const double distance = qSqrt((x - sunX) * (x - sunX) + (y - 110.0) * (y - 110.0));
            const double hill = 230 + 30 * qSin(x / 70.0 + hue);
            if (y > hill)
                line[x] = QColor::fromHsv((hue + 120) % 360, 140, 110 + (320 - y) / 4).rgb();
            else if (distance < 40)
                line[x] = qRgb(255, 240, 190);
            else
                line[x] = QColor::fromHsv(hue, 90 + y / 3, 240 - y / 6).rgb();
        }
    }
    if (!image.save(&file, "PNG"))
        fail(file);
    age(&file);
}

void writeNames(Writer &writer)
{
    const QString names[] = {
        QStringLiteral("two words.txt"),    QStringLiteral("50% off.txt"),
        QStringLiteral("100%25.txt"),       QStringLiteral("a%20b.txt"),
        QStringLiteral("hash #1.txt"),      QStringLiteral("Tom & Ann.txt"),
        QStringLiteral("caf\u00E9.txt"),    QStringLiteral("Gr\u00FC\u00DFe aus K\u00F6ln.txt"),
        QStringLiteral("\u65E5\u672C.txt"), QStringLiteral("what's \"this\".txt"),
        QStringLiteral("question?.txt"),    QStringLiteral("<b>bold<b>.txt"),
        QStringLiteral("no extension"),     QStringLiteral("back\\slash.txt"),
    };
    for (const QString &name : names)
        writer.file(QStringLiteral("Odd names/%1").arg(name), "This file is called " + name.toUtf8() + "\n");
    writer.folder(QStringLiteral("Odd names/a folder & more #2 (50%)"));
    writer.file(QStringLiteral("Odd names/a folder & more #2 (50%)/inside.txt"), "Found me.\n");
}

void writeDepths(Writer &writer)
{
    QString path = QStringLiteral("Deep");
    for (int level = 1; level <= 10; ++level) {
        path += QStringLiteral("/level %1").arg(level);
        writer.folder(path);
        writer.file(path + QStringLiteral("/level %1.txt").arg(level),
                    "You are this deep: " + QByteArray::number(level) + "\n");
    }
}

/** Asks the file system itself: the list of mounts says nothing of a folder that serves a process as its root. */
bool hasRoomFor(const QString &folder, qint64 bytes)
{
    std::error_code error;
    const std::filesystem::space_info space = std::filesystem::space(QFile::encodeName(folder).toStdString(), error);
    return error || space.available >= static_cast<std::uintmax_t>(bytes);
}

} // namespace

bool makeSample(const QString &folder, const QString &deviceName, const SampleSizes &sizes, QString *error)
{
    // Looked at first: a full temporary folder would be everybody's trouble.
    if (!hasRoomFor(folder, sizes.largeFile + kSpaceLeft)) {
        *error = QStringLiteral("there is no room for the sample in %1").arg(folder);
        return false;
    }
    Writer writer(folder);
    for (const char *path : {"Pictures/Summer", "Documents", "Odd names", "Empty folder", "Incoming"})
        writer.folder(QString::fromLatin1(path));
    writer.file(QStringLiteral("Welcome.txt"),
                "Welcome to " + deviceName.toUtf8() +
                    ".\n\nYou may change whatever is here: it is a copy that goes away when\nthe demo device ends.\n");
    writer.file(QStringLiteral("empty file.txt"), QByteArray());
    writer.file(QStringLiteral("Documents/Shopping list.txt"), "Bread\nOlives\nA new battery\n");
    writer.file(QStringLiteral("Documents/Table.csv"), "name,size\nA,1\nB,2\n");
    writer.file(QStringLiteral("Documents/Long text.txt"), QByteArray("All work and no play.\n").repeated(4000));
    for (int i = 1; i <= 4; ++i) {
        writer.picture(QStringLiteral("Pictures/Picture %1.png").arg(i), i * 50);
        writer.picture(QStringLiteral("Pictures/Summer/Evening %1.png").arg(i), 200 + i * 30);
    }
    writeNames(writer);
    writeDepths(writer);
    if (sizes.entries > 0)
        writer.folder(QStringLiteral("Many entries"));
    for (int i = 1; i <= sizes.entries; ++i)
        writer.file(QStringLiteral("Many entries/entry %1.txt").arg(i, 6, 10, QLatin1Char('0')), QByteArray());
    writer.noise(QStringLiteral("Large file.bin"), sizes.largeFile);
    *error = writer.error();
    return writer.ok();
}
