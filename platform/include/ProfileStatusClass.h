#ifndef PROFILESTATUSCLASS_H
#define PROFILESTATUSCLASS_H

#include <QDialog>

class ProfileStatusClassPrivate;

/**
 * Shows the state of a remote connection or of a local server, live: device, since when, bytes each way. A handle that
 * names nothing, or nothing any more, is told so in words. For the GUI thread alone; whoever makes it shows it.
 */
class Q_DECL_EXPORT ProfileStatusClass : public QDialog
{
    Q_OBJECT

public:
    /** The state of a shortcut.
     *  @param remote  true; a shortcut always belongs to a remote device
     *  @param parent  owns the dialog; may be null */
    ProfileStatusClass(unsigned int shortcut, bool remote, QWidget *parent);
    /** The state of a local server. @param parent  owns the dialog; may be null */
    ProfileStatusClass(unsigned int server, QWidget *parent);
    ~ProfileStatusClass() override;

protected:
    void changeEvent(QEvent *event) override;

private:
    ProfileStatusClassPrivate *const d;
};

#endif
