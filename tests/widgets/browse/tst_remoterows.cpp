#include "browsing.h"
#include "skinimages.h"
#include "testmain.h"

#include <QTextDocument>

#include <ctime>

/** What the remote pane shows of a listing. */
class RemoteRowsTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        setTimeZone("UTC");
        m_browsing.start();
    }
    void cleanup() { m_browsing.stop(); }

    void listing_foldersThenFiles_showsFoldersReversedThenFiles();
    void listing_foldersAmongFiles_areSortedOutInTheSameWay();
    void listing_relisted_replacesTheRows();
    void listing_emptyFolder_isEmpty();
    void listing_nullEntries_addNothing();
    void listing_onAnotherThread_arrivesAllTheSame();
    void listing_breaksOff_keepsTheRowsThatCame();
    void row_ofAFile_hasTextsIconAndAlignment();
    void row_ofAFolder_hasNoSizeAndTypeFolder();
    void row_fileWithoutADot_hasAnEmptyType();
    void row_sizes_followTheUnitRule_data();
    void row_sizes_followTheUnitRule();
    void row_time_isLocalTime_data();
    void row_time_isLocalTime();
    void row_toolTip_listsTheFourTexts();
    void row_userData_isTheAddressOfItsOwnCopy();
    void row_ofEachListing_survivesTheRecordItCameFrom();
    void row_editedText_goesBeforeTheEntry();
    void rows_areTopLevelAndInOrderOfColumns();
    void rows_sorted_compareByName();
    void showBrowseFile_calledAlone_addsARowAtOnce();
    void showBrowseFile_null_doesNothing();
    void hostileNames_areShownLiterally();
    void hostileNames_openedAndListed_harmNothing();

private:
    void setTimeZone(const QByteArray &zone) const { qputenv("TZ", zone); }
    void list(const QList<RemoteEntry> &entries)
    {
        m_browsing.script.setListing("/", entries);
        m_browsing.open();
    }
    // Of the row, not of the model: in list mode that has the first column only.
    QVariant data(int row, int column, int role) const
    {
        return m_browsing.tree()->topLevelItem(row)->data(column, role);
    }
    QString text(int row, int column) const { return data(row, column, Qt::DisplayRole).toString(); }

    Browsing m_browsing;
};

void RemoteRowsTest::listing_foldersThenFiles_showsFoldersReversedThenFiles()
{
    list({{"f1", true}, {"f2", true}, {"f3", true}, {"x"}, {"y"}});
    QCOMPARE(m_browsing.names(), QStringList({"f3", "f2", "f1", "x", "y"}));
}

void RemoteRowsTest::listing_foldersAmongFiles_areSortedOutInTheSameWay()
{
    list({{"x"}, {"f1", true}, {"y"}, {"f2", true}, {"z"}, {"f3", true}});
    QCOMPARE(m_browsing.names(), QStringList({"f3", "f2", "f1", "x", "y", "z"}));
}

void RemoteRowsTest::listing_relisted_replacesTheRows()
{
    list({{"f1", true}, {"x"}});
    m_browsing.script.setListing("/", {{"y"}, {"f2", true}});
    QVERIFY(m_browsing.call("refreshRemote"));
    QCOMPARE(m_browsing.names(), QStringList({"f2", "y"}));
}

void RemoteRowsTest::listing_emptyFolder_isEmpty()
{
    list({});
    QCOMPARE(m_browsing.names(), QStringList());
}

void RemoteRowsTest::listing_nullEntries_addNothing()
{
    m_browsing.script.setBrowseSendsNull(true);
    list({{"x"}});
    QCOMPARE(m_browsing.names(), QStringList("x"));
}

void RemoteRowsTest::listing_onAnotherThread_arrivesAllTheSame()
{
    m_browsing.script.setBrowseOnOwnThread(true);
    list({{"f1", true}, {"x"}, {"f2", true}, {"y"}});
    QTRY_COMPARE(m_browsing.names(), QStringList({"f2", "f1", "x", "y"}));
}

void RemoteRowsTest::listing_breaksOff_keepsTheRowsThatCame()
{
    m_browsing.script.onCall("Btsdk_FTPBrowseFolder", [](const Call &call) {
        const auto callback = reinterpret_cast<BtsdkBrowseCallback>(call.argument(2).toULongLong());
        FTP_FIND_DATA record = RemoteEntry{"came", false}.record();
        callback(reinterpret_cast<unsigned char *>(&record));
    });
    m_browsing.script.setResult("Btsdk_FTPBrowseFolder", BTSDK_ER_LINK_LOST);
    m_browsing.open();
    QCOMPARE(m_browsing.names(), QStringList("came"));
    QCOMPARE(m_browsing.status(), QStringLiteral("Connected."));
}

void RemoteRowsTest::row_ofAFile_hasTextsIconAndAlignment()
{
    list({{"a.tar.gz", false, 123456, "20080314T093000Z"}});
    QCOMPARE(text(0, 0), QStringLiteral("a.tar.gz"));
    QCOMPARE(text(0, 1), QStringLiteral("120.6 KB"));
    QCOMPARE(text(0, 2), QStringLiteral("gz"));
    QCOMPARE(text(0, 3), QStringLiteral("2008-03-14 09:30"));
    QCOMPARE(data(0, 1, Qt::TextAlignmentRole).toInt(), int(Qt::AlignRight));
    QVERIFY(!data(0, 0, Qt::TextAlignmentRole).isValid());
    const QImage shown = qvariant_cast<QIcon>(data(0, 0, Qt::DecorationRole)).pixmap(16).toImage();
    QCOMPARE(shown, QIcon(skinImagePath(11, 110, 0)).pixmap(16).toImage());
    QVERIFY(!data(0, 1, Qt::DecorationRole).isValid());
}

void RemoteRowsTest::row_ofAFolder_hasNoSizeAndTypeFolder()
{
    list({{"Photos.old", true, 4096, "20080314T093000Z"}});
    QCOMPARE(text(0, 0), QStringLiteral("Photos.old"));
    QCOMPARE(text(0, 1), QString());
    QCOMPARE(text(0, 2), QStringLiteral("Folder"));
    QCOMPARE(text(0, 3), QStringLiteral("2008-03-14 09:30"));
    QCOMPARE(data(0, 1, Qt::TextAlignmentRole).toInt(), int(Qt::AlignRight));
    const QImage shown = qvariant_cast<QIcon>(data(0, 0, Qt::DecorationRole)).pixmap(16).toImage();
    QCOMPARE(shown, QIcon(skinImagePath(11, 105, 0)).pixmap(16).toImage());
}

void RemoteRowsTest::row_fileWithoutADot_hasAnEmptyType()
{
    list({{"README", false, 1}});
    QCOMPARE(text(0, 2), QString());
}

void RemoteRowsTest::row_sizes_followTheUnitRule_data()
{
    QTest::addColumn<quint32>("size");
    QTest::addColumn<QString>("text");
    QTest::newRow("bytes") << 1023U << "1023 B";
    QTest::newRow("first kilobyte") << 1024U << "1.0 KB";
    QTest::newRow("last of the kilobytes") << 1048576U << "1024.0 KB";
    QTest::newRow("first of the megabytes") << 1048577U << "1.0 MB";
    QTest::newRow("last of the megabytes") << 1073741824U << "1024.0 MB";
    QTest::newRow("first of the gigabytes") << 1073741825U << "1.0 GB";
}

void RemoteRowsTest::row_sizes_followTheUnitRule()
{
    QFETCH(quint32, size);
    list({{"file", false, size}});
    QTEST(text(0, 1), "text");
}

void RemoteRowsTest::row_time_isLocalTime_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QByteArray>("modified");
    QTest::addColumn<QString>("text");
    QTest::newRow("an hour ahead of UTC")
        << QByteArray("CET-1") << QByteArray("20080314T093000Z") << "2008-03-14 10:30";
    QTest::newRow("eight hours behind") << QByteArray("PST8") << QByteArray("20080314T030000Z") << "2008-03-13 19:00";
    QTest::newRow("no time") << QByteArray("UTC") << QByteArray() << "";
    QTest::newRow("not a time") << QByteArray("UTC") << QByteArray("last Friday") << "";
    QTest::newRow("month thirteen") << QByteArray("UTC") << QByteArray("20081314T093000Z") << "";
}

void RemoteRowsTest::row_time_isLocalTime()
{
    QFETCH(QByteArray, zone);
    QFETCH(QByteArray, modified);
    setTimeZone(zone);
    list({{"file", false, 1, modified}});
    QTEST(text(0, 3), "text");
}

void RemoteRowsTest::row_toolTip_listsTheFourTexts()
{
    list({{"Photos", true, 0, "20080314T093000Z"}, {"a.txt", false, 1024, "20080314T093000Z"}});
    QCOMPARE(data(0, 0, Qt::ToolTipRole).toString(),
             QStringLiteral("Name:\tPhotos\nSize:\t\nType:\tFolder\nModified:\t2008-03-14 09:30"));
    QCOMPARE(m_browsing.row("a.txt")->toolTip(0),
             QStringLiteral("Name:\ta.txt\nSize:\t1.0 KB\nType:\ttxt\nModified:\t2008-03-14 09:30"));
    QVERIFY(!data(1, 1, Qt::ToolTipRole).isValid());
}

void RemoteRowsTest::row_userData_isTheAddressOfItsOwnCopy()
{
    const QList<RemoteEntry> entries{{"Photos", true, 1}, {"a.txt", false, 2}};
    list(entries);
    for (int i = 0; i < 2; ++i) {
        const QVariant stored = data(i, 0, Qt::UserRole);
        QCOMPARE(int(stored.type()), int(QVariant::ULongLong));
        const auto *const copy = reinterpret_cast<const FTP_FIND_DATA *>(quintptr(stored.toULongLong()));
        const FTP_FIND_DATA record = entries.at(i).record();
        QCOMPARE(memcmp(copy, &record, sizeof record), 0);
    }
    QVERIFY(data(0, 0, Qt::UserRole) != data(1, 0, Qt::UserRole));
    // Taken away, it stays away.
    m_browsing.tree()->topLevelItem(0)->setData(0, Qt::UserRole, QVariant());
    QVERIFY(!data(0, 0, Qt::UserRole).isValid());
}

void RemoteRowsTest::row_ofEachListing_survivesTheRecordItCameFrom()
{
    // The double hands out records that live during the call only; long names would show a dangling one.
    QList<RemoteEntry> entries;
    for (int i = 0; i < 500; ++i)
        entries.append({QByteArray(200, char('a' + i % 26)) + QByteArray::number(i), i % 2 == 0, quint32(i)});
    list(entries);
    QCOMPARE(m_browsing.tree()->topLevelItemCount(), 500);
    for (int i = 0; i < 250; ++i) {
        QCOMPARE(text(i, 0).toUtf8(), entries.at(498 - 2 * i).name);
        QCOMPARE(text(250 + i, 0).toUtf8(), entries.at(2 * i + 1).name);
    }
}

void RemoteRowsTest::row_editedText_goesBeforeTheEntry()
{
    list({{"a.txt", false, 1024}});
    m_browsing.tree()->topLevelItem(0)->setText(0, QStringLiteral("typed"));
    QCOMPARE(text(0, 0), QStringLiteral("typed"));
    QCOMPARE(data(0, 0, Qt::EditRole).toString(), QStringLiteral("typed"));
    QVERIFY(data(0, 0, Qt::ToolTipRole).toString().contains(QStringLiteral("a.txt")));
    m_browsing.tree()->topLevelItem(0)->setText(0, QString());
    QCOMPARE(text(0, 0), QString());
}

void RemoteRowsTest::rows_areTopLevelAndInOrderOfColumns()
{
    list({{"Photos", true}, {"a.txt", false, 1024}});
    QVERIFY(m_browsing.call("actionDetailView"));
    QCOMPARE(m_browsing.tree()->topLevelItem(0)->childCount(), 0);
    QCOMPARE(m_browsing.tree()->topLevelItem(1)->childCount(), 0);
    QCOMPARE(m_browsing.tree()->topLevelItem(0)->columnCount(), 4);
    QCOMPARE(m_browsing.tree()->topLevelItem(1)->columnCount(), 4);
    QVERIFY(windows::giveFocus(m_browsing.tree()));
    QVERIFY(m_browsing.call("actionDetailView"));
    QCOMPARE(m_browsing.tree()->columnCount(), 4);
    QCOMPARE(m_browsing.tree()->headerItem()->text(3), QStringLiteral("Modified"));
    const QAbstractItemModel *const model = m_browsing.tree()->model();
    QCOMPARE(model->data(model->index(1, 1)).toString(), QStringLiteral("1.0 KB"));
    QCOMPARE(model->data(model->index(1, 1), Qt::TextAlignmentRole).toInt(), int(Qt::AlignRight));
    QCOMPARE(model->data(model->index(1, 2)).toString(), QStringLiteral("txt"));
    QCOMPARE(model->data(model->index(1, 0), Qt::ToolTipRole).toString(), m_browsing.row("a.txt")->toolTip(0));
    QVERIFY(m_browsing.call("actionListView"));
    QCOMPARE(m_browsing.tree()->columnCount(), 1);
    QVERIFY(m_browsing.call("refreshRemote"));
    QCOMPARE(m_browsing.tree()->columnCount(), 1);
}

void RemoteRowsTest::rows_sorted_compareByName()
{
    list({{"c"}, {"a"}, {"b"}});
    m_browsing.tree()->sortItems(0, Qt::AscendingOrder);
    QCOMPARE(m_browsing.names(), QStringList({"a", "b", "c"}));
    QCOMPARE(m_browsing.tree()->findItems(QStringLiteral("B"), Qt::MatchFixedString).size(), 1);
    QCOMPARE(m_browsing.tree()->findItems(QStringLiteral("b"), Qt::MatchExactly).size(), 1);
}

void RemoteRowsTest::showBrowseFile_calledAlone_addsARowAtOnce()
{
    list({{"f1", true}, {"x"}});
    const auto show = [this](const RemoteEntry &entry) {
        return windows::call(m_browsing.window, "ShowBrowseFile",
                             Q_ARG(FTP_FIND_DATA *, new FTP_FIND_DATA(entry.record())));
    };
    QVERIFY(show({"y"}));
    QCOMPARE(m_browsing.names(), QStringList({"f1", "x", "y"}));
    QVERIFY(show({"f2", true}));
    QCOMPARE(m_browsing.names(), QStringList({"f2", "f1", "x", "y"}));
    QVERIFY(windows::call(m_browsing.window, "BrowseFileFound",
                          Q_ARG(FTP_FIND_DATA *, new FTP_FIND_DATA(RemoteEntry{"z"}.record()))));
    QCOMPARE(m_browsing.names(), QStringList({"f2", "f1", "x", "y", "z"}));
}

void RemoteRowsTest::showBrowseFile_null_doesNothing()
{
    list({{"x"}});
    QVERIFY(windows::call(m_browsing.window, "ShowBrowseFile", Q_ARG(FTP_FIND_DATA *, nullptr)));
    QCOMPARE(m_browsing.names(), QStringList("x"));
}

void RemoteRowsTest::hostileNames_areShownLiterally()
{
    m_browsing.script.play(Scenario::SendsHostileNames);
    m_browsing.open();
    const QList<RemoteEntry> entries = m_browsing.script.listing("/");
    QCOMPARE(m_browsing.tree()->topLevelItemCount(), entries.size());
    for (const RemoteEntry &entry : entries) {
        const QString name = QString::fromUtf8(entry.name);
        QTreeWidgetItem *const row = windows::item(m_browsing.tree(), name);
        QVERIFY2(row, entry.name.constData());
        const QString tip = row->toolTip(0);
        if (Qt::mightBeRichText(tip))
            QVERIFY2(tip.contains(name.toHtmlEscaped()) && !tip.contains(QLatin1String("<b>")), qPrintable(tip));
        else
            QVERIFY2(tip.startsWith(QStringLiteral("Name:\t") + name + QLatin1Char('\n')), qPrintable(tip));
    }
    const QString bold = m_browsing.row("<b>bold</b>")->toolTip(0);
    QVERIFY(Qt::mightBeRichText(bold) && bold.contains(QLatin1String("&lt;b&gt;bold")));
}

void RemoteRowsTest::hostileNames_openedAndListed_harmNothing()
{
    m_browsing.script.play(Scenario::SendsHostileNames);
    m_browsing.open();
    windows::activate(m_browsing.window);
    for (int i = 0; i < m_browsing.tree()->topLevelItemCount(); ++i) {
        QVERIFY(m_browsing.tree()->topLevelItem(i));
        m_browsing.tree()->setCurrentItem(m_browsing.tree()->topLevelItem(i));
        m_browsing.window->grab();
    }
    // A folder whose name is a path asks for exactly that path; the device refuses, and the pane stays empty.
    m_browsing.script.clearCalls();
    windows::doubleClick(m_browsing.tree(), m_browsing.row("up/../../etc"));
    QCOMPARE(m_browsing.remoteCalls(), QStringList({"dir /", "dir /up/../../etc"}));
    QCOMPARE(m_browsing.names(), QStringList());
}

BTFTP_TEST_MAIN(RemoteRowsTest)
#include "tst_remoterows.moc"
