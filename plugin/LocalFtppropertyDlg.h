#ifndef LOCALFTPPROPERTYDLG_H
#define LOCALFTPPROPERTYDLG_H

#include "btsdk.h"
#include "ui_LocalFtppropertyDlg.h"

#include <QDialog>
#include <QString>

/**
 * The properties of the local file transfer server: who may connect, which folder is shared, who may change it.
 *
 * OK writes the settings first and asks afterwards whether a connected client may be dropped for them: No leaves the
 * settings changed and the running server as it was. Lives on the GUI thread.
 */
class FtppropertyClass : public QDialog
{
    Q_OBJECT

public:
    /** @param tab  0 General, 1 Options */
    FtppropertyClass(unsigned int server, QWidget *parent, int tab);
    ~FtppropertyClass() override;

protected:
    void changeEvent(QEvent *event) override;

private slots:
    void on_toolButton_SelFTPFolder_clicked();
    void OnOK();

private:
    friend struct FtppropertyPeer; // the unit test's view of the members

    void init_general();
    void init_FTP();
    /** @return whether the running server may be changed now; the dialog may be gone when it says no */
    bool ConfirmSettingChange();
    /** The path as shown to people: it begins with the last component of the shared folder. */
    QString FullStrToShowStr(const QString &path) const;
    void retranslateUi();

    void applySecurity();
    bool saveFolder();
    bool saveAccess();

    Ui_FtpPropertyDlg ui;
    quint32 m_hServer;
    quint16 m_nServiceClass = 0;
    quint16 m_nSecurity = 0;
    qint32 m_nAccess = 0; // BtsdkAccess, or whatever else the settings hold
    char m_szShareFolder[260] = {};
    char m_szSettingsFile[260] = {};
    char m_szWorkingDir[256] = {};
    QString m_strFolder; // as the dialog opened with it
    BtSdkServerAttributes m_attributes = {};
};

#endif
