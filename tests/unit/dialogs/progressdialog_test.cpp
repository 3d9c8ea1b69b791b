#include "ComProgressDlg.h"
#include "looks.h"

#include <QAccessible>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

static_assert(sizeof(ComProgressDlg) == sizeof(QDialog) + sizeof(void *), "plug-ins allocate the dialog themselves");

class ProgressDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_dialog.reset(); }
    void folders_ofTheConstructor_areShown();
    void report_ofAnySize_isShown_data();
    void report_ofAnySize_isShown();
    void report_ofAStepUnderOnePercent_drawsTheBarAsTheTitleSays_data();
    void report_ofAStepUnderOnePercent_drawsTheBarAsTheTitleSays();
    void report_throughTheSignalTheWindowUses_arrives();
    void name_likeMarkup_isShownLiterally();
    void name_invalidUtf8_isShownWithReplacements();
    void name_tooLongForTheLine_isElidedWithAToolTip();
    void files_severalInTurn_areCounted();
    void cancel_byAnyWay_asksOnceAndStaysOpen_data();
    void cancel_byAnyWay_asksOnceAndStaysOpen();
    void enter_doesNotCancel();
    void done_endsTheDialog_withoutAsking();
    void reports_byTheThousand_repaintAtMost25TimesASecond();
    void texts_ofAnyLength_leaveTheSizeAlone();
    void language_changed_translatesEveryText();
    void widgets_haveNamesForAssistiveTools();
    void looks_inEveryState_haveNoFault_data();
    void looks_inEveryState_haveNoFault();

private:
    void report(quint8 first, quint8 last, const char *name, quint32 size, quint32 moved);
    QString textOf(const char *name) const { return child<QLabel>(name)->text(); }
    template <class T>
    T *child(const char *name) const
    {
        return m_dialog->findChild<T *>(QLatin1String(name));
    }

    std::unique_ptr<ComProgressDlg> m_dialog;
};

void ProgressDialogTest::init()
{
    QLocale::setDefault(QLocale::c());
    QString source = QStringLiteral("/Pictures");
    QString destination = QStringLiteral("/home/ada/Downloads");
    m_dialog = std::make_unique<ComProgressDlg>(source, destination, nullptr);
    m_dialog->setVisible(true);
    QVERIFY(QTest::qWaitForWindowExposed(m_dialog.get()));
}

void ProgressDialogTest::report(quint8 first, quint8 last, const char *name, quint32 size, quint32 moved)
{
    QByteArray buffer(name);
    m_dialog->slotProcTransStatus(first, last, name ? reinterpret_cast<quint8 *>(buffer.data()) : nullptr, size, moved);
    // The dialog must not read the name later: the sender frees it when the slot returns.
    buffer.fill('x');
}

void ProgressDialogTest::folders_ofTheConstructor_areShown()
{
    QCOMPARE(textOf("source"), QStringLiteral("/Pictures"));
    QCOMPARE(textOf("destination"), QStringLiteral("/home/ada/Downloads"));
    QCOMPARE(textOf("fileName"), QStringLiteral("Starting..."));
    QCOMPARE(m_dialog->windowTitle(), QStringLiteral("File Transfer"));
}

void ProgressDialogTest::report_ofAnySize_isShown_data()
{
    QTest::addColumn<bool>("last");
    QTest::addColumn<quint32>("size");
    QTest::addColumn<quint32>("moved");
    QTest::addColumn<QString>("amount");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("title");
    QTest::newRow("part of the way") << false << 41943040u << 12897485u << "12.3 MB of 40.0 MB" << 1000 << 307
                                     << "30% - File Transfer";
    QTest::newRow("size not known: a busy bar") << false << 0u << 2048u << "2.0 KB" << 0 << -1 << "File Transfer";
    QTest::newRow("an empty file") << true << 0u << 0u << "0 B of 0 B" << 1000 << 1000 << "100% - File Transfer";
    QTest::newRow("more than the whole") << false << 1000u << 1500u << "1.5 KB of 1.5 KB" << 1000 << 1000
                                         << "100% - File Transfer";
    QTest::newRow("4 GB and more") << false << 0xFFFFFFFFu << 0x80000000u << "50% of more than 4.0 GB" << 1000 << 500
                                   << "50% - File Transfer";
}

void ProgressDialogTest::report_ofAnySize_isShown()
{
    QFETCH(bool, last);
    QFETCH(quint32, size);
    QFETCH(quint32, moved);
    QFETCH(QString, amount);
    QFETCH(int, value);
    report(1, last ? 1 : 0, "a.bin", size, moved);
    QTRY_COMPARE(textOf("amount"), amount);
    QCOMPARE(textOf("fileName"), QStringLiteral("a.bin"));
    const auto *bar = child<QProgressBar>("progress");
    QTEST(bar->maximum(), "maximum");
    if (value >= 0)
        QCOMPARE(bar->value(), value);
    QTEST(m_dialog->windowTitle(), "title");
}

/** Counts how often a widget is drawn. */
class DrawnCount : public QObject
{
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            ++m_count;
        return false;
    }
    int m_count = 0;
};

void ProgressDialogTest::report_ofAStepUnderOnePercent_drawsTheBarAsTheTitleSays_data()
{
    QTest::addColumn<quint32>("before");
    QTest::addColumn<quint32>("after");
    QTest::newRow("from 0 % to 1 %") << 9900u << 10100u;
    QTest::newRow("from 1 % back to 0 %") << 10500u << 9500u;
    QTest::newRow("from 57 % to 58 %") << 579900u << 580000u;
}

void ProgressDialogTest::report_ofAStepUnderOnePercent_drawsTheBarAsTheTitleSays()
{
    QFETCH(quint32, before);
    QFETCH(quint32, after);
    auto *bar = child<QProgressBar>("progress");
    m_dialog->resize(m_dialog->minimumWidth(), m_dialog->height());
    m_dialog->show();
    report(1, 0, "a.bin", 1000000, before);
    const auto title = [](quint32 moved) { return QStringLiteral("%1% - File Transfer").arg(moved / 10000); };
    QTRY_COMPARE(m_dialog->windowTitle(), title(before));
    QTest::qWait(100); // what the first report made out of date is drawn
    DrawnCount drawn;
    bar->installEventFilter(&drawn);
    report(0, 0, "a.bin", 1000000, after);
    QTRY_COMPARE(m_dialog->windowTitle(), title(after));
    QCOMPARE(bar->text() + QStringLiteral(" - File Transfer"), m_dialog->windowTitle());
    QTRY_VERIFY(drawn.m_count > 0);
}

/** As a window wires it: by name, with the types as they are spelled there. */
class Reporter : public QObject
{
    Q_OBJECT

signals:
    void sgnTransStatus(quint8, quint8, quint8 *, quint32, quint32);
};

void ProgressDialogTest::report_throughTheSignalTheWindowUses_arrives()
{
    Reporter reporter;
    QVERIFY(QObject::connect(&reporter, SIGNAL(sgnTransStatus(quint8, quint8, quint8 *, quint32, quint32)),
                             m_dialog.get(), SLOT(slotProcTransStatus(quint8, quint8, quint8 *, quint32, quint32))));
    quint8 name[] = "wired.txt";
    emit reporter.sgnTransStatus(1, 0, name, 100, 1);
    QTRY_COMPARE(textOf("fileName"), QStringLiteral("wired.txt"));
    emit reporter.sgnTransStatus(1, 0, nullptr, 100, 1);
    QTRY_COMPARE(textOf("fileName"), QStringLiteral("A file whose name is not known"));
}

void ProgressDialogTest::name_likeMarkup_isShownLiterally()
{
    report(1, 0, "<b>a&amp;b</b> %1 &c.txt", 10, 1);
    QTRY_COMPARE(textOf("fileName"), QStringLiteral("<b>a&amp;b</b> %1 &c.txt"));
    QCOMPARE(child<QLabel>("fileName")->textFormat(), Qt::PlainText);
}

void ProgressDialogTest::name_invalidUtf8_isShownWithReplacements()
{
    report(1, 0, "a\xC3(\xFF\n.txt", 10, 1);
    QTRY_VERIFY(textOf("fileName").startsWith(QLatin1Char('a')));
    QVERIFY(textOf("fileName").contains(QChar(QChar::ReplacementCharacter)));
    QVERIFY(!textOf("fileName").contains(QLatin1Char('\n')));
}

void ProgressDialogTest::name_tooLongForTheLine_isElidedWithAToolTip()
{
    const QByteArray name = "<" + QByteArray(255, 'w') + ".txt";
    report(1, 0, name.constData(), 10, 1);
    QTRY_COMPARE(textOf("fileName"), QString::fromUtf8(name));
    QVERIFY(child<QLabel>("fileName")->toolTip().contains(QLatin1String("www.txt")));
    report(1, 0, "short", 10, 1);
    QTRY_COMPARE(textOf("fileName"), QStringLiteral("short"));
    QCOMPARE(child<QLabel>("fileName")->toolTip(), QString());
}

void ProgressDialogTest::files_severalInTurn_areCounted()
{
    report(1, 1, "a", 10, 10);
    QTRY_COMPARE(textOf("fileName"), QStringLiteral("a"));
    QCOMPARE(textOf("fileCount"), QString());
    report(1, 0, "b", 10, 5);
    report(0, 1, "b", 10, 10);
    report(1, 0, "c", 10, 5);
    QTRY_COMPARE(textOf("fileCount"), QStringLiteral("File 3"));
    QCOMPARE(child<QProgressBar>("progress")->value(), 500);
}

void ProgressDialogTest::cancel_byAnyWay_asksOnceAndStaysOpen_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("the button by mouse") << "click";
    QTest::newRow("the button by Space") << "space";
    QTest::newRow("its mnemonic") << "mnemonic";
    QTest::newRow("Escape") << "escape";
    QTest::newRow("closing the window") << "close";
    QTest::newRow("reject, as a program calls it") << "reject";
}

void ProgressDialogTest::cancel_byAnyWay_asksOnceAndStaysOpen()
{
    QFETCH(QString, way);
    auto *cancel = child<QPushButton>("cancel");
    QSignalSpy asked(m_dialog.get(), &ComProgressDlg::userActionInd);
    QSignalSpy finished(m_dialog.get(), &QDialog::finished);
    const auto act = [&] {
        if (way == QLatin1String("click"))
            QTest::mouseClick(cancel, Qt::LeftButton);
        else if (way == QLatin1String("space"))
            QTest::keyClick(cancel, Qt::Key_Space);
        else if (way == QLatin1String("mnemonic"))
            QTest::keyClick(m_dialog.get(), Qt::Key_C, Qt::AltModifier);
        else if (way == QLatin1String("escape"))
            QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
        else if (way == QLatin1String("close"))
            m_dialog->close();
        else
            m_dialog->reject();
    };
    QApplication::setActiveWindow(m_dialog.get());
    QCOMPARE(cancel->text(), QStringLiteral("&Cancel"));
    act();
    QTRY_COMPARE(asked.count(), 1);
    QCOMPARE(asked.at(0).at(0).value<quint8>(), quint8(1));
    QCOMPARE(cancel->text(), QStringLiteral("Cancelling..."));
    act();
    m_dialog->close();
    QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
    QCOMPARE(asked.count(), 1);
    QVERIFY(m_dialog->isVisible());
    QCOMPARE(finished.count(), 0);
    report(1, 0, "still moving", 10, 5);
    QTRY_COMPARE(textOf("fileName"), QStringLiteral("still moving"));
}

void ProgressDialogTest::enter_doesNotCancel()
{
    QSignalSpy asked(m_dialog.get(), &ComProgressDlg::userActionInd);
    QApplication::setActiveWindow(m_dialog.get());
    QTRY_COMPARE(m_dialog->focusWidget(), child<QPushButton>("cancel"));
    QTest::keyClick(m_dialog->focusWidget(), Qt::Key_Return);
    QTest::keyClick(m_dialog.get(), Qt::Key_Enter);
    QCOMPARE(asked.count(), 0);
    QVERIFY(m_dialog->isVisible());
}

void ProgressDialogTest::done_endsTheDialog_withoutAsking()
{
    QSignalSpy asked(m_dialog.get(), &ComProgressDlg::userActionInd);
    m_dialog->done(0);
    QVERIFY(!m_dialog->isVisible());
    QCOMPARE(asked.count(), 0);
}

void ProgressDialogTest::reports_byTheThousand_repaintAtMost25TimesASecond()
{
    auto *bar = child<QProgressBar>("progress");
    QSignalSpy changes(bar, &QProgressBar::valueChanged);
    report(1, 0, "a.bin", 1000000, 0);
    QElapsedTimer clock;
    clock.start();
    quint32 moved = 0;
    while (moved < 500000) {
        report(0, 0, "a.bin", 1000000, moved += 1000);
        QTest::qWait(1);
    }
    const qint64 elapsed = clock.elapsed();
    QTRY_COMPARE(bar->value(), 500);
    QVERIFY2(changes.count() >= 3, "it must be seen to move");
    QVERIFY2(changes.count() <= elapsed / 40 + 2,
             qPrintable(QStringLiteral("%1 changes in %2 ms").arg(changes.count()).arg(elapsed)));
}

void ProgressDialogTest::texts_ofAnyLength_leaveTheSizeAlone()
{
    const QSize size = m_dialog->size();
    const QSize least = m_dialog->minimumSizeHint();
    const QByteArray wide(255, 'W');
    for (int i = 0; i < 12; ++i)
        report(1, 0, wide.constData(), 0xFFFFFFF0u, 0xFFFFFF00u);
    QTRY_COMPARE(textOf("fileName").size(), 255);
    report(1, 0, nullptr, 0, 1);
    QTRY_COMPARE(child<QProgressBar>("progress")->maximum(), 0);
    m_dialog->reject();
    QCoreApplication::processEvents();
    QCOMPARE(m_dialog->size(), size);
    QCOMPARE(m_dialog->minimumSizeHint(), least);
}

void ProgressDialogTest::language_changed_translatesEveryText()
{
    report(1, 0, "a", 100, 50);
    report(1, 0, nullptr, 100, 50);
    QTRY_COMPARE(textOf("fileCount"), QStringLiteral("File 2"));
    BracketTranslator translator;
    QCoreApplication::installTranslator(&translator);
    QTRY_COMPARE(child<QPushButton>("cancel")->text(), QStringLiteral("[&Cancel]"));
    QCOMPARE(textOf("fileCount"), QStringLiteral("[File 2]"));
    QCOMPARE(textOf("fileName"), QStringLiteral("[A file whose name is not known]"));
    QCOMPARE(textOf("amount"), QStringLiteral("[[50 B] of [100 B]]"));
    QCOMPARE(m_dialog->windowTitle(), QStringLiteral("[50% - File Transfer]"));
    QCOMPARE(child<QProgressBar>("progress")->accessibleName(), QStringLiteral("[Progress of the file]"));
    m_dialog->reject();
    QCoreApplication::removeTranslator(&translator);
    QTRY_COMPARE(child<QPushButton>("cancel")->text(), QStringLiteral("Cancelling..."));
}

void ProgressDialogTest::widgets_haveNamesForAssistiveTools()
{
    report(1, 0, "a.bin", 100, 50);
    QTRY_COMPARE(textOf("fileName"), QStringLiteral("a.bin"));
    for (const char *name : {"fileName", "source", "destination", "progress", "amount", "cancel"}) {
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(child<QWidget>(name));
        QVERIFY2(accessible && !accessible->text(QAccessible::Name).isEmpty(), name);
    }
}

void ProgressDialogTest::looks_inEveryState_haveNoFault_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<quint32>("size");
    QTest::addColumn<quint32>("moved");
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<int>("points");
    QTest::newRow("starting") << QByteArray() << 0u << 0u << false << 0;
    QTest::newRow("moving") << QByteArray("holiday.jpg") << 41943040u << 12897485u << false << 0;
    QTest::newRow("long-name") << QByteArray("a very long name ").repeated(15) + "end.tar.gz" << 41943040u << 12897485u
                               << false << 0;
    QTest::newRow("busy") << QByteArray("stream") << 0u << 12897485u << false << 0;
    QTest::newRow("cancelling") << QByteArray("holiday.jpg") << 41943040u << 12897485u << true << 0;
    QTest::newRow("large-font") << QByteArray("holiday.jpg") << 41943040u << 12897485u << false << 18;
}

void ProgressDialogTest::looks_inEveryState_haveNoFault()
{
    QFETCH(QByteArray, name);
    QFETCH(quint32, size);
    QFETCH(quint32, moved);
    QFETCH(bool, cancel);
    QFETCH(int, points);
    const QFont font = QApplication::font();
    if (points > 0) {
        QFont large = font;
        large.setPointSize(points);
        QApplication::setFont(large);
        init();
    }
    if (!name.isEmpty()) {
        report(1, 1, "first", 100, 100);
        report(1, 0, name.constData(), size, 0);
        QTest::qWait(600); // so that the picture shows a rate
        report(0, 0, name.constData(), size, moved);
        QTRY_COMPARE(textOf("fileName"), QString::fromUtf8(name));
        QTRY_VERIFY(!textOf("pace").isEmpty());
    }
    if (cancel)
        m_dialog->reject();
    keepPicture(*m_dialog, QStringLiteral("progress-") + QLatin1String(QTest::currentDataTag()));
    const QStringList faults = faultsOf(*m_dialog);
    QApplication::setFont(font);
    QCOMPARE(faults, QStringList());
}

QTEST_MAIN(ProgressDialogTest)
#include "progressdialog_test.moc"
