#ifndef MANAGER_NOTICEAREA_H
#define MANAGER_NOTICEAREA_H

#include <QFrame>
#include <QVector>
#include <QWidget>

#include <functional>

class QVBoxLayout;

namespace manager {

/** Sentences at the top of the window, the newest last, each with the buttons that fit it and one to close it. */
class NoticeArea : public QWidget
{
    Q_OBJECT

public:
    enum class Kind { Information, Warning };

    struct Button
    {
        QString text;
        std::function<void()> action;
    };

    /** More would push the rest of the window away; the oldest goes. */
    static constexpr int most = 3;

    explicit NoticeArea(QWidget *parent = nullptr);

    /**
     * Shows a sentence, as plain text; one that is shown already is not repeated.
     * @param seconds  until it closes by itself; 0: it stays
     */
    void add(Kind kind, const QString &text, const QVector<Button> &buttons = {}, int seconds = 0);

    /** Takes away a sentence that is not true any more, if it is shown. */
    void remove(const QString &text);

    /** The sentences that are shown now, the newest last. */
    QStringList texts() const;

private:
    void dismiss(QWidget *frame);

    QVBoxLayout *m_layout;
};

} // namespace manager

#endif
