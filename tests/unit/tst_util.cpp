// Util's display texts of times, spans and counts, its phone, price and contact forms, and its
// window icon and layout helpers. Several plural rules deliberately differ from one another and
// from Russian grammar; the expectations below follow the rules, not the grammar.
#include "app/appfonts.h"
#include "records/firebasechatmessage.h"
#include "util/util.h"

#include <QHBoxLayout>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTranslator>
#include <QVBoxLayout>
#include <QtTest>

class TestUtil : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();

    void relativeTime_data();
    void relativeTime();
    void date_data();
    void date();
    void dateTextsStayFormatsWhenTranslated();

    void dateSpan_data();
    void dateSpan();
    void preciseDateSpan_data();
    void preciseDateSpan();

    void dialogCount_data();
    void dialogCount();
    void dayOfWeek_data();
    void dayOfWeek();
    void months_data();
    void months();

    void phone_data();
    void phone();
    void price_data();
    void price();
    void emailsAndPhones_data();
    void emailsAndPhones();
    void emailsAndPhonesOnlyFromTheVisitor();

    void emptyJsonObject_data();
    void emptyJsonObject();

    void windowIconBadge();
    void clearLayoutDeletesWidgetsAndNestedLayouts();

private:
    QLocale m_previousLocale;
};

namespace {

const QDateTime morning(QDate(2024, 5, 15), QTime(10, 0));
const QDateTime afterMidnight(QDate(2024, 5, 15), QTime(0, 5));
const QDateTime lateEvening(QDate(2024, 5, 15), QTime(23, 0));

} // namespace

void TestUtil::initTestCase()
{
    // "dd MMMM" follows the default locale; the console runs with ru_RU.
    m_previousLocale = QLocale();
    QLocale::setDefault(QLocale(QLocale::Russian, QLocale::Russia));
}

void TestUtil::cleanupTestCase()
{
    QLocale::setDefault(m_previousLocale);
}

void TestUtil::relativeTime_data()
{
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<qint64>("secondsAgo");
    QTest::addColumn<QString>("text");

    QTest::newRow("now") << morning << qint64(0) << "только что";
    QTest::newRow("59 s") << morning << qint64(59) << "только что";
    QTest::newRow("59 s ahead") << morning << qint64(-59) << "только что";
    QTest::newRow("60 s") << morning << qint64(60) << "1 минуту назад";
    QTest::newRow("119 s") << morning << qint64(119) << "1 минуту назад";
    QTest::newRow("2 min") << morning << qint64(2 * 60) << "2 минуты назад";
    QTest::newRow("4 min") << morning << qint64(4 * 60) << "4 минуты назад";
    QTest::newRow("5 min") << morning << qint64(5 * 60) << "5 минут назад";
    QTest::newRow("10 min") << morning << qint64(10 * 60) << "10 минут назад";
    QTest::newRow("11 min, teens not special") << morning << qint64(11 * 60) << "11 минуту назад";
    QTest::newRow("12 min, teens not special") << morning << qint64(12 * 60) << "12 минуты назад";
    QTest::newRow("21 min") << morning << qint64(21 * 60) << "21 минуту назад";
    QTest::newRow("22 min") << morning << qint64(22 * 60) << "22 минуты назад";
    QTest::newRow("59 min 59 s") << morning << qint64(3599) << "59 минут назад";
    QTest::newRow("61 s ahead") << morning << qint64(-61) << "-1 минут назад";
    QTest::newRow("3 min ahead") << morning << qint64(-3 * 60) << "-3 минут назад";
    QTest::newRow("1 h") << morning << qint64(3600) << "1 час назад";
    QTest::newRow("2 h") << morning << qint64(2 * 3600) << "2 часа назад";
    QTest::newRow("4 h") << morning << qint64(4 * 3600) << "4 часа назад";
    QTest::newRow("5 h") << morning << qint64(5 * 3600) << "5 часов назад";
    QTest::newRow("10 h") << morning << qint64(10 * 3600) << "10 часов назад";
    // The rule takes hours % 10 with no teen exception, so 11 hours read like 1 hour.
    QTest::newRow("11 h") << morning << qint64(11 * 3600) << "11 час назад";
    QTest::newRow("11 h 59 min") << morning << qint64(12 * 3600 - 1) << "11 час назад";
    QTest::newRow("12 h, yesterday") << morning << qint64(12 * 3600) << "вчера в 22:00";
    QTest::newRow("12 h, today") << lateEvening << qint64(12 * 3600) << "сегодня в 11:00";
    QTest::newRow("yesterday 23:59, 6 min") << afterMidnight << qint64(6 * 60) << "6 минут назад";
    QTest::newRow("two days") << morning << qint64(48 * 3600) << "13 мая, 10:00";
}

void TestUtil::relativeTime()
{
    QFETCH(QDateTime, now);
    QFETCH(qint64, secondsAgo);
    QFETCH(QString, text);
    QCOMPARE(Util::getStrRelativeTime(now.addSecs(-secondsAgo), now), text);
}

void TestUtil::date_data()
{
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<QDateTime>("time");
    QTest::addColumn<QString>("text");

    const QDate today = afterMidnight.date();
    QTest::newRow("today 00:00") << afterMidnight << QDateTime(today, QTime(0, 0))
                                 << "сегодня в 00:00";
    QTest::newRow("today, later") << afterMidnight << QDateTime(today, QTime(18, 7))
                                  << "сегодня в 18:07";
    QTest::newRow("yesterday 23:59")
        << afterMidnight << QDateTime(today.addDays(-1), QTime(23, 59)) << "вчера в 23:59";
    QTest::newRow("yesterday 00:00")
        << afterMidnight << QDateTime(today.addDays(-1), QTime(0, 0)) << "вчера в 00:00";
    QTest::newRow("two days ago 23:59")
        << afterMidnight << QDateTime(today.addDays(-2), QTime(23, 59)) << "13 мая, 23:59";
    QTest::newRow("tomorrow") << afterMidnight << QDateTime(today.addDays(1), QTime(9, 30))
                              << "16 мая, 09:30";
    QTest::newRow("last year") << afterMidnight << QDateTime(QDate(2023, 1, 2), QTime(8, 0))
                               << "02 января, 08:00";
}

void TestUtil::date()
{
    QFETCH(QDateTime, now);
    QFETCH(QDateTime, time);
    QFETCH(QString, text);
    QCOMPARE(Util::getStrDate(time, now), text);
}

void TestUtil::dateTextsStayFormatsWhenTranslated()
{
    // The translated "сегодня в hh:mm" is itself a date-time format: unquoted English words
    // would be read as format letters ("d" day, "a" am/pm, "y" year).
    QTranslator english;
    QVERIFY(english.load(QStringLiteral(":/resources/tr/tallyra_desktop_en.qm")));
    QVERIFY(QCoreApplication::installTranslator(&english));

    const QDate today = afterMidnight.date();
    const QString todayText = Util::getStrDate(QDateTime(today, QTime(18, 7)), afterMidnight);
    const QString yesterdayText = Util::getStrDate(QDateTime(today.addDays(-1), QTime(23, 59)),
                                                   afterMidnight);
    const QString minutes = Util::getStrRelativeTime(afterMidnight.addSecs(-22 * 60), afterMidnight);
    const QString dialogs = Util::getStrDialogCount(12);
    QCoreApplication::removeTranslator(&english);

    QCOMPARE(todayText, QStringLiteral("today at 18:07"));
    QCOMPARE(yesterdayText, QStringLiteral("yesterday at 23:59"));
    QCOMPARE(minutes, QStringLiteral("22 min ago"));
    QCOMPARE(dialogs, QStringLiteral("12 dialogs"));
}

void TestUtil::dateSpan_data()
{
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<QString>("text");

    QTest::newRow("0 s") << qint64(0) << "несколько секунд";
    QTest::newRow("1 s") << qint64(1) << "несколько секунд";
    QTest::newRow("2 s") << qint64(2) << "2 секунды";
    QTest::newRow("4 s") << qint64(4) << "4 секунды";
    QTest::newRow("5 s") << qint64(5) << "5 секунд";
    QTest::newRow("11 s") << qint64(11) << "11 секунд";
    QTest::newRow("12 s") << qint64(12) << "12 секунд";
    QTest::newRow("20 s") << qint64(20) << "20 секунд";
    QTest::newRow("21 s, no singular") << qint64(21) << "21 секунд";
    QTest::newRow("22 s") << qint64(22) << "22 секунды";
    QTest::newRow("59 s") << qint64(59) << "59 секунд";
    QTest::newRow("60 s") << qint64(60) << "1 минуту";
    QTest::newRow("119 s") << qint64(119) << "1 минуту";
    QTest::newRow("11 min") << qint64(11 * 60) << "11 минут";
    QTest::newRow("12 min") << qint64(12 * 60) << "12 минут";
    QTest::newRow("21 min") << qint64(21 * 60) << "21 минуту";
    QTest::newRow("22 min") << qint64(22 * 60) << "22 минуты";
    QTest::newRow("3599 s") << qint64(3599) << "59 минут";
    QTest::newRow("1 h") << qint64(3600) << "1 час";
    QTest::newRow("11 h") << qint64(11 * 3600) << "11 часов";
    QTest::newRow("12 h") << qint64(12 * 3600) << "12 часов";
    QTest::newRow("21 h") << qint64(21 * 3600) << "21 час";
    QTest::newRow("22 h") << qint64(22 * 3600) << "22 часа";
    // 1440 x 21 s is not yet a day, so the hours rule answers.
    QTest::newRow("1440 x 21 s") << qint64(1440 * 21) << "8 часов";
    QTest::newRow("1440 x 22 s") << qint64(1440 * 22) << "8 часов";
    QTest::newRow("86399 s") << qint64(86399) << "23 часа";
    // From a day on, days are seconds / 1440.
    QTest::newRow("86400 s") << qint64(86400) << "60 дней";
    QTest::newRow("d = 61") << qint64(1440 * 61) << "61 день";
    QTest::newRow("d = 62") << qint64(1440 * 62) << "62 дня";
    QTest::newRow("d = 85") << qint64(122400) << "85 дней";
    QTest::newRow("d = 90") << qint64(129600) << "90 дней";
    QTest::newRow("d = 101") << qint64(1440 * 101) << "101 день";
    QTest::newRow("d = 104") << qint64(1440 * 104) << "104 дня";
    QTest::newRow("d = 111") << qint64(1440 * 111) << "111 дней";
    QTest::newRow("d = 112") << qint64(1440 * 112) << "112 дней";
    QTest::newRow("d = 120") << qint64(1440 * 120) << "120 дней";
    QTest::newRow("d = 121") << qint64(1440 * 121) << "121 день";
    QTest::newRow("d = 122") << qint64(1440 * 122) << "122 дня";
    QTest::newRow("beyond 32 bits") << qint64(3000000000LL) << "2083333 дня";
}

void TestUtil::dateSpan()
{
    QFETCH(qint64, seconds);
    QFETCH(QString, text);
    const QDateTime from(QDate(1990, 3, 1), QTime(12, 0), Qt::UTC);
    const QDateTime to = from.addSecs(seconds);
    QCOMPARE(Util::getStrDateSpan(from, to), text);
    // The span has no direction.
    QCOMPARE(Util::getStrDateSpan(to, from), text);
}

void TestUtil::preciseDateSpan_data()
{
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<QString>("text");

    QTest::newRow("0 s") << qint64(0) << "00:00:00";
    QTest::newRow("59 s") << qint64(59) << "00:00:59";
    QTest::newRow("1 h 1 min 1 s") << qint64(3661) << "01:01:01";
    QTest::newRow("86399 s") << qint64(86399) << "23:59:59";
    QTest::newRow("one day") << qint64(86400) << "1 дн. 00:00:00";
    QTest::newRow("93784 s") << qint64(93784) << "1 дн. 02:03:04";
    QTest::newRow("ten days 1 s") << qint64(864001) << "10 дн. 00:00:01";
    // Signed on purpose: a reversed span prints negative fields.
    QTest::newRow("59 s reversed") << qint64(-59) << "00:00:-59";
}

void TestUtil::preciseDateSpan()
{
    QFETCH(qint64, seconds);
    QFETCH(QString, text);
    const QDateTime from(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);
    QCOMPARE(Util::getStrPreciseDateSpan(from, from.addSecs(seconds)), text);
}

void TestUtil::dialogCount_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("text");

    QTest::newRow("0") << 0 << "0 диалогов";
    QTest::newRow("1") << 1 << "1 диалог";
    QTest::newRow("2") << 2 << "2 диалога";
    QTest::newRow("4") << 4 << "4 диалога";
    QTest::newRow("5") << 5 << "5 диалогов";
    QTest::newRow("9") << 9 << "9 диалогов";
    QTest::newRow("10") << 10 << "10 диалогов";
    QTest::newRow("11, teens not special") << 11 << "11 диалог";
    QTest::newRow("12, teens not special") << 12 << "12 диалога";
    QTest::newRow("21") << 21 << "21 диалог";
    QTest::newRow("22") << 22 << "22 диалога";
    QTest::newRow("25") << 25 << "25 диалогов";
    QTest::newRow("101") << 101 << "101 диалог";
    // Negative counts take the form of their magnitude.
    QTest::newRow("-1") << -1 << "-1 диалог";
    QTest::newRow("-3") << -3 << "-3 диалога";
    QTest::newRow("-7") << -7 << "-7 диалогов";
}

void TestUtil::dialogCount()
{
    QFETCH(int, count);
    QFETCH(QString, text);
    QCOMPARE(Util::getStrDialogCount(count), text);
}

void TestUtil::dayOfWeek_data()
{
    QTest::addColumn<QDate>("date");
    QTest::addColumn<QString>("text");

    // 13 May 2024 is a Monday.
    const QStringList days{"в понедельник",
                           "во вторник",
                           "в среду",
                           "в четверг",
                           "в пятницу",
                           "в субботу",
                           "в воскресенье"};
    for (int i = 0; i < days.size(); ++i) {
        const QDate date = QDate(2024, 5, 13).addDays(i);
        QTest::newRow(qPrintable(date.toString(Qt::ISODate))) << date << days.at(i);
    }
}

void TestUtil::dayOfWeek()
{
    QFETCH(QDate, date);
    QFETCH(QString, text);
    QCOMPARE(Util::getStrDayOfWeek(date.dayOfWeek()), text);
    QCOMPARE(Util::getStrDayOfWeek(0), QStringLiteral("неизвестно"));
    QCOMPARE(Util::getStrDayOfWeek(8), QStringLiteral("неизвестно"));
}

void TestUtil::months_data()
{
    QTest::addColumn<int>("month");
    QTest::addColumn<QString>("nominative");
    QTest::addColumn<QString>("genitive");

    QTest::newRow("1") << 1 << "Январь"
                       << "Января";
    QTest::newRow("2") << 2 << "Февраль"
                       << "Февраля";
    QTest::newRow("3") << 3 << "Март"
                       << "Марта";
    QTest::newRow("4") << 4 << "Апрель"
                       << "Апреля";
    QTest::newRow("5") << 5 << "Май"
                       << "Мая";
    QTest::newRow("6") << 6 << "Июнь"
                       << "Июня";
    QTest::newRow("7") << 7 << "Июль"
                       << "Июля";
    QTest::newRow("8") << 8 << "Август"
                       << "Августа";
    QTest::newRow("9") << 9 << "Сентябрь"
                       << "Сентября";
    QTest::newRow("10") << 10 << "Октябрь"
                        << "Октября";
    QTest::newRow("11") << 11 << "Ноябрь"
                        << "Ноября";
    QTest::newRow("12") << 12 << "Декабрь"
                        << "Декабря";
    QTest::newRow("0") << 0 << ""
                       << "";
    QTest::newRow("13") << 13 << ""
                        << "";
    QTest::newRow("-1") << -1 << ""
                        << "";
}

void TestUtil::months()
{
    QFETCH(int, month);
    QFETCH(QString, nominative);
    QFETCH(QString, genitive);
    QCOMPARE(Util::getStrMonth(month), nominative);
    QCOMPARE(Util::getStrMonthPlural(month), genitive);
}

void TestUtil::phone_data()
{
    QTest::addColumn<QString>("digits");
    QTest::addColumn<QString>("text");

    QTest::newRow("11 digits") << "79991234567"
                               << "+7(999)123-45-67";
    QTest::newRow("12 digits") << "380501234567"
                               << "+38(050)123-45-67";
    QTest::newRow("10 digits") << "4951234567"
                               << "(495)123-45-67";
    QTest::newRow("7 digits") << "1234567"
                              << "123-45-67";
    QTest::newRow("5 digits") << "12345"
                              << "1-23-45";
    QTest::newRow("3 digits") << "123"
                              << "1-23";
    QTest::newRow("2 digits") << "12"
                              << "12";
    QTest::newRow("1 digit") << "7"
                             << "7";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("not digits") << "abcdefghijk"
                                << "+a(bcd)efg-hi-jk";
}

void TestUtil::phone()
{
    QFETCH(QString, digits);
    QFETCH(QString, text);
    QCOMPARE(Util::parsePhone(digits), text);
}

void TestUtil::price_data()
{
    QTest::addColumn<QString>("digits");
    QTest::addColumn<QString>("text");

    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("1") << "1"
                       << "1";
    QTest::newRow("3") << "999"
                       << "999";
    QTest::newRow("4") << "1000"
                       << "1 000";
    QTest::newRow("6") << "123456"
                       << "123 456";
    QTest::newRow("7") << "1234567"
                       << "1 234 567";
}

void TestUtil::price()
{
    QFETCH(QString, digits);
    QFETCH(QString, text);
    QCOMPARE(Util::parsePrice(digits), text);
}

void TestUtil::emailsAndPhones_data()
{
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QStringList>("emails");
    QTest::addColumn<QStringList>("phones");

    QTest::newRow("nothing") << QStringList{"Здравствуйте", ""} << QStringList() << QStringList();
    QTest::newRow("formatted phone") << QStringList{"Мой номер +7 (999) 123-45-67, звоните"}
                                     << QStringList() << QStringList{"+7 (999) 123-45-67"};
    QTest::newRow("bare digits") << QStringList{"89991234567"} << QStringList()
                                 << QStringList{"89991234567"};
    QTest::newRow("spaced groups")
        << QStringList{"тел. 8 999 123 45 67"} << QStringList() << QStringList{"8 999 123 45 67"};
    // "\S+@\S+" takes the neighbouring punctuation along.
    QTest::newRow("e-mail with comma") << QStringList{"Пишите: ivan@mail.ru, спасибо"}
                                       << QStringList{"ivan@mail.ru,"} << QStringList();
    QTest::newRow("several in one text, order kept")
        << QStringList{"b@x.ru и a@x.ru, тел 89990000001 или 89990000002"}
        << QStringList{"b@x.ru", "a@x.ru,"} << QStringList{"89990000001", "89990000002"};
    QTest::newRow("duplicates across texts")
        << QStringList{"a@x.ru 89991234567", "ещё раз a@x.ru", "89991234567 c@x.ru"}
        << QStringList{"a@x.ru", "c@x.ru"} << QStringList{"89991234567"};
    QTest::newRow("too short for a phone")
        << QStringList{"код 12345"} << QStringList() << QStringList();
}

void TestUtil::emailsAndPhones()
{
    QFETCH(QStringList, texts);
    QFETCH(QStringList, emails);
    QFETCH(QStringList, phones);

    // The lists are appended to; what they already hold is kept and not repeated.
    QStringList foundEmails{"known@x.ru"};
    QStringList foundPhones{"89991234567"};
    Util::parseEmailsAndPhones(texts, foundEmails, foundPhones);

    emails.removeAll(QStringLiteral("known@x.ru"));
    emails.prepend(QStringLiteral("known@x.ru"));
    phones.removeAll(QStringLiteral("89991234567"));
    phones.prepend(QStringLiteral("89991234567"));
    QCOMPARE(foundEmails, emails);
    QCOMPARE(foundPhones, phones);
}

void TestUtil::emailsAndPhonesOnlyFromTheVisitor()
{
    auto message = [](const char *sender, const QString &text) {
        FirebaseChatMessage m;
        m.setSender(QLatin1String(sender));
        m.setText(text);
        return m;
    };
    const QList<FirebaseChatMessage> messages{
        message("visitor", QStringLiteral("Мой номер 89991234567")),
        message("operator", QStringLiteral("Наш адрес sales@shop.ru, тел. 88005553535")),
        message("visitor", QStringLiteral("почта ivan@mail.ru")),
        message("visitor", QStringLiteral("ещё раз 89991234567 и +7 (912) 000-11-22")),
    };

    QStringList emails;
    QStringList phones;
    Util::parseEmailsAndPhonesFromMessages(messages, emails, phones, QStringLiteral("visitor"));
    QCOMPARE(emails, QStringList{QStringLiteral("ivan@mail.ru")});
    QCOMPARE(phones,
             (QStringList{QStringLiteral("89991234567"), QStringLiteral("+7 (912) 000-11-22")}));

    emails.clear();
    phones.clear();
    Util::parseEmailsAndPhonesFromMessages(messages, emails, phones, QStringLiteral("nobody"));
    QVERIFY(emails.isEmpty());
    QVERIFY(phones.isEmpty());
}

void TestUtil::emptyJsonObject_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<bool>("empty");

    QTest::newRow("no members") << QByteArray("{}") << true;
    QTest::newRow("single null") << QByteArray(R"({"a": null})") << true;
    QTest::newRow("single value") << QByteArray(R"({"a": 1})") << false;
    QTest::newRow("single empty object") << QByteArray(R"({"a": {}})") << false;
    QTest::newRow("single false") << QByteArray(R"({"a": false})") << false;
    QTest::newRow("single empty string") << QByteArray(R"({"a": ""})") << false;
    QTest::newRow("first null, second value") << QByteArray(R"({"a": null, "b": 1})") << true;
    QTest::newRow("first value, second null") << QByteArray(R"({"a": 1, "b": null})") << false;
    // Keys are ordered, not kept in the order of the text.
    QTest::newRow("null written first, sorted second")
        << QByteArray(R"({"b": null, "a": 1})") << false;
}

void TestUtil::emptyJsonObject()
{
    QFETCH(QByteArray, json);
    QFETCH(bool, empty);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    QCOMPARE(error.error, QJsonParseError::NoError);
    QCOMPARE(Util::isEmptyJsonObject(document.object()), empty);
}

void TestUtil::windowIconBadge()
{
    AppFonts::addResourceFonts();
    AppFonts::installSubstitutions();

    const QImage plain = QImage(QStringLiteral(":/resources/images/icon.png"))
                             .convertToFormat(QImage::Format_ARGB32_Premultiplied);
    QVERIFY(!plain.isNull());
    QCOMPARE(Util::getWindowIcon(0).convertToFormat(QImage::Format_ARGB32_Premultiplied), plain);
    QCOMPARE(Util::getWindowIcon(-3).convertToFormat(QImage::Format_ARGB32_Premultiplied), plain);

    const QImage badged = Util::getWindowIcon(7).convertToFormat(
        QImage::Format_ARGB32_Premultiplied);
    QCOMPARE(badged.size(), plain.size());

    const int diameter = int(0.3 * plain.height());
    const QPoint centre(int(0.7 * plain.width() - diameter / 4), int(0.7 * plain.height()));
    const QColor red(250, 39, 73);

    // Just inside the circle's rim, clear of the digit: the badge colour.
    const int rim = diameter / 2 - 4;
    for (const QPoint &inside : {centre - QPoint(rim, 0),
                                 centre + QPoint(rim, 0),
                                 centre - QPoint(0, rim),
                                 centre + QPoint(0, rim)})
        QCOMPARE(badged.pixelColor(inside), red);

    // Just outside the circle and far from it: the icon is untouched.
    for (const QPoint &outside : {centre + QPoint(diameter / 2 + 3, 0),
                                  centre - QPoint(0, diameter / 2 + 3),
                                  QPoint(2, 2),
                                  QPoint(plain.width() / 4, plain.height() / 4)})
        QCOMPARE(badged.pixelColor(outside), plain.pixelColor(outside));

    // The count is painted in white inside the circle.
    int white = 0;
    for (int y = centre.y() - diameter / 2; y <= centre.y() + diameter / 2; ++y) {
        for (int x = centre.x() - diameter / 2; x <= centre.x() + diameter / 2; ++x) {
            const QColor c = badged.pixelColor(x, y);
            if (c.red() > 240 && c.green() > 240 && c.blue() > 240)
                ++white;
        }
    }
    QVERIFY2(white > diameter, qPrintable(QString::number(white)));
}

void TestUtil::clearLayoutDeletesWidgetsAndNestedLayouts()
{
    QWidget window;
    auto *layout = new QVBoxLayout(&window);
    QPointer<QLabel> label = new QLabel(QStringLiteral("a"));
    layout->addWidget(label);
    layout->addStretch();
    auto *nested = new QHBoxLayout;
    QPointer<QHBoxLayout> nestedGuard = nested;
    QPointer<QPushButton> button = new QPushButton(QStringLiteral("b"));
    nested->addWidget(button);
    layout->addLayout(nested);

    Util::clearLayout(layout);

    QCOMPARE(layout->count(), 0);
    QVERIFY(label.isNull());
    QVERIFY(button.isNull());
    QVERIFY(nestedGuard.isNull());

    // The layout itself stays in use.
    QPointer<QLabel> next = new QLabel(QStringLiteral("c"));
    layout->addWidget(next);
    QCOMPARE(layout->count(), 1);
    QCOMPARE(next->parentWidget(), &window);

    Util::clearLayout(nullptr);
}

QTEST_MAIN(TestUtil)
#include "tst_util.moc"
