#include "Profiles.h"

#include <QApplication>
#include <QPointer>
#include <QWidget>

namespace manager {

Profiles::Profiles(LoadedPlugins loaded, std::function<bool(unsigned int)> inUse)
    : m_loaded(std::move(loaded)), m_inUse(std::move(inUse))
{
}

Profiles::~Profiles()
{
    end();
}

void Profiles::start(QWidget *window, HostFunction function)
{
    m_running = true;
    for (const auto &plugin : m_loaded.plugins) {
        plugin->api().initProfile(window);
        plugin->api().setVmCommFunc(function);
        plugin->api().startProfileServer();
    }
}

void Profiles::destroyWindows(QWidget *window)
{
    QVector<QPointer<QWidget>> doomed;
    const QWidgetList all = QApplication::topLevelWidgets();
    for (QWidget *widget : all) {
        bool ours = widget->parentWidget() == window && window &&
                    (widget->windowType() == Qt::Window || widget->windowType() == Qt::Dialog);
        for (const auto &plugin : m_loaded.plugins)
            ours = ours || plugin->isHomeOf(*widget);
        if (ours && widget != window)
            doomed << widget;
    }
    // All vanish from the screen at once: destroying one may wait for its transfer.
    for (const QPointer<QWidget> &widget : qAsConst(doomed)) {
        if (widget)
            widget->close();
    }
    for (const QPointer<QWidget> &widget : qAsConst(doomed))
        delete widget.data();
}

void Profiles::end()
{
    if (!m_running)
        return;
    m_running = false;
    for (const auto &plugin : m_loaded.plugins) {
        plugin->api().stopProfileServer();
        plugin->api().setVmCommFunc(nullptr);
        plugin->api().uninitProfile();
    }
    // What they have asked to be deleted later is code of theirs.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void Profiles::unload()
{
    end();
    m_loaded.plugins.clear();
}

ProfilePlugin *Profiles::find(unsigned short serviceClass) const
{
    if (!m_running)
        return nullptr;
    for (const auto &plugin : m_loaded.plugins) {
        if (plugin->supports(serviceClass))
            return plugin.get();
    }
    return nullptr;
}

void Profiles::addShortcutActions(QMenu *menu, unsigned int shortcut, unsigned short serviceClass, View view)
{
    if (const ProfilePlugin *plugin = find(serviceClass)) {
        menu->addActions(view == View::Device ? plugin->api().getRemoteActionListByShortcut(shortcut)
                                              : plugin->api().getActionListByShortcut(shortcut));
    }
}

void Profiles::addServerActions(QMenu *menu, unsigned int server, unsigned short serviceClass)
{
    if (const ProfilePlugin *plugin = find(serviceClass))
        menu->addActions(plugin->api().getLocalSvrActionList(server));
}

void Profiles::watch(QMenu *menu)
{
    connect(menu, &QMenu::aboutToShow, this, &Profiles::menuOpened);
    connect(menu, &QMenu::aboutToHide, this, &Profiles::menuClosed);
}

QString Profiles::tip(unsigned int shortcut, unsigned int server, unsigned short serviceClass) const
{
    const ProfilePlugin *plugin = menuIsOpen() ? nullptr : find(serviceClass);
    return plugin ? plugin->api().getProfileTipByShortcut(shortcut, server) : QString();
}

void Profiles::performShortcutDefault(unsigned int shortcut, unsigned short serviceClass)
{
    if (const ProfilePlugin *plugin = find(serviceClass))
        plugin->api().performDefaultActionByShortcut(shortcut);
}

void Profiles::performServerDefault(unsigned int server, unsigned short serviceClass)
{
    if (const ProfilePlugin *plugin = find(serviceClass))
        (void)plugin->api().performLocalSvrDefaultAction(server); // always 0
}

void Profiles::connectionEnded(unsigned int shortcut, unsigned short serviceClass)
{
    if (menuIsOpen())
        m_waiting << Ended{shortcut, serviceClass};
    else
        cleanUpAfter({shortcut, serviceClass});
}

void Profiles::cleanUpAfter(const Ended &ended)
{
    const ProfilePlugin *plugin = find(ended.serviceClass);
    if (!plugin || m_inUse(ended.shortcut))
        return;
    // The profile closes the window of the shortcut that it was given last: asking for its list gives it this one.
    (void)plugin->api().getActionListByShortcut(ended.shortcut);
    plugin->api().performPostDisc();
}

void Profiles::menuOpened()
{
    ++m_openMenus;
}

void Profiles::menuClosed()
{
    // A menu hides before its chosen entry acts, and the entry acts on the handle that the list was asked for.
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_openMenus = qMax(0, m_openMenus - 1);
            if (m_openMenus == 0)
                runWaiting();
        },
        Qt::QueuedConnection);
}

void Profiles::runWaiting()
{
    const QVector<Ended> waiting = std::exchange(m_waiting, {});
    for (const Ended &ended : waiting)
        cleanUpAfter(ended);
    emit menusClosed();
}

} // namespace manager
