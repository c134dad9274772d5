// Links, e-mail addresses, line breaks and tags in message texts. replaceLinks is also checked
// against the address pattern applied literally with QRegExp, the engine whose matching rules
// it keeps (leftmost-longest alternatives, word boundaries judged per UTF-16 unit).
#include "util/linkparser.h"

#include <QRandomGenerator>
#include <QRegExp>
#include <QtTest>

class TestLinkParser : public QObject
{
    Q_OBJECT

private slots:
    void replaceLinks_data();
    void replaceLinks();
    void replaceLinksRewritesItsArgument();
    void replaceLinksMatchesLiteralPattern();

    void replaceEmails_data();
    void replaceEmails();
    void findFirstLink_data();
    void findFirstLink();
    void cleanTextFromHtml_data();
    void cleanTextFromHtml();
    void lineBreaks();
    void replaceImages_data();
    void replaceImages();
};

namespace {

QString web(const QString &href, const QString &text)
{
    return QStringLiteral("<a href=\"%1\">%2</a>").arg(href, text);
}

QString mail(const QString &address)
{
    return QStringLiteral("<a href=\"mailto:%1\">%1</a>").arg(address);
}

// The address pattern applied literally: one greedy, case-sensitive QRegExp; the address
// replaced in place and the search resumed after the inserted anchor.
QString literalReplaceLinks(QString text)
{
    QRegExp rx(QStringLiteral(
        R"(\b((((https?|ftp)://)?[-a-zA-Z0-9а-яА-Я]{2,256}\.[a-zа-яА-Я]{2,6}[-a-zA-Z0-9а-яА-Я@:%\._\+~#'=/\?&;\[\]\(\)]{0,256})|([-a-zA-Z0-9\.]{2,256}@[-a-zA-Z0-9\.]{2,256}\.[a-z]{2,6}))<?)"));
    const QRegExp scheme(QStringLiteral("^(https?|ftp)"));
    int pos = 0;
    while ((pos = rx.indexIn(text, pos)) != -1) {
        const QString cap = rx.cap(1);
        QString anchor;
        if (cap.contains(QLatin1Char('@')))
            anchor = QStringLiteral("<a href=\"mailto:%1\">%1</a>").arg(cap);
        else if (scheme.indexIn(cap) != -1)
            anchor = QStringLiteral("<a href=\"%1\">%1</a>").arg(cap);
        else
            anchor = QStringLiteral("<a href=\"https://%1\">%1</a>").arg(cap);
        text.replace(pos, cap.length(), anchor);
        pos += anchor.length();
    }
    return text;
}

} // namespace

void TestLinkParser::replaceLinks_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("html");

    QTest::newRow("no address") << "просто текст, 1.5 кг, т.е. так"
                                << "просто текст, 1.5 кг, т.е. так";
    QTest::newRow("with scheme") << "см. https://example.com/a?b=1 тут"
                                 << "см. "
                                        + web("https://example.com/a?b=1",
                                              "https://example.com/a?b=1")
                                        + " тут";
    QTest::newRow("without scheme, path and query")
        << "см. example.com/path?q=1&x=2 тут"
        << "см. " + web("https://example.com/path?q=1&x=2", "example.com/path?q=1&x=2") + " тут";
    QTest::newRow("ftp") << "ftp://files.example.org/a.zip"
                         << web("ftp://files.example.org/a.zip", "ftp://files.example.org/a.zip");
    QTest::newRow("e-mail") << "пишите ivan@mail.ru"
                            << "пишите " + mail("ivan@mail.ru");
    QTest::newRow("e-mail with dots")
        << "john.doe@mail.example.com" << mail("john.doe@mail.example.com");
    QTest::newRow("@ in a web path") << "example.com/user@name" << mail("example.com/user@name");
    QTest::newRow("scheme link then <")
        << "https://ya.ru<b" << web("https://ya.ru", "https://ya.ru") + "<b";
    QTest::newRow("link then emoji picture")
        << "ya.ru<img width=20 height=20 src=':/emoji/resources/emoji/emoji_1f600'/>"
        << web("https://ya.ru", "ya.ru")
               + "<img width=20 height=20 src=':/emoji/resources/emoji/emoji_1f600'/>";
    QTest::newRow("Cyrillic host") << "сайт пример.рф!"
                                   << "сайт " + web("https://пример.рф", "пример.рф") + "!";
    QTest::newRow("Cyrillic path")
        << "https://сайт.рф/каталог/товар"
        << web("https://сайт.рф/каталог/товар", "https://сайт.рф/каталог/товар");
    QTest::newRow("two addresses")
        << "ab.com и bc@cd.org" << web("https://ab.com", "ab.com") + " и " + mail("bc@cd.org");
    // Host and local part need two characters.
    QTest::newRow("one-letter names") << "a.com и b@c.org"
                                      << "a.com и b@c.org";
    // "^(https?|ftp)" only looks at the start, so these count as having a scheme.
    QTest::newRow("host starting with http") << "httpbin.org" << web("httpbin.org", "httpbin.org");
    QTest::newRow("host starting with ftp")
        << "ftpmirror.net" << web("ftpmirror.net", "ftpmirror.net");
    QTest::newRow("file name looks like a host")
        << "file.txt" << web("https://file.txt", "file.txt");
    QTest::newRow("escaped ampersand joins the link")
        << "https://ya.ru/?a=1&amp;b=2 x"
        << web("https://ya.ru/?a=1&amp;b=2", "https://ya.ru/?a=1&amp;b=2") + " x";
    QTest::newRow("no top-level part") << "a@b и host"
                                       << "a@b и host";
    QTest::newRow("inside a word") << "abc_ya.ru"
                                   << "abc_ya.ru";
    // A combining mark is a word character: no boundary before "ya".
    QTest::newRow("after a combining mark")
        << QString::fromUtf8("e\xcc\x81ya.ru") << QString::fromUtf8("e\xcc\x81ya.ru");
    // Each half of a surrogate pair is no word character, so an emoji ends a word.
    QTest::newRow("after an emoji") << "😀ya.ru"
                                    << "😀" + web("https://ya.ru", "ya.ru");
    QTest::newRow("after a mathematical digit") << "𝟘ya.ru"
                                                << "𝟘" + web("https://ya.ru", "ya.ru");
    QTest::newRow("unpaired surrogate kept")
        << QString(QChar(0xD800)) + "ya.ru"
        << QString(QChar(0xD800)) + web("https://ya.ru", "ya.ru");
    // The e-mail ends inside a word; after its anchor a new word starts.
    QTest::newRow("after an anchor")
        << "ab@cd.efghijklпример.рф"
        << mail("ab@cd.efghij") + web("https://klпример.рф", "klпример.рф");
    // The web form stops at 256 characters of path while the e-mail form goes on: the longer
    // alternative wins.
    const QString longMail = "ab.cd@" + QString(255, QLatin1Char('b')) + ".ru";
    QTest::newRow("longer e-mail alternative") << longMail << mail(longMail);
    const QString longPath = "ab.cd/" + QString(300, QLatin1Char('p'));
    QTest::newRow("path cut at 256")
        << longPath << web("https://" + longPath.left(261), longPath.left(261)) + longPath.mid(261);
}

void TestLinkParser::replaceLinks()
{
    QFETCH(QString, text);
    QFETCH(QString, html);
    QCOMPARE(LinkParser::replaceLinks(text), html);
}

void TestLinkParser::replaceLinksRewritesItsArgument()
{
    QString text = QStringLiteral("ya.ru");
    const QString result = LinkParser::replaceLinks(text);
    QCOMPARE(text, result);
    QString cleaned = QStringLiteral("a<b>c</b>");
    LinkParser::cleanTextFromHtml(cleaned);
    QCOMPARE(cleaned, QStringLiteral("ac"));
}

void TestLinkParser::replaceLinksMatchesLiteralPattern()
{
    // Short pieces that meet at the pattern's edges: schemes, hosts, dots, "@", "<", marks,
    // surrogate pairs, Cyrillic, underscores, and runs near the 256-character limits.
    const QStringList pieces{"a",  "b",       "я",        "Ж",        "1",       ".",
                             "@",  "-",       "_",        ":",        "/",       "<",
                             " ",  "&",       ";",        "?",        "=",       "ё",
                             "x.", "http://", "https://", "ftp://",   ".ru",     ".com",
                             "ab", "рф",      "é",        "\u0301",   "\u00a0",  "ab.cd",
                             "'",  "(",       ")",        "%",        "+",       "~",
                             "#",  "\n",      "Ⅻ",        "²",        "\u200d",  "\ufe0f",
                             "😀",  "𝟘",       "ḁ",        "ab@cd.ef", "mail.ru", "<br />"};
    const QStringList longPieces{QString(250, QLatin1Char('a')), QString(255, QLatin1Char('b'))};

    QRandomGenerator random(20240515);
    int linked = 0;
    for (int i = 0; i < 4000; ++i) {
        QString text;
        const int count = random.bounded(1, 16);
        for (int j = 0; j < count; ++j) {
            if (random.bounded(40) == 0)
                text += longPieces.at(random.bounded(longPieces.size()));
            else
                text += pieces.at(random.bounded(pieces.size()));
        }
        const QString expected = literalReplaceLinks(text);
        QString actual = text;
        LinkParser::replaceLinks(actual);
        if (actual != expected) {
            QFAIL(qPrintable(
                QStringLiteral("text: %1\nactual: %2\nexpected: %3").arg(text, actual, expected)));
        }
        if (expected != text)
            ++linked;
    }
    // The corpus must exercise the linking, not only texts without addresses.
    QVERIFY2(linked > 1000, qPrintable(QString::number(linked)));
}

void TestLinkParser::replaceEmails_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("html");

    QTest::newRow("none") << "нет адреса"
                          << "нет адреса";
    // "\S+@\S+" takes the punctuation next to the address along.
    QTest::newRow("with comma") << "пишите ivan@mail.ru, спасибо"
                                << "пишите " + mail("ivan@mail.ru,") + " спасибо";
    QTest::newRow("two") << "a@b c@d" << mail("a@b") + " " + mail("c@d");
}

void TestLinkParser::replaceEmails()
{
    QFETCH(QString, text);
    QFETCH(QString, html);
    QCOMPARE(LinkParser::replaceEmails(text), html);
}

void TestLinkParser::findFirstLink_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("link");

    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("first of two") << "см. https://a.com/x и http://b.com"
                                  << "https://a.com/x";
    QTest::newRow("ftp") << "ftp://f.org/a.zip"
                         << "ftp://f.org/a.zip";
    QTest::newRow("all without scheme") << "ya.ru и mail.ru, ivan@mail.ru"
                                        << "";
    // "\S+" is greedy, so the trailing "<*" never gets a "<" of its own.
    QTest::newRow("followed by a tag") << "https://ya.ru<br />"
                                       << "https://ya.ru<br";
}

void TestLinkParser::findFirstLink()
{
    QFETCH(QString, text);
    QFETCH(QString, link);
    QCOMPARE(LinkParser::findFirstLink(text), link);
}

void TestLinkParser::cleanTextFromHtml_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("text");

    QTest::newRow("bold") << "a<b>c</b>"
                          << "ac";
    QTest::newRow("paragraph and break") << "<p>x<br />y</p>"
                                         << "xy";
    QTest::newRow("unclosed <") << "a < b"
                                << "a < b";
    QTest::newRow("entities stay") << "&lt;b&gt;"
                                   << "&lt;b&gt;";
}

void TestLinkParser::cleanTextFromHtml()
{
    QFETCH(QString, html);
    QFETCH(QString, text);
    QCOMPARE(LinkParser::cleanTextFromHtml(html), text);
}

void TestLinkParser::lineBreaks()
{
    QCOMPARE(LinkParser::replaceLineBreaks(QStringLiteral("a\nb\n\n")),
             QStringLiteral("a<br />b<br /><br />"));
    QString html = QStringLiteral("a<br />b<br>c<br/>d");
    QCOMPARE(LinkParser::replaceHtmlLineBreaks(html), QStringLiteral("a\nb<br>c<br/>d"));
}

void TestLinkParser::replaceImages_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("text");

    QTest::newRow("none") << "текст"
                          << "текст";
    QTest::newRow("two, minimal") << "x<img src='a'/>y<img src=\"b\" />z"
                                  << "xAAyAAz";
    QTest::newRow("across a line break") << "<img\nsrc='a'/>!"
                                         << "AA!";
    QTest::newRow("unterminated") << "<img src='a'>"
                                  << "<img src='a'>";
}

void TestLinkParser::replaceImages()
{
    QFETCH(QString, html);
    QFETCH(QString, text);
    QCOMPARE(LinkParser::replaceImages(html), text);
}

QTEST_GUILESS_MAIN(TestLinkParser)
#include "tst_linkparser.moc"
