// LinkPreviewFetcher against the local service's test pages over verified TLS: the cards it
// reads, its byte and time limits, redirects, pages that are no pages, one fetch per page and
// run, and no cookies.
#include "localtestsupport.h"

#include "local/httprouter.h"
#include "network/linkpreviewfetcher.h"

#include <QTcpServer>
#include <QtTest>

class TestLinkPreviewFetcher : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(m_local.start());
        // The console trusts the development authority through the default configuration.
        m_trusted = m_local.sslConfiguration();
        QSslConfiguration::setDefaultConfiguration(m_trusted);
        HttpRouter &router = m_local.service()->router();
        router.addExact("/cookie-test/set", [](const HttpRequest &) {
            HttpResponse response(302);
            response.setHeader("Set-Cookie", "seen=1; Path=/");
            response.setHeader("Location", "/cookie-test/check");
            return response;
        });
        router.addExact("/cookie-test/check", [this](const HttpRequest &request) {
            m_cookies << QString::fromLatin1(request.header("cookie"));
            HttpResponse response(200);
            response.setHeader("Set-Cookie", "again=1; Path=/");
            response.setBody("<title>Cookies</title>", "text/html");
            return response;
        });
    }

    void cards_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<int>("timeoutMs");
        // Title | description | site | picture's path, or empty for no card.
        QTest::addColumn<QString>("card");
        const QString og = "Ноутбук Aero 14 — обзор и цены|Лёгкий ноутбук для работы и учёбы: "
                           "экран 14 дюймов, вес 1,2 кг и до 12 часов без подзарядки. Доставим "
                           "по Москве на следующий день, по России — от трёх дней.|Демо-магазин|"
                           "/files/pictures/aero-laptop.png";
        QTest::newRow("open graph") << "/test-pages/og.html" << 5000 << og;
        QTest::newRow("title only")
            << "/test-pages/plain.html" << 5000 << "Условия доставки и оплаты||127.0.0.1|";
        QTest::newRow("redirect") << "/test-pages/redirect.html" << 5000 << og;
        // Its description lies past the first 512 KB, which is all that is read.
        QTest::newRow("oversized")
            << "/test-pages/big.html" << 5000 << "Большая страница||127.0.0.1|";
        // Answered after 10 s, past the limit.
        QTest::newRow("slow") << "/test-pages/slow.html" << 300 << "";
        QTest::newRow("redirect loop") << "/test-pages/loop.html" << 5000 << "";
        QTest::newRow("picture") << "/files/pictures/aero-laptop.png" << 5000 << "";
        QTest::newRow("text file") << "/files/docs/price-list.csv" << 5000 << "";
        QTest::newRow("missing") << "/test-pages/none.html" << 5000 << "";
    }

    void cards()
    {
        QFETCH(QString, path);
        QFETCH(int, timeoutMs);
        QFETCH(QString, card);
        LinkPreviewFetcher fetcher;
        fetcher.setAllowedPrivateHosts({"127.0.0.1"}); // the local service's own pages
        fetcher.setTimeout(timeoutMs);
        QSignalSpy finished(&fetcher, &LinkPreviewFetcher::finished);
        const QString url = m_local.baseUrl() + path;
        fetcher.fetch(url);
        QVERIFY(fetcher.isFetching(url));
        QVERIFY(waitUntil([&] { return !finished.isEmpty(); }, 30000));
        QCOMPARE(finished.at(0).at(0).toString(), url);
        const LinkPreview preview = finished.at(0).at(1).value<LinkPreview>();
        const QString image = preview.getImage().isEmpty()
                                  ? QString()
                                  : preview.getImage().toString().mid(m_local.baseUrl().size());
        QCOMPARE(preview.isEmpty()
                     ? QString()
                     : QStringList(
                           {preview.getTitle(), preview.getDescription(), preview.getSite(), image})
                           .join('|'),
                 card);
        LinkPreview cached;
        QVERIFY(fetcher.cached(url, &cached));
        QCOMPARE(cached, preview);
        QVERIFY(!fetcher.isFetching(url));
    }

    // A page that never ends is read as far as the limit and no further: its card comes at
    // once, not when the time is up.
    void endlessPage()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        connect(&server, &QTcpServer::newConnection, this, [&server] {
            QTcpSocket *socket = server.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [socket] {
                socket->readAll();
                socket->write("HTTP/1.1 200 OK\r\nContent-Type: text/html\r\n"
                              "Content-Length: 1073741824\r\n\r\n<title>Endless</title>");
                socket->write(QByteArray(LinkPreviewFetcher::kMaxBytes + 4096, ' '));
            });
        });
        LinkPreviewFetcher fetcher;
        fetcher.setAllowedPrivateHosts({"127.0.0.1"}); // the local service's own pages
        fetcher.setTimeout(600000);
        QSignalSpy finished(&fetcher, &LinkPreviewFetcher::finished);
        fetcher.fetch(QString("http://127.0.0.1:%1/").arg(server.serverPort()));
        QVERIFY(waitUntil([&] { return !finished.isEmpty(); }, 30000));
        QCOMPARE(finished.at(0).at(1).value<LinkPreview>().getTitle(), "Endless");
    }

    // Whoever asks while a page is on its way, and after, shares its one fetch; a failure too.
    // A page may not send the fetch on to where the link itself could not lead.
    void redirectsToPrivateHostsAreNotFollowed()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        int requests = 0;
        connect(&server, &QTcpServer::newConnection, this, [&] {
            QTcpSocket *socket = server.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, socket, [&, socket] {
                socket->readAll();
                ++requests;
                socket->write(QString("HTTP/1.1 302 Found\r\nLocation: http://localhost:%1/\r\n"
                                      "Content-Length: 0\r\n\r\n")
                                  .arg(server.serverPort())
                                  .toLatin1());
            });
        });
        LinkPreviewFetcher fetcher;
        fetcher.setAllowedPrivateHosts({"127.0.0.1"});
        QSignalSpy finished(&fetcher, &LinkPreviewFetcher::finished);
        fetcher.fetch(QString("http://127.0.0.1:%1/").arg(server.serverPort()));
        QVERIFY(waitUntil([&] { return !finished.isEmpty(); }, 30000));
        QVERIFY(finished.at(0).at(1).value<LinkPreview>().isEmpty());
        QCOMPARE(requests, 1);
    }

    void onePagePerRun_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("card") << "/test-pages/og.html?shared";
        QTest::newRow("failure") << "/test-pages/none.html?shared";
    }

    void onePagePerRun()
    {
        QFETCH(QString, path);
        LinkPreviewFetcher fetcher;
        fetcher.setAllowedPrivateHosts({"127.0.0.1"}); // the local service's own pages
        QSignalSpy started(&fetcher, &LinkPreviewFetcher::started);
        QSignalSpy finished(&fetcher, &LinkPreviewFetcher::finished);
        const QString url = m_local.baseUrl() + path;
        fetcher.fetch(url);
        fetcher.fetch(url);
        QVERIFY(waitUntil([&] { return !finished.isEmpty(); }, 30000));
        fetcher.fetch(url);
        QCoreApplication::processEvents();
        QCOMPARE(started.size(), 1);
        QCOMPARE(finished.size(), 1);
    }

    // A few pages are fetched at once and the others wait their turn, their time not running.
    void fewAtOnce()
    {
        LinkPreviewFetcher fetcher;
        fetcher.setAllowedPrivateHosts({"127.0.0.1"}); // the local service's own pages
        fetcher.setTimeout(200);
        QSignalSpy started(&fetcher, &LinkPreviewFetcher::started);
        QSignalSpy finished(&fetcher, &LinkPreviewFetcher::finished);
        const int pages = LinkPreviewFetcher::kParallel + 2;
        for (int i = 0; i < pages; ++i)
            fetcher.fetch(m_local.baseUrl() + "/test-pages/slow.html?" + QString::number(i));
        QCOMPARE(started.size(), LinkPreviewFetcher::kParallel);
        QVERIFY(waitUntil([&] { return finished.size() == pages; }, 30000));
        QCOMPARE(started.size(), pages);
    }

    void onlyWebAddresses()
    {
        LinkPreviewFetcher fetcher;
        fetcher.setAllowedPrivateHosts({"127.0.0.1"}); // the local service's own pages
        QSignalSpy started(&fetcher, &LinkPreviewFetcher::started);
        QSignalSpy finished(&fetcher, &LinkPreviewFetcher::finished);
        // Nor this machine or a private network, but for the hosts allowed.
        for (const char *url : {"ftp://127.0.0.1/a.html",
                                "file:///etc/hosts",
                                "https://",
                                "http://localhost:8443/",
                                "http://127.0.0.2/",
                                "https://10.1.2.3/",
                                "https://172.20.0.1/",
                                "https://192.168.1.1/",
                                "https://169.254.169.254/latest/meta-data/",
                                "https://[::1]/",
                                "https://[::ffff:10.0.0.1]/",
                                "https://[fd00::1]/",
                                "https://wiki/",
                                "https://printer.local/"})
            fetcher.fetch(url);
        QCOMPARE(started.size(), 0);
        QCOMPARE(finished.size(), 14);
        for (const char *host : {"example.com", "8.8.8.8", "172.32.0.1", "2001:db8::1"})
            QVERIFY2(!LinkPreviewFetcher::isPrivateHost(host), host);
        for (const QList<QVariant> &arguments : qAsConst(finished))
            QVERIFY(arguments.at(1).value<LinkPreview>().isEmpty());
    }

    void noCookies()
    {
        LinkPreviewFetcher fetcher;
        fetcher.setAllowedPrivateHosts({"127.0.0.1"}); // the local service's own pages
        QSignalSpy finished(&fetcher, &LinkPreviewFetcher::finished);
        m_cookies.clear();
        // The cookie comes with a redirect; then the next page is asked for on its own.
        fetcher.fetch(m_local.baseUrl() + "/cookie-test/set");
        QVERIFY(waitUntil([&] { return finished.size() == 1; }, 30000));
        fetcher.fetch(m_local.baseUrl() + "/cookie-test/check");
        QVERIFY(waitUntil([&] { return finished.size() == 2; }, 30000));
        QCOMPARE(finished.at(0).at(1).value<LinkPreview>().getTitle(), "Cookies");
        QCOMPARE(m_cookies, QStringList({"", ""}));
    }

    // Without the development authority the service's certificate is refused: no card.
    void certificatesAreChecked()
    {
        QSslConfiguration untrusting = QSslConfiguration::defaultConfiguration();
        untrusting.setCaCertificates(QSslConfiguration::systemCaCertificates());
        QSslConfiguration::setDefaultConfiguration(untrusting);
        LinkPreviewFetcher fetcher;
        fetcher.setAllowedPrivateHosts({"127.0.0.1"}); // the local service's own pages
        QSignalSpy finished(&fetcher, &LinkPreviewFetcher::finished);
        fetcher.fetch(m_local.baseUrl() + "/test-pages/og.html?untrusted");
        const bool ended = waitUntil([&] { return !finished.isEmpty(); }, 30000);
        QSslConfiguration::setDefaultConfiguration(m_trusted);
        QVERIFY(ended);
        QVERIFY(finished.at(0).at(1).value<LinkPreview>().isEmpty());
    }

private:
    LocalTestService m_local;
    QSslConfiguration m_trusted;
    QStringList m_cookies;
};

QTEST_MAIN(TestLinkPreviewFetcher)
#include "tst_linkpreviewfetcher.moc"
