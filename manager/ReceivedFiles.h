#ifndef MANAGER_RECEIVEDFILES_H
#define MANAGER_RECEIVEDFILES_H

#include <QAbstractTableModel>
#include <QDateTime>
#include <QTimer>
#include <QVector>

namespace manager {

/** A file that somebody sent to the shared folder. */
struct ReceivedFile
{
    QString folder;
    QString name;
    QDateTime time;
};

/**
 * The path of a received file.
 * @return empty when the name would lead out of the folder
 */
QString receivedPath(const ReceivedFile &file);

/** Whether opening the file would run it, or is likely to. */
bool isProgram(const QString &path);

/**
 * The received files, the newest first, kept in a file of the user's data folder. What has changed is saved a moment
 * later, and at the end: a folder of a thousand files that arrives is not a thousand writes to the disk.
 */
class ReceivedFiles : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Name, Folder, Time, ColumnCount };
    /** Older ones are forgotten. */
    static constexpr int most = 500;

    /** @param storage  path of the file; a file that cannot be read is kept beside it, with the suffix ".unreadable" */
    explicit ReceivedFiles(QString storage, QObject *parent = nullptr);
    ~ReceivedFiles() override;

    /** Puts a file at the top. A file that is received again moves to the top. */
    void add(const ReceivedFile &file);
    void remove(int row);
    void clear();
    const ReceivedFile &at(int row) const { return m_files.at(row); }
    bool isEmpty() const { return m_files.isEmpty(); }

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

signals:
    /** The list is complete in memory, but a restart would not find it. */
    void saveFailed(const QString &reason);

private:
    void load();
    void saveSoon();
    void save();

    QString m_storage;
    QVector<ReceivedFile> m_files;
    QTimer m_saving;
};

} // namespace manager

#endif
