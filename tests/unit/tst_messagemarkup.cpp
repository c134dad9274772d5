// The display pipeline of a chat message: escaping, emoji code points to pictures and back,
// links and line breaks for the text widget, the plain copy kept beside it, the round trip
// through a real text widget, and the emoji pictures themselves. replaceLinks is also checked
// against the address pattern applied literally with QRegExp, the engine whose matching rules
// it keeps (leftmost-longest alternatives, word boundaries judged per UTF-16 unit).
#include "util/emojiparser.h"
#include "util/linkparser.h"
#include "util/messagemarkup.h"

#include <QDirIterator>
#include <QRandomGenerator>
#include <QRegExp>
#include <QTextEdit>
#include <QtTest>

using Operation = QString (*)(const QString &);
Q_DECLARE_METATYPE(Operation)

namespace {

QString tag(const char *hex)
{
    return QStringLiteral("<img width=20 height=20 src=':/emoji/resources/emoji/emoji_%1'/>")
        .arg(QLatin1String(hex));
}

QString codePoints(std::initializer_list<uint> points)
{
    const QVector<uint> v(points);
    return QString::fromUcs4(v.constData(), v.size());
}

QString web(const QString &href, const QString &text)
{
    return QStringLiteral("<a href=\"%1\">%2</a>").arg(href, text);
}

QString mail(const QString &address)
{
    return QStringLiteral("<a href=\"mailto:%1\">%1</a>").arg(address);
}

// A row named after its input, with line feeds shown as "\n".
QTestData &row(const QString &name)
{
    return QTest::newRow(qPrintable(QString(name).replace('\n', "\\n")));
}

// A row named after its input.
QTestData &input(const QString &text)
{
    return row(text) << text;
}

// Runs an operation that rewrites its argument; a returned text that differs shows in the result.
template<QString (*operation)(QString &)>
QString inPlace(const QString &original)
{
    QString text = original;
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
        const QString anchor = cap.contains('@')           ? mail(cap)
                               : scheme.indexIn(cap) != -1 ? web(cap, cap)
                                                           : web("https://" + cap, cap);
        text.replace(pos, cap.length(), anchor);
        pos += anchor.length();
    }
    return text;
}

} // namespace

class TestMessageMarkup : public QObject
{
    Q_OBJECT

private slots:
    // The smaller conversions of EmojiParser and LinkParser, each in its own rows.
    void conversions_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("result");
        const Operation replace = EmojiParser::replace;
        const Operation plain = EmojiParser::replaceWithTextEquivalent;
        const Operation restore = EmojiParser::restore;
        const Operation fromName = EmojiParser::getStringFromUnicodeString;
        const Operation fromImage = EmojiParser::getUnicodeStringFromImage;
        const Operation split = [](const QString &html) {
            return EmojiParser::splitTextFromImages(html).join('|');
        };
        // The operations that take a reference must rewrite it and return it as well.
        const Operation emails = inPlace<LinkParser::replaceEmails>;
        const Operation clean = inPlace<LinkParser::cleanTextFromHtml>;
        const Operation fromBreaks = inPlace<LinkParser::replaceHtmlLineBreaks>;
        const Operation firstLink = LinkParser::findFirstLink;
        const Operation webLink = LinkParser::findFirstWebLink;
        const Operation images = [](const QString &t) { return LinkParser::replaceImages(t); };
        const Operation toBreaks = [](const QString &t) { return LinkParser::replaceLineBreaks(t); };
        const auto op =
            [](const char *name, Operation operation, const QString &text) -> QTestData & {
            return row(name + (": " + text)) << operation << text;
        };
        op("replace", replace, "Привет 😀!") << "Привет " + tag("1f600") + "!";
        // U+2764 lies outside the bit test; its variation selector is dropped.
        op("replace", replace, codePoints({0x2764, 0xFE0F})) << codePoints({0x2764});
        op("replace", replace, codePoints({0x1F468, 0x200D, 0x1F469, 0x200D, 0x1F467}))
            << tag("1f468") + tag("1f469") + tag("1f467");
        op("replace", replace, "🇷🇺") << tag("1f1f7") + tag("1f1fa");
        op("replace", replace, codePoints({'a', 0xFE00, 'b', 0xFE10}))
            << codePoints({'a', 'b', 0xFE10});
        op("replace", replace, codePoints({0x1F000})) << tag("1f000");
        op("replace", replace, codePoints({0x1FFFF})) << tag("1ffff");
        op("replace", replace, codePoints({0x1EFFF})) << codePoints({0x1EFFF});
        op("replace", replace, codePoints({0x3F000})) << tag("3f000");
        op("replace", replace, codePoints({0x2F000})) << codePoints({0x2F000});
        op("replace", replace, QChar(0xD83D) + QString("x"))
            << QChar(QChar::ReplacementCharacter) + QString("x");
        op("plain", plain, "x🇷🇺y") << "xa aia aiy";
        op("plain", plain, codePoints({0x2764, 0xFE0F})) << codePoints({0x2764});
        op("plain", plain, "<b>&amp;</b>") << "<b>&amp;</b>";
        op("restore", restore, "<p><img src=\"photo.png\" />текст</p>")
            << "<p><img src=\"photo.png\" />текст</p>";
        // The single-quoted tag that replace() writes is not the export's form and stays.
        op("restore", restore, tag("1f600")) << tag("1f600");
        op("from name", fromName, "1f1f7_1f1fa") << "🇷🇺";
        op("from name", fromName, "_1f600__2764_") << codePoints({0x1F600, 0x2764});
        op("from name", fromName, "41_263a") << codePoints({'A', 0x263A});
        op("from name", fromName, "zz") << QString(QChar(0));
        op("from name", fromName, "") << "";
        op("from image", fromImage, R"(<img src=":/emoji/resources/emoji/emoji_1f600" width="20" />)")
            << "😀";
        op("from image", fromImage, tag("1f600")) << "";
        op("from image", fromImage, R"(<img src="photo.png" />)") << "";
        op("from image", fromImage, R"(<img alt="emoji_1f600" src="photo.png" />)") << "";
        op("from image", fromImage, R"(<img src="photo.png" alt="emoji_1f600" />)") << "";
        op("from image", fromImage, "<img src=\":/emoji/resources/emoji/emoji_1f600") << "";
        op("split", split, "") << "";
        op("split", split, R"(до<img src="a" />после)") << R"(до| src="a" |после)";
        op("split", split, R"(<img src="a"/>x)") << R"( src="a"|x)";
        op("split", split, R"(x<img src="a"/>)") << R"(x| src="a")";
        op("split", split, R"(<img a/><img b/>)") << " a| b";
        op("split", split, R"(x<img src="a")") << R"(x| src="a")";
        // "\S+@\S+" takes the punctuation next to the address along.
        op("emails", emails, "пишите ivan@mail.ru, спасибо")
            << "пишите " + mail("ivan@mail.ru,") + " спасибо";
        op("emails", emails, "a@b c@d") << mail("a@b") + " " + mail("c@d");
        op("first link", firstLink, "см. https://a.com/x и http://b.com") << "https://a.com/x";
        op("first link", firstLink, "ftp://f.org/a.zip") << "ftp://f.org/a.zip";
        op("first link", firstLink, "ya.ru и mail.ru, ivan@mail.ru") << "";
        // "\S+" is greedy, so the trailing "<*" never gets a "<" of its own.
        op("first link", firstLink, "https://ya.ru<br />") << "https://ya.ru<br";
        // The first http(s) address, without the sentence's punctuation around it.
        op("first web link", webLink, "см. https://a.com/x и http://b.com") << "https://a.com/x";
        op("first web link", webLink, "ftp://f.org/a.zip, http://b.com/?q=1&r=2.")
            << "http://b.com/?q=1&r=2";
        op("first web link", webLink, "(см. https://b.com/a), потом") << "https://b.com/a";
        op("first web link", webLink, "https://ru.wikipedia.org/wiki/Чай_(напиток)!")
            << "https://ru.wikipedia.org/wiki/Чай_(напиток)";
        op("first web link", webLink, "«https://магазин.рф/каталог?id=5»…")
            << "https://магазин.рф/каталог?id=5";
        op("first web link", webLink, "https://127.0.0.1:8443/test-pages/og.html")
            << "https://127.0.0.1:8443/test-pages/og.html";
        op("first web link", webLink, "<a href=\"https://b.com\">") << "https://b.com";
        op("first web link", webLink, "https://, https://... и https://c.com") << "https://c.com";
        op("first web link", webLink, "ya.ru, httpbin.org и ivan@mail.ru") << "";
        op("first web link", webLink, "HTTPS://YA.RU") << "";
        op("clean", clean, "a<b>c</b>") << "ac";
        op("clean", clean, "<p>x<br />y</p>") << "xy";
        op("clean", clean, "a < b") << "a < b";
        op("clean", clean, "&lt;b&gt;") << "&lt;b&gt;";
        op("images", images, "x<img src='a'/>y<img src=\"b\" />z") << "xAAyAAz";
        op("images", images, "<img\nsrc='a'/>!") << "AA!";
        op("images", images, "<img src='a'>") << "<img src='a'>";
        op("to breaks", toBreaks, "a\nb\n\n") << "a<br />b<br /><br />";
        op("from breaks", fromBreaks, "a<br />b<br>c<br/>d") << "a\nb<br>c<br/>d";
    }
    void conversions()
    {
        QFETCH(Operation, operation);
        QFETCH(QString, text);
        QFETCH(QString, result);
        QCOMPARE(operation(text), result);
    }

    void replaceLinks_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("html");
        input("см. https://example.com/a?b=1 тут")
            << "см. " + web("https://example.com/a?b=1", "https://example.com/a?b=1") + " тут";
        input("см. example.com/path?q=1&x=2 тут")
            << "см. " + web("https://example.com/path?q=1&x=2", "example.com/path?q=1&x=2")
                   + " тут";
        input("пишите ivan@mail.ru") << "пишите " + mail("ivan@mail.ru");
        input("https://ya.ru<b") << web("https://ya.ru", "https://ya.ru") + "<b";
        input("ab.com и bc@cd.org") << web("https://ab.com", "ab.com") + " и " + mail("bc@cd.org");
        // Host and local part need two characters.
        input("a.com и b@c.org") << "a.com и b@c.org";
        // "^(https?|ftp)" only looks at the start, so these count as having a scheme.
        input("httpbin.org") << web("httpbin.org", "httpbin.org");
        input("ftpmirror.net") << web("ftpmirror.net", "ftpmirror.net");
        input("abc_ya.ru") << "abc_ya.ru";
        // Each half of a surrogate pair is no word character, so an emoji ends a word.
        input("😀ya.ru") << "😀" + web("https://ya.ru", "ya.ru");
        row("after an unpaired surrogate")
            << QChar(0xD800) + QString("ya.ru") << QChar(0xD800) + web("https://ya.ru", "ya.ru");
        // The e-mail ends inside a word; after its anchor a new word starts.
        input("ab@cd.efghijklпример.рф")
            << mail("ab@cd.efghij") + web("https://klпример.рф", "klпример.рф");
        // The web form stops at 256 characters of path while the e-mail form goes on: the
        // longer alternative wins.
        const QString longMail = "ab.cd@" + QString(255, 'b') + ".ru";
        row("longer e-mail alternative") << longMail << mail(longMail);
        const QString longPath = "ab.cd/" + QString(300, 'p');
        row("path cut at 256") << longPath
                               << web("https://" + longPath.left(261), longPath.left(261))
                                      + longPath.mid(261);
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

    void emojiRoundTripThroughTextEdit_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("pictures");
        QTest::addColumn<QString>("expected");
        input("Привет 😀 мир 👍!") << 2 << "Привет 😀 мир 👍!";
        input(codePoints({0x1F468, 0x200D, 0x1F469, 0x200D, 0x1F467}))
            << 3 << codePoints({0x1F468, 0x1F469, 0x1F467});
        input(codePoints({0x2764, 0xFE0F, ' ', 0x1F600}))
            << 1 << codePoints({0x2764, ' ', 0x1F600});
        input("a < b & \"c\" 😀 <i>") << 1 << "a < b & \"c\" 😀 <i>";
        input("😀 первая\nвторая 🎉") << 2 << "😀 первая\nвторая 🎉";
        input("просто текст") << 0 << "просто текст";
    }
    void emojiRoundTripThroughTextEdit()
    {
        QFETCH(QString, text);
        QFETCH(int, pictures);
        QFETCH(QString, expected);
        // What the message editor does with pasted text, and with its content when it hands
        // it out.
        QTextEdit edit;
        edit.setHtml(LinkParser::replaceLineBreaks(EmojiParser::replace(text.toHtmlEscaped())));
        const QString exported = edit.toHtml();
        QCOMPARE(exported.count(QLatin1String("<img")), pictures);
        const QString restored = EmojiParser::restore(exported);
        QVERIFY(!restored.contains(QLatin1String("<img")));
        QTextDocument document;
        document.setHtml(restored);
        QCOMPARE(document.toPlainText(), expected);
    }

    void fromMessage_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("plain");
        QTest::addColumn<QString>("html");
        QTest::addColumn<QStringList>("lines");
        const QString smiley = tag("1f600");
        const QString link = "<a href=\"https://ya.ru\">https://ya.ru</a>";
        QTest::newRow("markup characters are escaped")
            << "a <b>x</b> & \"y\"" << true << "a &lt;b&gt;x&lt;/b&gt; &amp; &quot;y&quot;"
            << QStringList{"a <b>x</b> & \"y\""};
        QTest::newRow("emoji, link and e-mail over two lines")
            << "Смотри https://ya.ru 😀\nи пиши ivan@mail.ru" << true
            << "Смотри " + link + " " + smiley
                   + "<br />и пиши <a href=\"mailto:ivan@mail.ru\">ivan@mail.ru</a>"
            << QStringList{"Смотри https://ya.ru a ai", "и пиши ivan@mail.ru"};
        QTest::newRow("link stops at a picture")
            << "ya.ru😀" << true << "<a href=\"https://ya.ru\">ya.ru</a>" + smiley
            << QStringList{"ya.rua ai"};
        // Escaping comes first: an escaped "<" after a link is "&lt;", which the link takes.
        QTest::newRow("link then <")
            << "https://ya.ru<" << true << "<a href=\"https://ya.ru&lt;\">https://ya.ru&lt;</a>"
            << QStringList{"https://ya.ru<"};
        QTest::newRow("empty lines dropped from the copy")
            << "a\n\n b\n"
            << true << "a<br /><br /> b<br />" << QStringList{"a", " b"};
        QTest::newRow("HTML kept as it is")
            << "<b>жирный</b><br />https://ya.ru<img src=\":/images/photo\" /> конец" << false
            << "<b>жирный</b><br />" + link + "<img src=\":/images/photo\" /> конец"
            << QStringList{"<b>жирный</b>", "https://ya.ruAA конец"};
        QTest::newRow("HTML with line feeds")
            << "a\nb 😀" << false << "a<br />b " + smiley << QStringList{"a", "b 😀"};
    }
    void fromMessage()
    {
        QFETCH(QString, text);
        QFETCH(bool, plain);
        QFETCH(QString, html);
        QFETCH(QStringList, lines);
        const MessageMarkup markup = MessageMarkup::fromMessage(text, plain);
        QCOMPARE(markup.html, html);
        QCOMPARE(markup.plainLines, lines);
    }

    void everyEmojiPictureLoads()
    {
        QDirIterator it(QStringLiteral(":/emoji/resources/emoji"));
        int count = 0;
        QStringList broken;
        while (it.hasNext()) {
            const QImage image(it.next());
            // The names are those that replace() writes, in the range of its bit test.
            if (!QRegularExpression("^emoji_1f[0-9a-f]{3}$").match(it.fileName()).hasMatch()
                || image.size() != QSize(40, 40) || !image.hasAlphaChannel())
                broken << it.fileName();
            ++count;
        }
        QVERIFY2(broken.isEmpty(), qPrintable(broken.join(QLatin1Char(' '))));
        // The set covers the common blocks of emoji.
        QVERIFY2(count > 1000, qPrintable(QString::number(count)));
        for (const char *name : {"1f600", "1f44d", "1f1f7", "1f3fb", "1f004"})
            QVERIFY2(QFile::exists(QStringLiteral(":/emoji/resources/emoji/emoji_") + name), name);
    }
};

QTEST_MAIN(TestMessageMarkup)
#include "tst_messagemarkup.moc"
