#ifndef RMTPROFILEPROPERTYCLASS_H
#define RMTPROFILEPROPERTYCLASS_H

#include <QDialog>

class RmtProfilePropertyClassPrivate;

/** Shows what is known of a service on a remote device, live: name, address, service, connected or not. A handle that
 *  names nothing is told so in words. For the GUI thread alone; whoever makes it shows it. */
class Q_DECL_EXPORT RmtProfilePropertyClass : public QDialog
{
    Q_OBJECT

public:
    /** @param parent  owns the dialog; may be null */
    RmtProfilePropertyClass(unsigned int shortcut, QWidget *parent);
    ~RmtProfilePropertyClass() override;

protected:
    void changeEvent(QEvent *event) override;

private:
    RmtProfilePropertyClassPrivate *const d;
};

#endif
