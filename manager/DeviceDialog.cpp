#include "DeviceDialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace manager {

DeviceDialog::DeviceDialog(QVector<KnownDevice> known, QWidget *parent)
    : QDialog(parent), m_known(std::move(known)), m_error(new QLabel(this))
{
    setObjectName(QStringLiteral("deviceDialog"));
    setWindowTitle(tr("Add Network Device"));
    auto *intro = new QLabel(tr("A device that offers OBEX file transfer over TCP."), this);
    intro->setWordWrap(true);

    auto *form = new QFormLayout;
    m_name = addField(form, tr("&Name:"), tr("Living room"), "deviceName");
    m_address = addField(form, tr("&Address:"), tr("192.168.1.20"), "deviceAddress");
    m_port = addField(form, tr("&Port:"), tr("6502"), "devicePort");

    m_error->setObjectName(QStringLiteral("deviceError"));
    m_error->setTextFormat(Qt::PlainText);
    m_error->setWordWrap(true);
    QPalette colours = m_error->palette();
    colours.setColor(QPalette::WindowText, QColor(0xb0, 0x20, 0x20));
    m_error->setPalette(colours);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(tr("&Add"));
    connect(buttons, &QDialogButtonBox::accepted, this, &DeviceDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &DeviceDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addLayout(form);
    layout->addWidget(m_error);
    layout->addStretch();
    layout->addWidget(buttons);
    setMinimumWidth(fontMetrics().averageCharWidth() * 60);
}

QLineEdit *DeviceDialog::addField(QFormLayout *form, const QString &label, const QString &example,
                                  const char *objectName)
{
    auto *edit = new QLineEdit(this);
    edit->setObjectName(QString::fromLatin1(objectName));
    edit->setPlaceholderText(example);
    edit->setAccessibleName(QString(label).remove(u'&').remove(u':'));
    connect(edit, &QLineEdit::textEdited, m_error, &QLabel::clear);
    form->addRow(label, edit);
    return edit;
}

DeviceInput DeviceDialog::input() const
{
    return tidied({m_name->text(), m_address->text(), m_port->text()});
}

QLineEdit *DeviceDialog::field(InputError::Field which) const
{
    return which == InputError::Name ? m_name : which == InputError::Port ? m_port : m_address;
}

void DeviceDialog::showError(const QString &sentence)
{
    m_error->setText(sentence);
}

void DeviceDialog::accept()
{
    const InputError error = checkDeviceInput(input(), m_known);
    if (error.field == InputError::None) {
        QDialog::accept();
        return;
    }
    m_error->setText(error.sentence);
    field(error.field)->setFocus();
    field(error.field)->selectAll();
}

} // namespace manager
