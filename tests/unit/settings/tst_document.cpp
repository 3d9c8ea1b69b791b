#include "settings/document.h"
#include "settings/settingsfile.h"
#include "settings/utf8.h"

#include <QtTest>

using settings::Document;

namespace {

std::string load(Document &document, const char *text)
{
    return document.load(text) ? document.save().value_or("not saved") : "not loaded";
}

} // namespace

/** The settings' text: reading, changing, writing. */
class TestDocument : public QObject
{
    Q_OBJECT

private slots:
    void value_keyInAnyCase_isFound();
    void value_keyTwice_firstCounts();
    void value_asWritten_isRead_data();
    void value_asWritten_isRead();
    void setValue_anyText_comesBack_data();
    void setValue_anyText_comesBack();
    void setValue_whatCannotBeWritten_isRefused_data();
    void setValue_whatCannotBeWritten_isRefused();
    void setValue_commentsAndUnknownKeys_survive();
    void save_twice_sameText();
    void load_textWithNul_isRefused();
    void load_tooLong_isRefused();
    void removeSection_leavesTheRest();
    void toInt_text_data();
    void toInt_text();
    void cutUtf8_limit_endsAtCharacter_data();
    void cutUtf8_limit_endsAtCharacter();
};

void TestDocument::value_keyInAnyCase_isFound()
{
    Document document;
    QVERIFY(document.load("[FtpServer]\nShareFolder = /home/me\n"));
    QCOMPARE(document.value("FTPSERVER", "SHAREFOLDER").value_or("none"), std::string("/home/me"));
    QVERIFY(document.setValue("ftpserver", "sharefolder", "/new"));
    QCOMPARE(document.save().value_or(""), std::string("[FtpServer]\nShareFolder = /new\n"));
}

void TestDocument::value_keyTwice_firstCounts()
{
    Document document;
    QVERIFY(document.load("[a]\nkey = one\nkey = two\n"));
    QCOMPARE(document.value("a", "key").value_or("none"), std::string("one"));
}

void TestDocument::value_asWritten_isRead_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("plain") << QByteArray("key=value") << QByteArray("value");
    QTest::newRow("spaces inside") << QByteArray("key = My Documents") << QByteArray("My Documents");
    QTest::newRow("spaces around are not part of it") << QByteArray("key =   x  ") << QByteArray("x");
    QTest::newRow("quotes keep spaces") << QByteArray("key = \"  x \"") << QByteArray("  x ");
    QTest::newRow("quotes inside") << QByteArray("key = say \"hello\" twice") << QByteArray("say \"hello\" twice");
    QTest::newRow("one quote alone") << QByteArray("key = \"") << QByteArray("\"");
    QTest::newRow("empty") << QByteArray("key =") << QByteArray("");
    QTest::newRow("empty quotes") << QByteArray("key = \"\"") << QByteArray("");
    QTest::newRow("equals sign inside") << QByteArray("key = a=b") << QByteArray("a=b");
    QTest::newRow("semicolon inside") << QByteArray("key = a;b") << QByteArray("a;b");
    QTest::newRow("several lines") << QByteArray("key = <<<END\none\ntwo\nEND") << QByteArray("one\ntwo");
    QTest::newRow("line ends of another system") << QByteArray("key = x\r\n\r\n") << QByteArray("x");
    QTest::newRow("other scripts") << QByteArray("key = Größe 寸法") << QByteArray("Größe 寸法");
}

void TestDocument::value_asWritten_isRead()
{
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, value);
    Document document;
    QVERIFY(document.load(("[a]\n" + line + "\n").toStdString()));
    QCOMPARE(QByteArray::fromStdString(document.value("a", "key").value_or("none")), value);
}

void TestDocument::setValue_anyText_comesBack_data()
{
    QTest::addColumn<QByteArray>("value");
    for (const char *value : {"plain",        "",          " leading",     "trailing ",    "\ttab\t",  "\"quoted\"",
                              "\"",           "\"\"",      "'single'",     "a \"b\" c",    "<<<",      "<<<TAG",
                              "; no comment", "# neither", "[no section]", "a = b",        "one\ntwo", "\"one\ntwo\"",
                              "one\n",        "\none",     "\n",           "Größe 寸法 🎵", "\xff\xfe", "100%s"})
        QTest::newRow(QByteArray(value).toPercentEncoding().constData()) << QByteArray(value);
}

void TestDocument::setValue_anyText_comesBack()
{
    QFETCH(QByteArray, value);
    Document document;
    QVERIFY(document.load("[other]\nkey = kept\n"));
    QVERIFY(document.setValue("a", "key", value.toStdString()));
    QVERIFY(document.setValue("a", "next", "kept too"));

    Document again;
    QVERIFY(again.load(document.save().value()));
    QCOMPARE(QByteArray::fromStdString(again.value("a", "key").value()), value);
    QCOMPARE(again.value("other", "key").value(), std::string("kept"));
    QCOMPARE(again.value("a", "next").value(), std::string("kept too"));
}

void TestDocument::setValue_whatCannotBeWritten_isRefused_data()
{
    QTest::addColumn<QByteArray>("section");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<QByteArray>("value");
    const QByteArray fine("fine");
    QTest::newRow("empty section") << QByteArray() << fine << fine;
    QTest::newRow("empty key") << fine << QByteArray() << fine;
    QTest::newRow("section with a bracket") << QByteArray("a]b") << fine << fine;
    QTest::newRow("section with a line end") << QByteArray("a\nb") << fine << fine;
    QTest::newRow("section with spaces around") << QByteArray(" a ") << fine << fine;
    QTest::newRow("key with an equals sign") << fine << QByteArray("a=b") << fine;
    QTest::newRow("key with a line end") << fine << QByteArray("a\nb") << fine;
    QTest::newRow("key with spaces around") << fine << QByteArray(" a ") << fine;
    QTest::newRow("key like a comment") << fine << QByteArray(";a") << fine;
    QTest::newRow("key like a section") << fine << QByteArray("[a") << fine;
    QTest::newRow("carriage return in the value") << fine << fine << QByteArray("a\rb");
    QTest::newRow("the end mark of several lines") << fine << fine << QByteArray("a\nEND_OF_TEXT\nb");
    QTest::newRow("NUL in the value") << fine << fine << QByteArray("a\0b", 3);
}

void TestDocument::setValue_whatCannotBeWritten_isRefused()
{
    QFETCH(QByteArray, section);
    QFETCH(QByteArray, key);
    QFETCH(QByteArray, value);
    Document document;
    const std::string before = load(document, "; note\n[other]\nkey = kept\n");
    QVERIFY(!document.setValue(section.toStdString(), key.toStdString(), value.toStdString()));
    QCOMPARE(document.save().value(), before);
}

void TestDocument::setValue_commentsAndUnknownKeys_survive()
{
    Document document;
    QVERIFY(document.load("; about this file\n\n[one] ; beside a section\n# about the key\nkey = 1\nunknown = x\n"
                          "a line that is nothing\n[two]\nkey = 2\n[one]\nmore = 3\n; the last word\n"));
    QVERIFY(document.setValue("one", "key", "changed"));
    const std::string text = document.save().value();
    for (const char *kept :
         {"; about this file", "; beside a section", "# about the key", "key = changed", "unknown = x",
          "; a line that is nothing", "[two]", "key = 2", "more = 3", "; the last word"})
        QVERIFY2(text.find(kept) != std::string::npos, kept);
}

void TestDocument::save_twice_sameText()
{
    Document document;
    QVERIFY(document.load("\xEF\xBB\xBF; head\n[one] ; beside\nkey = 1\nnothing\n; tail\n"));
    const std::string first = document.save().value();
    QCOMPARE(first.substr(0, 3), std::string("\xEF\xBB\xBF"));
    Document again;
    QVERIFY(again.load(first));
    QCOMPARE(again.save().value(), first);
}

void TestDocument::load_textWithNul_isRefused()
{
    Document document;
    QVERIFY(!document.load(std::string("[a]\nkey = x\n\0[b]\nkey = y\n", 24)));
    QVERIFY(document.sections().empty());
}

void TestDocument::load_tooLong_isRefused()
{
    Document document;
    QVERIFY(document.load("[a]\nkey = " + std::string(Document::maxSize - 10, 'x')));
    QVERIFY(!document.load("[a]\nkey = " + std::string(Document::maxSize - 9, 'x')));
}

void TestDocument::removeSection_leavesTheRest()
{
    Document document;
    QVERIFY(document.load("[one]\nkey = 1\n\n; about two\n[two]\nkey = 2\n\n[three]\nkey = 3\n; end\n"));
    QVERIFY(document.removeSection("TWO"));
    QVERIFY(!document.removeSection("two"));
    QCOMPARE(document.sections(), (std::vector<std::string>{"one", "three"}));
    QVERIFY(document.save().value().find("; end") != std::string::npos);
}

void TestDocument::toInt_text_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("number");
    QTest::newRow("plain") << QByteArray("42") << 42;
    QTest::newRow("negative") << QByteArray("-7") << -7;
    QTest::newRow("plus sign") << QByteArray("+7") << 7;
    QTest::newRow("blanks around") << QByteArray("  3 ") << 3;
    QTest::newRow("largest") << QByteArray("2147483647") << 2147483647;
    QTest::newRow("too large") << QByteArray("2147483648") << -1;
    QTest::newRow("text") << QByteArray("many") << -1;
    QTest::newRow("text behind") << QByteArray("12px") << -1;
    QTest::newRow("empty") << QByteArray("") << -1;
    QTest::newRow("blank") << QByteArray("  ") << -1;
    QTest::newRow("two signs") << QByteArray("+-3") << -1;
}

void TestDocument::toInt_text()
{
    QFETCH(QByteArray, text);
    QFETCH(int, number);
    QCOMPARE(settings::toInt(text.toStdString(), -1), number);
}

void TestDocument::cutUtf8_limit_endsAtCharacter_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("limit");
    QTest::addColumn<QByteArray>("cut");
    QTest::newRow("fits") << QByteArray("aé") << 3 << QByteArray("aé");
    QTest::newRow("within two bytes") << QByteArray("aé") << 2 << QByteArray("a");
    QTest::newRow("within three bytes") << QByteArray("寸法") << 5 << QByteArray("寸");
    QTest::newRow("within four bytes") << QByteArray("x🎵") << 4 << QByteArray("x");
    QTest::newRow("first character too long") << QByteArray("🎵") << 3 << QByteArray("");
    QTest::newRow("no room") << QByteArray("a") << 0 << QByteArray("");
    QTest::newRow("no UTF-8") << QByteArray("a\x80\x80\x80\x80\x80") << 5 << QByteArray("a\x80\x80\x80\x80");
}

void TestDocument::cutUtf8_limit_endsAtCharacter()
{
    QFETCH(QByteArray, text);
    QFETCH(int, limit);
    QFETCH(QByteArray, cut);
    const std::string whole = text.toStdString();
    const std::string_view result = settings::cutUtf8(whole, static_cast<std::size_t>(limit));
    QCOMPARE(QByteArray(result.data(), static_cast<int>(result.size())), cut);
}

QTEST_APPLESS_MAIN(TestDocument)
#include "tst_document.moc"
