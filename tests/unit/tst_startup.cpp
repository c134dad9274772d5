// Start-up pieces that run once per process: language and translation, the log record, the
// application object's dock-click detection, settings with their overrides, fonts and resources.
#include "app/appfonts.h"
#include "app/appsettings.h"
#include "app/chatapplication.h"
#include "app/messagelog.h"
#include "app/notificationbuilder.h"
#include "util/util.h"

#include <QApplicationStateChangeEvent>
#include <QDirIterator>
#include <QFontInfo>
#include <QRawFont>
#include <QSslConfiguration>
#include <QTranslator>
#include <QXmlStreamReader>
#include <QtTest>

class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void languageMapping_data();
    void languageMapping();
    void applyLangSetsRussianLocaleOnlyForMappedLanguages();
    void englishTranslationLoads();
    void russianNeedsNoTranslation();
    void englishTranslationIsComplete();

    void logRecordFormat_data();
    void logRecordFormat();
    void logHandlerAppendsToFile();

    void dockClickOnlyWhenAlreadyActive();

    void settingsOverridesAndExtraAuthorities();
    void sendKeyChoicePersists();

    void startupFontMapsToShippedMediumFace();
    void resourcesArePresent();
    void soundUrls();
};

void TestStartup::languageMapping_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("lang");
    QTest::newRow("ukrainian") << "uk_UA"
                               << "ru";
    QTest::newRow("kazakh") << "kk_KZ"
                            << "ru";
    QTest::newRow("bb kept") << "bb_XX"
                             << "ru";
    QTest::newRow("russian") << "ru_RU"
                             << "ru";
    QTest::newRow("english") << "en_US"
                             << "en";
    QTest::newRow("turkish") << "tr_TR"
                             << "tr";
    QTest::newRow("no country") << "de"
                                << "de";
    QTest::newRow("C locale") << "C"
                              << "C";
}

void TestStartup::languageMapping()
{
    QFETCH(QString, locale);
    QFETCH(QString, lang);
    QCOMPARE(Util::getLang(locale), lang);
}

void TestStartup::applyLangSetsRussianLocaleOnlyForMappedLanguages()
{
    QLocale::setDefault(QLocale(QStringLiteral("en_GB")));
    Util::applyLang(QStringLiteral("en_US"));
    QCOMPARE(QLocale().name(), QStringLiteral("en_GB"));

    Util::applyLang(QStringLiteral("kk_KZ"));
    QCOMPARE(QLocale().name(), QStringLiteral("ru_RU"));

    QLocale::setDefault(QLocale::c());
}

void TestStartup::englishTranslationLoads()
{
    QVERIFY(QFile::exists(QStringLiteral(":/resources/tr/tallyra_desktop_en.qm")));
    QVERIFY(QFile::exists(QStringLiteral(":/resources/tr/tallyra_desktop_tr.qm")));

    // The window title of the main form is translated once the English file is installed.
    QCOMPARE(QCoreApplication::translate("MainWindow", "Tallyra Онлайн чат"),
             QStringLiteral("Tallyra Онлайн чат"));
    QVERIFY(Util::installTranslator(*qApp, QStringLiteral("en_US")) >= 1);
    QCOMPARE(QCoreApplication::translate("MainWindow", "Tallyra Онлайн чат"),
             QStringLiteral("Tallyra Online Chat"));

    // A language without its own file falls back to English.
    QTranslator german;
    QVERIFY(!german.load(QStringLiteral(":/resources/tr/tallyra_desktop_de.qm")));
}

void TestStartup::russianNeedsNoTranslation()
{
    // Only Qt's own translator may be installed for Russian, never the console's.
    auto app = qApp;
    const int before = app->findChildren<QTranslator *>().size();
    const int installed = Util::installTranslator(*app, QStringLiteral("ru_RU"));
    QVERIFY(installed <= 1);
    QCOMPARE(app->findChildren<QTranslator *>().size(), before + installed);
}

void TestStartup::englishTranslationIsComplete()
{
    QFile ts(QStringLiteral(TALLYRA_SOURCE_DIR "/resources/tr/tallyra_desktop_en.ts"));
    QVERIFY(ts.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&ts);
    QStringList untranslated;
    QString source;
    int messages = 0;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement())
            continue;
        if (xml.name() == QLatin1String("source")) {
            source = xml.readElementText();
            ++messages;
        } else if (xml.name() == QLatin1String("translation")) {
            const bool unfinished = xml.attributes().value(QLatin1String("type"))
                                    == QLatin1String("unfinished");
            const bool vanished = xml.attributes().value(QLatin1String("type"))
                                  == QLatin1String("vanished");
            const QString text = xml.readElementText();
            if (!vanished && (unfinished || text.trimmed().isEmpty()))
                untranslated << source;
        }
    }
    QVERIFY(!xml.hasError());
    QVERIFY(messages > 0);
    QVERIFY2(untranslated.isEmpty(), qPrintable(untranslated.join(QLatin1String(" | "))));
}

void TestStartup::logRecordFormat_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("level");
    QTest::newRow("debug") << int(QtDebugMsg) << "DebugMsg";
    QTest::newRow("warning") << int(QtWarningMsg) << "WarningMsg";
    QTest::newRow("critical") << int(QtCriticalMsg) << "CriticalMsg";
    QTest::newRow("fatal") << int(QtFatalMsg) << "FatalMsg";
    QTest::newRow("info") << int(QtInfoMsg) << "InfoMsg";
    QTest::newRow("unknown") << 42 << "";
}

void TestStartup::logRecordFormat()
{
    QFETCH(int, type);
    QFETCH(QString, level);
    const QMessageLogContext context("chat.cpp", 17, "void f()", "default");
    const QString record = formatLogRecord(QtMsgType(type), context, QStringLiteral("тест %1"));

    const QRegularExpression shape(QStringLiteral(
        R"(^\[(\d\d)/(\d{1,2}) \d\d:\d\d:\d\d\] (\w*): \n\tMessage: (.*)\n\tFile: chat\.cpp\n)"
        R"(\tLine: 17\n\tFunction: void f\(\)\n\n$)"));
    const QRegularExpressionMatch match = shape.match(record);
    QVERIFY2(match.hasMatch(), qPrintable(record));
    QCOMPARE(match.captured(3), level);
    // The message passes through untouched, placeholders included.
    QCOMPARE(match.captured(4), QStringLiteral("тест %1"));

    const QMessageLogContext empty;
    QVERIFY(formatLogRecord(QtMsgType(type), empty, QString())
                .contains(QLatin1String("\n\tFile: \n\tLine: 0\n\tFunction: \n\n")));
}

void TestStartup::logHandlerAppendsToFile()
{
    QTemporaryDir dir;
    const QString previous = QDir::currentPath();
    QDir::setCurrent(dir.path());
    const QMessageLogContext context("a.cpp", 1, "g", "default");
    myMessageOutput(QtInfoMsg, context, QStringLiteral("первая"));
    myMessageOutput(QtWarningMsg, context, QStringLiteral("вторая"));
    QDir::setCurrent(previous);

    QFile log(dir.filePath(QStringLiteral("log.txt")));
    QVERIFY(log.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(log.readAll());
    QCOMPARE(text.count(QStringLiteral("\tMessage: ")), 2);
    QVERIFY(text.indexOf(QStringLiteral("InfoMsg: \n\tMessage: первая"))
            < text.indexOf(QStringLiteral("WarningMsg: \n\tMessage: вторая")));
}

void TestStartup::dockClickOnlyWhenAlreadyActive()
{
    ChatApplication *app = ChatApplication::getInstance();
    QVERIFY(app);
    QSignalSpy spy(app, &ChatApplication::showMainWindow);

    auto deliver = [app](Qt::ApplicationState state) {
        QApplicationStateChangeEvent event(state);
        QCoreApplication::sendEvent(app, &event);
    };

    // Active after active is a dock click on an already active application.
    deliver(Qt::ApplicationActive);
    QCOMPARE(spy.count(), 1);

    // Becoming active from the background is an ordinary activation.
    deliver(Qt::ApplicationInactive);
    deliver(Qt::ApplicationActive);
    QCOMPARE(spy.count(), 1);

    deliver(Qt::ApplicationActive);
    QCOMPARE(spy.count(), 2);
    deliver(Qt::ApplicationHidden);
    deliver(Qt::ApplicationActive);
    QCOMPARE(spy.count(), 2);
}

void TestStartup::settingsOverridesAndExtraAuthorities()
{
    // The overrides are read once, when the settings object is made: this is its first use.
    qputenv("TALLYRA_API_HOST", "127.0.0.1:8443");
    qputenv("TALLYRA_DATABASE_URL", "https://127.0.0.1:8443/");
    qputenv("TALLYRA_DATABASE_NS", "tallyra-local");
    qputenv("TALLYRA_IDENTITY_URL", "127.0.0.1:8443");
    qputenv("TALLYRA_TOKEN_URL", "https://127.0.0.1:8443");
    qputenv("TALLYRA_PROBE_URL", "https://127.0.0.1:8443/probe");
    qputenv("TALLYRA_CA_FILE", TALLYRA_TEST_FIXTURES "/test-ca.pem");
    const int systemCount = QSslConfiguration::systemCaCertificates().size();

    AppSettings *settings = AppSettings::instance();
    QCOMPARE(settings->getApiHost(), QStringLiteral("127.0.0.1:8443"));
    QCOMPARE(settings->getFirebaseDatabaseUrl(), QStringLiteral("https://127.0.0.1:8443"));
    QCOMPARE(settings->getFirebaseProject(), QStringLiteral("tallyra-local"));
    QCOMPARE(settings->identityUrl(), QStringLiteral("https://127.0.0.1:8443"));
    QCOMPARE(settings->tokenUrl(), QStringLiteral("https://127.0.0.1:8443"));
    QCOMPARE(settings->probeUrl(), QStringLiteral("https://127.0.0.1:8443/probe"));
    // Values without an override keep their production form.
    QCOMPARE(settings->getFirebaseApiKey().size(), 39);
    QVERIFY(!settings->getFirebaseAuthDomain().isEmpty());
    QVERIFY(!settings->getFirebaseStorageBucket().isEmpty());
    QVERIFY(settings->updateFeedUrl().endsWith(QLatin1String("/app/update/mac/appcast.xml")));

    // The extra authority is trusted beside, not instead of, the system's.
    QCOMPARE(settings->extraCaCount(), 1);
    const QList<QSslCertificate> cas = QSslConfiguration::defaultConfiguration().caCertificates();
    const QList<QSslCertificate> extra = QSslCertificate::fromPath(
        QStringLiteral(TALLYRA_TEST_FIXTURES "/test-ca.pem"));
    QCOMPARE(extra.size(), 1);
    QVERIFY(cas.contains(extra.first()));
    QCOMPARE(cas.size(), systemCount + 1);

    QSignalSpy spy(settings, &AppSettings::mainWindowActiveChanged);
    settings->onMainWindowActiveChanged(true);
    QVERIFY(settings->getMainWindowFocus());
    settings->onMainWindowActiveChanged(false);
    QVERIFY(!settings->getMainWindowFocus());
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(0).at(0).toBool(), true);
}

void TestStartup::sendKeyChoicePersists()
{
    AppSettings *settings = AppSettings::instance();
    QCOMPARE(settings->sendMessageKeySequence(), AppSettings::EnterToSend);
    settings->setSendMessageKeySequence(AppSettings::CtrlEnterToSend);
    QCOMPARE(settings->sendMessageKeySequence(), AppSettings::CtrlEnterToSend);
    QSettings store(QStringLiteral("tallyra"), QStringLiteral("chat"));
    QCOMPARE(store.value(QStringLiteral("sendMessageKeySequence")).toInt(), 1);
    // A value the console never writes reads as the default.
    settings->settings().setValue(QStringLiteral("sendMessageKeySequence"), 7);
    QCOMPARE(settings->sendMessageKeySequence(), AppSettings::EnterToSend);
}

void TestStartup::startupFontMapsToShippedMediumFace()
{
    const QStringList families = AppFonts::addResourceFonts();
    QVERIFY2(families.contains(QStringLiteral("Inter")), qPrintable(families.join(',')));
    AppFonts::installSubstitutions();

    // The same call as start-up makes: weight 500 on Qt's 0..99 scale.
    const QFont font(QStringLiteral("Museo Sans Cyrl 500"), 12, 500, false);
    const QFontInfo info(font);
    QCOMPARE(info.family(), QStringLiteral("Inter Medium"));
    QCOMPARE(info.styleName(), QStringLiteral("Medium"));
    QVERIFY(!info.italic());

    QFont italic(QStringLiteral("Museo Sans Cyrl 300"));
    italic.setItalic(true);
    QCOMPARE(QFontInfo(italic).family(), QStringLiteral("Inter Light"));
    QVERIFY(QFontInfo(italic).italic());

    // Cyrillic is covered, so Russian texts need no fallback font.
    QRawFont raw = QRawFont::fromFont(font);
    QVERIFY(raw.supportsCharacter(QChar(0x0436))); // ж
}

void TestStartup::resourcesArePresent()
{
    for (const char *path : {":/resources/styles/style.css",
                             ":/resources/styles/paymentdialog.css",
                             ":/resources/styles/sendToCrmDialog.css"}) {
        QFile file(QString::fromLatin1(path));
        QVERIFY2(file.open(QIODevice::ReadOnly), path);
        QVERIFY2(file.size() > 200, path);
    }
    const QImage icon(QStringLiteral(":/resources/images/icon.png"));
    QVERIFY(icon.width() >= 256 && icon.height() == icon.width());
    QVERIFY(icon.hasAlphaChannel());

    QCOMPARE(QDir(QStringLiteral(":/resources/fonts")).entryList().size(), 10);
    for (int i = 1; i <= 13; ++i) {
        QFile sound(QStringLiteral(":/resources/sounds/chat%1.mp3").arg(i));
        QVERIFY2(sound.open(QIODevice::ReadOnly), qPrintable(sound.fileName()));
        const QByteArray head = sound.read(3);
        // MPEG audio: an ID3 tag or a frame sync.
        QVERIFY(head.startsWith("ID3") || (uchar(head.at(0)) == 0xFF));
    }
}

void TestStartup::soundUrls()
{
    QCOMPARE(NotificationBuilder::soundUrl(QStringLiteral("chat7")),
             QUrl(QStringLiteral("qrc:/resources/sounds/chat7.mp3")));
    // An empty name plays nothing and does not fail.
    NotificationBuilder::playSound(QString());
}

int main(int argc, char **argv)
{
    // Isolate the persisted settings from the developer's own.
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    ChatApplication app(argc, argv);
    TestStartup test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_startup.moc"
