#ifndef DIALOGS_FACTSVIEW_H
#define DIALOGS_FACTSVIEW_H

#include <QVector>
#include <QWidget>

class ElidedLabel;
class QDialog;
class QGridLayout;
class QLabel;
class QPushButton;

/**
 * The inside of a dialog that states facts: an icon and a title, rows of a label and a value, a note below them in
 * whole sentences, and a button that closes the dialog. It fills the dialog that it is made for.
 */
class FactsView : public QWidget
{
public:
    /** @param rows  how many there are; they are named by their index from here on */
    FactsView(QDialog *dialog, int rows);

    void setIcon(const QString &path);
    void setTitle(const QString &title);
    void setLabel(int row, const QString &label);
    /** An empty value hides its row. */
    void setValue(int row, const QString &value);
    /** An empty note takes no room. The dialog grows when it must. */
    void setNote(const QString &note);
    /** The texts of the view's own. */
    void retranslate();

private:
    struct Row
    {
        QLabel *label;
        ElidedLabel *value;
    };

    QWidget *createHeader();
    void createRows(QGridLayout *grid, int count);
    void createButtons();
    void makeRoom();

    QDialog *m_dialog;
    QLabel *m_icon;
    ElidedLabel *m_title;
    QVector<Row> m_rows;
    QLabel *m_note;
    QPushButton *m_close;
};

#endif
