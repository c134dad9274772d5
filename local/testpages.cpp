#include "local/testpages.h"

#include "local/httprouter.h"

namespace {

const QString kPrefix = QStringLiteral("/test-pages/");

const char kOpenGraph[] = R"(<!DOCTYPE html>
<html lang="ru">
<head>
<meta charset="utf-8">
<title>Ноутбук Aero 14 | Демо-магазин</title>
<meta property="og:site_name" content="Демо-магазин">
<meta property="og:title" content="Ноутбук Aero 14 &mdash; обзор и&nbsp;цены">
<meta property="og:description" content="Лёгкий ноутбук для работы и учёбы: экран 14 дюймов,
  вес 1,2 кг и до 12 часов без подзарядки. Доставим по Москве на следующий день, по России — от
  трёх дней.">
<meta property="og:image" content="/files/pictures/aero-laptop.png">
</head>
<body><h1>Ноутбук Aero 14</h1><p>Страница для превью ссылок.</p></body>
</html>
)";

const char kPlain[] = R"(<!DOCTYPE html>
<html lang="ru">
<head><meta charset="utf-8"><title>Условия доставки и оплаты</title></head>
<body><p>Доставка по Москве — 1–2 дня.</p></body>
</html>
)";

QByteArray bigPage()
{
    QByteArray page = QByteArrayLiteral(
        "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\">\n"
        "<meta property=\"og:title\" content=\"Большая страница\">\n"
        "<script>\n");
    const QByteArray tail = QStringLiteral("</script>\n<meta property=\"og:description\" "
                                           "content=\"Описание после мегабайта\">\n</head>"
                                           "<body></body></html>\n")
                                .toUtf8();
    page.append(QByteArray(TestPages::kBigSize - page.size() - tail.size(), 'x'));
    page.append(tail);
    return page;
}

HttpResponse html(const QByteArray &body)
{
    HttpResponse response(200);
    response.setBody(body, "text/html; charset=utf-8");
    response.setHeader("Cache-Control", "no-store");
    return response;
}

HttpResponse redirect(const QByteArray &location)
{
    HttpResponse response(302);
    response.setHeader("Location", location);
    return response;
}

} // namespace

void TestPages::install(HttpRouter &router)
{
    router.addPrefix(kPrefix, &TestPages::serve);
}

HttpResponse TestPages::serve(const HttpRequest &request)
{
    if (request.method != "GET" && request.method != "HEAD")
        return HttpResponse::text(405, "Method not allowed");
    const QString page = request.path.mid(kPrefix.size());
    if (page == QLatin1String("og.html"))
        return html(kOpenGraph);
    if (page == QLatin1String("plain.html"))
        return html(kPlain);
    if (page == QLatin1String("big.html"))
        return html(bigPage());
    if (page == QLatin1String("slow.html")) {
        HttpResponse response = html(kOpenGraph);
        response.setDelayMs(kSlowDelayMs);
        return response;
    }
    if (page == QLatin1String("redirect.html"))
        return redirect("og.html");
    if (page == QLatin1String("loop.html"))
        return redirect("loop.html");
    return HttpResponse::text(404, "Not found");
}
