// The display pipeline of a chat message: emoji code points to pictures and back, escaping,
// links and line breaks for the text widget, the plain copy kept beside it, and the emoji
// pictures themselves, shown by real text widgets.
#include "util/emojiparser.h"
#include "util/linkparser.h"
#include "util/messagemarkup.h"

#include <QDirIterator>
#include <QTextBlock>
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

} // namespace

class TestMessageMarkup : public QObject
{
    Q_OBJECT

private slots:
    // The conversions of EmojiParser, each in its own rows.
    void emoji_data()
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
        const auto op =
            [](const char *name, Operation operation, const QString &text) -> QTestData & {
            const QString shown = QString(text).replace('\n', "\\n");
            return QTest::addRow("%s: %s", name, qPrintable(shown)) << operation << text;
        };
        op("replace", replace, "") << "";
        op("replace", replace, "Привет 😀!") << "Привет " + tag("1f600") + "!";
        // U+2764 lies outside the bit test; its variation selector is dropped.
        op("replace", replace, codePoints({0x2764, 0xFE0F})) << codePoints({0x2764});
        op("replace", replace, codePoints({0x1F468, 0x200D, 0x1F469, 0x200D, 0x1F467}))
            << tag("1f468") + tag("1f469") + tag("1f467");
        op("replace", replace, "🇷🇺") << tag("1f1f7") + tag("1f1fa");
        op("replace", replace, codePoints({'1', 0xFE0F, 0x20E3})) << codePoints({'1', 0x20E3});
        op("replace", replace, codePoints({'a', 0xFE00, 'b', 0xFE10}))
            << codePoints({'a', 'b', 0xFE10});
        op("replace", replace, codePoints({0x1F000})) << tag("1f000");
        op("replace", replace, codePoints({0x1FFFF})) << tag("1ffff");
        op("replace", replace, codePoints({0x1EFFF})) << codePoints({0x1EFFF});
        op("replace", replace, codePoints({0x3F000})) << tag("3f000");
        op("replace", replace, codePoints({0x2F000})) << codePoints({0x2F000});
        op("replace", replace, QChar(0xD83D) + QString("x"))
            << QChar(QChar::ReplacementCharacter) + QString("x");
        op("plain", plain, "ok😀") << "oka ai";
        op("plain", plain, "x🇷🇺y") << "xa aia aiy";
        op("plain", plain, codePoints({0x1F468, 0x200D, 0x1F469})) << "a aia ai";
        op("plain", plain, codePoints({0x2764, 0xFE0F})) << codePoints({0x2764});
        op("plain", plain, "<b>&amp;</b>") << "<b>&amp;</b>";
        // As QTextEdit::toHtml() writes pictures: double-quoted src, attributes after it.
        op("restore",
           restore,
           "<p>до <img src=\":/emoji/resources/emoji/emoji_1f600\" width=\"20\" height=\"20\" /> "
           "&amp; <img src=\":/emoji/resources/emoji/emoji_1f1f7_1f1fa\" width=\"20\"\n"
           "height=\"20\" />после</p>")
            << "<p>до 😀 &amp; 🇷🇺после</p>";
        op("restore", restore, "<p><img src=\"photo.png\" />текст</p>")
            << "<p><img src=\"photo.png\" />текст</p>";
        // The single-quoted tag that replace() writes is not the export's form and stays.
        op("restore", restore, tag("1f600")) << tag("1f600");
        op("from name", fromName, "1f600") << "😀";
        op("from name", fromName, "1f1f7_1f1fa") << "🇷🇺";
        op("from name", fromName, "_1f600__2764_") << codePoints({0x1F600, 0x2764});
        op("from name", fromName, "41_263a") << codePoints({'A', 0x263A});
        op("from name", fromName, "1F600") << "😀";
        op("from name", fromName, "zz") << QString(QChar(0));
        op("from name", fromName, "") << "";
        op("from image", fromImage, R"(<img src=":/emoji/resources/emoji/emoji_1f600" width="20" />)")
            << "😀";
        op("from image", fromImage, R"(<img src=":/emoji/resources/emoji/emoji_1f1f7_1f1fa" />)")
            << "🇷🇺";
        op("from image", fromImage, R"( src=":/emoji/resources/emoji/emoji_1f44d" height="20" )")
            << "👍";
        op("from image", fromImage, tag("1f600")) << "";
        op("from image", fromImage, R"(<img src="photo.png" />)") << "";
        op("from image", fromImage, R"(<img alt="emoji_1f600" src="photo.png" />)") << "";
        op("from image", fromImage, R"(<img src="photo.png" alt="emoji_1f600" />)") << "";
        op("from image", fromImage, "<img src=\":/emoji/resources/emoji/emoji_1f600") << "";
        op("split", split, "") << "";
        op("split", split, "текст") << "текст";
        op("split", split, R"(до<img src="a" />после)") << R"(до| src="a" |после)";
        op("split", split, R"(<img src="a"/>x)") << R"( src="a"|x)";
        op("split", split, R"(x<img src="a"/>)") << R"(x| src="a")";
        op("split", split, R"(<img a/><img b/>)") << " a| b";
        op("split", split, R"(x<img src="a")") << R"(x| src="a")";
    }
    void emoji()
    {
        QFETCH(Operation, operation);
        QFETCH(QString, text);
        QFETCH(QString, result);
        QCOMPARE(operation(text), result);
    }

    void emojiRoundTripThroughTextEdit_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("pictures");
        QTest::addColumn<QString>("expected");
        const auto row = [](const QString &text, int pictures) -> QTestData & {
            return QTest::addRow("%s", qPrintable(QString(text).replace('\n', "\\n")))
                   << text << pictures;
        };
        row("Привет 😀 мир 👍!", 2) << "Привет 😀 мир 👍!";
        row("😀😀", 2) << "😀😀";
        row("🇷🇺 флаг", 2) << "🇷🇺 флаг";
        row(codePoints({0x1F468, 0x200D, 0x1F469, 0x200D, 0x1F467}), 3)
            << codePoints({0x1F468, 0x1F469, 0x1F467});
        row(codePoints({0x2764, 0xFE0F, ' ', 0x1F600}), 1) << codePoints({0x2764, ' ', 0x1F600});
        row("a < b & \"c\" 😀 <i>", 1) << "a < b & \"c\" 😀 <i>";
        row("😀 первая\nвторая 🎉", 2) << "😀 первая\nвторая 🎉";
        row("просто текст", 0) << "просто текст";
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
        QTest::newRow("empty") << "" << true << "" << QStringList();
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

    void showsAsLinksAndPicturesInTextEdit()
    {
        QTextEdit edit;
        edit.setStyleSheet(QStringLiteral("QTextEdit { background: white; border: none; }"));
        edit.resize(300, 80);
        edit.setHtml(MessageMarkup::fromMessage("<3 пример.рф 😀🇷🇺\nivan@mail.ru", true).html);
        QStringList hrefs;
        QStringList pictures;
        for (QTextBlock block = edit.document()->begin(); block.isValid(); block = block.next()) {
            for (auto it = block.begin(); !it.atEnd(); ++it) {
                const QTextCharFormat format = it.fragment().charFormat();
                if (format.isImageFormat())
                    pictures << format.toImageFormat().name();
                else if (format.isAnchor() && !hrefs.contains(format.anchorHref()))
                    hrefs << format.anchorHref();
            }
        }
        QCOMPARE(hrefs, QStringList({"https://пример.рф", "mailto:ivan@mail.ru"}));
        const QString prefix = QStringLiteral(":/emoji/resources/emoji/emoji_");
        QCOMPARE(pictures, QStringList({prefix + "1f600", prefix + "1f1f7", prefix + "1f1fa"}));
        for (const QString &name : qAsConst(pictures))
            QCOMPARE(QImage(name).size(), QSize(40, 40));
        const QString shown = edit.toPlainText();
        QVERIFY2(shown.startsWith("<3 пример.рф ") && shown.endsWith("\nivan@mail.ru"),
                 qPrintable(shown));

        // The smiley is yellow: some strongly coloured pixels must be painted.
        edit.show();
        QVERIFY(QTest::qWaitForWindowExposed(&edit));
        const QImage shot = edit.grab().toImage();
        int coloured = 0;
        for (int y = 0; y < shot.height(); ++y) {
            for (int x = 0; x < shot.width(); ++x) {
                const QColor c = shot.pixelColor(x, y);
                coloured += c.red() > 180 && c.green() > 120 && c.blue() < 100 ? 1 : 0;
            }
        }
        QVERIFY2(coloured > 50, qPrintable(QString::number(coloured)));
    }

    void everyEmojiPictureLoads()
    {
        QDirIterator it(QStringLiteral(":/emoji/resources/emoji"));
        int count = 0;
        QStringList broken;
        while (it.hasNext()) {
            const QImage image(it.next());
            const QString name = it.fileName();
            bool ok = false;
            const uint codePoint = name.mid(6).toUInt(&ok, 16);
            // The names are those that replace() writes, in the range of its bit test.
            if (!name.startsWith(QLatin1String("emoji_")) || !ok || codePoint < 0x1F000
                || codePoint > 0x1FFFF || name != name.toLower() || image.size() != QSize(40, 40)
                || !image.hasAlphaChannel())
                broken << name;
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
