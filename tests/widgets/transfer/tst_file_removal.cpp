#include "testmain.h"
#include "transfertest.h"

#include <sys/stat.h>

/** Deleting, in both panes. */
class TestFileRemoval : public TransferTest
{
    Q_OBJECT

private slots:
    void init() { prepare(); }
    void cleanup() { plugin().stop(); }

    void question_selection_isNamedOrCounted_data();
    void question_selection_isNamedOrCounted();
    void question_answeredOtherwise_deletesNothing_data();
    void question_answeredOtherwise_deletesNothing();
    void question_nothingSelectedOrFocusElsewhere_isNotAsked();
    void delete_filesAndFolders_removesThem();
    void delete_hostileNames_removesExactlyThose_data();
    void delete_hostileNames_removesExactlyThose();
    void delete_links_removesThemAndNotWhatTheyPointAt();
    void delete_folder_removesHiddenAndSpecialEntriesToo();
    void delete_readOnlyFile_countsItsFolder();
    void delete_readOnlyFolder_warnsAndGoesOnWithTheNext();
    void delete_mixedSelectionWithOneFailure_deletesTheOthers();
    void delete_folderTree_stopsAtTheFirstFailure();
    void delete_folderInAReadOnlyFolder_warnsOfTheDirectory();
    void delete_entryGoneMeanwhile_isSilent();
    void delete_thenListsAnew();
    void delete_hostClosesTheWindowUnderAWarning_isSafe();

    void remoteDelete_threeSelected_asksForThreeAndDeletesTheFirst();
    void remoteDelete_question_isNamed_data();
    void remoteDelete_question_isNamed();
    void remoteDelete_inAFolder_deletesThere();
    void remoteDelete_refused_deletesNothing();

private:
    /** Selects, presses Delete and answers; `warnings` boxes follow the question. */
    QList<ModalSeen> removeSelected(QTreeWidget *tree, const QStringList &names, int warnings = 0,
                                    QMessageBox::StandardButton answer = QMessageBox::Yes)
    {
        if (!windows::giveFocus(tree) || !windows::select(tree, names))
            return {};
        Modals modals;
        modals.press(answer);
        for (int i = 0; i < warnings; ++i)
            modals.press(QMessageBox::Ok);
        QTest::keyClick(tree, Qt::Key_Delete);
        return modals.seen();
    }
    QStringList left(const QString &folder = QString()) const
    {
        return QDir(folder.isEmpty() ? localFolder() : path(folder))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
    void allow(const QString &name, bool writing) const
    {
        const QFileDevice::Permissions reading = QFileDevice::ReadOwner | QFileDevice::ExeOwner;
        QVERIFY(QFile::setPermissions(path(name), writing ? reading | QFileDevice::WriteOwner : reading));
    }
    static void checkWarning(const ModalSeen &seen, const QString &text)
    {
        QCOMPARE(seen.icon, QMessageBox::Warning);
        QCOMPARE(seen.title, QStringLiteral("delete failed"));
        QCOMPARE(seen.text, text);
        QCOMPARE(seen.textFormat, Qt::PlainText);
        QCOMPARE(seen.buttons, QStringList("OK"));
    }
    static QString fileText(const QString &folder, const QString &name)
    {
        return QStringLiteral("can't delete the file:%1/%2,without permission to delete it.").arg(folder, name);
    }
};

void TestFileRemoval::question_selection_isNamedOrCounted_data()
{
    QTest::addColumn<QStringList>("names");
    QTest::addColumn<QString>("text");
    QTest::newRow("a file") << QStringList("file %1") << "Are you sure delete the file:file %1?";
    QTest::newRow("a folder") << QStringList("folder") << "Are you sure delete the folder:folder?";
    QTest::newRow("a link to a folder") << QStringList("link") << "Are you sure delete the folder:link?";
    QTest::newRow("two") << QStringList{"file %1", "folder"} << "Are you sure delete the 2 items?";
    QTest::newRow("three") << QStringList{"file %1", "folder", "link"} << "Are you sure delete the 3 items?";
}

void TestFileRemoval::question_selection_isNamedOrCounted()
{
    QFETCH(QStringList, names);
    QFETCH(QString, text);
    makeFile(QStringLiteral("file %1"));
    makeFile(QStringLiteral("folder/inner"));
    QVERIFY(QFile::link(path(QStringLiteral("folder")), path(QStringLiteral("link"))));
    openIdle();
    QVERIFY(windows::giveFocus(local));
    QVERIFY(windows::select(local, names));
    Modals modals;
    Qt::WindowModality modality = Qt::NonModal;
    modals.handle([&modality](QWidget *box) {
        modality = box->windowModality();
        qobject_cast<QMessageBox *>(box)->button(QMessageBox::No)->click();
    });
    action("action_Delete")->setEnabled(true);
    action("action_Delete")->trigger();
    QCOMPARE(modals.last().title, QStringLiteral("Confirm File Delete"));
    QCOMPARE(modals.last().text, text);
    QCOMPARE(modals.last().textFormat, Qt::PlainText);
    QCOMPARE(modals.last().icon, QMessageBox::NoIcon);
    QCOMPARE(modals.last().buttons, (QStringList{"Yes", "No"}));
    QCOMPARE(modals.last().defaultButton, QString());
    QCOMPARE(modals.last().parent.data(), window.data());
    QCOMPARE(modality, Qt::WindowModal);
    QCOMPARE(left().size(), 3);
}

void TestFileRemoval::question_answeredOtherwise_deletesNothing_data()
{
    QTest::addColumn<bool>("remotePane");
    QTest::addColumn<bool>("escape");
    for (const bool remotePane : {false, true})
        for (const bool escape : {false, true})
            QTest::addRow("%s, %s", remotePane ? "remote" : "local", escape ? "Escape" : "No") << remotePane << escape;
}

void TestFileRemoval::question_answeredOtherwise_deletesNothing()
{
    QFETCH(bool, remotePane);
    QFETCH(bool, escape);
    makeFile(QStringLiteral("hello.txt"));
    openConnected();
    QTreeWidget *const tree = remotePane ? remote : local;
    QVERIFY(windows::giveFocus(tree));
    QVERIFY(windows::select(tree, {"hello.txt"}));
    Modals modals;
    if (escape)
        modals.escape();
    else
        modals.press(QMessageBox::No);
    QTest::keyClick(tree, Qt::Key_Delete);
    QTest::qWait(20);
    QCOMPARE(left(), QStringList("hello.txt"));
    QCOMPARE(script().count("Btsdk_FTPDeleteFile"), 0);
}

void TestFileRemoval::question_nothingSelectedOrFocusElsewhere_isNotAsked()
{
    makeFile(QStringLiteral("a"));
    openConnected();
    const Modals modals;
    for (QTreeWidget *tree : {local, remote}) {
        QVERIFY(windows::giveFocus(tree));
        tree->clearSelection();
        QVERIFY(windows::call(window, "actionDelete", Q_ARG(bool, true)));
    }
    QVERIFY(windows::giveFocus(localBox));
    QVERIFY(windows::select(local, {"a"}));
    QVERIFY(windows::call(window, "actionDelete", Q_ARG(bool, true)));
    QVERIFY(modals.seen().isEmpty());
    QCOMPARE(left(), QStringList("a"));
}

void TestFileRemoval::delete_filesAndFolders_removesThem()
{
    makeFile(QStringLiteral("a"));
    makeFile(QStringLiteral("b/c/d/deep"));
    makeFile(QStringLiteral("keep"));
    openIdle();
    QCOMPARE(removeSelected(local, {"a", "b"}).size(), 1);
    QCOMPARE(left(), QStringList("keep"));
    QCOMPARE(windows::names(local), QStringList("keep"));
}

void TestFileRemoval::delete_hostileNames_removesExactlyThose_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("lookalike");
    QTest::newRow("percent") << "a%20b"
                             << "a b";
    QTest::newRow("percent alone") << "50%"
                                   << "50%25";
    QTest::newRow("spaces") << " a "
                            << "a";
    QTest::newRow("star") << "*"
                          << "anything";
    QTest::newRow("dash") << "-rf"
                          << "rf";
    QTest::newRow("composed") << QStringLiteral("\u00e9") << QStringLiteral("e\u0301");
    QTest::newRow("backslash") << "a\\b"
                               << "a";
    QTest::newRow("newline") << "a\nb"
                             << "a";
}

void TestFileRemoval::delete_hostileNames_removesExactlyThose()
{
    QFETCH(QString, name);
    QFETCH(QString, lookalike);
    makeFile(name);
    makeFile(lookalike);
    openIdle();
    QCOMPARE(removeSelected(local, {name}).size(), 1);
    QCOMPARE(left(), QStringList(lookalike));
}

void TestFileRemoval::delete_links_removesThemAndNotWhatTheyPointAt()
{
    QTemporaryDir elsewhere;
    const QString target = elsewhere.filePath(QStringLiteral("precious"));
    QVERIFY(QDir().mkdir(target));
    QFile file(target + QStringLiteral("/file"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    makeFile(QStringLiteral("folder/a"));
    for (const char *place : {"to a folder", "folder/to a folder"})
        QVERIFY(QFile::link(target, path(QLatin1String(place))));
    for (const char *place : {"to a file", "folder/to a file"})
        QVERIFY(QFile::link(file.fileName(), path(QLatin1String(place))));
    QVERIFY(QFile::link(QStringLiteral("nowhere"), path(QStringLiteral("folder/to nothing"))));
    QVERIFY(QFile::link(QStringLiteral(".."), path(QStringLiteral("folder/up"))));
    openIdle();
    QCOMPARE(removeSelected(local, {"folder", "to a folder", "to a file"}).size(), 1);
    QCOMPARE(left(), QStringList());
    QVERIFY(QFile::exists(file.fileName()));
}

void TestFileRemoval::delete_folder_removesHiddenAndSpecialEntriesToo()
{
    makeFile(QStringLiteral("folder/.hidden"));
    makeFile(QStringLiteral("folder/.sub/inner"));
    QCOMPARE(::mkfifo(QFile::encodeName(path(QStringLiteral("folder/pipe"))).constData(), 0600), 0);
    openIdle();
    QCOMPARE(removeSelected(local, {"folder"}).size(), 1);
    QCOMPARE(left(), QStringList());
}

void TestFileRemoval::delete_readOnlyFile_countsItsFolder()
{
    makeFile(QStringLiteral("read-only"));
    openIdle();
    const OrdinaryUser user(localFolder());
    QVERIFY(!QFileInfo(path(QStringLiteral("read-only"))).isWritable() || ::getuid() != 65534);
    QCOMPARE(removeSelected(local, {"read-only"}).size(), 1);
    QCOMPARE(left(), QStringList());
}

void TestFileRemoval::delete_readOnlyFolder_warnsAndGoesOnWithTheNext()
{
    makeFile(QStringLiteral("a"));
    makeFile(QStringLiteral("b"));
    openIdle();
    const OrdinaryUser user(localFolder());
    allow(QString(), false);
    const QList<ModalSeen> seen = removeSelected(local, {"a", "b"}, 2);
    allow(QString(), true);
    QCOMPARE(seen.size(), 3);
    checkWarning(seen.at(1), fileText(localFolder(), QStringLiteral("a")));
    checkWarning(seen.at(2), fileText(localFolder(), QStringLiteral("b")));
    QCOMPARE(left(), (QStringList{"a", "b"}));
}

void TestFileRemoval::delete_mixedSelectionWithOneFailure_deletesTheOthers()
{
    openIdle();
    const OrdinaryUser user(localFolder());
    for (const char *name : {"a file", "b folder/inner", "c locked/held", "d file"})
        makeFile(QLatin1String(name));
    allow(QStringLiteral("c locked"), false);
    listLocal();
    const QList<ModalSeen> seen = removeSelected(local, {"b folder", "c locked", "a file", "d file"}, 1);
    allow(QStringLiteral("c locked"), true);
    QCOMPARE(seen.size(), 2);
    QCOMPARE(seen.at(0).text, QStringLiteral("Are you sure delete the 4 items?"));
    checkWarning(seen.at(1), fileText(path(QStringLiteral("c locked")), QStringLiteral("held")));
    QCOMPARE(left(), QStringList("c locked"));
    QCOMPARE(windows::names(local), QStringList("c locked"));
}

void TestFileRemoval::delete_folderTree_stopsAtTheFirstFailure()
{
    openIdle();
    const OrdinaryUser user(localFolder());
    for (const char *name : {"top/.hidden", "top/file", "top/sub1/x", "top/sub2/y", "top/sub3/z"})
        makeFile(QLatin1String(name));
    allow(QStringLiteral("top/sub2"), false);
    listLocal();
    const QList<ModalSeen> seen = removeSelected(local, {"top"}, 1);
    allow(QStringLiteral("top/sub2"), true);
    QCOMPARE(seen.size(), 2);
    QCOMPARE(left(QStringLiteral("top")), (QStringList{"sub2", "sub3"})); // its files and what came before are gone
    QCOMPARE(left(QStringLiteral("top/sub2")), QStringList("y"));
    QCOMPARE(left(QStringLiteral("top/sub3")), QStringList("z"));
}

void TestFileRemoval::delete_folderInAReadOnlyFolder_warnsOfTheDirectory()
{
    openIdle();
    const OrdinaryUser user(localFolder());
    makeFile(QStringLiteral("folder/inner"));
    listLocal();
    allow(QString(), false);
    const QList<ModalSeen> seen = removeSelected(local, {"folder"}, 1);
    allow(QString(), true);
    QCOMPARE(seen.size(), 2);
    checkWarning(
        seen.at(1),
        QStringLiteral("can't delete the directory:%1/folder,without permission to delete it.").arg(localFolder()));
    QCOMPARE(left(QStringLiteral("folder")), QStringList()); // what was removed before stays removed
}

void TestFileRemoval::delete_entryGoneMeanwhile_isSilent()
{
    makeFile(QStringLiteral("a"));
    makeFile(QStringLiteral("b"));
    openIdle();
    QVERIFY(QFile::remove(path(QStringLiteral("a"))));
    QCOMPARE(removeSelected(local, {"a", "b"}).size(), 1);
    QCOMPARE(left(), QStringList());
}

void TestFileRemoval::delete_thenListsAnew()
{
    makeFile(QStringLiteral("a"));
    openIdle();
    makeFile(QStringLiteral("unseen"));
    QCOMPARE(windows::names(local), QStringList("a"));
    QCOMPARE(removeSelected(local, {"a"}).size(), 1);
    QCOMPARE(windows::names(local), QStringList("unseen"));
}

void TestFileRemoval::delete_hostClosesTheWindowUnderAWarning_isSafe()
{
    openConnected();
    const OrdinaryUser user(localFolder());
    makeFile(QStringLiteral("locked/sub/held"));
    makeFile(QStringLiteral("z"));
    allow(QStringLiteral("locked/sub"), false);
    listLocal();
    QVERIFY(windows::giveFocus(local));
    QVERIFY(windows::select(local, {"locked", "z"}));
    Modals modals;
    modals.press(QMessageBox::Yes).handle([this](QWidget *) {
        plugin().PerformPostDisc();
        QVERIFY(QTest::qWaitFor([this] { return !window; }));
    });
    QTest::keyClick(local, Qt::Key_Delete);
    QTRY_VERIFY(!window);
    allow(QStringLiteral("locked/sub"), true);
    QVERIFY2(QFile::exists(path(QStringLiteral("z"))), "with the window gone nothing more is deleted");
}

void TestFileRemoval::remoteDelete_threeSelected_asksForThreeAndDeletesTheFirst()
{
    openConnected();
    const QList<ModalSeen> seen = removeSelected(remote, {"hello.txt", "archive.tar.gz", "Docs"});
    QCOMPARE(seen.size(), 1);
    QCOMPARE(seen.first().text, QStringLiteral("Are you sure delete the 3 items?"));
    QTRY_COMPARE(status(), QStringLiteral("Delete succeeded."));
    QTest::qWait(20);
    QCOMPARE(script().count("Btsdk_FTPDeleteFile") + script().count("Btsdk_FTPDeleteDir"), 1);
    QCOMPARE(remote->topLevelItemCount(), 3);
}

void TestFileRemoval::remoteDelete_question_isNamed_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::newRow("a file") << "hello.txt"
                            << "Are you sure delete the file:hello.txt?";
    QTest::newRow("a folder") << "Docs"
                              << "Are you sure delete the folder:Docs?";
}

void TestFileRemoval::remoteDelete_question_isNamed()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    openConnected();
    const QList<ModalSeen> seen = removeSelected(remote, {name}, 0, QMessageBox::No);
    QCOMPARE(seen.size(), 1);
    QCOMPARE(seen.first().title, QStringLiteral("Confirm File Delete"));
    QCOMPARE(seen.first().text, text);
    QCOMPARE(remote->topLevelItemCount(), 4);
}

void TestFileRemoval::remoteDelete_inAFolder_deletesThere()
{
    openConnected();
    QVERIFY(windows::call(window, "UpdateRmtCombox", Q_ARG(QString, QStringLiteral("/Photos"))));
    QCOMPARE(removeSelected(remote, {"cat.jpg"}).size(), 1);
    QTRY_COMPARE(status(), QStringLiteral("Delete succeeded."));
    QCOMPARE(script().last("Btsdk_FTPDeleteFile").text(1), QByteArray("cat.jpg"));
    QCOMPARE(windows::names(remote), QStringList("2008"));
}

void TestFileRemoval::remoteDelete_refused_deletesNothing()
{
    openConnected();
    script().setResult("Btsdk_FTPDeleteFile", BTSDK_ER_READ_ONLY);
    QVERIFY(windows::giveFocus(remote));
    QVERIFY(windows::select(remote, {"hello.txt"}));
    Modals modals;
    modals.press(QMessageBox::Yes).press(QMessageBox::Ok);
    QTest::keyClick(remote, Qt::Key_Delete);
    QTRY_COMPARE(status(), QStringLiteral("Delete was not successful."));
    QCOMPARE(modals.last().icon, QMessageBox::Warning);
    QCOMPARE(modals.last().title, QStringLiteral("Delete failed"));
    QCOMPARE(modals.last().text, QStringLiteral("\tDelete failed!\nYou may have not enough permissions to delete."));
    QVERIFY(windows::item(remote, QStringLiteral("hello.txt")));
}

BTFTP_TEST_MAIN(TestFileRemoval)
#include "tst_file_removal.moc"
