#include "messagebox.h"

#include <QPointer>

QMessageBox::StandardButton execMessageBox(QMessageBox::Icon icon, const QString &title, const QString &text,
                                           QMessageBox::StandardButtons buttons, QWidget *parent)
{
    // On the heap: it goes with its parent, should that go first.
    const QPointer<QMessageBox> box = new QMessageBox(icon, title, text, buttons, parent);
    box->setTextFormat(Qt::PlainText);
    const auto button = static_cast<QMessageBox::StandardButton>(box->exec());
    delete box;
    return button;
}
