#ifndef RMTPROFILEPROPERTYCLASS_H
#define RMTPROFILEPROPERTYCLASS_H

#include <QDialog>

class RmtProfilePropertyClassPrivate;

/** Shows what is known of a service on a remote device: name, address, service, connected or not. */
class Q_DECL_EXPORT RmtProfilePropertyClass : public QDialog
{
    Q_OBJECT

public:
    RmtProfilePropertyClass(unsigned int shortcut, QWidget *parent);
    ~RmtProfilePropertyClass() override;

protected:
    void changeEvent(QEvent *event) override;

private:
    RmtProfilePropertyClassPrivate *const d;
};

#endif
