#include "requesttest.h"
#include "testmain.h"

#include <QToolBar>

/** What a request asks or says before it starts: whether to replace an entry, that a name is too long. */
class TestTransferQuestions : public RequestTest
{
    Q_OBJECT

private slots:
    void init() { prepare(); }
    void cleanup() { plugin().stop(); }

    void replace_clash_asksWithTheRightWords_data();
    void replace_clash_asksWithTheRightWords();
    void replace_severalRowsOfTheName_lastOneDecides();
    void replace_hostClosesTheWindowUnderTheQuestion_isSafe_data();
    void replace_hostClosesTheWindowUnderTheQuestion_isSafe();
    void replace_fromTheToolBarAndTheWindowGoes_isSafe_data();
    void replace_fromTheToolBarAndTheWindowGoes_isSafe();

    void length_longestThatFits_goesWhole_data();
    void length_longestThatFits_goesWhole();
    void length_oneByteMore_isRefusedBeforeAnythingStarts_data();
    void length_oneByteMore_isRefusedBeforeAnythingStarts();
    void length_refusedAndHostClosesTheWindow_isSafe();

private:
    /** Presses the tool bar's button of an action with the mouse. */
    void clickToolButton(const char *name)
    {
        action(name)->setEnabled(true);
        QTest::mouseClick(window->findChild<QToolBar *>()->widgetForAction(action(name)), Qt::LeftButton);
    }
};

void TestTransferQuestions::replace_clash_asksWithTheRightWords_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<bool>("theirsIsFolder");
    QTest::addColumn<bool>("oursIsFolder");
    QTest::addColumn<QString>("answer");
    for (const char *kind : {"upload", "download"})
        for (const bool theirs : {false, true})
            for (const bool ours : {false, true})
                for (const char *answer : {"Yes", "No", "Escape"})
                    QTest::addRow("%s, remote %s, local %s, %s", kind, theirs ? "folder" : "file",
                                  ours ? "folder" : "file", answer)
                        << QByteArray(kind) << theirs << ours << QString::fromLatin1(answer);
}

void TestTransferQuestions::replace_clash_asksWithTheRightWords()
{
    QFETCH(QByteArray, kind);
    QFETCH(bool, theirsIsFolder);
    QFETCH(bool, oursIsFolder);
    QFETCH(QString, answer);
    const QString name = QStringLiteral("50%1 <b>&amp;");
    makeFile(oursIsFolder ? name + QStringLiteral("/inner") : name);
    openWith({{name.toUtf8(), theirsIsFolder, 5}});
    QVERIFY(windows::select(remote, {name}));
    setStatus(QLatin1String(before));
    Modals modals;
    if (answer == QLatin1String("Escape"))
        modals.escape();
    else
        modals.press(answer == QLatin1String("Yes") ? QMessageBox::Yes : QMessageBox::No);
    QVERIFY(request(kind, name));

    // The words follow what would be replaced: the remote entry by an upload, the local one by a download.
    const bool folder = kind == "upload" ? theirsIsFolder : oursIsFolder;
    const QString expected =
        folder ? QStringLiteral("This folder already contains a folder named %1\n Would you like to replace it ?")
               : QStringLiteral("This folder already contains a file named %1\n Would you like to replace it ?");
    QCOMPARE(modals.seen().size(), 1);
    QCOMPARE(modals.last().title, QStringLiteral("Confirm File Replace"));
    QCOMPARE(modals.last().text, expected.arg(name));
    QCOMPARE(modals.last().textFormat, Qt::PlainText);
    QCOMPARE(modals.last().icon, QMessageBox::NoIcon);
    QCOMPARE(modals.last().buttons, (QStringList{"Yes", "No"}));
    QCOMPARE(modals.last().defaultButton, QString());
    QVERIFY(!modals.last().parent);
    if (answer == QLatin1String("Yes")) {
        QTRY_COMPARE(started(), 1);
        QTRY_VERIFY(status().contains(QLatin1String("load")) && !status().endsWith(QLatin1String("...")));
    } else {
        QTest::qWait(20);
        QCOMPARE(started(), 0);
        QCOMPARE(script().count("ComProgressDlg::ComProgressDlg"), 0);
        QCOMPARE(script().count("Btsdk_FTPRegisterStatusCallback"), 0);
        QCOMPARE(status(), QLatin1String(before));
    }
    QDir::setCurrent(QStringLiteral("/"));
}

void TestTransferQuestions::replace_severalRowsOfTheName_lastOneDecides()
{
    makeFile(QStringLiteral("twin"));
    openWith({{"twin", true}, {"twin", false, 3}});
    QCOMPARE(remote->topLevelItemCount(), 2);
    Modals modals;
    modals.press(QMessageBox::No).press(QMessageBox::No);
    QVERIFY(request("upload", QStringLiteral("twin")));
    QVERIFY(modals.last().text.contains(QLatin1String("a file named twin\n")));
    remote->addTopLevelItem(remote->takeTopLevelItem(0));
    QVERIFY(request("upload", QStringLiteral("twin")));
    QVERIFY(modals.last().text.contains(QLatin1String("a folder named twin\n")));
}

void TestTransferQuestions::replace_hostClosesTheWindowUnderTheQuestion_isSafe_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::newRow("upload") << QByteArray("upload");
    QTest::newRow("download") << QByteArray("download");
}

void TestTransferQuestions::replace_hostClosesTheWindowUnderTheQuestion_isSafe()
{
    QFETCH(QByteArray, kind);
    makeFile(QStringLiteral("hello.txt"));
    openConnected();
    QVERIFY(windows::select(remote, {"hello.txt"}));
    Modals modals;
    modals.handle([this](QWidget *box) {
        plugin().PerformPostDisc();
        QVERIFY(QTest::qWaitFor([this] { return !window; }));
        QMetaObject::invokeMethod(box, "accept");
    });
    QVERIFY(request(kind, QStringLiteral("hello.txt")));
    QCOMPARE(started(), 0);
    QDir::setCurrent(QStringLiteral("/"));
}

void TestTransferQuestions::replace_fromTheToolBarAndTheWindowGoes_isSafe_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<bool>("every");
    for (const QByteArray kind : {"upload", "download"}) {
        QTest::addRow("%s, the host closes the window", kind.constData()) << kind << false;
        QTest::addRow("%s, the host closes every window, the question first", kind.constData()) << kind << true;
    }
}

void TestTransferQuestions::replace_fromTheToolBarAndTheWindowGoes_isSafe()
{
    QFETCH(QByteArray, kind);
    QFETCH(bool, every);
    makeFile(QStringLiteral("hello.txt"));
    openConnected();
    QTreeWidget *const tree = kind == "upload" ? local : remote;
    QVERIFY(windows::giveFocus(tree));
    QVERIFY(windows::select(tree, {"hello.txt"}));
    Modals modals;
    modals.handle([this, every](QWidget *box) {
        const QPointer<QWidget> question(box);
        if (every)
            QApplication::closeAllWindows();
        else
            plugin().PerformPostDisc();
        QVERIFY(QTest::qWaitFor([this] { return !window; }));
        if (question)
            QMetaObject::invokeMethod(question, "accept");
    });
    // The button that was pressed goes while it is still at work on the press.
    clickToolButton(kind == "upload" ? "actionUpload" : "actionDownload");
    QVERIFY(!window);
    QCOMPARE(modals.last().title, QStringLiteral("Confirm File Replace"));
    QCOMPARE(started(), 0);
    QDir::setCurrent(QStringLiteral("/"));
}

void TestTransferQuestions::length_longestThatFits_goesWhole_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<QString>("letter");
    for (const char *kind : {"upload", "download", "delete"}) {
        QTest::addRow("%s, one-byte letters", kind) << QByteArray(kind) << "x";
        QTest::addRow("%s, two-byte letters", kind) << QByteArray(kind) << QStringLiteral("\u00e4");
        QTest::addRow("%s, four-byte letters", kind) << QByteArray(kind) << QString::fromUtf8("\xF0\x9F\x98\x80");
    }
}

void TestTransferQuestions::length_longestThatFits_goesWhole()
{
    QFETCH(QByteArray, kind);
    QFETCH(QString, letter);
    // The path is the narrower one of the two; a delete has no use for it, and its name may fill the field.
    const int room = kind == "delete" ? 255 : 255 - localFolder().toUtf8().size() - 1;
    const int size = letter.toUtf8().size();
    const QString name = QString(room % size, QLatin1Char('x')) + letter.repeated(room / size);
    QCOMPARE(name.toUtf8().size(), room);
    if (kind == "upload")
        makeFile(name);
    openWith(kind == "upload" ? QList<RemoteEntry>() : QList<RemoteEntry>{{name.toUtf8(), false, 5}});
    QVERIFY(kind == "upload" || windows::select(remote, {name}));
    QVERIFY(request(kind, name));
    QTRY_COMPARE(started(), 1);
    QTRY_VERIFY(status().endsWith(QLatin1String("succeeded.")));
    if (kind == "upload")
        QCOMPARE(script().last(putFile).text(1).size(), 255);
    else if (kind == "download")
        QCOMPARE(script().last(getFile).text(2).size(), 255);
    else
        QCOMPARE(script().last(deleteFile).text(1), name.toUtf8());
    QDir::setCurrent(QStringLiteral("/"));
}

void TestTransferQuestions::length_oneByteMore_isRefusedBeforeAnythingStarts_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::addColumn<bool>("nameItself");
    QTest::newRow("upload, the path") << QByteArray("upload") << false;
    QTest::newRow("download, the path") << QByteArray("download") << false;
    QTest::newRow("download, the name") << QByteArray("download") << true;
    QTest::newRow("delete, the name") << QByteArray("delete") << true;
}

void TestTransferQuestions::length_oneByteMore_isRefusedBeforeAnythingStarts()
{
    QFETCH(QByteArray, kind);
    QFETCH(bool, nameItself);
    const int length = nameItself ? 256 : 256 - localFolder().toUtf8().size() - 1;
    const QString name = QStringLiteral("%1<b>") + QString(length - 5, QLatin1Char('x'));
    if (kind == "upload")
        makeFile(name);
    openWith(kind == "upload" ? QList<RemoteEntry>() : QList<RemoteEntry>{{name.toUtf8(), false, 5}});
    QVERIFY(kind == "upload" || windows::select(remote, {name}));
    setStatus(QLatin1String(before));
    Modals modals;
    modals.press(QMessageBox::Ok);
    QVERIFY(request(kind, name));
    QCOMPARE(modals.seen().size(), 1);
    QCOMPARE(modals.last().icon, QMessageBox::Warning);
    QCOMPARE(modals.last().title, QStringLiteral("Name too long"));
    QCOMPARE(modals.last().text, (nameItself ? QStringLiteral("The name '%1' is too long: 255 bytes are the limit.")
                                             : QStringLiteral("The path of '%1' is too long: 255 bytes are the limit."))
                                     .arg(name));
    QCOMPARE(modals.last().textFormat, Qt::PlainText);
    QCOMPARE(modals.last().buttons, QStringList("OK"));
    QTest::qWait(20);
    QCOMPARE(started(), 0);
    QCOMPARE(script().count("Btsdk_FTPRegisterStatusCallback"), 0);
    QCOMPARE(status(), QLatin1String(before));
}

void TestTransferQuestions::length_refusedAndHostClosesTheWindow_isSafe()
{
    const QString name(255 - localFolder().toUtf8().size(), QLatin1Char('x'));
    makeFile(name);
    openConnected();
    Modals modals;
    modals.handle([](QWidget *) { plugin().PerformPostDisc(); });
    QVERIFY(request("upload", name));
    QTRY_VERIFY(!window);
    QCOMPARE(started(), 0);
}

BTFTP_TEST_MAIN(TestTransferQuestions)
#include "tst_transfer_questions.moc"
