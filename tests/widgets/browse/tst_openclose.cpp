#include "browsing.h"
#include "modals.h"
#include "testmain.h"

#include <QElapsedTimer>
#include <QMouseEvent>
#include <QThread>

#include <thread>

/**
 * Windows that are opened and closed over and over, in each state that a window can be in. The address, leak and
 * thread checkers see what goes wrong; here it counts that every window goes and every link is let go.
 */
class OpenCloseTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_browsing.plugin.startAfresh(); }
    void cleanup() { m_browsing.stop(); }

    void twoHundredTimes_inEachState_everyWindowGoes_data();
    void twoHundredTimes_inEachState_everyWindowGoes();

private:
    static constexpr int times = 200;

    void reach(const QByteArray &state);
    void closeAndWait()
    {
        if (QWidget *const window = windows::first("BtFtpClient"))
            window->close();
        waitUntil([] { return windows::all("BtFtpClient").isEmpty(); });
        if (m_answer.joinable())
            m_answer.join();
    }
    void waitForStatus(const char *text)
    {
        waitUntil([this, text] { return m_browsing.status() == QLatin1String(text); });
    }
    /** As QTest::qWaitFor, with shorter sleeps: there are 200 rounds. */
    template <typename Condition>
    void waitUntil(Condition condition)
    {
        QElapsedTimer patience;
        patience.start();
        while (!condition()) {
            QVERIFY(patience.elapsed() < 10000);
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QThread::usleep(200); // leaves the processor, and the double's lock, to the worker
        }
    }
    void startDownload()
    {
        QVERIFY(windows::select(m_browsing.tree(), {QStringLiteral("hello.txt")}));
        m_browsing.action("actionDownload")->setEnabled(true);
        m_browsing.action("actionDownload")->trigger();
    }

    Browsing m_browsing;
    std::thread m_answer;
};

void OpenCloseTest::twoHundredTimes_inEachState_everyWindowGoes_data()
{
    QTest::addColumn<QByteArray>("state");
    for (const char *state :
         {"connecting, answered at once", "connecting, answered late", "connecting, refused", "listed and idle",
          "listing a thousand entries", "refused folder", "transferring", "box open, host closes the window",
          "box open, window destroyed", "menu open, host closes the window"})
        QTest::newRow(state) << QByteArray(state);
}

void OpenCloseTest::reach(const QByteArray &state)
{
    Modals modals;
    if (state == "connecting, refused") {
        m_browsing.script.setResult("Btsdk_ConnectEx", BTSDK_ER_CONNECT_FAILED);
    } else if (state == "listing a thousand entries") {
        QList<RemoteEntry> entries;
        for (int i = 0; i < 1000; ++i)
            entries.append({QByteArray::number(i), i % 3 == 0});
        m_browsing.script.setListing("/", entries);
    }
    if (state == "connecting, answered late")
        m_browsing.script.hold("Btsdk_ConnectEx");
    m_browsing.window = m_browsing.plugin.openWindow(Browsing::shortcut);
    QVERIFY(m_browsing.window);
    if (state.startsWith("connecting")) {
        if (state == "connecting, answered late") {
            waitUntil([this] { return m_browsing.script.held("Btsdk_ConnectEx") == 1; });
            // The window that is closed next waits for its worker, so the answer comes from beside it.
            m_answer = std::thread([this] {
                QThread::msleep(5);
                m_browsing.script.release("Btsdk_ConnectEx");
            });
        }
        return;
    }
    waitForStatus("Connected.");
    if (state == "refused folder") {
        QVERIFY(m_browsing.update("UpdateRmtCombox", QStringLiteral("/nowhere")));
    } else if (state == "transferring") {
        m_browsing.script.setTransfersHang(true);
        startDownload();
        waitUntil([this] { return m_browsing.script.hangingTransfers() == 1; });
    } else if (state.startsWith("box open")) {
        modals.handle([&](QWidget *) {
            if (state.endsWith("destroyed"))
                delete m_browsing.window;
            else
                m_browsing.window->close();
        });
        QMetaObject::invokeMethod(m_browsing.window, "OperationInd", Qt::QueuedConnection, Q_ARG(quint32, 6U),
                                  Q_ARG(quint32, 2U), Q_ARG(quint32, 0U));
        waitUntil([&] { return modals.allAnswered(); });
    } else if (state.startsWith("menu open")) {
        modals.handle([&](QWidget *) { m_browsing.window->close(); });
        QWidget *const viewport = m_browsing.tree()->viewport();
        const QPoint point(5, 5);
        QCoreApplication::postEvent(viewport,
                                    new QMouseEvent(QEvent::MouseButtonPress, point, viewport->mapToGlobal(point),
                                                    Qt::RightButton, Qt::RightButton, Qt::NoModifier));
        waitUntil([&] { return modals.allAnswered(); });
    }
}

void OpenCloseTest::twoHundredTimes_inEachState_everyWindowGoes()
{
    QFETCH(QByteArray, state);
    m_browsing.start();
    for (int i = 0; i < times && !QTest::currentTestFailed(); ++i) {
        m_browsing.script.clearCalls();
        reach(state);
        closeAndWait();
        QCOMPARE(m_browsing.script.count("Btsdk_DisconnectShortCut"), 1);
        QFile::remove(m_browsing.local->filePath(QStringLiteral("hello.txt")));
    }
    QVERIFY(!m_browsing.script.isShortcutConnected(Browsing::shortcut));
}

BTFTP_TEST_MAIN(OpenCloseTest)
#include "tst_openclose.moc"
