#ifndef DIALOGDOUBLE_H
#define DIALOGDOUBLE_H

#include <QDialog>

/**
 * What the doubles of the exported dialogs know about one of them. It stands beside the dialog, in a table keyed by its
 * address: the plug-in was compiled against the header and knows how large a dialog is.
 */
class DialogSide : public QObject
{
    Q_OBJECT

public:
    static DialogSide *of(QDialog *dialog);
    static void add(const char *name, QDialog *dialog, const QVariantList &arguments);
    static void remove(QDialog *dialog);

    bool cancelAsked = false;

private:
    DialogSide(const char *name, QDialog *dialog);

    bool eventFilter(QObject *watched, QEvent *event) override;
    void note(const char *member, const QVariantList &arguments = {}) const;

    const QByteArray m_name;
};

#endif
