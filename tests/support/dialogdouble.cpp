#include "dialogdouble.h"

#include "CVmSkin.h"
#include "ComProgressDlg.h"
#include "ProfileStatusClass.h"
#include "RmtProfilePropertyClass.h"
#include "double.h"
#include "skinimages.h"

#include <QCloseEvent>
#include <QHash>

#include <utility>

namespace {

QHash<QDialog *, DialogSide *> &sides()
{
    static QHash<QDialog *, DialogSide *> table;
    return table;
}

QVariant address(const void *pointer)
{
    return QVariant::fromValue(static_cast<qulonglong>(reinterpret_cast<quintptr>(pointer)));
}

} // namespace

DialogSide::DialogSide(const char *name, QDialog *dialog) : m_name(name)
{
    dialog->installEventFilter(this);
    connect(dialog, &QDialog::finished, this, [this](int result) { note("done", {result}); });
}

DialogSide *DialogSide::of(QDialog *dialog)
{
    return sides().value(dialog);
}

void DialogSide::add(const char *name, QDialog *dialog, const QVariantList &arguments)
{
    auto *side = new DialogSide(name, dialog);
    sides().insert(dialog, side);
    dialog->setWindowTitle(QString::fromLatin1(name));
    side->note(name, arguments);
}

void DialogSide::remove(QDialog *dialog)
{
    DialogSide *side = sides().take(dialog);
    side->note("destroyed");
    delete side;
}

bool DialogSide::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show)
        note(static_cast<QDialog *>(watched)->isModal() ? "shown modally" : "shown");
    return false;
}

void DialogSide::note(const char *member, const QVariantList &arguments) const
{
    Double::instance().note(QByteArray(m_name + "::" + member).constData(), arguments);
}

ComProgressDlg::ComProgressDlg(QString &source, QString &destination, QWidget *parent) : QDialog(parent), d(nullptr)
{
    DialogSide::add("ComProgressDlg", this, {source, destination, address(parent)});
}

ComProgressDlg::~ComProgressDlg()
{
    DialogSide::remove(this);
}

void ComProgressDlg::slotProcTransStatus(quint8 first, quint8 last, quint8 *filename, quint32 filesize, quint32 cursize)
{
    const QVariant name = filename ? QVariant(QByteArray(reinterpret_cast<const char *>(filename))) : QVariant();
    Double::instance().note("ComProgressDlg::slotProcTransStatus", {uint(first), uint(last), name, filesize, cursize});
}

void ComProgressDlg::reject()
{
    if (std::exchange(DialogSide::of(this)->cancelAsked, true))
        return;
    emit userActionInd(1);
}

void ComProgressDlg::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
}

void ComProgressDlg::closeEvent(QCloseEvent *event)
{
    event->ignore();
    reject();
}

ProfileStatusClass::ProfileStatusClass(unsigned int shortcut, bool remote, QWidget *parent)
    : QDialog(parent), d(nullptr)
{
    DialogSide::add("ProfileStatusClass", this, {shortcut, remote, address(parent)});
}

ProfileStatusClass::ProfileStatusClass(unsigned int server, QWidget *parent) : QDialog(parent), d(nullptr)
{
    DialogSide::add("ProfileStatusClass", this, {server, address(parent)});
}

ProfileStatusClass::~ProfileStatusClass()
{
    DialogSide::remove(this);
}

void ProfileStatusClass::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
}

RmtProfilePropertyClass::RmtProfilePropertyClass(unsigned int shortcut, QWidget *parent) : QDialog(parent), d(nullptr)
{
    DialogSide::add("RmtProfilePropertyClass", this, {shortcut, address(parent)});
}

RmtProfilePropertyClass::~RmtProfilePropertyClass()
{
    DialogSide::remove(this);
}

void RmtProfilePropertyClass::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
}

QString CVmSkin::GetImgPath(int group, int id, int variant)
{
    Double::instance().note("CVmSkin::GetImgPath", {group, id, variant});
    return skinImagePath(group, id, variant);
}
