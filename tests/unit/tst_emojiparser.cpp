// Emoji code points to picture tags and back: the bit test that decides what is an emoji, the
// joiners and selectors that vanish, and the round trip through a real text edit's HTML export.
#include "util/emojiparser.h"
#include "util/linkparser.h"

#include <QTextDocument>
#include <QTextEdit>
#include <QtTest>

class TestEmojiParser : public QObject
{
    Q_OBJECT

private slots:
    void replace_data();
    void replace();
    void textEquivalent_data();
    void textEquivalent();

    void restoreQtExport();
    void roundTripThroughTextEdit_data();
    void roundTripThroughTextEdit();

    void stringFromUnicodeString_data();
    void stringFromUnicodeString();
    void unicodeStringFromImage_data();
    void unicodeStringFromImage();
    void splitTextFromImages_data();
    void splitTextFromImages();
};

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

void TestEmojiParser::replace_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("html");

    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("grinning face") << codePoints({0x1F600}) << tag("1f600");
    QTest::newRow("text around") << QStringLiteral("Привет 😀!") << "Привет " + tag("1f600") + "!";
    // U+2764 lies outside the bit test; its variation selector is dropped.
    QTest::newRow("red heart") << codePoints({0x2764, 0xFE0F}) << codePoints({0x2764});
    QTest::newRow("smiling face stays text") << codePoints({0x263A}) << codePoints({0x263A});
    QTest::newRow("ZWJ family") << codePoints({0x1F468, 0x200D, 0x1F469, 0x200D, 0x1F467})
                                << tag("1f468") + tag("1f469") + tag("1f467");
    QTest::newRow("flag") << codePoints({0x1F1F7, 0x1F1FA}) << tag("1f1f7") + tag("1f1fa");
    QTest::newRow("skin tone") << codePoints({0x1F44D, 0x1F3FB}) << tag("1f44d") + tag("1f3fb");
    QTest::newRow("keycap") << codePoints({'1', 0xFE0F, 0x20E3}) << codePoints({'1', 0x20E3});
    QTest::newRow("selector range")
        << codePoints({'a', 0xFE00, 'b', 0xFE10}) << codePoints({'a', 'b', 0xFE10});
    QTest::newRow("lowest of the range") << codePoints({0x1F000}) << tag("1f000");
    QTest::newRow("highest of the range") << codePoints({0x1FFFF}) << tag("1ffff");
    QTest::newRow("below the range") << codePoints({0x1EFFF}) << codePoints({0x1EFFF});
    QTest::newRow("other plane, bits set") << codePoints({0x3F000}) << tag("3f000");
    QTest::newRow("other plane, bit 16 clear") << codePoints({0x2F000}) << codePoints({0x2F000});
    QTest::newRow("lone surrogate")
        << QString(QChar(0xD83D)) + QLatin1Char('x')
        << QString(QChar(QChar::ReplacementCharacter)) + QLatin1Char('x');
}

void TestEmojiParser::replace()
{
    QFETCH(QString, text);
    QFETCH(QString, html);
    QCOMPARE(EmojiParser::replace(text), html);
}

void TestEmojiParser::textEquivalent_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("plain");

    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("grinning face") << QStringLiteral("ok😀") << QStringLiteral("oka ai");
    QTest::newRow("flag") << codePoints({'x', 0x1F1F7, 0x1F1FA, 'y'})
                          << QStringLiteral("xa aia aiy");
    QTest::newRow("ZWJ family") << codePoints({0x1F468, 0x200D, 0x1F469})
                                << QStringLiteral("a aia ai");
    QTest::newRow("red heart") << codePoints({0x2764, 0xFE0F}) << codePoints({0x2764});
    QTest::newRow("markup untouched")
        << QStringLiteral("<b>&amp;</b>") << QStringLiteral("<b>&amp;</b>");
}

void TestEmojiParser::textEquivalent()
{
    QFETCH(QString, text);
    QFETCH(QString, plain);
    QCOMPARE(EmojiParser::replaceWithTextEquivalent(text), plain);
}

void TestEmojiParser::restoreQtExport()
{
    // As QTextEdit::toHtml() writes pictures: double-quoted src, attributes after it.
    const QString html = QStringLiteral(
        "<p style=\"margin:0px;\">до <img src=\":/emoji/resources/emoji/emoji_1f600\" "
        "width=\"20\" height=\"20\" /> между &amp; <img src=\":/emoji/resources/emoji/"
        "emoji_1f1f7_1f1fa\" width=\"20\"\nheight=\"20\" />после</p>");
    QCOMPARE(EmojiParser::restore(html),
             QStringLiteral("<p style=\"margin:0px;\">до 😀 между &amp; 🇷🇺после</p>"));

    // Without an emoji picture there is nothing to restore.
    const QString other = QStringLiteral("<p><img src=\"photo.png\" />текст</p>");
    QCOMPARE(EmojiParser::restore(other), other);
    // The single-quoted tag that replace() writes is not the export's form and stays.
    QCOMPARE(EmojiParser::restore(tag("1f600")), tag("1f600"));
}

void TestEmojiParser::roundTripThroughTextEdit_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("pictures");
    QTest::addColumn<QString>("expected");

    QTest::newRow("two on one line")
        << QStringLiteral("Привет 😀 мир 👍!") << 2 << QStringLiteral("Привет 😀 мир 👍!");
    QTest::newRow("adjacent") << QStringLiteral("😀😀") << 2 << QStringLiteral("😀😀");
    QTest::newRow("flag") << QStringLiteral("🇷🇺 флаг") << 2 << QStringLiteral("🇷🇺 флаг");
    QTest::newRow("ZWJ family loses its joiners")
        << codePoints({0x1F468, 0x200D, 0x1F469, 0x200D, 0x1F467}) << 3
        << codePoints({0x1F468, 0x1F469, 0x1F467});
    QTest::newRow("heart loses its selector")
        << codePoints({0x2764, 0xFE0F, ' ', 0x1F600}) << 1 << codePoints({0x2764, ' ', 0x1F600});
    QTest::newRow("markup characters")
        << QStringLiteral("a < b & \"c\" 😀 <i>") << 1 << QStringLiteral("a < b & \"c\" 😀 <i>");
    QTest::newRow("two lines") << QStringLiteral("😀 первая\nвторая 🎉") << 2
                               << QStringLiteral("😀 первая\nвторая 🎉");
    QTest::newRow("no emoji") << QStringLiteral("просто текст") << 0
                              << QStringLiteral("просто текст");
}

void TestEmojiParser::roundTripThroughTextEdit()
{
    QFETCH(QString, text);
    QFETCH(int, pictures);
    QFETCH(QString, expected);

    // What the message editor does with pasted text, and with its content when it hands it out.
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

void TestEmojiParser::stringFromUnicodeString_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");

    QTest::newRow("one") << "1f600" << codePoints({0x1F600});
    QTest::newRow("sequence") << "1f1f7_1f1fa" << codePoints({0x1F1F7, 0x1F1FA});
    QTest::newRow("empty parts dropped") << "_1f600__2764_" << codePoints({0x1F600, 0x2764});
    QTest::newRow("basic plane") << "41_263a" << codePoints({'A', 0x263A});
    QTest::newRow("upper case hex") << "1F600" << codePoints({0x1F600});
    QTest::newRow("not hexadecimal") << "zz" << QString(QChar(0));
    QTest::newRow("empty") << "" << QString();
}

void TestEmojiParser::stringFromUnicodeString()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    QCOMPARE(EmojiParser::getStringFromUnicodeString(name), text);
}

void TestEmojiParser::unicodeStringFromImage_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QString>("text");

    QTest::newRow("export form") << R"(<img src=":/emoji/resources/emoji/emoji_1f600" width="20" />)"
                                 << codePoints({0x1F600});
    QTest::newRow("sequence") << R"(<img src=":/emoji/resources/emoji/emoji_1f1f7_1f1fa" />)"
                              << codePoints({0x1F1F7, 0x1F1FA});
    QTest::newRow("piece of splitTextFromImages")
        << R"( src=":/emoji/resources/emoji/emoji_1f44d" width="20" height="20" )"
        << codePoints({0x1F44D});
    QTest::newRow("single quotes") << tag("1f600") << QString();
    QTest::newRow("no emoji name") << R"(<img src="photo.png" />)" << QString();
    QTest::newRow("emoji_ before src")
        << R"(<img alt="emoji_1f600" src="photo.png" />)" << QString();
    QTest::newRow("emoji_ after the closing quote")
        << R"(<img src="photo.png" alt="emoji_1f600" />)" << QString();
    QTest::newRow("unterminated") << R"(<img src=":/emoji/resources/emoji/emoji_1f600)"
                                  << QString();
}

void TestEmojiParser::unicodeStringFromImage()
{
    QFETCH(QString, tag);
    QFETCH(QString, text);
    QCOMPARE(EmojiParser::getUnicodeStringFromImage(tag), text);
}

void TestEmojiParser::splitTextFromImages_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QStringList>("pieces");

    QTest::newRow("empty") << QString() << QStringList();
    QTest::newRow("text only") << "текст" << QStringList{"текст"};
    QTest::newRow("text, image, text")
        << R"(до<img src="a" />после)" << QStringList{"до", R"( src="a" )", "после"};
    QTest::newRow("image first") << R"(<img src="a"/>x)" << QStringList{R"( src="a")", "x"};
    QTest::newRow("image last") << R"(x<img src="a"/>)" << QStringList{"x", R"( src="a")"};
    QTest::newRow("two images") << R"(<img a/><img b/>)" << QStringList{" a", " b"};
    QTest::newRow("unterminated image") << R"(x<img src="a")" << QStringList{"x", R"( src="a")"};
}

void TestEmojiParser::splitTextFromImages()
{
    QFETCH(QString, html);
    QFETCH(QStringList, pieces);
    QCOMPARE(EmojiParser::splitTextFromImages(html), pieces);
}

QTEST_MAIN(TestEmojiParser)
#include "tst_emojiparser.moc"
