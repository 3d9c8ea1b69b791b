#ifndef DIALOGS_LIVEVIEW_H
#define DIALOGS_LIVEVIEW_H

#include <QObject>
#include <QTimer>

#include <functional>

class QWidget;

/** Calls a refresh at once when a window is shown and twice a second while it can be seen. */
class LiveView : public QObject
{
public:
    /** @param window  owns this object */
    LiveView(QWidget *window, std::function<void()> refresh);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void follow();

    QWidget *m_window;
    std::function<void()> m_refresh;
    QTimer m_timer;
};

#endif
