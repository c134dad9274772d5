// Start-up pieces that run once per process: language and translation, the log record, the
// application object's dock-click detection, settings with their overrides, fonts and resources.
#include "app/appfonts.h"
#include "app/appsettings.h"
#include "app/chatapplication.h"
#include "app/consoleplugin.h"
#include "app/keychainaccess.h"
#include "app/messagelog.h"
#include "app/notificationbuilder.h"
#include "app/passwordstore.h"
#include "util/util.h"

#include <QApplicationStateChangeEvent>
#include <QFontInfo>
#include <QRawFont>
#include <QSslConfiguration>
#include <QTranslator>
#include <QtTest>

class TestStartup : public QObject
{
    Q_OBJECT

private slots:
    void language_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("defaultLocale");
        // Languages read in Russian answer "ru" and make ru_RU the default locale.
        for (const auto &[locale, lang, defaultLocale] : {std::tuple("uk_UA", "ru", "ru_RU"),
                                                          std::tuple("kk_KZ", "ru", "ru_RU"),
                                                          std::tuple("bb_XX", "ru", "ru_RU"),
                                                          std::tuple("ru_RU", "ru", "en_GB"),
                                                          std::tuple("en_US", "en", "en_GB"),
                                                          std::tuple("tr_TR", "tr", "en_GB"),
                                                          std::tuple("de", "de", "en_GB"),
                                                          std::tuple("C", "C", "en_GB")})
            QTest::newRow(locale) << QString(locale) << QString(lang) << QString(defaultLocale);
    }
    void language()
    {
        QFETCH(QString, locale);
        QFETCH(QString, lang);
        QFETCH(QString, defaultLocale);
        QCOMPARE(Util::getLang(locale), lang);
        QLocale::setDefault(QLocale(QStringLiteral("en_GB")));
        Util::applyLang(locale);
        QCOMPARE(QLocale().name(), defaultLocale);
        QLocale::setDefault(QLocale::c());
    }

    void translation_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("title");
        // Russian needs no translation of the console's; a language without its own file falls
        // back to English; Turkish has its own file, still without this text.
        for (const auto &[locale, title] : {std::pair("ru_RU", "Tallyra Онлайн чат"),
                                            std::pair("en_US", "Tallyra Online Chat"),
                                            std::pair("de_DE", "Tallyra Online Chat"),
                                            std::pair("tr_TR", "Tallyra Онлайн чат")})
            QTest::newRow(locale) << QString(locale) << QString(title);
    }
    void translation()
    {
        QFETCH(QString, locale);
        QFETCH(QString, title);
        const int before = qApp->findChildren<QTranslator *>().size();
        const int installed = Util::installTranslator(*qApp, locale);
        const QList<QTranslator *> translators = qApp->findChildren<QTranslator *>();
        const QString translated = QCoreApplication::translate("MainWindow", "Tallyra Онлайн чат");
        qDeleteAll(translators.mid(before)); // a deleted translator uninstalls itself
        QCOMPARE(translators.size(), before + installed);
        // Only Qt's own translator may be installed for Russian, never the console's.
        QVERIFY(installed <= (locale == "ru_RU" ? 1 : 2));
        QCOMPARE(translated, title);
    }

    void englishTranslationIsComplete()
    {
        QFile ts(QStringLiteral(TALLYRA_SOURCE_DIR "/resources/tr/tallyra_desktop_en.ts"));
        QVERIFY(ts.open(QIODevice::ReadOnly));
        const QRegularExpression message(R"(<source>(.*?)</source>\s*<translation([^>]*)>(.*?)<)",
                                         QRegularExpression::DotMatchesEverythingOption);
        const QString text = QString::fromUtf8(ts.readAll());
        QStringList untranslated;
        int messages = 0;
        for (auto it = message.globalMatch(text); it.hasNext(); ++messages) {
            const QRegularExpressionMatch match = it.next();
            const QString type = match.captured(2);
            if (!type.contains("vanished")
                && (type.contains("unfinished") || match.captured(3).trimmed().isEmpty()))
                untranslated << match.captured(1);
        }
        QCOMPARE(messages, text.count("<source>"));
        QVERIFY2(untranslated.isEmpty(), qPrintable(untranslated.join(QLatin1String(" | "))));
    }

    void logRecordFormat_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("level");
        for (const auto &[type, level] : {std::pair(QtDebugMsg, "DebugMsg"),
                                          std::pair(QtWarningMsg, "WarningMsg"),
                                          std::pair(QtCriticalMsg, "CriticalMsg"),
                                          std::pair(QtFatalMsg, "FatalMsg"),
                                          std::pair(QtInfoMsg, "InfoMsg"),
                                          std::pair(QtMsgType(42), "")})
            QTest::addRow("%d", int(type)) << int(type) << QString(level);
    }
    void logRecordFormat()
    {
        QFETCH(int, type);
        QFETCH(QString, level);
        const QMessageLogContext context("chat.cpp", 17, "void f()", "default");
        const QString record = formatLogRecord(QtMsgType(type), context, QStringLiteral("тест %1"));
        // The time stamp is the clock's, so only its shape is checked.
        const QRegularExpression shape(QStringLiteral(
            R"(^\[\d\d/\d{1,2} \d\d:\d\d:\d\d\] (\w*): \n\tMessage: (.*)\n\tFile: chat\.cpp\n)"
            R"(\tLine: 17\n\tFunction: void f\(\)\n\n$)"));
        const QRegularExpressionMatch match = shape.match(record);
        QVERIFY2(match.hasMatch(), qPrintable(record));
        QCOMPARE(match.captured(1), level);
        // The message passes through untouched, placeholders included.
        QCOMPARE(match.captured(2), QStringLiteral("тест %1"));
        QVERIFY(formatLogRecord(QtMsgType(type), QMessageLogContext(), QString())
                    .endsWith(QLatin1String("\n\tFile: \n\tLine: 0\n\tFunction: \n\n")));
    }

    void logHandlerAppendsToFile()
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

    void dockClickOnlyWhenAlreadyActive()
    {
        ChatApplication *app = ChatApplication::getInstance();
        QVERIFY(app);
        QSignalSpy spy(app, &ChatApplication::showMainWindow);
        // Active after active is a dock click on an already active application; becoming
        // active from the background is an ordinary activation. The count after each change:
        for (const auto &[state, count] : {std::pair(Qt::ApplicationActive, 1),
                                           std::pair(Qt::ApplicationInactive, 1),
                                           std::pair(Qt::ApplicationActive, 1),
                                           std::pair(Qt::ApplicationActive, 2),
                                           std::pair(Qt::ApplicationHidden, 2),
                                           std::pair(Qt::ApplicationActive, 2)}) {
            QApplicationStateChangeEvent event(state);
            QCoreApplication::sendEvent(app, &event);
            QCOMPARE(spy.count(), count);
        }
    }

    void settingsOverridesAndExtraAuthorities()
    {
        // The overrides are read once, when the settings object is made: this is its first use.
        qputenv("TALLYRA_API_HOST", "127.0.0.1:8443");
        qputenv("TALLYRA_DATABASE_URL", "https://127.0.0.1:8443//"); // every slash goes
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
        QVERIFY(settings->updateFeedUrl().endsWith(QLatin1String("/app/update/mac/appcast.xml")));

        // The extra authority is trusted beside, not instead of, the system's.
        QCOMPARE(settings->extraCaCount(), 1);
        const auto cas = QSslConfiguration::defaultConfiguration().caCertificates();
        const auto extra = QSslCertificate::fromPath(TALLYRA_TEST_FIXTURES "/test-ca.pem");
        QCOMPARE(extra.size(), 1);
        QVERIFY(cas.contains(extra.first()));
        QCOMPARE(cas.size(), systemCount + 1);
    }

    void sendKeyChoicePersists()
    {
        AppSettings *settings = AppSettings::instance();
        QCOMPARE(settings->sendMessageKeySequence(), AppSettings::EnterToSend);
        settings->setSendMessageKeySequence(AppSettings::CtrlEnterToSend);
        QSettings store(QStringLiteral("tallyra"), QStringLiteral("chat"));
        QCOMPARE(store.value(QStringLiteral("sendMessageKeySequence")).toInt(), 1);
        QCOMPARE(settings->sendMessageKeySequence(), AppSettings::CtrlEnterToSend);
        // A value the console never writes reads as the default.
        settings->settings().setValue(QStringLiteral("sendMessageKeySequence"), 7);
        QCOMPARE(settings->sendMessageKeySequence(), AppSettings::EnterToSend);
    }

    void startupFontsMapToShippedFaces()
    {
        const QStringList families = AppFonts::addResourceFonts();
        QVERIFY2(families.contains(QStringLiteral("Inter")), qPrintable(families.join(',')));
        AppFonts::installSubstitutions();
        // The same call as start-up makes: weight 500 on Qt's 0..99 scale.
        const QFont font(QStringLiteral("Museo Sans Cyrl 500"), 12, 500, false);
        QCOMPARE(QFontInfo(font).family(), QStringLiteral("Inter Medium"));
        QCOMPARE(QFontInfo(font).styleName(), QStringLiteral("Medium"));
        QFont italic(QStringLiteral("Museo Sans Cyrl 300"));
        italic.setItalic(true);
        QCOMPARE(QFontInfo(italic).family(), QStringLiteral("Inter Light"));
        QVERIFY(QFontInfo(italic).italic());
        // Every configured weight has a face of its own, whatever weight the style asks for.
        for (const char *weight : {"100", "300", "700", "900"}) {
            const QFont face(QStringLiteral("Museo Sans Cyrl ") + QLatin1String(weight), 12, 500);
            QVERIFY2(QFontInfo(face).family().startsWith(QStringLiteral("Inter ")),
                     qPrintable(QFontInfo(face).family()));
        }
        // Cyrillic is covered, so Russian texts need no fallback font.
        QVERIFY(QRawFont::fromFont(font).supportsCharacter(QChar(0x0436))); // ж
    }

    // The keychain is a plug-in loaded at its first use. A password reads back whether a
    // keychain service answers or the settings store keeps it instead.
    void savedPasswordReadsBack()
    {
        QVERIFY(qobject_cast<KeychainAccess *>(ConsolePlugin::load("tallyra_keychain")));
        const QString login = QStringLiteral("tst_startup@tallyra.test");
        AppSettings::instance()->settings().setValue(QStringLiteral("saveCreds"), true);
        PasswordStore::write(login, QStringLiteral("secret"));
        QTRY_COMPARE(PasswordStore::read(login), QStringLiteral("secret"));
        PasswordStore::remove(login);
        QTRY_VERIFY(PasswordStore::read(login).isEmpty());
    }

    void resourcesArePresent()
    {
        QFile style(QStringLiteral(":/resources/styles/style.css"));
        QVERIFY(style.open(QIODevice::ReadOnly) && style.size() > 200);
        const QImage icon = Util::appIcon();
        QVERIFY(icon.width() >= 256 && icon.height() == icon.width() && icon.hasAlphaChannel());
        // Every sound a widget may name plays from the address the player is given.
        for (int i = 1; i <= 13; ++i) {
            const QUrl url = NotificationBuilder::soundUrl(QStringLiteral("chat%1").arg(i));
            QCOMPARE(url.scheme(), QStringLiteral("qrc"));
            QFile sound(QLatin1Char(':') + url.path());
            QVERIFY2(sound.open(QIODevice::ReadOnly), qPrintable(url.toString()));
            const QByteArray head = sound.read(3);
            // MPEG audio: an ID3 tag or a frame sync.
            QVERIFY(head.startsWith("ID3") || (uchar(head.at(0)) == 0xFF));
        }
        // An empty name plays nothing and does not fail.
        NotificationBuilder::playSound(QString());
        // The player is a plugin beside the program, loaded at the first sound.
        QVERIFY(NotificationBuilder::soundPlayerAvailable());
    }
};

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
