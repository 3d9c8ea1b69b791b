#include "liveview.h"

#include <QEvent>
#include <QWidget>

namespace {

constexpr int kRefreshInterval = 500;

} // namespace

LiveView::LiveView(QWidget *window, std::function<void()> refresh)
    : QObject(window), m_window(window), m_refresh(std::move(refresh))
{
    m_timer.setInterval(kRefreshInterval);
    connect(&m_timer, &QTimer::timeout, this, [this] { m_refresh(); });
    window->installEventFilter(this);
    follow();
}

bool LiveView::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::Show:
    case QEvent::Hide:
    case QEvent::WindowStateChange:
        follow();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void LiveView::follow()
{
    const bool seen = m_window->isVisible() && !m_window->isMinimized();
    if (!seen) {
        m_timer.stop();
    } else if (!m_timer.isActive()) {
        m_refresh();
        m_timer.start();
    }
}
