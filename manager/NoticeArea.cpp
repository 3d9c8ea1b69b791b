#include "NoticeArea.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QToolButton>

namespace manager {

namespace {

QIcon iconOf(NoticeArea::Kind kind, const QWidget &widget)
{
    const bool warning = kind == NoticeArea::Kind::Warning;
    return QIcon::fromTheme(
        warning ? QStringLiteral("dialog-warning") : QStringLiteral("dialog-information"),
        widget.style()->standardIcon(warning ? QStyle::SP_MessageBoxWarning : QStyle::SP_MessageBoxInformation));
}

/** A frame in a tint of the kind's colour over the window's own, so that it suits light and dark desktops. */
QFrame *makeFrame(NoticeArea::Kind kind, QWidget *parent)
{
    auto *frame = new QFrame(parent);
    frame->setFrameShape(QFrame::StyledPanel);
    frame->setAutoFillBackground(true);
    const QColor window = frame->palette().color(QPalette::Window);
    const QColor tint = kind == NoticeArea::Kind::Warning ? QColor(0xf6, 0x74, 0x00) : QColor(0x3d, 0xae, 0xe9);
    const auto mix = [](int base, int colour) { return (base * 3 + colour) / 4; };
    QPalette palette = frame->palette();
    palette.setColor(QPalette::Window, QColor(mix(window.red(), tint.red()), mix(window.green(), tint.green()),
                                              mix(window.blue(), tint.blue())));
    frame->setPalette(palette);
    return frame;
}

} // namespace

NoticeArea::NoticeArea(QWidget *parent) : QWidget(parent), m_layout(new QVBoxLayout(this))
{
    setObjectName(QStringLiteral("notices"));
    m_layout->setContentsMargins(0, 0, 0, 0);
    setVisible(false);
}

void NoticeArea::add(Kind kind, const QString &text, const QVector<Button> &buttons, int seconds)
{
    if (texts().contains(text))
        return;
    QFrame *frame = makeFrame(kind, this);
    frame->setObjectName(QStringLiteral("notice"));
    auto *row = new QHBoxLayout(frame);
    row->setContentsMargins(8, 6, 8, 6);

    auto *icon = new QLabel(frame);
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize);
    icon->setPixmap(iconOf(kind, *this).pixmap(size, size));
    row->addWidget(icon, 0, Qt::AlignTop);

    auto *label = new QLabel(frame);
    label->setObjectName(QStringLiteral("noticeText"));
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setWordWrap(true);
    label->setMinimumWidth(40);
    label->setText(text);
    row->addWidget(label, 1);

    for (const Button &button : buttons) {
        auto *push = new QPushButton(button.text, frame);
        connect(push, &QPushButton::clicked, this, [action = button.action] { action(); });
        row->addWidget(push);
    }
    auto *close = new QToolButton(frame);
    close->setIcon(
        QIcon::fromTheme(QStringLiteral("window-close"), style()->standardIcon(QStyle::SP_DockWidgetCloseButton)));
    close->setAutoRaise(true);
    close->setToolTip(tr("Close this message"));
    close->setAccessibleName(close->toolTip());
    connect(close, &QToolButton::clicked, frame, [this, frame] { dismiss(frame); });
    row->addWidget(close, 0, Qt::AlignTop);

    m_layout->addWidget(frame);
    if (seconds > 0)
        QTimer::singleShot(seconds * 1000, frame, [this, frame] { dismiss(frame); });
    while (m_layout->count() > most)
        dismiss(m_layout->itemAt(0)->widget());
    setVisible(true);
    QAccessibleEvent alert(frame, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void NoticeArea::dismiss(QWidget *frame)
{
    m_layout->removeWidget(frame);
    frame->hide();
    frame->setObjectName(QString());
    frame->deleteLater(); // one of its buttons may be at work
    setVisible(m_layout->count() > 0);
}

void NoticeArea::remove(const QString &text)
{
    const int index = texts().indexOf(text);
    if (index >= 0)
        dismiss(m_layout->itemAt(index)->widget());
}

QStringList NoticeArea::texts() const
{
    QStringList shown;
    for (int i = 0; i < m_layout->count(); ++i)
        shown << m_layout->itemAt(i)->widget()->findChild<QLabel *>(QStringLiteral("noticeText"))->text();
    return shown;
}

} // namespace manager
