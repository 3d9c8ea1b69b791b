#include "../integration/transfer/transferdesk.h"
#include "hand.h"

#include <QDrag>
#include <QPixmap>
#include <QScreen>
#include <QTimer>

/** Files dragged between the panes with the mouse, on a real screen. */
class TestDragDrop : public TransferDesk
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup() { emptyFolders(); }
    void cleanupTestCase()
    {
        close();
        Btsdk_HostShutdown();
    }

    void drag_remoteToLocal_downloads();
    void drag_localToRemote_uploads();
    void drag_folder_goesWhole();
    void drag_ontoAnEntry_goesIntoTheShownFolder();
    void drag_withinTheRemotePane_isRefused();
    void drag_withinTheLocalPane_isRefused();

private:
    void takePicture(const char *name)
    {
        const QString folder = qEnvironmentVariable("BTFTP_BUILD_DIR") + QStringLiteral("/desktop");
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(QGuiApplication::primaryScreen()->grabWindow(0).save(
            QStringLiteral("%1/dragdrop-%2.png").arg(folder, QLatin1String(name))));
    }
    static QPoint emptySpace(QTreeWidget *tree)
    {
        const QWidget *area = tree->viewport();
        return area->mapToGlobal(area->rect().bottomRight() - QPoint(60, 40));
    }
    /** Drags a row, takes a picture of the drag on its way. */
    void drag(QTreeWidget *tree, const QString &name, const QPoint &to, const char *picture)
    {
        QTreeWidgetItem *const row = windows::item(tree, name);
        QVERIFY(row);
        // Looked for while the mouse moves, however fast it does; the picture is of the drag well on its way.
        int seen = 0;
        QTimer look;
        connect(&look, &QTimer::timeout, this, [&, tree, picture] {
            if (tree->findChild<QDrag *>() && ++seen == 8)
                takePicture(picture);
        });
        look.start(10);
        QVERIFY(hand::drag(hand::rowOf(tree, row), to));
        QVERIFY2(seen > 0, "nothing was dragged");
    }

    const QByteArray m_content = contentFor(3, 70000);
};

void TestDragDrop::initTestCase()
{
    load();
    open();
    QVERIFY(window); // else open() has said why
    window->resize(1000, 560);
    window->move(60, 60);
    QVERIFY(QTest::qWaitForWindowActive(window));
}

void TestDragDrop::init()
{
    writeFile(localPath(QStringLiteral("mine 50%.txt")), m_content);
    QVERIFY(QDir().mkpath(localPath(QStringLiteral("local folder"))));
    writeFile(remotePath(QStringLiteral("theirs #1.txt")), m_content);
    QVERIFY(QDir().mkpath(remotePath(QStringLiteral("remote folder"))));
    writeFile(remotePath(QStringLiteral("remote folder/inner.txt")), m_content);
    listBoth();
}

void TestDragDrop::drag_remoteToLocal_downloads()
{
    drag(remote, QStringLiteral("theirs #1.txt"), emptySpace(local), "remote-to-local");
    QTRY_COMPARE_WITH_TIMEOUT(status(), QStringLiteral("Download succeeded."), patience);
    takePicture("remote-to-local-after");
    QCOMPARE(contentOf(localPath(QStringLiteral("theirs #1.txt"))), m_content);
    QVERIFY(windows::item(local, QStringLiteral("theirs #1.txt")));
}

void TestDragDrop::drag_localToRemote_uploads()
{
    drag(local, QStringLiteral("mine 50%.txt"), emptySpace(remote), "local-to-remote");
    QTRY_COMPARE_WITH_TIMEOUT(status(), QStringLiteral("Upload succeeded."), patience);
    takePicture("local-to-remote-after");
    QCOMPARE(contentOf(remotePath(QStringLiteral("mine 50%.txt"))), m_content);
    QVERIFY(windows::item(remote, QStringLiteral("mine 50%.txt")));
}

void TestDragDrop::drag_folder_goesWhole()
{
    drag(remote, QStringLiteral("remote folder"), emptySpace(local), "folder");
    QTRY_COMPARE_WITH_TIMEOUT(contentOf(localPath(QStringLiteral("remote folder/inner.txt"))), m_content, patience);
    QTRY_VERIFY_WITH_TIMEOUT(!progress(), patience);
}

void TestDragDrop::drag_ontoAnEntry_goesIntoTheShownFolder()
{
    drag(local, QStringLiteral("mine 50%.txt"),
         hand::rowOf(remote, windows::item(remote, QStringLiteral("remote folder"))), "onto-a-folder");
    QTRY_COMPARE_WITH_TIMEOUT(contentOf(remotePath(QStringLiteral("mine 50%.txt"))), m_content, patience);
    QVERIFY(!QFile::exists(remotePath(QStringLiteral("remote folder/mine 50%.txt"))));
    QTRY_VERIFY_WITH_TIMEOUT(!progress(), patience);
}

void TestDragDrop::drag_withinTheRemotePane_isRefused()
{
    const QStringList before = entriesOf(remotePath(QString()));
    const QString text = status();
    drag(remote, QStringLiteral("theirs #1.txt"), emptySpace(remote), "refused-in-the-remote-pane");
    QTest::qWait(300);
    QVERIFY(!progress());
    QCOMPARE(status(), text);
    QCOMPARE(entriesOf(remotePath(QString())), before);
    QCOMPARE(windows::names(remote).size(), before.size());
}

void TestDragDrop::drag_withinTheLocalPane_isRefused()
{
    const QStringList before = entriesOf(localPath(QString()));
    const QString text = status();
    drag(local, QStringLiteral("mine 50%.txt"), emptySpace(local), "refused-in-the-local-pane");
    QTest::qWait(300);
    QVERIFY(!progress());
    QCOMPARE(status(), text);
    QCOMPARE(entriesOf(localPath(QString())), before);
    QCOMPARE(windows::names(local).size(), before.size());
}

BTFTP_TEST_MAIN(TestDragDrop)
#include "tst_dragdrop.moc"
