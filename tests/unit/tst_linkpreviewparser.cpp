// The card a page gives for a link: Open Graph tags, the <title> and host fallbacks, charsets,
// entities, relative pictures, broken markup, and pages built to make a naive parser slow.
#include "util/linkpreviewparser.h"

#include <QTextCodec>
#include <QtTest>

namespace {

const QUrl kPage(QStringLiteral("https://www.shop.ru/catalog/item?id=7"));

QByteArray cp1251(const QString &text)
{
    return QTextCodec::codecForName("windows-1251")->fromUnicode(text);
}

} // namespace

class TestLinkPreviewParser : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QByteArray>("page");
        QTest::addColumn<QByteArray>("contentType");
        // Title | description | site | picture.
        QTest::addColumn<QString>("card");
        const QByteArray html = "text/html; charset=utf-8";
        QTest::newRow("open graph")
            << QString("<html><head><meta property=\"og:title\" content=\"Ноутбук &amp; сумка\">\n"
                       "<meta property=\"og:description\" content='Лёгкий, 1,2&nbsp;кг'>"
                       "<meta property=\"og:site_name\"\ncontent=Магазин>"
                       "<meta property=\"og:image\" content=\"/img/a.png\">"
                       "<title>Другое</title></head>")
                   .toUtf8()
            << html << "Ноутбук & сумка|Лёгкий, 1,2 кг|Магазин|https://www.shop.ru/img/a.png";
        QTest::newRow("attributes in any order and case")
            << QByteArray("<META CONTENT=\"Title\" PROPERTY=\"OG:TITLE\"/>") << html
            << "Title||shop.ru|";
        QTest::newRow("title and host") << QString("<title>  Условия\n  доставки </title>").toUtf8()
                                        << html << "Условия доставки||shop.ru|";
        QTest::newRow("description meta")
            << QByteArray("<title>T</title><meta name=\"description\" content=\"D\">") << html
            << "T|D|shop.ru|";
        QTest::newRow("nothing but the host")
            << QByteArray("<html><body>text</body></html>") << html << "shop.ru||shop.ru|";
        QTest::newRow("charset of the header")
            << cp1251("<title>Привет</title>") << QByteArray("text/html; charset=windows-1251")
            << "Привет||shop.ru|";
        QTest::newRow("charset of the page")
            << cp1251("<meta charset=\"windows-1251\"><title>Привет</title>")
            << QByteArray("text/html") << "Привет||shop.ru|";
        QTest::newRow("the header wins")
            << QString("<meta charset=\"windows-1251\"><title>Привет</title>").toUtf8() << html
            << "Привет||shop.ru|";
        QTest::newRow("unknown charset reads as UTF-8")
            << QString("<title>Привет</title>").toUtf8()
            << QByteArray("text/html; charset=\"x-nonsense\"") << "Привет||shop.ru|";
        QTest::newRow("comments") << QByteArray(
            "<!-- <meta property=\"og:title\" content=\"Old\"> --><title>New</title>")
                                  << html << "New||shop.ru|";
        QTest::newRow("the body is not read") << QByteArray(
            "<head><title>Head</title></head><meta property=\"og:title\" content=\"B\">")
                                              << html << "Head||shop.ru|";
        QTest::newRow("protocol-relative picture")
            << QByteArray("<meta property=\"og:image\" content=\"//cdn.shop.ru/a.png\">") << html
            << "shop.ru||shop.ru|https://cdn.shop.ru/a.png";
        QTest::newRow("script picture")
            << QByteArray("<meta property=\"og:image\" content=\"javascript:alert(1)\">") << html
            << "shop.ru||shop.ru|";
        QTest::newRow("data picture")
            << QByteArray("<meta property=\"og:image\" content=\"data:image/png;base64,AAAA\">")
            << html << "shop.ru||shop.ru|";
        QTest::newRow("title without its end")
            << QByteArray("<title>Open") << html << "Open||shop.ru|";
        QTest::newRow("tag without its end")
            << QByteArray("<meta property=\"og:title\" content=\"Cut") << html
            << "shop.ru||shop.ru|";
        // As in a browser, an open quote takes in the rest of the page.
        QTest::newRow("quote without its end")
            << QByteArray("<meta property=og:title content=\"Quote><title>T</title>") << html
            << "shop.ru||shop.ru|";
        QTest::newRow("scripts and styles") << QByteArray(
            "<script>s = '<meta property=\"og:title\" content=\"S\"></head>';</script>"
            "<style>a::before { content: '<title>C</title>' }</style><title>T</title>")
                                            << html << "T||shop.ru|";
        QTest::newRow("a lone bracket")
            << QByteArray("<title>a < b</title>") << html << "a < b||shop.ru|";
        QTest::newRow("entities") << QByteArray("<title>&#1055;&#x440;&laquo;&raquo;</title>")
                                  << html << "Пр«»||shop.ru|";
        QTest::newRow("tags in a value")
            << QByteArray("<meta property=\"og:title\" content=\"<b>Bold</b> &lt;i&gt;\">") << html
            << "<b>Bold</b> <i>||shop.ru|";
        QTest::newRow("long title") << ("<title>" + QByteArray(1000, 'a') + "</title>") << html
                                    << QString(299, 'a') + QChar(0x2026) + "||shop.ru|";
    }

    // Pages of a few megabytes, each of which would keep a parser that looks ahead from every
    // "<" busy for hours; read once, they take a moment.
    void hostilePages_data()
    {
        QTest::addColumn<QByteArray>("page");
        const int size = 4 * 1024 * 1024;
        QTest::newRow("only opening brackets") << QByteArray(size, '<');
        QTest::newRow("quotes never closed") << QByteArray("<meta content=\"").repeated(size / 15);
        QTest::newRow("names never closed") << QByteArray("<title").repeated(size / 6);
        QTest::newRow("comments never closed") << QByteArray("<!-- <").repeated(size / 6);
        QTest::newRow("long tags")
            << QByteArray("<meta " + QByteArray("a=\"b ").repeated(4000) + ">")
                   .repeated(size / 20000);
    }

    void hostilePages()
    {
        QFETCH(QByteArray, page);
        QElapsedTimer timer;
        timer.start();
        const LinkPreview preview = LinkPreviewParser::parse(page, "text/html", kPage);
        QCOMPARE(preview.getTitle(), "shop.ru");
        // Far more than a busy machine needs, far less than the hours of a quadratic parser.
        QVERIFY2(timer.elapsed() < 60000, qPrintable(QString::number(timer.elapsed())));
    }

    void parse()
    {
        QFETCH(QByteArray, page);
        QFETCH(QByteArray, contentType);
        QFETCH(QString, card);
        const LinkPreview preview = LinkPreviewParser::parse(page, contentType, kPage);
        QCOMPARE(QStringList({preview.getTitle(),
                              preview.getDescription(),
                              preview.getSite(),
                              preview.getImage().toString()})
                     .join('|'),
                 card);
        QCOMPARE(preview.getUrl(), kPage);
    }

    void contentTypes_data()
    {
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<bool>("html");
        QTest::newRow("html") << QByteArray("text/html") << true;
        QTest::newRow("html with charset") << QByteArray("Text/HTML ; charset=utf-8") << true;
        QTest::newRow("xhtml") << QByteArray("application/xhtml+xml") << true;
        QTest::newRow("none") << QByteArray() << true;
        QTest::newRow("picture") << QByteArray("image/png") << false;
        QTest::newRow("text") << QByteArray("text/plain; charset=utf-8") << false;
        QTest::newRow("json") << QByteArray("application/json") << false;
    }

    void contentTypes()
    {
        QFETCH(QByteArray, contentType);
        QTEST(LinkPreviewParser::isHtml(contentType), "html");
    }
};

QTEST_MAIN(TestLinkPreviewParser)
#include "tst_linkpreviewparser.moc"
