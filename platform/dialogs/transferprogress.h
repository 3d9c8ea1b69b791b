#ifndef DIALOGS_TRANSFERPROGRESS_H
#define DIALOGS_TRANSFERPROGRESS_H

#include <QString>

/**
 * What the status reports of a transfer add up to: which file, how far, how fast, how long still. Without a clock of
 * its own: every call is given the time, in milliseconds of any clock that only goes forward.
 */
class TransferProgress
{
public:
    /** A file of this size or more comes with its sizes scaled; its fraction is right, its bytes are not. */
    static constexpr quint32 ScaledSize = 0xFFFFFFFFu;

    /** One status report, as ComProgressDlg::slotProcTransStatus gets it. @param name  null when it is not known */
    void report(bool first, bool last, const QString &name, quint32 size, quint32 moved, qint64 now);

    /** Lets time pass without a report, so that a stalled transfer slows down and shows it. */
    void tick(qint64 now);

    QString fileName() const { return m_name; }     ///< null when it is not known
    int fileNumber() const { return m_fileNumber; } ///< 1 for the first file, 0 before the first report
    bool isSizeKnown() const { return m_size > 0 || m_ended; }
    bool isScaled() const { return m_size >= ScaledSize; }
    quint64 size() const { return qMax(m_size, m_moved); } ///< of the file; a file that grew has grown
    quint64 moved() const { return m_moved; }
    int permille() const;                  ///< 0 to 1000 of the file
    double rate() const { return m_rate; } ///< smoothed, bytes a second over all files; negative: not known yet
    qint64 secondsLeft() const;            ///< for the file; negative: not known
    bool isStalled(qint64 now) const;      ///< nothing has moved for a while

private:
    void startFile(qint64 now, quint32 size);
    void sample(qint64 now);
    quint64 total() const { return m_finished + m_moved; }

    QString m_name;
    int m_fileNumber = 0;
    bool m_ended = false;
    quint64 m_size = 0;
    quint64 m_moved = 0;
    quint64 m_finished = 0; ///< bytes of the files before
    double m_rate = -1;
    qint64 m_sampleTime = 0;
    quint64 m_sampleTotal = 0;
    qint64 m_lastMove = 0;
};

#endif
