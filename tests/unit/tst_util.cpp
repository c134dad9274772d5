// Util's display texts of times, spans and counts, its phone, price and contact forms, and its
// window icon and layout helpers. Several plural rules deliberately differ from one another and
// from Russian grammar; the expectations below follow the rules, not the grammar. Every moment
// is in UTC with "now" given, so neither the clock nor the machine's time zone plays a part.
#include "app/appfonts.h"
#include "records/firebasechatmessage.h"
#include "util/util.h"

#include <QHBoxLayout>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPointer>
#include <QTranslator>
#include <QtTest>

// One of Util's texts for an input: seconds, a count, a moment or a string of digits.
using Text = QString (*)(const QVariant &);
Q_DECLARE_METATYPE(Text)

namespace {

QDateTime at(int day, int hour, int minute)
{
    return QDateTime(QDate(2024, 5, day), QTime(hour, minute), Qt::UTC);
}

const QDateTime noon = at(15, 12, 3);
const QDateTime afterMidnight = at(15, 0, 5);

QString span(qint64 seconds)
{
    const QString forth = Util::getStrDateSpan(noon, noon.addSecs(seconds));
    const QString back = Util::getStrDateSpan(noon.addSecs(seconds), noon);
    return forth == back ? forth : forth + " but back " + back; // the span has no direction
}

QString emptyJson(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonObject object = QJsonDocument::fromJson(json, &error).object();
    if (error.error != QJsonParseError::NoError)
        return error.errorString();
    return Util::isEmptyJsonObject(object) ? "empty" : "not empty";
}

} // namespace

class TestUtil : public QObject
{
    Q_OBJECT

private slots:
    // "dd MMMM" follows the default locale; the console runs with ru_RU.
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::Russian, QLocale::Russia)); }

    void texts_data()
    {
        QTest::addColumn<Text>("text");
        QTest::addColumn<QVariant>("input");
        QTest::addColumn<QString>("expected");
        using V = const QVariant &;
        const Text relative = [](V ago) {
            return Util::getStrRelativeTime(noon.addSecs(-ago.toLongLong()), noon);
        };
        const Text relativeAfterMidnight = [](V ago) {
            return Util::getStrRelativeTime(afterMidnight.addSecs(-ago.toLongLong()), afterMidnight);
        };
        const Text date = [](V time) { return Util::getStrDate(time.toDateTime(), afterMidnight); };
        const Text coarseSpan = [](V seconds) { return span(seconds.toLongLong()); };
        const Text preciseSpan = [](V seconds) {
            return Util::getStrPreciseDateSpan(noon, noon.addSecs(seconds.toLongLong()));
        };
        const Text dialogs = [](V count) { return Util::getStrDialogCount(count.toInt()); };
        const Text phone = [](V digits) { return Util::parsePhone(digits.toString()); };
        const Text price = [](V digits) { return Util::parsePrice(digits.toString()); };
        const Text json = [](V text) { return emptyJson(text.toByteArray()); };
        const auto row = [](const char *name, Text text, const QVariant &input) -> QTestData & {
            return QTest::addRow("%s %s", name, qPrintable(input.toString())) << text << input;
        };
        // Relative times, seconds before 12:03. Teens are not special in minutes or hours, and
        // from 12 hours on the date text answers.
        row("relative", relative, 59) << "только что";
        row("relative", relative, -59) << "только что";
        row("relative", relative, 60) << "1 минуту назад";
        row("relative", relative, 4 * 60) << "4 минуты назад";
        row("relative", relative, 5 * 60) << "5 минут назад";
        row("relative", relative, 11 * 60) << "11 минуту назад";
        row("relative", relative, 12 * 60) << "12 минуты назад";
        row("relative", relative, 3599) << "59 минут назад";
        row("relative", relative, -61) << "-1 минут назад";
        row("relative", relative, 3600) << "1 час назад";
        row("relative", relative, 2 * 3600) << "2 часа назад";
        row("relative", relative, 4 * 3600) << "4 часа назад";
        row("relative", relative, 5 * 3600) << "5 часов назад";
        row("relative", relative, 11 * 3600) << "11 час назад";
        row("relative", relative, 12 * 3600 - 1) << "11 час назад";
        row("relative", relative, 12 * 3600) << "сегодня в 00:03";
        row("relative", relative, 12 * 3600 + 4 * 60) << "вчера в 23:59";
        row("relative", relative, 48 * 3600) << "13 мая, 12:03";
        row("relative after midnight", relativeAfterMidnight, 6 * 60) << "6 минут назад";
        // Dates, seen at 00:05 on 15 May.
        row("date", date, at(15, 0, 0)) << "сегодня в 00:00";
        row("date", date, at(15, 18, 7)) << "сегодня в 18:07";
        row("date", date, at(14, 23, 59)) << "вчера в 23:59";
        row("date", date, at(14, 0, 0)) << "вчера в 00:00";
        row("date", date, at(13, 23, 59)) << "13 мая, 23:59";
        row("date", date, at(16, 9, 30)) << "16 мая, 09:30";
        row("date", date, QDateTime(QDate(2023, 1, 2), QTime(8, 0), Qt::UTC)) << "02 января, 08:00";
        // Coarse spans: seconds have no singular form; from a day on, days are seconds / 1440.
        row("span", coarseSpan, 1) << "несколько секунд";
        row("span", coarseSpan, 2) << "2 секунды";
        row("span", coarseSpan, 4) << "4 секунды";
        row("span", coarseSpan, 5) << "5 секунд";
        row("span", coarseSpan, 12) << "12 секунд";
        row("span", coarseSpan, 21) << "21 секунд";
        row("span", coarseSpan, 22) << "22 секунды";
        row("span", coarseSpan, 59) << "59 секунд";
        row("span", coarseSpan, 60) << "1 минуту";
        row("span", coarseSpan, 11 * 60) << "11 минут";
        row("span", coarseSpan, 12 * 60) << "12 минут";
        row("span", coarseSpan, 21 * 60) << "21 минуту";
        row("span", coarseSpan, 22 * 60) << "22 минуты";
        row("span", coarseSpan, 3599) << "59 минут";
        row("span", coarseSpan, 3600) << "1 час";
        row("span", coarseSpan, 11 * 3600) << "11 часов";
        row("span", coarseSpan, 12 * 3600) << "12 часов";
        row("span", coarseSpan, 21 * 3600) << "21 час";
        row("span", coarseSpan, 86399) << "23 часа";
        row("span", coarseSpan, 86400) << "60 дней";
        row("span", coarseSpan, 1440 * 61) << "61 день";
        row("span", coarseSpan, 1440 * 62) << "62 дня";
        row("span", coarseSpan, 1440 * 85) << "85 дней";
        row("span", coarseSpan, 1440 * 104) << "104 дня";
        row("span", coarseSpan, 1440 * 111) << "111 дней";
        row("span", coarseSpan, 1440 * 121) << "121 день";
        row("span", coarseSpan, 3000000000LL) << "2083333 дня";
        // Exact spans; signed on purpose: a reversed span prints negative fields.
        row("precise span", preciseSpan, 0) << "00:00:00";
        row("precise span", preciseSpan, 3661) << "01:01:01";
        row("precise span", preciseSpan, 86399) << "23:59:59";
        row("precise span", preciseSpan, 93784) << "1 дн. 02:03:04";
        row("precise span", preciseSpan, 864001) << "10 дн. 00:00:01";
        row("precise span", preciseSpan, -59) << "00:00:-59";
        // Dialogs: teens are not special; negative counts take the form of their magnitude.
        row("dialogs", dialogs, 0) << "0 диалогов";
        row("dialogs", dialogs, 1) << "1 диалог";
        row("dialogs", dialogs, 2) << "2 диалога";
        row("dialogs", dialogs, 4) << "4 диалога";
        row("dialogs", dialogs, 5) << "5 диалогов";
        row("dialogs", dialogs, 9) << "9 диалогов";
        row("dialogs", dialogs, 11) << "11 диалог";
        row("dialogs", dialogs, 12) << "12 диалога";
        row("dialogs", dialogs, -1) << "-1 диалог";
        row("dialogs", dialogs, -3) << "-3 диалога";
        row("dialogs", dialogs, -7) << "-7 диалогов";
        // Phones are built from the right; shorter strings stop early.
        row("phone", phone, "79991234567") << "+7(999)123-45-67";
        row("phone", phone, "380501234567") << "+38(050)123-45-67";
        row("phone", phone, "4951234567") << "(495)123-45-67";
        row("phone", phone, "1234567") << "123-45-67";
        row("phone", phone, "12345") << "1-23-45";
        row("phone", phone, "123") << "1-23";
        row("phone", phone, "12") << "12";
        row("phone", phone, "") << "";
        row("phone", phone, "abcdefghijk") << "+a(bcd)efg-hi-jk";
        row("price", price, "") << "";
        row("price", price, "999") << "999";
        row("price", price, "1000") << "1 000";
        row("price", price, "123456") << "123 456";
        row("price", price, "1234567") << "1 234 567";
        // Only the first key, in key order and not in the order of the text, decides.
        row("json", json, "{}") << "empty";
        row("json", json, R"({"a": null})") << "empty";
        row("json", json, R"({"a": 1})") << "not empty";
        row("json", json, R"({"a": {}})") << "not empty";
        row("json", json, R"({"a": false})") << "not empty";
        row("json", json, R"({"a": null, "b": 1})") << "empty";
        row("json", json, R"({"a": 1, "b": null})") << "not empty";
        row("json", json, R"({"b": null, "a": 1})") << "not empty";
    }
    void texts()
    {
        QFETCH(Text, text);
        QFETCH(QVariant, input);
        QFETCH(QString, expected);
        QCOMPARE(text(input), expected);
    }

    void textsStayFormatsWhenTranslated()
    {
        // The translated "сегодня в hh:mm" is itself a date-time format: unquoted English words
        // would be read as format letters ("d" day, "a" am/pm, "y" year).
        QTranslator english;
        QVERIFY(english.load(QStringLiteral(":/resources/tr/tallyra_desktop_en.qm")));
        QVERIFY(QCoreApplication::installTranslator(&english));
        const QStringList texts{Util::getStrDate(at(15, 18, 7), afterMidnight),
                                Util::getStrDate(at(14, 23, 59), afterMidnight),
                                Util::getStrRelativeTime(at(14, 23, 43), afterMidnight),
                                Util::getStrDialogCount(12)};
        QCoreApplication::removeTranslator(&english);
        QCOMPARE(texts,
                 QStringList({"today at 18:07", "yesterday at 23:59", "22 min ago", "12 dialogs"}));
    }

    void dayAndMonthNames()
    {
        // Days are numbered as QDate numbers them, 1 = Monday; months from 1 = January, in the
        // nominative and the genitive. Other numbers have no name.
        QStringList names;
        for (int i = 0; i <= 13; ++i)
            names << Util::getStrDayOfWeek(i) + '/' + Util::getStrMonth(i) + '/'
                         + Util::getStrMonthPlural(i);
        QCOMPARE(
            names.join(", "),
            "неизвестно//, в понедельник/Январь/Января, во вторник/Февраль/Февраля, в среду/Март/"
            "Марта, в четверг/Апрель/Апреля, в пятницу/Май/Мая, в субботу/Июнь/Июня, в "
            "воскресенье/Июль/Июля, неизвестно/Август/Августа, неизвестно/Сентябрь/Сентября, "
            "неизвестно/Октябрь/Октября, неизвестно/Ноябрь/Ноября, неизвестно/Декабрь/Декабря, "
            "неизвестно//");
    }

    void emailsAndPhones_data()
    {
        QTest::addColumn<QStringList>("texts");
        QTest::addColumn<QStringList>("emails");
        QTest::addColumn<QStringList>("phones");
        using L = QStringList;
        QTest::newRow("formatted phone")
            << L{"Мой номер +7 (999) 123-45-67, звоните"} << L() << L{"+7 (999) 123-45-67"};
        QTest::newRow("spaced groups") << L{"тел. 8 999 123 45 67"} << L() << L{"8 999 123 45 67"};
        // "\S+@\S+" takes the neighbouring punctuation along.
        QTest::newRow("e-mail with comma")
            << L{"Пишите: ivan@mail.ru, спасибо"} << L{"ivan@mail.ru,"} << L();
        QTest::newRow("several in one text, order kept")
            << L{"b@x.ru и a@x.ru, тел 89990000001 или 89990000002"} << L{"b@x.ru", "a@x.ru,"}
            << L{"89990000001", "89990000002"};
        QTest::newRow("duplicates across texts")
            << L{"a@x.ru 89991234567", "ещё раз a@x.ru", "89991234567 c@x.ru"}
            << L{"a@x.ru", "c@x.ru"} << L{"89991234567"};
        QTest::newRow("too short for a phone") << L{"код 12345"} << L() << L();
    }
    void emailsAndPhones()
    {
        QFETCH(QStringList, texts);
        QFETCH(QStringList, emails);
        QFETCH(QStringList, phones);
        // The lists are appended to; what they already hold is kept and not repeated.
        QStringList foundEmails{"known@x.ru"};
        QStringList foundPhones{"89991234567"};
        Util::parseEmailsAndPhones(texts, foundEmails, foundPhones);
        emails.removeAll("known@x.ru");
        phones.removeAll("89991234567");
        QCOMPARE(foundEmails, QStringList{"known@x.ru"} + emails);
        QCOMPARE(foundPhones, QStringList{"89991234567"} + phones);
    }

    void emailsAndPhonesOnlyFromTheVisitor()
    {
        QList<FirebaseChatMessage> messages;
        for (const auto &[sender, text] :
             {std::pair("visitor", "Мой номер 89991234567"),
              std::pair("operator", "Наш адрес sales@shop.ru, тел. 88005553535"),
              std::pair("visitor", "почта ivan@mail.ru"),
              std::pair("visitor", "ещё раз 89991234567 и +7 (912) 000-11-22")}) {
            messages.append(FirebaseChatMessage());
            messages.last().setSender(QString::fromUtf8(sender));
            messages.last().setText(QString::fromUtf8(text));
        }
        QStringList emails;
        QStringList phones;
        Util::parseEmailsAndPhonesFromMessages(messages, emails, phones, "nobody");
        QCOMPARE(emails + phones, QStringList());
        Util::parseEmailsAndPhonesFromMessages(messages, emails, phones, "visitor");
        QCOMPARE(emails, QStringList{"ivan@mail.ru"});
        QCOMPARE(phones, QStringList({"89991234567", "+7 (912) 000-11-22"}));
    }

    void windowIconBadge()
    {
        AppFonts::addResourceFonts();
        AppFonts::installSubstitutions();
        const auto icon = [](int count) {
            return Util::getWindowIcon(count).convertToFormat(QImage::Format_ARGB32_Premultiplied);
        };
        const QImage plain = icon(0);
        QVERIFY(!plain.isNull());
        QCOMPARE(icon(-3), plain);
        const QImage badged = icon(7);
        QCOMPARE(badged.size(), plain.size());

        const int diameter = int(0.3 * plain.height());
        const QPoint centre(int(0.7 * plain.width() - diameter / 4), int(0.7 * plain.height()));
        // Just inside the circle's rim, clear of the digit: the badge colour.
        const int rim = diameter / 2 - 4;
        for (const QPoint &inside :
             {QPoint(-rim, 0), QPoint(rim, 0), QPoint(0, -rim), QPoint(0, rim)})
            QCOMPARE(badged.pixelColor(centre + inside), QColor(250, 39, 73));
        // Just outside the circle and far from it: the icon is untouched.
        const int out = diameter / 2 + 3;
        for (const QPoint &outside :
             {centre + QPoint(out, 0), centre - QPoint(0, out), QPoint(2, 2), QPoint(60, 60)})
            QCOMPARE(badged.pixelColor(outside), plain.pixelColor(outside));
        // The count is painted on the badge.
        QVERIFY(icon(8) != badged);
    }

    void clearLayoutDeletesWidgetsAndNestedLayouts()
    {
        QWidget window;
        auto *layout = new QVBoxLayout(&window);
        QPointer<QLabel> label = new QLabel(QStringLiteral("a"));
        layout->addWidget(label);
        layout->addStretch();
        QPointer<QHBoxLayout> nested = new QHBoxLayout;
        QPointer<QLabel> inner = new QLabel(QStringLiteral("b"));
        nested->addWidget(inner);
        layout->addLayout(nested);

        Util::clearLayout(layout);
        QCOMPARE(layout->count(), 0);
        QVERIFY(label.isNull() && inner.isNull() && nested.isNull());
        // The layout itself stays in use.
        auto *next = new QLabel(QStringLiteral("c"));
        layout->addWidget(next);
        QCOMPARE(next->parentWidget(), &window);
        Util::clearLayout(nullptr);
    }
};

QTEST_MAIN(TestUtil)
#include "tst_util.moc"
