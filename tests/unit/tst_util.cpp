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

// One of Util's texts for an input written as text.
using Text = QString (*)(const QString &);
Q_DECLARE_METATYPE(Text)

namespace {

// "15 18:07" in May 2024, or a whole "2023-01-02 08:00", in UTC.
QDateTime at(const QString &text)
{
    const QString full = text.size() > 8 ? text : "2024-05-" + text;
    return QDateTime(QDate::fromString(full.left(10), Qt::ISODate),
                     QTime::fromString(full.mid(11), "hh:mm"),
                     Qt::UTC);
}

const QDateTime noon = at("15 12:03");
const QDateTime afterMidnight = at("15 00:05");

// "11h 59m 59" as seconds.
qint64 seconds(const QString &text)
{
    qint64 total = 0;
    for (auto it = QRegularExpression("(-?\\d+)([hm]?)").globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch part = it.next();
        total += part.captured(1).toLongLong()
                 * (part.captured(2) == "h"   ? 3600
                    : part.captured(2) == "m" ? 60
                                              : 1);
    }
    return total;
}

QString span(qint64 seconds)
{
    const QString forth = Util::getStrDateSpan(noon, noon.addSecs(seconds));
    const QString back = Util::getStrDateSpan(noon.addSecs(seconds), noon);
    return forth == back ? forth : forth + " but back " + back; // the span has no direction
}

QString emptyJson(const QString &json)
{
    QJsonParseError error;
    const QJsonObject object = QJsonDocument::fromJson(json.toUtf8(), &error).object();
    if (error.error != QJsonParseError::NoError)
        return error.errorString();
    return Util::isEmptyJsonObject(object) ? "empty" : "not empty";
}

const QMap<QString, Text> Texts{
    {"relative", // seconds before noon
     [](const QString &ago) { return Util::getStrRelativeTime(noon.addSecs(-seconds(ago)), noon); }},
    {"relative-at-00:05",
     [](const QString &ago) {
         return Util::getStrRelativeTime(afterMidnight.addSecs(-seconds(ago)), afterMidnight);
     }},
    {"date", [](const QString &time) { return Util::getStrDate(at(time), afterMidnight); }},
    {"span", [](const QString &length) { return span(seconds(length)); }},
    {"precise-span",
     [](const QString &length) {
         return Util::getStrPreciseDateSpan(noon, noon.addSecs(seconds(length)));
     }},
    {"dialogs", [](const QString &count) { return Util::getStrDialogCount(count.toInt()); }},
    {"phone", [](const QString &digits) { return Util::parsePhone(digits); }},
    {"price", [](const QString &digits) { return Util::parsePrice(digits); }},
    {"json", emptyJson},
};

// Each line: the text, then "input = expected" entries. Relative times: teens are not special
// in minutes or hours, and from 12 hours on the date text answers. Dates are seen at 00:05 on
// 15 May. Coarse spans: seconds have no singular form; from a day on, days are seconds / 1440
// (87840 s read "61"). Exact spans are signed on purpose: a reversed span prints negative
// fields. Dialogs: teens are not special; negative counts take the form of their magnitude.
// Phones are built from the right; shorter strings stop early. Of a JSON object only the first
// key, in key order and not in the order of the text, decides.
const char Table[] = R"(
relative 59 = только что | -59 = только что | 1m = 1 минуту назад | 4m = 4 минуты назад
relative 5m = 5 минут назад | 11m = 11 минуту назад | 12m = 12 минуты назад | -61 = -1 минут назад
relative 59m 59 = 59 минут назад | 1h = 1 час назад | 2h = 2 часа назад | 4h = 4 часа назад
relative 5h = 5 часов назад | 11h = 11 час назад | 11h 59m 59 = 11 час назад
relative 12h = сегодня в 00:03 | 12h 4m = вчера в 23:59 | 48h = 13 мая, 12:03
relative-at-00:05 6m = 6 минут назад
date 15 00:00 = сегодня в 00:00 | 15 18:07 = сегодня в 18:07 | 14 23:59 = вчера в 23:59
date 14 00:00 = вчера в 00:00 | 13 23:59 = 13 мая, 23:59 | 16 09:30 = 16 мая, 09:30
date 2023-01-02 08:00 = 02 января, 08:00
span 1 = несколько секунд | 2 = 2 секунды | 4 = 4 секунды | 5 = 5 секунд | 12 = 12 секунд
span 21 = 21 секунд | 22 = 22 секунды | 59 = 59 секунд | 1m = 1 минуту | 11m = 11 минут
span 12m = 12 минут | 21m = 21 минуту | 22m = 22 минуты | 59m 59 = 59 минут | 1h = 1 час
span 11h = 11 часов | 12h = 12 часов | 21h = 21 час | 23h 59m 59 = 23 часа | 24h = 60 дней
span 87840 = 61 день | 89280 = 62 дня | 122400 = 85 дней | 149760 = 104 дня | 159840 = 111 дней
span 174240 = 121 день | 3000000000 = 2083333 дня
precise-span 0 = 00:00:00 | 1h 1m 1 = 01:01:01 | 23h 59m 59 = 23:59:59 | -59 = 00:00:-59
precise-span 26h 3m 4 = 1 дн. 02:03:04 | 240h 1 = 10 дн. 00:00:01
dialogs 0 = 0 диалогов | 1 = 1 диалог | 2 = 2 диалога | 4 = 4 диалога | 5 = 5 диалогов
dialogs 9 = 9 диалогов | 11 = 11 диалог | 12 = 12 диалога | -1 = -1 диалог | -3 = -3 диалога
dialogs -7 = -7 диалогов
phone 79991234567 = +7(999)123-45-67 | 380501234567 = +38(050)123-45-67 | 12 = 12 | =
phone 4951234567 = (495)123-45-67 | 1234567 = 123-45-67 | 12345 = 1-23-45 | 123 = 1-23
phone abcdefghijk = +a(bcd)efg-hi-jk
price = | 999 = 999 | 1000 = 1 000 | 123456 = 123 456 | 1234567 = 1 234 567
json {} = empty | {"a": null} = empty | {"a": 1} = not empty | {"a": {}} = not empty
json {"a": false} = not empty | {"a": null, "b": 1} = empty | {"a": 1, "b": null} = not empty
json {"b": null, "a": 1} = not empty
)";

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
        QTest::addColumn<QString>("input");
        QTest::addColumn<QString>("expected");
        for (const QString &line : QString(Table).split('\n', Qt::SkipEmptyParts)) {
            const QString kind = line.section(' ', 0, 0);
            QVERIFY2(Texts.contains(kind), qPrintable(kind));
            for (const QString &entry : line.section(' ', 1).split('|')) {
                const QString input = entry.section('=', 0, 0).trimmed();
                QTest::addRow("%s %s", qPrintable(kind), qPrintable(input))
                    << Texts.value(kind) << input << entry.section('=', 1).trimmed();
            }
        }
    }
    void texts()
    {
        QFETCH(Text, text);
        QFETCH(QString, input);
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
        const QStringList texts{Util::getStrDate(at("15 18:07"), afterMidnight),
                                Util::getStrDate(at("14 23:59"), afterMidnight),
                                Util::getStrRelativeTime(at("14 23:43"), afterMidnight),
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
