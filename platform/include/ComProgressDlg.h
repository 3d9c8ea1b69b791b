#ifndef COMPROGRESSDLG_H
#define COMPROGRESSDLG_H

#include <QDialog>

class ComProgressDlgPrivate;

/**
 * Shows how a transfer goes on, of one file or of several in turn, and lets the user cancel it.
 *
 * For the GUI thread alone; what the SDK reports on its own threads is sent over by a queued connection. It stays open
 * until done() ends it, and is not shown before whoever makes it shows it.
 */
class Q_DECL_EXPORT ComProgressDlg : public QDialog
{
    Q_OBJECT

public:
    /** @param source, destination  the folders between which the files move, as shown to the user; copied
     *  @param parent                owns the dialog; may be null */
    ComProgressDlg(QString &source, QString &destination, QWidget *parent);
    ~ComProgressDlg() override;

public slots:
    /**
     * Takes a status report.
     * @param first, last  non-zero on the first and last report of a file
     * @param filename     UTF-8, NUL-terminated, read during the call; null when it is not known
     * @param filesize     bytes; 0 when it is not known
     * @param cursize      bytes moved so far
     */
    void slotProcTransStatus(quint8 first, quint8 last, quint8 *filename, quint32 filesize, quint32 cursize);

    /** Cancel, Escape and closing alike ask for a cancel, once, and leave the dialog open. */
    void reject() override;

signals:
    /** The user acted; 1 means cancel. Emitted once. */
    void userActionInd(quint8 action);

protected:
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    ComProgressDlgPrivate *const d;
};

#endif
