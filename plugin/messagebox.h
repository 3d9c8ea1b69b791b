#ifndef MESSAGEBOX_H
#define MESSAGEBOX_H

#include <QMessageBox>

/**
 * Runs a modal box and gives the button that ended it. The text is shown literally, whatever names it holds.
 *
 * When it returns, the parent and whoever called may be gone: the host can close a window whose box is open.
 */
QMessageBox::StandardButton execMessageBox(QMessageBox::Icon icon, const QString &title, const QString &text,
                                           QMessageBox::StandardButtons buttons, QWidget *parent);

#endif
