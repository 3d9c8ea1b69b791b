#include "ProfileStatusClass.h"

#include "CVmSkin.h"
#include "factsview.h"
#include "liveview.h"
#include "platformdata.h"
#include "texts.h"

#include <QDateTime>
#include <QEvent>

/** What the two kinds of the dialog have in common. */
class ProfileStatusClassPrivate
{
public:
    ProfileStatusClassPrivate(QDialog *dialog, int rows) : m_dialog(dialog), m_view(new FactsView(dialog, rows)) {}
    virtual ~ProfileStatusClassPrivate() = default;
    Q_DISABLE_COPY(ProfileStatusClassPrivate)

    /** Reads the facts anew and shows them. */
    virtual void refresh() = 0;
    virtual void labelRows() = 0;

    /** To be called once the dialog is made: the texts need the virtual functions. */
    void start()
    {
        m_view->setIcon(CVmSkin::GetImgPath(2, BTSDK_CLS_OBEX_FILE_TRANS, 3));
        retranslate();
        new LiveView(m_dialog, [this] { refresh(); });
        m_dialog->adjustSize();
    }

    void retranslate()
    {
        m_view->retranslate();
        labelRows();
        refresh();
    }

protected:
    static QString tr(const char *text) { return ProfileStatusClass::tr(text); }

    void showTitle(const QString &service)
    {
        m_view->setTitle(service.isEmpty() ? tr("Unknown service") : service);
        m_dialog->setWindowTitle(service.isEmpty() ? tr("Status") : tr("%1 Status").arg(service));
    }

    static QString sinceText(qint64 since)
    {
        return since == 0 ? QString() : texts::since(since, QDateTime::currentMSecsSinceEpoch());
    }

    QDialog *m_dialog;
    FactsView *m_view;
};

namespace {

class ShortcutStatus : public ProfileStatusClassPrivate
{
public:
    ShortcutStatus(QDialog *dialog, quint32 shortcut) : ProfileStatusClassPrivate(dialog, RowCount), m_handle(shortcut)
    {
    }

    void labelRows() override
    {
        m_view->setLabel(DeviceRow, tr("Device:"));
        m_view->setLabel(AddressRow, tr("Address:"));
        m_view->setLabel(StateRow, tr("State:"));
        m_view->setLabel(SinceRow, tr("Connected since:"));
        m_view->setLabel(ReceivedRow, tr("Received:"));
        m_view->setLabel(SentRow, tr("Sent:"));
    }

    void refresh() override
    {
        const platformdata::Shortcut facts = platformdata::readShortcut(m_handle);
        const bool connected = facts.state == BTSDK_SHORTCUT_CONNECTED;
        showTitle(facts.service);
        m_view->setValue(DeviceRow, facts.device.name);
        m_view->setValue(AddressRow, facts.device.address);
        m_view->setValue(StateRow, stateText(facts));
        m_view->setValue(SinceRow, connected ? sinceText(facts.connectedSince) : QString());
        m_view->setValue(ReceivedRow, connected ? texts::size(facts.bytesReceived) : QString());
        m_view->setValue(SentRow, connected ? texts::size(facts.bytesSent) : QString());
        m_view->setNote(facts.lastResult == BTSDK_OK
                            ? QString()
                            : tr("Last problem: %1").arg(platformdata::resultText(facts.lastResult)));
    }

private:
    enum Row { DeviceRow, AddressRow, StateRow, SinceRow, ReceivedRow, SentRow, RowCount };

    static QString stateText(const platformdata::Shortcut &facts)
    {
        if (!facts.known)
            return tr("This service is no longer known.");
        switch (facts.state) {
        case BTSDK_SHORTCUT_CONNECTED:
            return tr("Connected");
        case BTSDK_SHORTCUT_CONNECTING:
            return tr("Connecting...");
        default:
            return tr("Not connected");
        }
    }

    quint32 m_handle;
};

class ServerStatus : public ProfileStatusClassPrivate
{
public:
    ServerStatus(QDialog *dialog, quint32 server) : ProfileStatusClassPrivate(dialog, RowCount), m_handle(server) {}

    void labelRows() override
    {
        m_view->setLabel(StateRow, tr("State:"));
        m_view->setLabel(FolderRow, tr("Shared folder:"));
        m_view->setLabel(AccessRow, tr("Access:"));
        m_view->setLabel(ListeningRow, tr("Listens at:"));
        m_view->setLabel(PasskeyRow, tr("Passkey:"));
        m_view->setLabel(SinceRow, tr("Started:"));
        m_view->setLabel(ClientsRow, tr("Devices connected:"));
        m_view->setLabel(ReceivedRow, tr("Received:"));
        m_view->setLabel(SentRow, tr("Sent:"));
    }

    void refresh() override
    {
        const platformdata::Server facts = platformdata::readServer(m_handle);
        const bool running = facts.status == BTSDK_SERVER_STARTED || facts.status == BTSDK_SERVER_CONNECTED;
        showTitle(facts.service);
        m_view->setValue(StateRow, stateText(facts));
        m_view->setValue(FolderRow, facts.folder);
        m_view->setValue(AccessRow, facts.known ? accessText(facts.writable) : QString());
        m_view->setValue(ListeningRow, running ? facts.listening : QString());
        m_view->setValue(PasskeyRow, facts.passkey);
        m_view->setValue(SinceRow, running ? sinceText(facts.startedSince) : QString());
        m_view->setValue(ClientsRow, running ? clientsText(facts) : QString());
        m_view->setValue(ReceivedRow, running ? texts::size(facts.bytesReceived) : QString());
        m_view->setValue(SentRow, running ? texts::size(facts.bytesSent) : QString());
    }

private:
    enum Row {
        StateRow,
        FolderRow,
        AccessRow,
        ListeningRow,
        PasskeyRow,
        SinceRow,
        ClientsRow,
        ReceivedRow,
        SentRow,
        RowCount
    };

    static QString stateText(const platformdata::Server &facts)
    {
        if (!facts.known)
            return tr("This service is no longer known.");
        switch (facts.status) {
        case BTSDK_SERVER_STARTED:
            return tr("Running, no device is connected");
        case BTSDK_SERVER_CONNECTED:
            return tr("Running, in use");
        default:
            return tr("Stopped");
        }
    }

    static QString accessText(bool writable)
    {
        return writable ? tr("Other devices may read and change files") : tr("Other devices may read files");
    }

    static QString clientsText(const platformdata::Server &facts)
    {
        if (facts.clients == 0 || facts.client.isEmpty())
            return QString::number(facts.clients);
        return facts.clients == 1 ? facts.client
                                  : tr("%1, the newest: %2").arg(QString::number(facts.clients), facts.client);
    }

    quint32 m_handle;
};

} // namespace

// Which kind the dialog is shows from its handle alone; a shortcut's service is always a remote one.
ProfileStatusClass::ProfileStatusClass(unsigned int shortcut, bool, QWidget *parent)
    : QDialog(parent), d(new ShortcutStatus(this, shortcut))
{
    d->start();
}

ProfileStatusClass::ProfileStatusClass(unsigned int server, QWidget *parent)
    : QDialog(parent), d(new ServerStatus(this, server))
{
    d->start();
}

ProfileStatusClass::~ProfileStatusClass()
{
    delete d;
}

void ProfileStatusClass::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        d->retranslate();
    QDialog::changeEvent(event);
}
