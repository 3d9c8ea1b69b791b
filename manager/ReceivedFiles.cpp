#include "ReceivedFiles.h"

#include "PlainText.h"

#include <QDir>
#include <QFileInfo>
#include <QIcon>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QMimeDatabase>
#include <QSaveFile>

namespace manager {

namespace {

constexpr qint64 largestStorage = 4 << 20;
constexpr int savingDelay = 250; // milliseconds

QVector<ReceivedFile> parse(const QByteArray &bytes, bool *readable)
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    *readable = document.isArray();
    QVector<ReceivedFile> files;
    const QJsonArray entries = document.array();
    for (const QJsonValue &entry : entries) {
        const QJsonObject object = entry.toObject();
        const ReceivedFile file{object[QStringLiteral("folder")].toString(), object[QStringLiteral("name")].toString(),
                                QDateTime::fromString(object[QStringLiteral("time")].toString(), Qt::ISODateWithMs)};
        if (!file.name.isEmpty() && files.size() < ReceivedFiles::most)
            files << file;
    }
    return files;
}

QByteArray write(const QVector<ReceivedFile> &files)
{
    QJsonArray entries;
    for (const ReceivedFile &file : files) {
        entries << QJsonObject{{QStringLiteral("folder"), file.folder},
                               {QStringLiteral("name"), file.name},
                               {QStringLiteral("time"), file.time.toUTC().toString(Qt::ISODateWithMs)}};
    }
    return QJsonDocument(entries).toJson();
}

} // namespace

QString receivedPath(const ReceivedFile &file)
{
    if (file.folder.isEmpty() || file.name.isEmpty())
        return {};
    const QString folder = QDir::cleanPath(QDir(file.folder).absolutePath());
    const QString path = QDir::cleanPath(folder + u'/' + file.name);
    const QString inside = folder.endsWith(u'/') ? folder : folder + u'/';
    return path.startsWith(inside) ? path : QString();
}

bool isProgram(const QString &path)
{
    if (QFileInfo(path).isExecutable() && !QFileInfo(path).isDir())
        return true;
    const QMimeType type = QMimeDatabase().mimeTypeForFile(path);
    return type.inherits(QStringLiteral("application/x-executable")) ||
           type.inherits(QStringLiteral("application/x-sharedlib")) ||
           type.inherits(QStringLiteral("application/x-desktop")) ||
           type.inherits(QStringLiteral("application/x-shellscript"));
}

ReceivedFiles::ReceivedFiles(QString storage, QObject *parent)
    : QAbstractTableModel(parent), m_storage(std::move(storage))
{
    load();
    m_saving.setSingleShot(true);
    m_saving.setInterval(savingDelay);
    connect(&m_saving, &QTimer::timeout, this, &ReceivedFiles::save);
}

ReceivedFiles::~ReceivedFiles()
{
    blockSignals(true); // whoever would be told may be going as well
    if (m_saving.isActive())
        save();
}

void ReceivedFiles::saveSoon()
{
    if (!m_saving.isActive())
        m_saving.start();
}

void ReceivedFiles::load()
{
    QFile file(m_storage);
    if (!file.open(QIODevice::ReadOnly))
        return;
    bool readable = false;
    if (file.size() <= largestStorage)
        m_files = parse(file.readAll(), &readable);
    if (!readable) {
        const QString aside = m_storage + QStringLiteral(".unreadable");
        QFile::remove(aside);
        file.rename(aside);
    }
}

void ReceivedFiles::save()
{
    QDir().mkpath(QFileInfo(m_storage).path());
    QSaveFile file(m_storage);
    const QByteArray bytes = write(m_files);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        emit saveFailed(file.errorString());
}

void ReceivedFiles::add(const ReceivedFile &file)
{
    for (int row = 0; row < m_files.size(); ++row) {
        if (m_files[row].folder == file.folder && m_files[row].name == file.name) {
            beginRemoveRows({}, row, row);
            m_files.removeAt(row);
            endRemoveRows();
            break;
        }
    }
    if (m_files.size() >= most) {
        beginRemoveRows({}, m_files.size() - 1, m_files.size() - 1);
        m_files.removeLast();
        endRemoveRows();
    }
    beginInsertRows({}, 0, 0);
    m_files.prepend(file);
    endInsertRows();
    saveSoon();
}

void ReceivedFiles::remove(int row)
{
    beginRemoveRows({}, row, row);
    m_files.removeAt(row);
    endRemoveRows();
    saveSoon();
}

void ReceivedFiles::clear()
{
    beginResetModel();
    m_files.clear();
    endResetModel();
    saveSoon();
}

int ReceivedFiles::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_files.size();
}

int ReceivedFiles::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ReceivedFiles::data(const QModelIndex &index, int role) const
{
    const ReceivedFile &file = m_files.at(index.row());
    if (role == Qt::DecorationRole && index.column() == Name)
        return QIcon::fromTheme(QMimeDatabase().mimeTypeForFile(file.name, QMimeDatabase::MatchExtension).iconName(),
                                QIcon::fromTheme(QStringLiteral("text-x-generic")));
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case Name:
        return shownName(file.name);
    case Folder:
        return shownName(file.folder);
    default:
        return QLocale().toString(file.time.toLocalTime(), QLocale::ShortFormat);
    }
}

QVariant ReceivedFiles::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == Name ? tr("Name") : section == Folder ? tr("Folder") : tr("Received");
}

} // namespace manager
