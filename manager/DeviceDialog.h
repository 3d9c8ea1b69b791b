#ifndef MANAGER_DEVICEDIALOG_H
#define MANAGER_DEVICEDIALOG_H

#include "DeviceInput.h"

#include <QDialog>

class QFormLayout;
class QLabel;
class QLineEdit;

namespace manager {

/** Asks for a network device's name, address and port, and closes only with an answer that can be used. */
class DeviceDialog : public QDialog
{
    Q_OBJECT

public:
    explicit DeviceDialog(QVector<KnownDevice> known, QWidget *parent = nullptr);

    /** What was typed, tidied; valid when the dialog was accepted. */
    DeviceInput input() const;

    /** Shows a failure that only became known when the device was added. */
    void showError(const QString &sentence);

public slots:
    void accept() override;

private:
    QLineEdit *addField(QFormLayout *form, const QString &label, const QString &example, const char *objectName);
    QLineEdit *field(InputError::Field which) const;

    QVector<KnownDevice> m_known;
    QLineEdit *m_name;
    QLineEdit *m_address;
    QLineEdit *m_port;
    QLabel *m_error;
};

} // namespace manager

#endif
