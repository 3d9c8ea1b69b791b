#include "RmtProfilePropertyClass.h"

#include "CVmSkin.h"
#include "factsview.h"
#include "liveview.h"
#include "platformdata.h"

#include <QEvent>

class RmtProfilePropertyClassPrivate
{
public:
    RmtProfilePropertyClassPrivate(QDialog *dialog, quint32 shortcut)
        : m_dialog(dialog), m_view(new FactsView(dialog, RowCount)), m_handle(shortcut)
    {
        m_view->setIcon(CVmSkin::GetImgPath(2, BTSDK_CLS_OBEX_FILE_TRANS, 3));
        retranslate();
        new LiveView(dialog, [this] { refresh(); });
        dialog->adjustSize();
    }

    void retranslate()
    {
        m_view->retranslate();
        m_view->setLabel(DeviceRow, tr("Device name:"));
        m_view->setLabel(AddressRow, tr("Address:"));
        m_view->setLabel(KindRow, tr("Reached over:"));
        m_view->setLabel(ServiceRow, tr("Service:"));
        m_view->setLabel(StateRow, tr("State:"));
        refresh();
    }

    void refresh()
    {
        const platformdata::Shortcut facts = platformdata::readShortcut(m_handle);
        m_view->setTitle(facts.device.known ? facts.device.name : tr("Unknown device"));
        m_dialog->setWindowTitle(facts.service.isEmpty() ? tr("Properties") : tr("%1 Properties").arg(facts.service));
        m_view->setValue(DeviceRow, facts.device.name);
        m_view->setValue(AddressRow, facts.device.address);
        m_view->setValue(KindRow, facts.device.known ? kindText(facts.device) : QString());
        m_view->setValue(ServiceRow, facts.service);
        m_view->setValue(StateRow, stateText(facts));
    }

private:
    enum Row { DeviceRow, AddressRow, KindRow, ServiceRow, StateRow, RowCount };

    static QString tr(const char *text) { return RmtProfilePropertyClass::tr(text); }

    static QString kindText(const platformdata::Device &device)
    {
        return device.bluetooth ? tr("Bluetooth") : tr("Network");
    }

    static QString stateText(const platformdata::Shortcut &facts)
    {
        if (!facts.known)
            return tr("This service is no longer known.");
        return facts.state == BTSDK_SHORTCUT_CONNECTED ? tr("Connected") : tr("Not connected");
    }

    QDialog *m_dialog;
    FactsView *m_view;
    quint32 m_handle;
};

RmtProfilePropertyClass::RmtProfilePropertyClass(unsigned int shortcut, QWidget *parent)
    : QDialog(parent), d(new RmtProfilePropertyClassPrivate(this, shortcut))
{
}

RmtProfilePropertyClass::~RmtProfilePropertyClass()
{
    delete d;
}

void RmtProfilePropertyClass::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        d->retranslate();
    QDialog::changeEvent(event);
}
