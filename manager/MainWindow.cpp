#include "MainWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QVBoxLayout>

namespace manager {

MainWindow::MainWindow(Profiles *profiles, ReceivedFiles *files)
    : m_profiles(profiles),
      m_notices(new NoticeArea(this)),
      m_tree(new ServiceTree(this)),
      m_contextMenu(new QMenu(this))
{
    setObjectName(QStringLiteral("manager"));
    setWindowTitle(tr("Velmaro Manager"));
    setWindowIcon(QIcon::fromTheme(QStringLiteral("preferences-system-bluetooth"),
                                   QIcon::fromTheme(QStringLiteral("network-bluetooth"))));
    auto *pane = new ReceivedPane(files, this);
    connect(pane, &ReceivedPane::openRequested, this, &MainWindow::openRequested);
    connect(pane, &ReceivedPane::showRequested, this, &MainWindow::showRequested);

    auto *upper = new QWidget(this);
    auto *upperLayout = new QVBoxLayout(upper);
    upperLayout->setContentsMargins(0, 0, 0, 0);
    upperLayout->addWidget(m_tree, 1);
    upperLayout->addWidget(makeHint());

    auto *splitter = new QSplitter(Qt::Vertical, this);
    splitter->setChildrenCollapsible(false);
    splitter->addWidget(upper);
    splitter->addWidget(pane);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 1);

    auto *centre = new QWidget(this);
    auto *layout = new QVBoxLayout(centre);
    layout->addWidget(m_notices);
    layout->addWidget(splitter, 1);
    setCentralWidget(centre);
    makeMenus();
    // One for good: an entry may open a box whose event loop would delete a menu that is still at work on that entry.
    m_profiles->watch(m_contextMenu);

    m_tree->setTipSource([this](const RowTarget &target) { return tip(target); });
    connect(m_tree, &ServiceTree::defaultRequested, this, &MainWindow::performDefault);
    connect(m_tree, &ServiceTree::menuRequested, this, &MainWindow::openContextMenu);
    resize(640, 520);
    m_tree->setFocus();
}

QWidget *MainWindow::makeHint()
{
    m_hint = new QWidget(this);
    m_hintText = new QLabel(m_hint);
    m_hintText->setObjectName(QStringLiteral("hint"));
    m_hintText->setTextFormat(Qt::PlainText);
    m_hintText->setWordWrap(true);
    auto *button = new QPushButton(tr("Add &Device..."), m_hint);
    connect(button, &QPushButton::clicked, this, &MainWindow::addDeviceRequested);
    auto *layout = new QHBoxLayout(m_hint);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_hintText, 1);
    layout->addWidget(button, 0, Qt::AlignVCenter);
    m_hint->setVisible(false);
    return m_hint;
}

void MainWindow::makeMenus()
{
    QMenu *file = menuBar()->addMenu(tr("&File"));
    m_addDevice = file->addAction(QIcon::fromTheme(QStringLiteral("list-add")), tr("&Add Network Device..."), this,
                                  &MainWindow::addDeviceRequested, QKeySequence::New);
    file->addSeparator();
    file->addAction(QIcon::fromTheme(QStringLiteral("application-exit")), tr("&Quit"), this, &QWidget::close,
                    QKeySequence(QStringLiteral("Ctrl+Q")));

    QMenu *selected = menuBar()->addMenu(tr("&Selected"));
    selected->setObjectName(QStringLiteral("selectedMenu"));
    m_profiles->watch(selected);
    connect(selected, &QMenu::aboutToShow, this, [this, selected] {
        selected->clear();
        fillMenu(selected, m_tree->currentTarget());
        if (selected->isEmpty())
            selected->addAction(tr("Nothing can be done here"))->setEnabled(false);
    });

    QMenu *help = menuBar()->addMenu(tr("&Help"));
    help->addAction(QIcon::fromTheme(QStringLiteral("help-about")), tr("&About Velmaro Manager"), this,
                    &MainWindow::about);
}

void MainWindow::fillMenu(QMenu *menu, const RowTarget &target)
{
    if (target.kind == RowTarget::Shortcut)
        m_profiles->addShortcutActions(menu, target.handle, target.serviceClass, Profiles::View::Shortcut);
    else if (target.kind == RowTarget::Server)
        m_profiles->addServerActions(menu, target.handle, target.serviceClass);
    else if (target.kind == RowTarget::Device)
        fillDeviceMenu(menu, target);
}

void MainWindow::fillDeviceMenu(QMenu *menu, const RowTarget &target)
{
    const Catalogue catalogue = Catalogue::read();
    // The actions of a profile serve one shortcut at a time, so the first of each device has them here.
    const auto shortcuts = catalogue.shortcutsOf(target.handle);
    if (!shortcuts.empty()) {
        m_profiles->addShortcutActions(menu, shortcuts[0]->shortcut, shortcuts[0]->serviceClass,
                                       Profiles::View::Device);
    }
    for (const BtSdkDeviceInfo &device : catalogue.devices) {
        if (device.device != target.handle || device.kind != BTSDK_DEVICE_NETWORK)
            continue;
        if (!menu->isEmpty())
            menu->addSeparator();
        menu->addAction(QIcon::fromTheme(QStringLiteral("list-remove")), tr("&Remove Device..."), this,
                        [this, handle = target.handle] { emit removeDeviceRequested(handle); });
    }
}

void MainWindow::openContextMenu(const RowTarget &target, const QPoint &where)
{
    if (m_profiles->menuIsOpen())
        return;
    m_contextMenu->clear();
    fillMenu(m_contextMenu, target);
    if (!m_contextMenu->isEmpty())
        m_contextMenu->popup(where);
}

void MainWindow::performDefault(const RowTarget &target)
{
    if (m_profiles->menuIsOpen())
        return;
    if (target.kind == RowTarget::Server) {
        m_profiles->performServerDefault(target.handle, target.serviceClass);
    } else if (target.kind == RowTarget::Shortcut) {
        m_profiles->performShortcutDefault(target.handle, target.serviceClass);
    } else if (target.kind == RowTarget::Device) {
        const Catalogue catalogue = Catalogue::read();
        const auto shortcuts = catalogue.shortcutsOf(target.handle);
        if (!shortcuts.empty())
            m_profiles->performShortcutDefault(shortcuts[0]->shortcut, shortcuts[0]->serviceClass);
    }
}

QString MainWindow::tip(const RowTarget &target) const
{
    if (target.kind == RowTarget::Shortcut)
        return m_profiles->tip(target.handle, 0, target.serviceClass);
    if (target.kind == RowTarget::Server)
        return m_profiles->tip(0, target.handle, target.serviceClass);
    return {};
}

void MainWindow::showCatalogue(const Catalogue &catalogue)
{
    m_tree->showCatalogue(catalogue);
}

void MainWindow::setHint(const QString &text)
{
    m_hintText->setText(text);
    m_hint->setVisible(!text.isEmpty());
}

void MainWindow::setBluetooth(const QString &text)
{
    if (!m_bluetooth) {
        m_bluetooth = new QLabel(this);
        m_bluetooth->setObjectName(QStringLiteral("bluetooth"));
        m_bluetooth->setTextFormat(Qt::PlainText);
        statusBar()->addPermanentWidget(m_bluetooth);
    }
    m_bluetooth->setText(text);
    m_bluetooth->setVisible(!text.isEmpty());
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    event->accept();
    emit closing();
}

void MainWindow::about()
{
    QMessageBox box(this);
    box.setWindowTitle(tr("About Velmaro Manager"));
    box.setTextFormat(Qt::PlainText);
    box.setIconPixmap(windowIcon().pixmap(64, 64));
    box.setText(tr("Velmaro Manager %1").arg(QApplication::applicationVersion()));
    box.setInformativeText(tr("Browses the files of devices near you, moves files both ways, and shares one folder of "
                              "yours, over Bluetooth or the network.\n\n"
                              "Free software under the GNU General Public License, version 3 or later."));
    box.exec();
}

} // namespace manager
