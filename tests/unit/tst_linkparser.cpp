// Links, e-mail addresses, line breaks and tags in message texts. replaceLinks is also checked
// against the address pattern applied literally with QRegExp, the engine whose matching rules
// it keeps (leftmost-longest alternatives, word boundaries judged per UTF-16 unit).
#include "util/linkparser.h"

#include <QRandomGenerator>
#include <QRegExp>
#include <QtTest>

using Operation = QString (*)(const QString &);
Q_DECLARE_METATYPE(Operation)

namespace {

QString web(const QString &href, const QString &text)
{
    return QStringLiteral("<a href=\"%1\">%2</a>").arg(href, text);
}

QString mail(const QString &address)
{
    return QStringLiteral("<a href=\"mailto:%1\">%1</a>").arg(address);
}

// A row named after its input, unless the input is too long or unreadable for a name.
QTestData &row(const QString &text, const char *name = nullptr)
{
    return QTest::newRow(name ? name : qPrintable(QString(text).replace('\n', "\\n"))) << text;
}

// Runs an operation that rewrites its argument; a returned text that differs shows in the result.
QString inPlace(QString text, QString (*operation)(QString &))
{
    const QString returned = operation(text);
    return returned == text ? text : text + " but returned " + returned;
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
        QString anchor = cap.contains('@') ? mail(cap) : web(cap, cap);
        if (!cap.contains('@') && scheme.indexIn(cap) == -1)
            anchor = web("https://" + cap, cap);
        text.replace(pos, cap.length(), anchor);
        pos += anchor.length();
    }
    return text;
}

} // namespace

class TestLinkParser : public QObject
{
    Q_OBJECT

private slots:
    void replaceLinks_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("html");
        row("просто текст, 1.5 кг, т.е. так") << "просто текст, 1.5 кг, т.е. так";
        row("см. https://example.com/a?b=1 тут")
            << "см. " + web("https://example.com/a?b=1", "https://example.com/a?b=1") + " тут";
        row("см. example.com/path?q=1&x=2 тут")
            << "см. " + web("https://example.com/path?q=1&x=2", "example.com/path?q=1&x=2")
                   + " тут";
        row("ftp://files.example.org/a.zip")
            << web("ftp://files.example.org/a.zip", "ftp://files.example.org/a.zip");
        row("пишите ivan@mail.ru") << "пишите " + mail("ivan@mail.ru");
        row("john.doe@mail.example.com") << mail("john.doe@mail.example.com");
        row("example.com/user@name") << mail("example.com/user@name");
        row("https://ya.ru<b") << web("https://ya.ru", "https://ya.ru") + "<b";
        const QString picture
            = "<img width=20 height=20 src=':/emoji/resources/emoji/emoji_1f600'/>";
        row("ya.ru" + picture) << web("https://ya.ru", "ya.ru") + picture;
        row("сайт пример.рф!") << "сайт " + web("https://пример.рф", "пример.рф") + "!";
        row("https://сайт.рф/каталог/товар")
            << web("https://сайт.рф/каталог/товар", "https://сайт.рф/каталог/товар");
        row("ab.com и bc@cd.org") << web("https://ab.com", "ab.com") + " и " + mail("bc@cd.org");
        // Host and local part need two characters.
        row("a.com и b@c.org") << "a.com и b@c.org";
        // "^(https?|ftp)" only looks at the start, so these count as having a scheme.
        row("httpbin.org") << web("httpbin.org", "httpbin.org");
        row("ftpmirror.net") << web("ftpmirror.net", "ftpmirror.net");
        row("file.txt") << web("https://file.txt", "file.txt");
        row("https://ya.ru/?a=1&amp;b=2 x")
            << web("https://ya.ru/?a=1&amp;b=2", "https://ya.ru/?a=1&amp;b=2") + " x";
        row("a@b и host") << "a@b и host";
        row("abc_ya.ru") << "abc_ya.ru";
        // A combining mark is a word character: no boundary before "ya".
        row(QString::fromUtf8("e\xcc\x81ya.ru"), "after a mark")
            << QString::fromUtf8("e\xcc\x81ya.ru");
        // Each half of a surrogate pair is no word character, so an emoji ends a word.
        row("😀ya.ru", "after an emoji") << "😀" + web("https://ya.ru", "ya.ru");
        row("𝟘ya.ru", "after a mathematical digit") << "𝟘" + web("https://ya.ru", "ya.ru");
        row(QChar(0xD800) + QString("ya.ru"), "after an unpaired surrogate")
            << QChar(0xD800) + web("https://ya.ru", "ya.ru");
        // The e-mail ends inside a word; after its anchor a new word starts.
        row("ab@cd.efghijklпример.рф")
            << mail("ab@cd.efghij") + web("https://klпример.рф", "klпример.рф");
        // The web form stops at 256 characters of path while the e-mail form goes on: the
        // longer alternative wins.
        const QString longMail = "ab.cd@" + QString(255, 'b') + ".ru";
        row(longMail, "longer e-mail alternative") << mail(longMail);
        const QString longPath = "ab.cd/" + QString(300, 'p');
        row(longPath, "path cut at 256")
            << web("https://" + longPath.left(261), longPath.left(261)) + longPath.mid(261);
    }
    void replaceLinks()
    {
        QFETCH(QString, text);
        QFETCH(QString, html);
        // The text is rewritten in place and returned as well.
        QCOMPARE(LinkParser::replaceLinks(text), html);
        QCOMPARE(text, html);
    }

    void replaceLinksMatchesLiteralPattern()
    {
        // Short pieces that meet at the pattern's edges: schemes, hosts, dots, "@", "<", marks,
        // surrogate pairs, Cyrillic, underscores, and runs near the 256-character limits.
        const QStringList pieces{"a",      "b",      "я",       "Ж",        "1",       ".",
                                 "@",      "-",      "_",       ":",        "/",       "<",
                                 " ",      "&",      ";",       "?",        "=",       "ё",
                                 "x.",     "ab",     "http://", "https://", "ftp://",  ".ru",
                                 "'",      "(",      ")",       "%",        ".com",    "рф",
                                 "é",      "\u0301", "+",       "~",        "#",       "\n",
                                 "\u00a0", "ab.cd",  "Ⅻ",       "²",        "😀",       "𝟘",
                                 "ḁ",      "\u200d", "\ufe0f",  "ab@cd.ef", "mail.ru", "<br />"};
        QRandomGenerator random(20240515);
        int linked = 0;
        for (int i = 0; i < 4000; ++i) {
            QString text;
            for (int j = random.bounded(1, 16); j > 0; --j) {
                if (random.bounded(40) == 0)
                    text += QString(random.bounded(250, 256), random.bounded(2) ? 'a' : 'b');
                else
                    text += pieces.at(random.bounded(pieces.size()));
            }
            const QString expected = literalReplaceLinks(text);
            QString actual = text;
            LinkParser::replaceLinks(actual);
            if (actual != expected)
                QFAIL(qPrintable(
                    QString("text: %1\nactual: %2\nexpected: %3").arg(text, actual, expected)));
            linked += expected != text ? 1 : 0;
        }
        // The corpus must exercise the linking, not only texts without addresses.
        QVERIFY2(linked > 1000, qPrintable(QString::number(linked)));
    }

    // The smaller rewrites of message texts, each in its own rows.
    void operations_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("result");
        // The operations that take a reference must rewrite it and return it as well.
        const Operation emails = [](const QString &t) {
            return inPlace(t, LinkParser::replaceEmails);
        };
        const Operation clean = [](const QString &t) {
            return inPlace(t, LinkParser::cleanTextFromHtml);
        };
        const Operation fromBreaks = [](const QString &t) {
            return inPlace(t, LinkParser::replaceHtmlLineBreaks);
        };
        const Operation firstLink = [](const QString &t) { return LinkParser::findFirstLink(t); };
        const Operation images = [](const QString &t) { return LinkParser::replaceImages(t); };
        const Operation toBreaks = [](const QString &t) { return LinkParser::replaceLineBreaks(t); };
        const auto op =
            [](const char *name, Operation operation, const QString &text) -> QTestData & {
            const QString shown = QString(text).replace('\n', "\\n");
            return QTest::addRow("%s: %s", name, qPrintable(shown)) << operation << text;
        };
        op("emails", emails, "нет адреса") << "нет адреса";
        // "\S+@\S+" takes the punctuation next to the address along.
        op("emails", emails, "пишите ivan@mail.ru, спасибо")
            << "пишите " + mail("ivan@mail.ru,") + " спасибо";
        op("emails", emails, "a@b c@d") << mail("a@b") + " " + mail("c@d");
        op("first link", firstLink, "") << "";
        op("first link", firstLink, "см. https://a.com/x и http://b.com") << "https://a.com/x";
        op("first link", firstLink, "ftp://f.org/a.zip") << "ftp://f.org/a.zip";
        op("first link", firstLink, "ya.ru и mail.ru, ivan@mail.ru") << "";
        // "\S+" is greedy, so the trailing "<*" never gets a "<" of its own.
        op("first link", firstLink, "https://ya.ru<br />") << "https://ya.ru<br";
        op("clean", clean, "a<b>c</b>") << "ac";
        op("clean", clean, "<p>x<br />y</p>") << "xy";
        op("clean", clean, "a < b") << "a < b";
        op("clean", clean, "&lt;b&gt;") << "&lt;b&gt;";
        op("images", images, "текст") << "текст";
        op("images", images, "x<img src='a'/>y<img src=\"b\" />z") << "xAAyAAz";
        op("images", images, "<img\nsrc='a'/>!") << "AA!";
        op("images", images, "<img src='a'>") << "<img src='a'>";
        op("to breaks", toBreaks, "a\nb\n\n") << "a<br />b<br /><br />";
        op("from breaks", fromBreaks, "a<br />b<br>c<br/>d") << "a\nb<br>c<br/>d";
    }
    void operations()
    {
        QFETCH(Operation, operation);
        QFETCH(QString, text);
        QFETCH(QString, result);
        QCOMPARE(operation(text), result);
    }
};

QTEST_GUILESS_MAIN(TestLinkParser)
#include "tst_linkparser.moc"
