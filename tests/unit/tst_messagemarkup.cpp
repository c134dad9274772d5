// The display pipeline of a chat message: escaping, emoji pictures, links and line breaks for the
// text widget, and the plain copy kept beside it.
#include "util/messagemarkup.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextEdit>
#include <QTextFragment>
#include <QtTest>

class TestMessageMarkup : public QObject
{
    Q_OBJECT

private slots:
    void fromMessage_data();
    void fromMessage();
    void showsAsLinksAndPicturesInTextEdit();
};

namespace {

const QString smiley = QStringLiteral(
    "<img width=20 height=20 src=':/emoji/resources/emoji/emoji_1f600'/>");

} // namespace

void TestMessageMarkup::fromMessage_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("plain");
    QTest::addColumn<QString>("html");
    QTest::addColumn<QStringList>("lines");

    QTest::newRow("empty") << "" << true << "" << QStringList();
    QTest::newRow("markup characters are escaped")
        << "a <b>x</b> & \"y\"" << true << "a &lt;b&gt;x&lt;/b&gt; &amp; &quot;y&quot;"
        << QStringList{"a <b>x</b> & \"y\""};
    QTest::newRow("emoji, link and e-mail over two lines")
        << "Смотри https://ya.ru 😀\nи пиши ivan@mail.ru" << true
        << "Смотри <a href=\"https://ya.ru\">https://ya.ru</a> " + smiley
               + "<br />и пиши <a href=\"mailto:ivan@mail.ru\">ivan@mail.ru</a>"
        << QStringList{"Смотри https://ya.ru a ai", "и пиши ivan@mail.ru"};
    QTest::newRow("link stops at a picture")
        << "ya.ru😀" << true << "<a href=\"https://ya.ru\">ya.ru</a>" + smiley
        << QStringList{"ya.rua ai"};
    // Escaping comes first: an escaped "<" after a link is "&lt;", which the link takes along.
    QTest::newRow("link then <") << "https://ya.ru<" << true
                                 << "<a href=\"https://ya.ru&lt;\">https://ya.ru&lt;</a>"
                                 << QStringList{"https://ya.ru<"};
    QTest::newRow("empty lines dropped from the copy")
        << "a\n\n b\n"
        << true << "a<br /><br /> b<br />" << QStringList{"a", " b"};
    QTest::newRow("joiners and selectors")
        << QString::fromUtf8("\xe2\x9d\xa4\xef\xb8\x8f") << true
        << QString::fromUtf8("\xe2\x9d\xa4") << QStringList{QString::fromUtf8("\xe2\x9d\xa4")};
    QTest::newRow("HTML kept as it is")
        << "<b>жирный</b><br />https://ya.ru<img src=\":/images/photo\" /> конец" << false
        << "<b>жирный</b><br /><a href=\"https://ya.ru\">https://ya.ru</a>"
           "<img src=\":/images/photo\" /> конец"
        << QStringList{"<b>жирный</b>", "https://ya.ruAA конец"};
    QTest::newRow("HTML with line feeds")
        << "a\nb 😀" << false << "a<br />b " + smiley << QStringList{"a", "b 😀"};
}

void TestMessageMarkup::fromMessage()
{
    QFETCH(QString, text);
    QFETCH(bool, plain);
    QFETCH(QString, html);
    QFETCH(QStringList, lines);

    const MessageMarkup markup = MessageMarkup::fromMessage(text, plain);
    QCOMPARE(markup.html, html);
    QCOMPARE(markup.plainLines, lines);
}

void TestMessageMarkup::showsAsLinksAndPicturesInTextEdit()
{
    const MessageMarkup markup = MessageMarkup::fromMessage(QStringLiteral(
                                                                "<3 пример.рф 😀🇷🇺\nivan@mail.ru"),
                                                            true);

    QTextEdit edit;
    edit.setHtml(markup.html);
    QStringList hrefs;
    QStringList pictures;
    for (QTextBlock block = edit.document()->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            if (format.isImageFormat())
                pictures << format.toImageFormat().name();
            else if (format.isAnchor())
                hrefs << format.anchorHref();
        }
    }
    hrefs.removeDuplicates();
    QCOMPARE(hrefs,
             (QStringList{QStringLiteral("https://пример.рф"),
                          QStringLiteral("mailto:ivan@mail.ru")}));
    QCOMPARE(pictures,
             (QStringList{QStringLiteral(":/emoji/resources/emoji/emoji_1f600"),
                          QStringLiteral(":/emoji/resources/emoji/emoji_1f1f7"),
                          QStringLiteral(":/emoji/resources/emoji/emoji_1f1fa")}));
    // Each picture is a resource the document can load.
    for (const QString &name : qAsConst(pictures))
        QVERIFY(!edit.document()
                     ->resource(QTextDocument::ImageResource, QUrl(name))
                     .value<QImage>()
                     .isNull());

    const QString shown = edit.toPlainText();
    QVERIFY2(shown.startsWith(QStringLiteral("<3 пример.рф ")), qPrintable(shown));
    QVERIFY2(shown.endsWith(QStringLiteral("\nivan@mail.ru")), qPrintable(shown));
}

QTEST_MAIN(TestMessageMarkup)
#include "tst_messagemarkup.moc"
