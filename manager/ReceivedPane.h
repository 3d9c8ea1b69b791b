#ifndef MANAGER_RECEIVEDPANE_H
#define MANAGER_RECEIVEDPANE_H

#include "ReceivedFiles.h"

#include <QWidget>

class QPushButton;
class QStackedWidget;
class QTreeView;

namespace manager {

/** The list of received files, with what can be done with one. */
class ReceivedPane : public QWidget
{
    Q_OBJECT

public:
    explicit ReceivedPane(ReceivedFiles *files, QWidget *parent = nullptr);

signals:
    void openRequested(const manager::ReceivedFile &file);
    void showRequested(const manager::ReceivedFile &file);

private:
    QWidget *makeList();
    QPushButton *addButton(QLayout *layout, const QString &text, const char *icon);
    void showMenu(const QPoint &where);
    void refresh();
    const ReceivedFile *current() const;
    void open();
    void showInFolder();
    void forget();

    ReceivedFiles *m_files;
    QStackedWidget *m_stack;
    QTreeView *m_view;
    QPushButton *m_open;
    QPushButton *m_show;
    QPushButton *m_clear;
};

} // namespace manager

#endif
