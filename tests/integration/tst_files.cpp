// FileUploader and ResourceManager against tallyra-local over TLS on the demo account: uploads end
// in the service's addresses, or in nothing when refused or canceled; fetched files land in the
// cache and in a temporary download folder whole, or not at all.
#include "demoaccount.h"

#include "local/demoseed.h"
#include "local/faultinjector.h"
#include "local/httprouter.h"
#include "network/fileuploader.h"
#include "network/fileuploadernotifier.h"
#include "network/networkmanager.h"
#include "repo/authsession.h"
#include "repo/downloadnotifier.h"
#include "repo/resourcemanager.h"
#include "repo/usersrepository.h"

#include <QtTest>

const QString kChat = QStringLiteral("-DemoChat0001shop");

class TestFiles : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Test mode and a temporary home keep the cache and the download folder out of the user's.
        qputenv("HOME", m_home.path().toUtf8());
        QStandardPaths::setTestModeEnabled(true);
        QVERIFY(m_demo.start(this));
        ResourceManager::init(this);
        m_resources = ResourceManager::getInstance();
        QVERIFY(m_resources->downloadPathForFile("x").startsWith(m_home.path() + "/"));
        QVERIFY(m_resources->filePathFromUrl("https://h/x").startsWith(m_home.path() + "/"));

        NetworkManager manager;
        manager.authenticate(DemoSeed::operatorLogin, DemoSeed::password);
        QVERIFY(manager.getToken().startsWith("bearer "));
        m_token = manager.getToken();
        m_uploader = FileUploader::getInstance();
        m_uploader->setToken(m_token);

        // Big enough to be sent in many pieces; the same bytes on every run.
        QRandomGenerator random(7);
        m_data.resize(1 << 20);
        random.fillRange(reinterpret_cast<quint32 *>(m_data.data()), m_data.size() / 4);
        m_bigFile = m_home.filePath("Счёт 5.bin");
        m_smallFile = m_home.filePath("a.txt");
        QFile big(m_bigFile), small(m_smallFile);
        QVERIFY(big.open(QIODevice::WriteOnly) && big.write(m_data) == m_data.size());
        QVERIFY(small.open(QIODevice::WriteOnly) && small.write("x") == 1);
    }

    void cleanup()
    {
        m_demo.local.service()->faults()->setReplyDelay(0);
        m_resources->setRequestTimeout(30000);
        m_resources->setMaxFileSize(32 * 1024 * 1024);
    }

    void uploadFile()
    {
        QVERIFY(!m_uploader->uploadFile(kChat, m_home.filePath("missing.txt")));
        FileUploaderNotifier *notifier = m_uploader->uploadFile(kChat, m_bigFile);
        QVERIFY(notifier);
        QCOMPARE(m_uploader->getUploadsForChat(kChat), QList<FileUploaderNotifier *>{notifier});
        QSignalSpy progress(notifier, &FileUploaderNotifier::uploadProgress);
        const QVariantList args = awaitUpload(notifier);
        QCOMPARE(args.size(), 6);
        QVERIFY(m_uploader->getUploadsForChat(kChat).isEmpty());
        QCOMPARE(args.mid(0, 2), QVariantList({kChat, QString("Счёт 5.bin")}));
        QVERIFY(args[2].toString().startsWith(m_demo.local.baseUrl() + "/files/uploads/"));
        QCOMPARE(args[3].toString(), "file");
        QCOMPARE(args[5].toLongLong(), m_data.size());
        // The whole form went out: the file and the form's own lines.
        QVERIFY(progress.size() > 1);
        QCOMPARE(progress.last().at(0), progress.last().at(1));
        QVERIFY(progress.last().at(1).toLongLong() > m_data.size());

        m_fullPath = args[2].toString();
        m_miniPath = args[4].toString();
        QFile served(m_resources->getFileFromUrl(m_fullPath));
        QVERIFY(served.fileName().endsWith("/127.0.0.1/files/uploads/"
                                           + QUrl(m_fullPath).path().section('/', 3, 3)
                                           + "/Счёт 5.bin"));
        QVERIFY(served.open(QIODevice::ReadOnly));
        QCOMPARE(served.readAll(), m_data);
    }

    void uploadImage()
    {
        QImage image(300, 200, QImage::Format_RGB32);
        image.fill(Qt::darkCyan);
        FileUploaderNotifier *notifier = m_uploader->uploadImage(kChat, image);
        QVERIFY(notifier);
        QVERIFY(QRegularExpression("^image-\\d{4}(_\\d\\d){5}\\.png$")
                    .match(notifier->getFileName())
                    .hasMatch());
        const QString name = notifier->getFileName();
        const qint64 size = notifier->getFilesize();
        const QVariantList args = awaitUpload(notifier);
        QCOMPARE(args.size(), 6);
        QCOMPARE(args[1].toString(), name);
        QCOMPARE(args[3].toString(), "image");
        QVERIFY(args[4].toString().startsWith(m_demo.local.baseUrl() + "/files/uploads/mini/"));
        QCOMPARE(args[5].toLongLong(), size);
        QCOMPARE(QImage(m_resources->getFileFromUrl(args[2].toString()))
                     .convertToFormat(image.format()),
                 image);
    }

    void refusedUploads_data()
    {
        QTest::addColumn<QString>("chat");
        QTest::addColumn<bool>("token");
        // HTTP 200 with "status_code" 404, and HTTP 401 with 401.
        QTest::newRow("another account's chat") << "-DemoChat0101part" << true;
        QTest::newRow("without token") << kChat << false;
    }

    void refusedUploads()
    {
        QFETCH(QString, chat);
        QFETCH(bool, token);
        m_uploader->setToken(token ? m_token : QByteArray());
        FileUploaderNotifier *notifier = m_uploader->uploadFile(chat, m_smallFile);
        QVERIFY(notifier);
        QCOMPARE(awaitUpload(notifier), QVariantList());
        QVERIFY(m_uploader->getUploadsForChat(chat).isEmpty());
        m_uploader->setToken(m_token);
    }

    void canceledUpload()
    {
        QSignalSpy uploaded(m_uploader, &FileUploader::uploaded);
        QPointer<FileUploaderNotifier> notifier = m_uploader->uploadFile(kChat, m_bigFile);
        QSignalSpy canceled(notifier, &FileUploaderNotifier::canceled);
        QSignalSpy finished(notifier, &FileUploaderNotifier::finished);
        notifier->cancel();
        QCOMPARE(canceled.size(), 1);
        QVERIFY(m_uploader->getUploadsForChat(kChat).isEmpty());
        // Whatever the canceled upload could still do comes before a later upload's end.
        QVERIFY(m_uploader->uploadFile(kChat, m_smallFile));
        QVERIFY(uploaded.wait(20000));
        QCOMPARE(uploaded.size(), 1);
        QCOMPARE(uploaded[0][1].toString(), "a.txt");
        QCOMPARE(finished.size(), 0);
        QVERIFY(waitUntil([&] { return notifier.isNull(); }, 20000));
    }

    void cachePath_data()
    {
        // URL|path below the cache location
        QTest::addColumn<QStringList>("row");
        addRow("refused characters", "https://h/a:b/c?x=1|h/ab/cx=1");
        addRow("encoded ones", "https://h/p%22q%3C%3E%7C%5C*r.txt|h/pqr.txt");
        addRow("decoded name", "https://h/f/%D0%A1%D1%87%20.pdf|h/f/Сч .pdf");
        addRow("dot segments", "https://h/a/../../../x|h/a/x");
        addRow("encoded slashes", "https://h/a%2F..%2F..%2Fx|h/a/x");
        addRow("dot segments in the query", "https://h/a?/../../y|h/a/y");
        addRow("control characters", "https://h/a%00b%0A|h/ab");
    }

    void cachePath()
    {
        QFETCH(QStringList, row);
        QCOMPARE(m_resources->filePathFromUrl(row[0]),
                 QStandardPaths::standardLocations(QStandardPaths::CacheLocation).first() + "/"
                     + row[1]);
    }

    void sharedFetch()
    {
        QVERIFY(!m_resources->fileExists(m_miniPath));
        const auto fetches = [this] { return m_resources->findChildren<QNetworkReply *>().size(); };
        const int before = fetches();
        QStringList paths;
        QObject first, second;
        const auto receive = [&paths](const QString &path) { paths << path; };
        m_resources->getFileFromUrlAsync(m_miniPath, &first, receive);
        m_resources->getFileFromUrlAsync(m_miniPath, &second, receive);
        QCOMPARE(fetches() - before, 1);
        QVERIFY(waitUntil([&] { return paths.size() == 2; }, 20000));
        QCOMPARE(paths[0], m_resources->filePathFromUrl(m_miniPath));
        QCOMPARE(paths[1], paths[0]);
        QVERIFY(!QImage(paths[0]).isNull());
        // Cached: at once, without a fetch.
        m_resources->getFileFromUrlAsync(m_miniPath, &first, receive);
        QCOMPARE(paths.size(), 3);
    }

    void failedFetchesCacheNothing()
    {
        QString asyncPath = "none";
        m_resources->getFileFromUrlAsync(missingUrl(), this, [&](const QString &p) {
            asyncPath = p;
        });
        QCOMPARE(m_resources->getFileFromUrl(missingUrl()), QString());
        QVERIFY(waitUntil([&] { return asyncPath.isEmpty(); }, 20000));
        QVERIFY(!m_resources->fileExists(missingUrl()));

        // A host that never answers ends the blocking fetch at the time-out.
        m_demo.local.service()->faults()->setReplyDelay(10 * 60 * 1000);
        m_resources->setRequestTimeout(1000);
        QElapsedTimer waited;
        waited.start();
        QCOMPARE(m_resources->getFileFromUrlForce(m_fullPath), QString());
        QVERIFY(waited.elapsed() < 20000);
        // The old copy stays.
        QVERIFY(m_resources->fileExists(m_fullPath));
    }

    // A file over the limit is not cached, fetched in the background or waited for.
    void oversizedFilesAreNotCached()
    {
        const QString url = m_demo.local.baseUrl() + "/test-pages/big.html";
        m_resources->setMaxFileSize(64 * 1024);
        QString asyncPath = "none";
        m_resources->getFileFromUrlAsync(url, this, [&](const QString &p) { asyncPath = p; });
        QVERIFY(waitUntil([&] { return asyncPath.isEmpty(); }, 20000));
        QCOMPARE(m_resources->getFileFromUrl(url), QString());
        QVERIFY(!m_resources->fileExists(url));
        m_resources->setMaxFileSize(2 * 1024 * 1024);
        QCOMPARE(m_resources->getFileFromUrl(url), m_resources->filePathFromUrl(url));
    }

    // Files are fetched by address alone: a cookie one answer sets never goes out with the next.
    void noCookies()
    {
        m_demo.local.service()->router().addExact("/cookie-test/file",
                                                  [this](const HttpRequest &request) {
                                                      m_cookies << request.header("cookie");
                                                      HttpResponse response(200);
                                                      response.setHeader("Set-Cookie",
                                                                         "seen=1; Path=/");
                                                      response.setBody("x", "text/plain");
                                                      return response;
                                                  });
        const QString url = m_demo.local.baseUrl() + "/cookie-test/file";
        QVERIFY(!m_resources->getFileFromUrlForce(url + "?1").isEmpty());
        QVERIFY(!m_resources->getFileFromUrlForce(url + "?2").isEmpty());
        QCOMPARE(m_cookies, QList<QByteArray>({"", ""}));
    }

    void downloads()
    {
        const QString name = "copy.bin";
        const QString folder = QFileInfo(m_resources->downloadPathForFile(name)).path();
        const auto files = [&] { return QDir(folder).entryList(QDir::Files | QDir::Hidden); };
        QVERIFY(!m_resources->isFileDownloaded(name));
        QCOMPARE(m_resources->downloadPathForFile("../a/..\\b"), folder + "/b");

        // Canceled before it ran: nothing is left, nothing else is reported.
        QPointer<DownloadNotifier> first = m_resources->startDownload(m_fullPath, name);
        QVERIFY(first);
        QCOMPARE(m_resources->startDownload(m_fullPath, "other.bin"), first.data());
        QVERIFY(m_resources->isFileDownloading(m_fullPath));
        QSignalSpy canceled(first, &DownloadNotifier::canceled);
        QSignalSpy firstEnds(first, &DownloadNotifier::downloadFinished);
        QSignalSpy firstErrors(first, &DownloadNotifier::error);
        first->cancelDownload();
        QCOMPARE(canceled.size(), 1);
        QVERIFY(!m_resources->isFileDownloading(m_fullPath));
        QCOMPARE(files(), QStringList());

        DownloadNotifier *second = m_resources->startDownload(m_fullPath, name);
        QVERIFY(second);
        QSignalSpy progress(second, &DownloadNotifier::downloadProgress);
        QSignalSpy finished(second, &DownloadNotifier::downloadFinished);
        QVERIFY(finished.wait(20000));
        QCOMPARE(progress.last(), QVariantList({qint64(m_data.size()), qint64(m_data.size())}));
        QVERIFY(m_resources->isFileDownloaded(name) && !m_resources->isFileDownloading(m_fullPath));
        QFile saved(m_resources->downloadPathForFile(name));
        QVERIFY(saved.open(QIODevice::ReadOnly));
        QCOMPARE(saved.readAll(), m_data);
        QCOMPARE(files(), QStringList({name}));
        QCOMPARE(firstEnds.size() + firstErrors.size(), 0);

        // An error page is reported, and never saved.
        DownloadNotifier *missing = m_resources->startDownload(missingUrl(), "x.bin");
        QSignalSpy errors(missing, &DownloadNotifier::error);
        QSignalSpy missingEnds(missing, &DownloadNotifier::downloadFinished);
        QVERIFY(errors.wait(20000));
        QCOMPARE(missingEnds.size(), 0);
        QVERIFY(!m_resources->isFileDownloading(missingUrl()));
        QCOMPARE(files(), QStringList({name}));
    }

private:
    // The arguments of `uploaded` once the upload has ended; empty when it emitted nothing.
    QVariantList awaitUpload(FileUploaderNotifier *notifier)
    {
        QSignalSpy uploaded(m_uploader, &FileUploader::uploaded);
        QSignalSpy finished(notifier, &FileUploaderNotifier::finished);
        // `uploaded` follows the notifier's finished() within the same answer, or never.
        if (!finished.wait(20000))
            return {};
        return uploaded.isEmpty() ? QVariantList() : uploaded.takeFirst();
    }

    QString missingUrl() const { return m_demo.local.baseUrl() + "/files/uploads/none/x.bin"; }

    QTemporaryDir m_home;
    DemoAccount m_demo;
    FileUploader *m_uploader = nullptr;
    ResourceManager *m_resources = nullptr;
    QByteArray m_token;
    QString m_bigFile;
    QString m_smallFile;
    QByteArray m_data;
    QString m_fullPath;
    QString m_miniPath;
    QList<QByteArray> m_cookies;
};

QTEST_GUILESS_MAIN(TestFiles)
#include "tst_files.moc"
