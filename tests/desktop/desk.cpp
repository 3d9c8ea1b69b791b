#include "desk.h"

#include "Catalogue.h"
#include "HostSettings.h"
#include "hand.h"

#include <QApplication>
#include <QIcon>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QScreen>
#include <QStatusBar>
#include <QTest>
#include <QTimer>
#include <QToolTip>

using namespace manager;

namespace {

constexpr int patience = 20000;

bool sendBy(const QString &program, const QStringList &words)
{
    QProcess tool;
    tool.start(program, words);
    return QTest::qWaitFor([&tool] { return tool.state() == QProcess::NotRunning; }, patience);
}

} // namespace

QString Desk::built(const char *path)
{
    return qEnvironmentVariable("BTFTP_BUILD_DIR") + u'/' + QString::fromLatin1(path);
}

bool Desk::setUp(const QString &name)
{
    m_home.setPath(QDir::homePath());
    m_pictures.setPath(built("desktop/") + name);
    m_pictures.removeRecursively();
    bool ok = m_pictures.mkpath(QStringLiteral("."));
    for (const char *folder : {"device", "local", "shared"})
        ok = m_home.mkpath(QString::fromLatin1(folder)) && ok;
    qputenv("TMPDIR", home("device").toUtf8()); // where the demo device keeps its files
    ok = settings::write("FTPSERVER", "SHAREFOLDER", home("shared")) == 0 && ok;
    ok = settings::write("FtpClient", "DefaultLocalFolder", home("local")) == 0 && ok;
    QIcon::setThemeName(QStringLiteral("breeze"));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QApplication::setDoubleClickInterval(1000); // a busy machine may take its time between two clicks
    return ok && QGuiApplication::platformName() == QLatin1String("xcb");
}

bool Desk::startManager(const QString &profiles)
{
    Places places = Places::ofProgram();
    places.profiles = profiles.isEmpty() ? built("lib/velmaro/profiles") : profiles;
    places.demo = built("bin/velmaro-demo-device");
    m_manager = std::make_unique<Manager>(places);
    m_manager->start();
    window().setGeometry(20, 40, 620, 480);
    return QTest::qWaitForWindowActive(&window(), patience);
}

QStringList Desk::endManager()
{
    m_manager.reset();
    QStringList left;
    const QWidgetList all = QApplication::topLevelWidgets();
    for (QWidget *widget : all) {
        if (widget->isVisible())
            left << QString::fromLatin1(widget->metaObject()->className());
    }
    return left;
}

void Desk::takePicture(const QString &name)
{
    const QString file = QStringLiteral("%1-%2.png").arg(++m_count, 2, 10, QLatin1Char('0')).arg(name);
    if (!QGuiApplication::primaryScreen()->grabWindow(0).save(m_pictures.filePath(file)))
        qWarning("The picture %s could not be saved.", qPrintable(file));
}

QTreeWidgetItem *Desk::row(Target::Kind kind, int number)
{
    for (QTreeWidgetItemIterator it(tree()); *it; ++it) {
        if (ServiceTree::target(*it).kind == kind && number-- == 0)
            return *it;
    }
    return nullptr;
}

QTreeWidgetItem *Desk::deviceRow(const QString &name)
{
    return tree()->findItems(name, Qt::MatchExactly | Qt::MatchRecursive, 0).value(0);
}

QList<QPointer<QWidget>> Desk::clients() const
{
    QList<QPointer<QWidget>> found;
    const QWidgetList all = QApplication::topLevelWidgets();
    for (QWidget *widget : all) {
        if (widget->isVisible() && qstrcmp(widget->metaObject()->className(), "BtFtpClient") == 0)
            found << widget;
    }
    return found;
}

bool Desk::takeClient()
{
    if (!QTest::qWaitFor([this] { return clients().size() == 1; }, patience))
        return false;
    m_client = clients().first();
    m_client->setGeometry(400, 260, 820, 480);
    return true;
}

QTreeWidget *Desk::pane(const char *name) const
{
    return m_client ? m_client->findChild<QTreeWidget *>(QString::fromLatin1(name)) : nullptr;
}

QTreeWidgetItem *Desk::remoteRow(const char *name) const
{
    const QTreeWidget *remote = pane("m_pRemoteTree");
    return remote ? remote->findItems(QString::fromLatin1(name), Qt::MatchExactly, 0).value(0) : nullptr;
}

QMenu *Desk::openMenu(QTreeWidgetItem *item)
{
    if (!item || !hand::raise(&window()) || !hand::click(hand::rowOf(tree(), item), 3))
        return nullptr;
    QMenu *menu = nullptr;
    if (QTest::qWaitFor([&menu] { return (menu = qobject_cast<QMenu *>(QApplication::activePopupWidget())); }))
        takePicture(QStringLiteral("menu"));
    return menu;
}

QStringList Desk::readMenu(QTreeWidgetItem *item)
{
    const QMenu *menu = openMenu(item);
    if (!menu)
        return {};
    QStringList texts;
    const QList<QAction *> entries = menu->actions();
    for (const QAction *action : entries) {
        const QString text = action->isSeparator() ? QStringLiteral("-") : action->text();
        texts << (action->font().bold() ? text + QStringLiteral(" (bold)") : text);
    }
    hand::key(QStringLiteral("Escape"));
    const bool closed = QTest::qWaitFor([this] { return !m_manager->profiles().menuIsOpen(); });
    // Another button in between, or a right click that follows soon would be a double-click and open no menu.
    hand::click(hand::centre(window().statusBar()));
    return closed ? texts : QStringList();
}

bool Desk::chooseFromMenu(QTreeWidgetItem *item, const QString &text)
{
    QMenu *menu = openMenu(item);
    if (!menu)
        return false;
    const QList<QAction *> entries = menu->actions();
    for (QAction *action : entries) {
        if (action->text() == text)
            return hand::click(hand::entryOf(menu, action));
    }
    hand::key(QStringLiteral("Escape"));
    return false;
}

QString Desk::readTip(QTreeWidgetItem *item)
{
    const auto moveAway = [this] {
        return hand::moveTo(hand::centre(window().statusBar())) &&
               QTest::qWaitFor([] { return !QToolTip::isVisible(); });
    };
    QString text;
    if (hand::raise(&window()) && moveAway() && hand::moveTo(hand::rowOf(tree(), item)) &&
        QTest::qWaitFor([] { return QToolTip::isVisible(); })) {
        text = QToolTip::text();
        QTest::qWait(300); // it is drawn
        takePicture(QStringLiteral("tip"));
    }
    return moveAway() ? text : QString();
}

bool Desk::addDevice(const QString &name, const QString &port, const QString &wrongPort)
{
    if (!hand::raise(&window()))
        return false;
    const auto typeAndEnter = [](const QString &text) {
        return QStringList{QStringLiteral("sh"), QStringLiteral("-c"),
                           QStringLiteral("xdotool type --delay 15 \"$1\" && xdotool key Return"), QStringLiteral("sh"),
                           text};
    };
    const auto complains = [](const QWidget *box) {
        const auto *error = box->findChild<QLabel *>(QStringLiteral("deviceError"));
        return error && !error->text().isEmpty();
    };
    const QString first = wrongPort.isEmpty() ? port : wrongPort;
    answerBox([](const QWidget *) { return true; }, typeAndEnter(name + QStringLiteral("\t127.0.0.1\t") + first));
    if (!wrongPort.isEmpty())
        answerBox(complains, typeAndEnter(port));
    return hand::key(QStringLiteral("ctrl+n")) && QTest::qWaitFor([&] { return deviceRow(name) != nullptr; }, patience);
}

void Desk::answerBox(const std::function<bool(QWidget *)> &ready, const QStringList &command)
{
    // The box runs an event loop of its own, in which only a timer gets its turn.
    auto *timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, [this, timer, ready, command] {
        QWidget *box = QApplication::activeModalWidget();
        if (!box || !box->isActiveWindow() || !ready(box))
            return;
        timer->stop();
        timer->deleteLater();
        takePicture(QStringLiteral("box"));
        QProcess::startDetached(command.first(), command.mid(1));
    });
    timer->start(250);
}

void Desk::answerBoxWith(const QString &keys, const std::function<void(QWidget *)> &look)
{
    const auto lookAndAgree = [look](QWidget *box) {
        if (look)
            look(box);
        return true;
    };
    answerBox(lookAndAgree, QStringList{QStringLiteral("xdotool"), QStringLiteral("key")} + keys.split(u' '));
}

bool Desk::recordOpenedFiles()
{
    QFile opener(home("bin/xdg-open"));
    const QByteArray script = "#!/bin/sh\necho \"$1\" >>'" + home("opened").toUtf8() + "'\n";
    if (!m_home.mkpath(QStringLiteral("bin")) || !opener.open(QIODevice::WriteOnly) || opener.write(script) < 0)
        return false;
    qputenv("PATH", home("bin").toUtf8() + ':' + qgetenv("PATH"));
    return opener.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

QStringList Desk::openedFiles() const
{
    QFile file(home("opened"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

QString Desk::startDevice(QProcess *process, const QStringList &options)
{
    process->start(built("bin/velmaro-demo-device"), options);
    if (!QTest::qWaitFor([process] { return process->canReadLine(); }, patience))
        return {};
    const auto where = parseListening(process->readLine());
    return where ? QString::number(where->port) : QString();
}

QString Desk::listening()
{
    return QString::fromUtf8(Catalogue::read().servers.at(0).listening);
}

void Desk::sendToLocalService(const QString &path)
{
    // Its exit code says nothing.
    (void)sendBy(QStringLiteral("obexftp"),
                 {QStringLiteral("-n"), listening().section(u':', 0, -2), QStringLiteral("-B"),
                  listening().section(u':', -1), QStringLiteral("-p"), path});
}
