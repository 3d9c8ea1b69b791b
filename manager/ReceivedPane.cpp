#include "ReceivedPane.h"

#include <QAction>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QTreeView>

namespace manager {

ReceivedPane::ReceivedPane(ReceivedFiles *files, QWidget *parent)
    : QWidget(parent), m_files(files), m_stack(new QStackedWidget(this)), m_view(new QTreeView(this))
{
    auto *title = new QLabel(tr("&Received files"), this);
    title->setBuddy(m_view);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);

    auto *empty = new QLabel(tr("Files that other devices send to the shared folder are listed here."), this);
    empty->setAlignment(Qt::AlignCenter);
    empty->setWordWrap(true);
    empty->setEnabled(false);
    m_stack->addWidget(empty);
    m_stack->addWidget(makeList());

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(title);
    layout->addWidget(m_stack, 1);
    refresh();
}

QWidget *ReceivedPane::makeList()
{
    m_view->setObjectName(QStringLiteral("received"));
    m_view->setAccessibleName(tr("Received files"));
    m_view->setModel(m_files);
    m_view->setRootIsDecorated(false);
    m_view->setUniformRowHeights(true);
    m_view->setAllColumnsShowFocus(true);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_view->header()->setStretchLastSection(false);
    m_view->header()->setSectionResizeMode(ReceivedFiles::Name, QHeaderView::Stretch);
    m_view->header()->setSectionResizeMode(ReceivedFiles::Folder, QHeaderView::Stretch);
    m_view->header()->setSectionResizeMode(ReceivedFiles::Time, QHeaderView::ResizeToContents);

    auto *page = new QWidget(this);
    auto *buttons = new QVBoxLayout;
    m_open = addButton(buttons, tr("&Open"), "document-open");
    m_show = addButton(buttons, tr("Show in Fo&lder"), "folder-open");
    m_clear = addButton(buttons, tr("&Clear List"), "edit-clear-list");
    buttons->addStretch();
    auto *layout = new QHBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view, 1);
    layout->addLayout(buttons);

    auto *forgetAction = new QAction(tr("Remove from List"), m_view);
    forgetAction->setShortcut(QKeySequence::Delete);
    forgetAction->setShortcutContext(Qt::WidgetShortcut);
    m_view->addAction(forgetAction);
    connect(forgetAction, &QAction::triggered, this, &ReceivedPane::forget);
    connect(m_open, &QPushButton::clicked, this, &ReceivedPane::open);
    connect(m_show, &QPushButton::clicked, this, &ReceivedPane::showInFolder);
    connect(m_clear, &QPushButton::clicked, m_files, &ReceivedFiles::clear);
    connect(m_view, &QTreeView::activated, this, &ReceivedPane::open);
    connect(m_view, &QTreeView::customContextMenuRequested, this, &ReceivedPane::showMenu);
    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this, &ReceivedPane::refresh);
    connect(m_files, &QAbstractItemModel::rowsInserted, this, &ReceivedPane::refresh);
    connect(m_files, &QAbstractItemModel::rowsRemoved, this, &ReceivedPane::refresh);
    connect(m_files, &QAbstractItemModel::modelReset, this, &ReceivedPane::refresh);
    return page;
}

QPushButton *ReceivedPane::addButton(QLayout *layout, const QString &text, const char *icon)
{
    auto *button = new QPushButton(QIcon::fromTheme(QString::fromLatin1(icon)), text, this);
    layout->addWidget(button);
    return button;
}

void ReceivedPane::refresh()
{
    m_stack->setCurrentIndex(m_files->isEmpty() ? 0 : 1);
    m_open->setEnabled(current());
    m_show->setEnabled(current());
}

const ReceivedFile *ReceivedPane::current() const
{
    const QModelIndexList rows = m_view->selectionModel()->selectedRows();
    return rows.isEmpty() ? nullptr : &m_files->at(rows.first().row());
}

void ReceivedPane::open()
{
    if (const ReceivedFile *file = current())
        emit openRequested(ReceivedFile(*file)); // the list may change meanwhile
}

void ReceivedPane::showInFolder()
{
    if (const ReceivedFile *file = current())
        emit showRequested(ReceivedFile(*file));
}

void ReceivedPane::forget()
{
    const QModelIndexList rows = m_view->selectionModel()->selectedRows();
    if (!rows.isEmpty())
        m_files->remove(rows.first().row());
}

void ReceivedPane::showMenu(const QPoint &where)
{
    if (!current())
        return;
    QMenu menu(this);
    menu.addAction(m_open->icon(), m_open->text(), this, &ReceivedPane::open);
    menu.addAction(m_show->icon(), m_show->text(), this, &ReceivedPane::showInFolder);
    menu.addSeparator();
    menu.addActions(m_view->actions());
    menu.exec(m_view->viewport()->mapToGlobal(where));
}

} // namespace manager
