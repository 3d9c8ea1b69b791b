#include "NoticeArea.h"
#include "PasskeyBroker.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QToolButton>

#include <future>
#include <thread>

using namespace manager;

/** Questions of other threads, and sentences for the user. */
class ManagerAsking : public QObject
{
    Q_OBJECT

private slots:
    void ask_fromAnotherThread_getsTheAnswerOfTheGuiThread();
    void ask_fromTheGuiThread_isAnsweredAtOnce();
    void ask_theUserTakesHisTime_waitsForHim();
    void ask_whileTheGuiThreadWaitsForTheCaller_isDeclined();
    void ask_afterClose_isDeclinedAtOnce();
    void close_whileAQuestionWaits_declinesIt();
    void notice_isPlainTextWithItsButtons();
    void notice_shownAlready_isNotRepeated();
    void notices_moreThanFit_theOldestGoes();
    void notice_closed_leavesTheOthers();
    void notice_notTrueAnyMore_isTakenAway();

private:
    static std::future<std::optional<QString>> askAside(PasskeyBroker &broker)
    {
        return std::async(std::launch::async, [&broker] { return broker.ask(3); });
    }

    static bool ready(std::future<std::optional<QString>> &answer)
    {
        return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }
};

void ManagerAsking::ask_fromAnotherThread_getsTheAnswerOfTheGuiThread()
{
    const std::thread::id gui = std::this_thread::get_id();
    std::thread::id asked;
    PasskeyBroker broker([&](unsigned int device) -> std::optional<QString> {
        asked = std::this_thread::get_id();
        return QString::number(device);
    });
    auto answer = askAside(broker);
    QTRY_VERIFY(ready(answer));
    QCOMPARE(answer.get(), std::optional<QString>(QStringLiteral("3")));
    QVERIFY(asked == gui);
}

void ManagerAsking::ask_fromTheGuiThread_isAnsweredAtOnce()
{
    PasskeyBroker broker([](unsigned int) { return std::optional<QString>(QStringLiteral("x")); });
    QCOMPARE(broker.ask(1), std::optional<QString>(QStringLiteral("x")));
}

void ManagerAsking::ask_theUserTakesHisTime_waitsForHim()
{
    PasskeyBroker broker([](unsigned int) -> std::optional<QString> {
        QEventLoop dialog;
        QTimer::singleShot(PasskeyBroker::patience + 500, &dialog, &QEventLoop::quit);
        dialog.exec();
        return QStringLiteral("late");
    });
    auto answer = askAside(broker);
    QTRY_VERIFY_WITH_TIMEOUT(ready(answer), PasskeyBroker::patience + 5000);
    QCOMPARE(answer.get(), std::optional<QString>(QStringLiteral("late")));
}

void ManagerAsking::ask_whileTheGuiThreadWaitsForTheCaller_isDeclined()
{
    bool asked = false;
    PasskeyBroker broker([&](unsigned int) -> std::optional<QString> {
        asked = true;
        return QStringLiteral("x");
    });
    auto answer = askAside(broker);
    QCOMPARE(answer.get(), std::optional<QString>()); // no event loop turns here
    QTest::qWait(50);
    QVERIFY(!asked);
}

void ManagerAsking::ask_afterClose_isDeclinedAtOnce()
{
    PasskeyBroker broker([](unsigned int) { return std::optional<QString>(QStringLiteral("x")); });
    broker.close();
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(askAside(broker).get(), std::optional<QString>());
    QVERIFY(timer.elapsed() < PasskeyBroker::patience);
}

void ManagerAsking::close_whileAQuestionWaits_declinesIt()
{
    PasskeyBroker broker([](unsigned int) { return std::optional<QString>(QStringLiteral("x")); });
    auto answer = askAside(broker);
    broker.close();
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(answer.get(), std::optional<QString>());
    QVERIFY(timer.elapsed() < PasskeyBroker::patience);
}

void ManagerAsking::notice_isPlainTextWithItsButtons()
{
    NoticeArea area;
    int pressed = 0;
    area.add(NoticeArea::Kind::Information, QStringLiteral("<b>hostile</b>"),
             {{QStringLiteral("Open"), [&] { ++pressed; }}});
    QVERIFY(!area.isHidden());
    QCOMPARE(area.texts(), QStringList(QStringLiteral("<b>hostile</b>")));
    QTest::mouseClick(area.findChild<QPushButton *>(), Qt::LeftButton);
    QCOMPARE(pressed, 1);
}

void ManagerAsking::notice_shownAlready_isNotRepeated()
{
    NoticeArea area;
    area.add(NoticeArea::Kind::Warning, QStringLiteral("a"));
    area.add(NoticeArea::Kind::Warning, QStringLiteral("a"));
    QCOMPARE(area.texts().size(), 1);
}

void ManagerAsking::notices_moreThanFit_theOldestGoes()
{
    NoticeArea area;
    for (const char *text : {"a", "b", "c", "d"})
        area.add(NoticeArea::Kind::Warning, QString::fromLatin1(text));
    QCOMPARE(area.texts(), QStringList({QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("d")}));
}

void ManagerAsking::notice_closed_leavesTheOthers()
{
    NoticeArea area;
    area.add(NoticeArea::Kind::Warning, QStringLiteral("a"));
    area.add(NoticeArea::Kind::Warning, QStringLiteral("b"));
    QTest::mouseClick(area.findChild<QToolButton *>(), Qt::LeftButton);
    QCOMPARE(area.texts(), QStringList(QStringLiteral("b")));
    QVERIFY(!area.isHidden());
    area.findChildren<QToolButton *>().last()->click();
    QVERIFY(area.isHidden());
}

void ManagerAsking::notice_notTrueAnyMore_isTakenAway()
{
    NoticeArea area;
    area.add(NoticeArea::Kind::Warning, QStringLiteral("a"));
    area.add(NoticeArea::Kind::Warning, QStringLiteral("b"));
    area.remove(QStringLiteral("c"));
    area.remove(QStringLiteral("a"));
    QCOMPARE(area.texts(), QStringList(QStringLiteral("b")));
    area.remove(QStringLiteral("b"));
    QVERIFY(area.isHidden());
}

QTEST_MAIN(ManagerAsking)
#include "tst_manager_asking.moc"
