#include "requesttest.h"
#include "testmain.h"

#include <QMimeData>

/** From the user's choice to the operation that it starts. */
class TestTransferRequests : public RequestTest
{
    Q_OBJECT

private slots:
    void init() { prepare(); }
    void cleanup() { plugin().stop(); }

    void upload_file_putsItAndShowsProgress();
    void upload_folder_putsTheFolder();
    void upload_twoSelected_putsTheFirstAlone();
    void upload_nothing_putsAnEmptyName();
    void upload_fromARoot_hasASingleSlash();
    void upload_droppedFileUrl_isAFileOfTheDisk_data();
    void upload_droppedFileUrl_isAFileOfTheDisk();
    void upload_otherSchemes_areRefused_data();
    void upload_otherSchemes_areRefused();
    void download_file_getsItAndShowsProgress();
    void download_folder_getsTheFolder();
    void download_twoSelected_getsTheFirstAlone();
    void download_atTheRoot_hasNoDoubledSlash();
    void download_request_isWrittenToStandardOutput();
    void download_doubleClick_getsTheFile();
    void delete_entry_usesTheCallOfItsKind_data();
    void delete_entry_usesTheCallOfItsKind();

    void request_disconnected_clearsTheHandleAndNothingElse_data();
    void request_disconnected_clearsTheHandleAndNothingElse();
    void request_withoutAHandle_stopsSilently_data();
    void request_withoutAHandle_stopsSilently();
    void request_notSelectedOrEmpty_stopsSilently_data();
    void request_notSelectedOrEmpty_stopsSilently();
    void request_nameMatch_isExactAndByBytes_data();
    void request_nameMatch_isExactAndByBytes();

    void actionCopy_doesNothing();
    void currentItemChanged_storesTheRow();
};

void TestTransferRequests::upload_file_putsItAndShowsProgress()
{
    makeFile(QStringLiteral("mine.txt"));
    openConnected();
    script().setTransfersHang(true);
    script().clearCalls();
    QVERIFY(windows::giveFocus(local));
    QVERIFY(windows::select(local, {"mine.txt"}));
    trigger("actionUpload");
    QCOMPARE(status(), QStringLiteral("Uploading ..."));
    QTRY_COMPARE(script().hangingTransfers(), 1);
    QCOMPARE(script().calls(putFile).size(), 1);
    const Call put = script().last(putFile);
    QCOMPARE(put.number(0), Double::firstConnection);
    QCOMPARE(put.text(1), path(QStringLiteral("mine.txt")).toUtf8());
    QCOMPARE(put.text(2), QByteArray("mine.txt"));
    // Registered before the start, so that the first reports find their way.
    const QStringList order = script().orderOf({"Btsdk_FTPRegisterStatusCallback", putFile});
    QCOMPARE(order, (QStringList{"Btsdk_FTPRegisterStatusCallback", putFile}));
    QCOMPARE(script().last("Btsdk_FTPRegisterStatusCallback").number(0), Double::firstConnection);
    QCOMPARE(dialog().argument(0).toString(), localFolder());
    QCOMPARE(dialog().argument(1).toString(), QStringLiteral("/"));
    QCOMPARE(dialog().argument(2).toULongLong(), qulonglong(reinterpret_cast<quintptr>(window.data())));
    QCOMPARE(script().count("ComProgressDlg::shown"), 1);
    script().releaseTransfers();
    QTRY_COMPARE(status(), QStringLiteral("Upload succeeded."));
}

void TestTransferRequests::upload_folder_putsTheFolder()
{
    makeFile(QStringLiteral("folder/inner"));
    openConnected();
    QVERIFY(windows::call(window, "UpdateRmtCombox", Q_ARG(QString, QStringLiteral("/Docs"))));
    QVERIFY(windows::select(local, {"folder"}));
    trigger("actionUpload");
    QTRY_COMPARE(script().count(putFolder), 1);
    QCOMPARE(script().last(putFolder).text(1), path(QStringLiteral("folder")).toUtf8());
    QCOMPARE(script().last(putFolder).text(2), QByteArray("folder"));
    QCOMPARE(dialog().argument(0).toString(), path(QStringLiteral("folder"))); // of a folder, the folder itself
    QCOMPARE(dialog().argument(1).toString(), QStringLiteral("/Docs"));
    QTRY_COMPARE(status(), QStringLiteral("Upload succeeded."));
}

void TestTransferRequests::upload_twoSelected_putsTheFirstAlone()
{
    makeFile(QStringLiteral("a.txt"));
    makeFile(QStringLiteral("b.txt"));
    openConnected();
    QVERIFY(windows::select(local, {"a.txt", "b.txt"}));
    const QByteArray first = local->selectedItems().first()->text(0).toUtf8();
    trigger("actionUpload");
    QTRY_COMPARE(status(), QStringLiteral("Upload succeeded."));
    QTest::qWait(20); // nothing goes on to the second one
    QCOMPARE(started(), 1);
    QCOMPARE(script().last(putFile).text(2), first);
}

void TestTransferRequests::upload_nothing_putsAnEmptyName()
{
    openConnected();
    QVERIFY(request("UploadRequest", {}));
    QTRY_COMPARE(script().count(putFile), 1);
    QCOMPARE(script().last(putFile).text(1), QByteArray());
    QCOMPARE(script().last(putFile).text(2), QByteArray());
    QTRY_VERIFY(status() != QStringLiteral("Uploading ..."));
}

void TestTransferRequests::upload_fromARoot_hasASingleSlash()
{
    openConnected();
    QVERIFY(windows::call(window, "UpdateLocCombox", Q_ARG(QString, QStringLiteral("/"))));
    QVERIFY(windows::select(local, {"etc"}));
    trigger("actionUpload");
    QTRY_COMPARE(script().count(putFolder), 1);
    QCOMPARE(script().last(putFolder).text(1), QByteArray("/etc"));
    QTRY_COMPARE(status(), QStringLiteral("Upload succeeded."));
}

void TestTransferRequests::upload_droppedFileUrl_isAFileOfTheDisk_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("ending");
    QTest::newRow("a file") << "a.txt"
                            << "";
    QTest::newRow("a name with a percent sign") << "50% a%20b.txt"
                                                << "";
    QTest::newRow("a folder with a slash behind it") << "folder"
                                                     << "/";
}

void TestTransferRequests::upload_droppedFileUrl_isAFileOfTheDisk()
{
    QFETCH(QString, name);
    QFETCH(QString, ending);
    if (ending.isEmpty())
        makeFile(name);
    else
        makeFile(name + QStringLiteral("/inner"));
    openConnected();
    QMimeData payload;
    payload.setUrls({QUrl::fromLocalFile(path(name) + ending)});
    QVERIFY(windows::drop(remote, &payload).dropped);
    QTRY_COMPARE(started(), 1);
    const Call put = script().last(ending.isEmpty() ? putFile : putFolder);
    QCOMPARE(put.text(1), path(name).toUtf8());
    QCOMPARE(put.text(2), name.toUtf8());
    QTRY_COMPARE(status(), QStringLiteral("Upload succeeded."));
}

void TestTransferRequests::upload_otherSchemes_areRefused_data()
{
    QTest::addColumn<QString>("url");
    QTest::newRow("web") << "http://example.org/a.txt";
    QTest::newRow("another machine's file") << "file://elsewhere.example/a.txt";
    QTest::newRow("mail") << "mailto:someone@example.org";
}

void TestTransferRequests::upload_otherSchemes_areRefused()
{
    QFETCH(QString, url);
    openConnected();
    setStatus(QLatin1String(before));
    const Modals modals;
    QVERIFY(request("UploadRequest", {QUrl(url)}));
    QTest::qWait(20);
    QCOMPARE(started(), 0);
    QCOMPARE(status(), QLatin1String(before));
    QVERIFY(modals.seen().isEmpty());
}

void TestTransferRequests::download_file_getsItAndShowsProgress()
{
    openConnected();
    script().setTransfersHang(true);
    script().clearCalls();
    QVERIFY(windows::giveFocus(remote));
    QVERIFY(windows::select(remote, {"hello.txt"}));
    trigger("actionDownload");
    QCOMPARE(status(), QStringLiteral("Downloading ..."));
    QTRY_COMPARE(script().hangingTransfers(), 1);
    const Call get = script().last(getFile);
    QCOMPARE(get.number(0), Double::firstConnection);
    QCOMPARE(get.text(1), QByteArray("hello.txt"));
    QCOMPARE(get.text(2), path(QStringLiteral("hello.txt")).toUtf8());
    QCOMPARE(script().orderOf({"Btsdk_FTPRegisterStatusCallback", getFile}),
             (QStringList{"Btsdk_FTPRegisterStatusCallback", getFile}));
    QCOMPARE(dialog().argument(0).toString(), QStringLiteral("/"));
    QCOMPARE(dialog().argument(1).toString(), localFolder());
    QCOMPARE(QDir::currentPath(), localFolder());
    script().releaseTransfers();
    QTRY_COMPARE(status(), QStringLiteral("Download succeeded."));
    QVERIFY(windows::item(local, QStringLiteral("hello.txt")));
    QDir::setCurrent(QStringLiteral("/"));
}

void TestTransferRequests::download_folder_getsTheFolder()
{
    openConnected();
    QVERIFY(windows::select(remote, {"Photos"}));
    trigger("actionDownload");
    QTRY_COMPARE(script().count(getFolder), 1);
    QCOMPARE(script().last(getFolder).text(1), QByteArray("Photos"));
    QCOMPARE(script().last(getFolder).text(2), path(QStringLiteral("Photos")).toUtf8());
    QCOMPARE(dialog().argument(1).toString(), path(QStringLiteral("Photos")));
    QTRY_COMPARE(status(), QStringLiteral("Download succeeded."));
}

void TestTransferRequests::download_twoSelected_getsTheFirstAlone()
{
    openConnected();
    QVERIFY(windows::select(remote, {"hello.txt", "archive.tar.gz"}));
    const QByteArray first = remote->selectedItems().first()->text(0).toUtf8();
    trigger("actionDownload");
    QTRY_COMPARE(status(), QStringLiteral("Download succeeded."));
    QTest::qWait(20);
    QCOMPARE(started(), 1);
    QCOMPARE(script().last(getFile).text(1), first);
}

void TestTransferRequests::download_atTheRoot_hasNoDoubledSlash()
{
    openConnected();
    QList<QUrl> urls;
    const std::unique_ptr<QMimeData> payload([this] {
        windows::select(remote, {"hello.txt"});
        return remote->model()->mimeData(remote->selectionModel()->selectedRows());
    }());
    QCOMPARE(payload->urls().value(0).path(QUrl::FullyDecoded), QStringLiteral("/hello.txt"));
    QVERIFY(windows::drop(local, payload.get()).dropped);
    QTRY_COMPARE(status(), QStringLiteral("Download succeeded."));
    QVERIFY(windows::call(window, "UpdateLocCombox", Q_ARG(QString, QStringLiteral("/"))));
    QVERIFY(windows::select(remote, {"hello.txt"}));
    script().queueResult(getFile, BTSDK_ER_CANCELLED); // nothing is to be written there
    trigger("actionDownload");
    QTRY_COMPARE(status(), QStringLiteral("Download was not successful."));
    QCOMPARE(script().last(getFile).text(2), QByteArray("/hello.txt"));
    QCOMPARE(dialog().argument(1).toString(), QString()); // cut before its last slash
    QDir::setCurrent(QStringLiteral("/"));
}

void TestTransferRequests::download_request_isWrittenToStandardOutput()
{
    openConnected();
    QVERIFY(windows::select(remote, {"hello.txt"}));
    std::fflush(stdout);
    QFile output(path(QStringLiteral("output")));
    QVERIFY(output.open(QIODevice::ReadWrite));
    const int kept = ::dup(STDOUT_FILENO);
    ::dup2(output.handle(), STDOUT_FILENO);
    const bool called = request("download", QStringLiteral("not there 50%.txt"));
    std::fflush(stdout);
    ::dup2(kept, STDOUT_FILENO);
    ::close(kept);
    QVERIFY(called);
    QCOMPARE(contentOf(path(QStringLiteral("output"))), QByteArray("DownloadRequest /not there 50%.txt\n"));
}

void TestTransferRequests::download_doubleClick_getsTheFile()
{
    openConnected();
    QVERIFY(windows::giveFocus(remote));
    windows::doubleClick(remote, windows::item(remote, QStringLiteral("hello.txt")));
    QTRY_COMPARE(status(), QStringLiteral("Download succeeded."));
    QCOMPARE(contentOf(path(QStringLiteral("hello.txt"))), QByteArray("from the device"));
}

void TestTransferRequests::delete_entry_usesTheCallOfItsKind_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("function");
    QTest::newRow("a file") << "hello.txt" << QByteArray(deleteFile);
    QTest::newRow("a folder") << "Photos" << QByteArray(deleteFolder);
}

void TestTransferRequests::delete_entry_usesTheCallOfItsKind()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, function);
    openConnected();
    script().clearCalls();
    QVERIFY(windows::select(remote, {name}));
    QVERIFY(request("delete", name));
    QTRY_COMPARE(status(), QStringLiteral("Delete succeeded."));
    QCOMPARE(started(), 1);
    QCOMPARE(script().last(function.constData()).number(0), Double::firstConnection);
    QCOMPARE(script().last(function.constData()).text(1), name.toUtf8());
    QVERIFY(!windows::item(remote, name));
    QCOMPARE(script().count("ComProgressDlg::ComProgressDlg"), 0);
    QCOMPARE(script().count("Btsdk_FTPRegisterStatusCallback"), 0);
}

void TestTransferRequests::request_disconnected_clearsTheHandleAndNothingElse_data()
{
    requests_data();
}

void TestTransferRequests::request_disconnected_clearsTheHandleAndNothingElse()
{
    QFETCH(QByteArray, kind);
    makeFile(QStringLiteral("hello.txt"));
    openConnected();
    QVERIFY(windows::select(remote, {"hello.txt"}));
    setStatus(QLatin1String(before));
    script().clearCalls();
    script().setShortcutConnected(shortcut, false);
    const Modals modals;
    QVERIFY(request(kind, QStringLiteral("hello.txt")));
    QCOMPARE(script().order(), QStringList("VmCm_IsShortcutConnected"));
    QCOMPARE(script().last("VmCm_IsShortcutConnected").number(0), shortcut);
    QCOMPARE(status(), QLatin1String(before));
    QCOMPARE(windows::names(remote).size(), 4);
    // The handle is gone: what comes next connects anew, even if the link is back by then.
    script().setShortcutConnected(shortcut, true);
    action("action_Refresh")->trigger();
    QTRY_COMPARE(script().count("Btsdk_ConnectEx"), 1);
    QTRY_COMPARE(status(), QStringLiteral("Connected."));
}

void TestTransferRequests::request_withoutAHandle_stopsSilently_data()
{
    requests_data();
}

void TestTransferRequests::request_withoutAHandle_stopsSilently()
{
    QFETCH(QByteArray, kind);
    makeFile(QStringLiteral("new.txt"));
    openIdle();
    script().setShortcutConnected(shortcut, true);
    auto *row = addRow(remote, QStringLiteral("new.txt"));
    row->setSelected(true);
    const Modals modals;
    setStatus(QLatin1String(before));
    if (kind == "upload") {
        row->setSelected(false);
        delete row;
    }
    QVERIFY(request(kind, QStringLiteral("new.txt")));
    if (kind == "upload") { // which does not refuse a handle of 0
        QTRY_COMPARE(script().count(putFile), 1);
        QCOMPARE(script().last(putFile).number(0), 0u);
        QTRY_VERIFY(status() != QLatin1String("Uploading ..."));
        return;
    }
    QTest::qWait(20);
    QCOMPARE(started(), 0);
    QCOMPARE(status(), QLatin1String(before));
}

void TestTransferRequests::request_notSelectedOrEmpty_stopsSilently_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<QStringList>("selected");
    QTest::addColumn<QString>("asked");
    for (const char *kind : {"download", "delete"}) {
        QTest::addRow("%s of a row that is not selected", kind)
            << QByteArray(kind) << QStringList("Photos") << "/hello.txt";
        QTest::addRow("%s with nothing selected", kind) << QByteArray(kind) << QStringList() << "/hello.txt";
        QTest::addRow("%s of nothing", kind) << QByteArray(kind) << QStringList("hello.txt") << "";
        QTest::addRow("%s of a name that is not there", kind)
            << QByteArray(kind) << QStringList("hello.txt") << "/gone.txt";
    }
}

void TestTransferRequests::request_notSelectedOrEmpty_stopsSilently()
{
    QFETCH(QByteArray, kind);
    QFETCH(QStringList, selected);
    QFETCH(QString, asked);
    openConnected();
    QVERIFY(windows::select(remote, selected));
    setStatus(QLatin1String(before));
    const Modals modals;
    const QList<QUrl> urls = asked.isEmpty() ? QList<QUrl>() : QList<QUrl>{urlOf(asked)};
    QVERIFY(request(kind == "delete" ? "DeleteRmtRequest" : "DownloadRequest", urls));
    QTest::qWait(20);
    QCOMPARE(started(), 0);
    QCOMPARE(status(), QLatin1String(before));
    QVERIFY(modals.seen().isEmpty());
}

void TestTransferRequests::request_nameMatch_isExactAndByBytes_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<bool>("matches");
    QTest::newRow("the same") << QByteArray("Hello") << "Hello" << true;
    QTest::newRow("another case") << QByteArray("Hello") << "hello" << false;
    QTest::newRow("composed and decomposed") << QByteArray("e\xCC\x81") << QStringLiteral("\u00e9") << false;
    QTest::newRow("longer") << QByteArray("Hello") << "Hello " << false;
    QTest::newRow("broken UTF-8") << QByteArray("broken\xFF") << QStringLiteral("broken\uFFFD") << false;
}

void TestTransferRequests::request_nameMatch_isExactAndByBytes()
{
    QFETCH(QByteArray, entry);
    QFETCH(QString, asked);
    QFETCH(bool, matches);
    openWith({{entry, false, 5}});
    remote->selectAll();
    QVERIFY(request("delete", asked));
    QTest::qWait(20);
    QTRY_COMPARE(started(), matches ? 1 : 0);
    if (matches)
        QTRY_COMPARE(status(), QStringLiteral("Delete succeeded."));
}

void TestTransferRequests::actionCopy_doesNothing()
{
    openConnected();
    script().clearCalls();
    QVERIFY(windows::call(window, "action_Copy"));
    QCOMPARE(script().calls().size(), 0);
}

void TestTransferRequests::currentItemChanged_storesTheRow()
{
    makeFile(QStringLiteral("a.txt"));
    openIdle();
    QVERIFY(windows::giveFocus(local));
    QTreeWidgetItem *const row = local->topLevelItem(0);
    QVERIFY(
        windows::call(window, "currentItemChanged", Q_ARG(QTreeWidgetItem *, row), Q_ARG(QTreeWidgetItem *, nullptr)));
    QVERIFY(windows::call(window, "actionRename", Q_ARG(bool, false)));
    QVERIFY(editorOf(local));
    endEdit(local, QStringLiteral("a.txt"), Qt::Key_Escape);
}

BTFTP_TEST_MAIN(TestTransferRequests)
#include "tst_transfer_requests.moc"
