#include "elidedlabel.h"

#include "texts.h"

#include <QAction>
#include <QClipboard>
#include <QCoreApplication>
#include <QGuiApplication>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <QStylePainter>

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, QWidget *parent) : QLabel(parent), m_mode(mode)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void ElidedLabel::setLine(const QString &text)
{
    const QString line = texts::oneLine(text);
    if (line == QLabel::text())
        return;
    QLabel::setText(line);
    updateToolTip();
}

void ElidedLabel::makeCopyable()
{
    setFocusPolicy(Qt::StrongFocus);
    m_copy = new QAction(this);
    m_copy->setShortcut(QKeySequence::Copy);
    m_copy->setShortcutContext(Qt::WidgetShortcut);
    connect(m_copy, &QAction::triggered, this, [this] { QGuiApplication::clipboard()->setText(text()); });
    addAction(m_copy);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    retranslate();
}

void ElidedLabel::retranslate()
{
    if (m_copy)
        m_copy->setText(QCoreApplication::translate("Dialogs", "&Copy"));
}

bool ElidedLabel::isElided() const
{
    return fontMetrics().horizontalAdvance(text()) > contentsRect().width();
}

QSize ElidedLabel::sizeHint() const
{
    return lineSize(24);
}

QSize ElidedLabel::minimumSizeHint() const
{
    return lineSize(8);
}

QSize ElidedLabel::lineSize(int characters) const
{
    const QMargins margins = contentsMargins();
    return QSize(fontMetrics().averageCharWidth() * characters + margins.left() + margins.right(),
                 fontMetrics().height() + margins.top() + margins.bottom());
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    const QString line = fontMetrics().elidedText(text(), m_mode, contentsRect().width());
    const int alignment = static_cast<int>(QStyle::visualAlignment(layoutDirection(), this->alignment()));
    painter.drawItemText(contentsRect(), alignment, palette(), isEnabled(), line, foregroundRole());
    if (hasFocus()) {
        QStyleOptionFocusRect option;
        option.initFrom(this);
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, option);
    }
}

void ElidedLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    updateToolTip();
}

void ElidedLabel::updateToolTip()
{
    setToolTip(isElided() ? texts::toolTip(text()) : QString());
}
