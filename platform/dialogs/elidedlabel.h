#ifndef DIALOGS_ELIDEDLABEL_H
#define DIALOGS_ELIDEDLABEL_H

#include <QLabel>

/**
 * One line of plain text that asks for the same room whatever it says: what does not fit is elided, and then stands in
 * the tool tip. text() stays the whole text, for assistive tools too.
 */
class ElidedLabel : public QLabel
{
public:
    explicit ElidedLabel(Qt::TextElideMode mode, QWidget *parent = nullptr);

    /** Sets the text, made fit for one line. Nothing is repainted when it is the same. */
    void setLine(const QString &text);

    /** Lets the keyboard reach the label, and its text be copied by Ctrl+C and by the context menu. */
    void makeCopyable();
    /** The words of the context menu. */
    void retranslate();

    bool isElided() const;
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void updateToolTip();
    QSize lineSize(int characters) const;

    Qt::TextElideMode m_mode;
    QAction *m_copy = nullptr;
};

#endif
