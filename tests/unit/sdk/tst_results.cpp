#include "api/results.h"

#include <QtTest>

#include <cstring>
#include <set>

using namespace api;

/** Results and what people read about them. */
class TestResults : public QObject
{
    Q_OBJECT

private slots:
    void texts_everyResult_sentenceAndNextStep();
    void texts_ofTheLibrary_areAllDifferent();
    void texts_timedOut();
    void texts_unknown_stillSentences();
    void results_errorsOfTheEngine_haveOneEach();
    void results_refusals_carryTheResponse();
};

namespace {

std::vector<unsigned int> everyResult()
{
    std::vector<unsigned int> results;
    for (unsigned int result = BTSDK_ER_INVALID_PARAMETER; result <= BTSDK_ER_LOCAL_FULL; ++result)
        results.push_back(result);
    results.push_back(BTSDK_ER_INTERNAL);
    for (const auto &[from, to] : {std::pair(0xB0u, 0xB5u), std::pair(0xC0u, 0xD5u), std::pair(0xE0u, 0xE1u)}) {
        for (unsigned int response = from; response <= to; ++response)
            results.push_back(BTSDK_OBEX_BASE + response);
    }
    return results;
}

bool isSentence(const char *text)
{
    const std::size_t length = std::strlen(text);
    return length >= 5 && std::isupper(static_cast<unsigned char>(text[0])) != 0 &&
           (text[length - 1] == '.' || text[length - 1] == '?');
}

} // namespace

void TestResults::texts_everyResult_sentenceAndNextStep()
{
    for (const unsigned int result : everyResult()) {
        QVERIFY2(isSentence(resultText(result)), qPrintable(QString::number(result, 16)));
        QVERIFY2(isSentence(resultAdvice(result)), qPrintable(QString::number(result, 16)));
        QVERIFY2(qstrcmp(resultText(result), resultText(0x12345)) != 0, qPrintable(QString::number(result, 16)));
    }
    QVERIFY(isSentence(resultText(BTSDK_OK)));
    QCOMPARE(QByteArray(resultAdvice(BTSDK_OK)), QByteArray());
}

void TestResults::texts_ofTheLibrary_areAllDifferent()
{
    std::set<std::string> texts;
    for (unsigned int result = BTSDK_OK; result <= BTSDK_ER_LOCAL_FULL; ++result)
        QVERIFY2(texts.insert(resultText(result)).second, resultText(result));
}

void TestResults::texts_timedOut()
{
    QCOMPARE(QByteArray(resultText(BTSDK_ER_TIMED_OUT)), QByteArray("The device did not answer."));
    QCOMPARE(QByteArray(resultAdvice(BTSDK_ER_TIMED_OUT)),
             QByteArray("Is it in range and is its file transfer service on?"));
}

void TestResults::texts_unknown_stillSentences()
{
    for (const unsigned int result : {0x77u, 0x0500u, 0x06FFu, 0x0700u, 0xFFFFFFFFu}) {
        QVERIFY(isSentence(resultText(result)));
        QVERIFY(isSentence(resultAdvice(result)));
    }
}

void TestResults::results_errorsOfTheEngine_haveOneEach()
{
    std::set<unsigned int> seen;
    for (int error = static_cast<int>(obex::Error::None); error <= static_cast<int>(obex::Error::Internal); ++error)
        QVERIFY2(seen.insert(resultOf(obex::Outcome(static_cast<obex::Error>(error)))).second, "twice");
    QVERIFY(seen.count(BTSDK_OK) == 1);
}

void TestResults::results_refusals_carryTheResponse()
{
    QCOMPARE(resultOf(obex::Outcome::refused(obex::ResponseCode::Unauthorized)), 1729u);
    QCOMPARE(resultOf(obex::Outcome::refused(obex::ResponseCode::NotFound)), 0x06C4u);
    QCOMPARE(resultOf(obex::Outcome::refused(static_cast<obex::ResponseCode>(0x44))), 0x06C4u);
}

QTEST_APPLESS_MAIN(TestResults)
#include "tst_results.moc"
