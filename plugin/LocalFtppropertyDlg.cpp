#include "LocalFtppropertyDlg.h"

#include "CVmSkin.h"
#include "messagebox.h"
#include "vmcommon.h"

#include <QFileDialog>
#include <QPointer>
#include <QPushButton>

#include <cstring>
#include <memory>

namespace {

constexpr char section[] = "FTPSERVER";
constexpr char folderKey[] = "SHAREFOLDER";
constexpr char accessKey[] = "DESIRED_ACCESS";

/** Group and size step of a service's large icon. */
constexpr int serviceIcons = 2;
constexpr int largeIcon = 4;

bool isSecure(quint16 security)
{
    return (security & BTSDK_SECURE_CONNECTION) != 0;
}

/** Cuts at the byte: what does not fit is lost, its NUL never is. */
template <size_t Size>
void copyCut(char (&target)[Size], const char *source)
{
    const size_t length = strnlen(source, Size - 1);
    std::memset(target, 0, Size);
    std::memcpy(target, source, length);
}

} // namespace

FtppropertyClass::FtppropertyClass(unsigned int server, QWidget *parent, int tab) : QDialog(parent), m_hServer(server)
{
    (void)VmCm_GetWorkingDir(m_szWorkingDir, sizeof m_szWorkingDir);
    (void)VmCm_GetCommonSettingFilePath(m_szSettingsFile, sizeof m_szSettingsFile);
    ui.setupUi(this);

    m_attributes.mask = BTSDK_ATTRIBUTE_SECURITY;
    (void)Btsdk_GetServerAttributes(m_hServer, &m_attributes);
    m_nServiceClass = m_attributes.serviceClass;
    m_nSecurity = m_attributes.security;

    init_general();
    init_FTP();
    ui.tabWidget->setCurrentIndex(tab);
    retranslateUi();
    connect(ui.buttonBox, SIGNAL(accepted()), this, SLOT(OnOK()));
    setWindowFlags(Qt::Window);
}

FtppropertyClass::~FtppropertyClass() = default;

void FtppropertyClass::init_general()
{
    unsigned char name[64] = {};
    unsigned short length = sizeof name;
    if (Btsdk_GetLocalName(name, &length) == BTSDK_OK) {
        const char *const text = reinterpret_cast<const char *>(name);
        ui.label_DevName->setText(QString::fromUtf8(text, static_cast<int>(strnlen(text, sizeof name))));
    }
    ui.label_ProfileIcon->setPixmap(QPixmap(CVmSkin::GetImgPath(serviceIcons, m_nServiceClass, largeIcon)));
    ui.checkBox_SecureConnection->setChecked(isSecure(m_nSecurity));
}

void FtppropertyClass::init_FTP()
{
    constexpr unsigned int valueSize = 256;
    (void)GetPrivateProfileString(section, folderKey, "", m_szShareFolder, valueSize, m_szSettingsFile);
    m_strFolder = QString::fromUtf8(m_szShareFolder);
    ui.lineEdit_FTPFolder->setText(m_strFolder);
    m_nAccess = GetPrivateProfileInt(section, accessKey, BTSDK_ACCESS_WRITABLE, m_szSettingsFile);
    ui.checkBox_FtpWritable->setChecked(m_nAccess == BTSDK_ACCESS_WRITABLE);
}

void FtppropertyClass::retranslateUi()
{
    QString name;
    (void)VmCm_GetSvcDisplayName(m_nServiceClass, &name);
    setWindowTitle(tr("%1 Properties").arg(name));
    ui.label_ProfileName->setText(name);
    ui.label_3->setText(tr("Location:"));
    ui.label->setText(tr("Description:"));
    QString description;
    (void)VmCm_GetLocSvcDesc(m_nServiceClass, &description);
    ui.textBrowser->setPlainText(description);
    ui.textBrowser_2->setPlainText(tr("If a Secure Connection is selected, a passkey is required when the remote "
                                      "devices connect to this service."));
    ui.checkBox_SecureConnection->setText(tr("S&ecure Connection"));
    ui.tabWidget->setTabText(0, tr("General"));
    ui.tabWidget->setTabText(1, tr("Options"));
    ui.groupBox->setTitle(tr("&Share this folder"));
    ui.checkBox_FtpWritable->setText(tr("A&llow other Bluetooth users to change my files"));
}

void FtppropertyClass::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::LanguageChange)
        retranslateUi();
    else
        QDialog::changeEvent(event);
}

void FtppropertyClass::on_toolButton_SelFTPFolder_clicked()
{
    // On the heap: the host may delete this dialog, and the chooser with it, while it is open.
    const QPointer<QFileDialog> chooser =
        new QFileDialog(this, tr("Please select the folder to be shared:"), QString::fromUtf8(m_szShareFolder));
    chooser->setFileMode(QFileDialog::Directory);
    chooser->setOptions(QFileDialog::ShowDirsOnly | QFileDialog::DontResolveSymlinks);
    const bool accepted = chooser->exec() == QDialog::Accepted;
    if (!chooser)
        return;
    const QString folder = accepted ? chooser->selectedFiles().value(0) : QString();
    delete chooser;
    if (!folder.isEmpty())
        ui.lineEdit_FTPFolder->setText(folder);
}

void FtppropertyClass::OnOK()
{
    applySecurity();
    const bool folderChanged = saveFolder();
    const bool accessChanged = saveAccess();
    if (!folderChanged && !accessChanged) {
        accept();
        return;
    }
    auto parameters = std::make_unique<BtSdkFtpServerParameters>();
    parameters->size = sizeof *parameters;
    parameters->mask = 3; // access and folder
    parameters->access = static_cast<quint16>(m_nAccess);
    copyCut(parameters->folder, m_szShareFolder);
    m_attributes.mask = BTSDK_ATTRIBUTE_APPLICATION;
    m_attributes.application = parameters.get();
    const QPointer<FtppropertyClass> self = this;
    if (ConfirmSettingChange())
        (void)Btsdk_UpdateServerAttributes(m_hServer, &m_attributes);
    if (!self)
        return;
    m_attributes.application = nullptr;
    accept();
}

void FtppropertyClass::applySecurity()
{
    const bool wanted = ui.checkBox_SecureConnection->isChecked();
    if (wanted == isSecure(m_nSecurity))
        return;
    m_attributes.mask = BTSDK_ATTRIBUTE_SECURITY;
    (void)Btsdk_GetServerAttributes(m_hServer, &m_attributes);
    m_attributes.security = wanted ? BTSDK_SECURE_CONNECTION : 0;
    (void)Btsdk_UpdateServerAttributes(m_hServer, &m_attributes);
}

bool FtppropertyClass::saveFolder()
{
    const QString folder = ui.lineEdit_FTPFolder->text();
    if (folder == m_strFolder)
        return false;
    copyCut(m_szShareFolder, folder.toUtf8().constData());
    (void)Btsdk_WritePrivateProfileString(section, folderKey, m_szShareFolder, m_szSettingsFile);
    return true;
}

bool FtppropertyClass::saveAccess()
{
    const bool writable = ui.checkBox_FtpWritable->isChecked();
    if (m_nAccess == BTSDK_ACCESS_WRITABLE && !writable)
        m_nAccess = BTSDK_ACCESS_READ_ONLY;
    else if (m_nAccess == BTSDK_ACCESS_READ_ONLY && writable)
        m_nAccess = BTSDK_ACCESS_WRITABLE;
    else
        return false;
    (void)Btsdk_WritePrivateProfileInt(section, accessKey, m_nAccess, m_szSettingsFile);
    return true;
}

bool FtppropertyClass::ConfirmSettingChange()
{
    if (m_hServer == 0)
        return false;
    quint16 status = 0;
    if (Btsdk_GetServerStatus(m_hServer, &status) != BTSDK_OK)
        return false;
    if (status != BTSDK_SERVER_CONNECTED)
        return true;
    return execMessageBox(QMessageBox::Warning, tr("Confirm Settings Warning"),
                          tr("WARNING: A remote device has connected to this service. If you continue to change the "
                             "settings, the connection will be disconnected. \n\nAre you sure you want to change the "
                             "settings?"),
                          QMessageBox::Yes | QMessageBox::No, this) == QMessageBox::Yes;
}

QString FtppropertyClass::FullStrToShowStr(const QString &path) const
{
    const bool closed = m_strFolder.endsWith(QLatin1Char('/'));
    const int slash = m_strFolder.lastIndexOf(QLatin1Char('/'), closed ? -2 : -1);
    QString root = m_strFolder.mid(qMax(slash, 0));
    QString tail = path.right(qMax(0, path.size() - m_strFolder.size() + (closed ? 1 : 0)));
    if (!tail.startsWith(QLatin1Char('/')))
        tail.prepend(QLatin1Char('/'));
    if (root.endsWith(QLatin1Char('/')))
        root.chop(1);
    return root + tail;
}
