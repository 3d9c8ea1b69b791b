#ifndef REQUESTTEST_H
#define REQUESTTEST_H

#include "transfertest.h"

#include <QUrl>

/** Requests as the window's actions and the panes' drops make them. */
class RequestTest : public TransferTest
{
    Q_OBJECT

protected:
    static constexpr char putFile[] = "Btsdk_FTPPutFile";
    static constexpr char putFolder[] = "Btsdk_FTPPutDir";
    static constexpr char getFile[] = "Btsdk_FTPGetFile";
    static constexpr char getFolder[] = "Btsdk_FTPGetDir";
    static constexpr char deleteFile[] = "Btsdk_FTPDeleteFile";
    static constexpr char deleteFolder[] = "Btsdk_FTPDeleteDir";
    /** The status bar's text before a request that is not to change it. */
    static constexpr char before[] = "text from before";

    static QUrl urlOf(const QString &path)
    {
        QUrl url;
        url.setPath(path, QUrl::DecodedMode);
        return url;
    }
    bool request(const char *slot, const QList<QUrl> &urls)
    {
        return windows::call(window, slot, Q_ARG(QList<QUrl>, urls));
    }
    bool request(const QByteArray &kind, const QString &name)
    {
        if (kind == "upload")
            return request("UploadRequest", {urlOf(path(name))});
        return request(kind == "download" ? "DownloadRequest" : "DeleteRmtRequest", {urlOf('/' + name)});
    }
    void openWith(const QList<RemoteEntry> &entries)
    {
        script().setListing("/", entries);
        openConnected();
        script().clearCalls();
    }
    static int started()
    {
        int calls = 0;
        for (const char *function : {putFile, putFolder, getFile, getFolder, deleteFile, deleteFolder})
            calls += script().count(function);
        return calls;
    }
    static Call dialog() { return script().last("ComProgressDlg::ComProgressDlg"); }
    static void requests_data()
    {
        QTest::addColumn<QByteArray>("kind");
        for (const char *kind : {"upload", "download", "delete"})
            QTest::newRow(kind) << QByteArray(kind);
    }
};

#endif
