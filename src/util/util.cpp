#include "util/util.h"

#include "records/firebasechat.h"
#include "records/firebasechatmessage.h"
#include "repo/authsession.h"
#include "repo/usersrepository.h"

#include <QApplication>
#include <QDateTime>
#include <QHash>
#include <QImageReader>
#include <QJsonObject>
#include <QLayout>
#include <QLibraryInfo>
#include <QLocale>
#include <QPainter>
#include <QRegExp>
#include <QTranslator>
#include <QWidget>

#include <algorithm>

namespace {

// Languages whose speakers get the Russian interface. "bb" is kept as it has always been,
// though it is no real language code.
const QHash<QString, QString> &russianLocales()
{
    static const QHash<QString, QString> map{
        {QStringLiteral("uk"), QStringLiteral("ru_RU")},
        {QStringLiteral("kk"), QStringLiteral("ru_RU")},
        {QStringLiteral("bb"), QStringLiteral("ru_RU")},
    };
    return map;
}

QString languageOf(const QString &localeName)
{
    return localeName.section(QLatin1Char('_'), 0, 0);
}

} // namespace

QString Util::getLang()
{
    return getLang(QLocale::system().name());
}

QString Util::getLang(const QString &localeName)
{
    const QString lang = languageOf(localeName);
    const auto it = russianLocales().constFind(lang);
    return it != russianLocales().constEnd() ? languageOf(it.value()) : lang;
}

void Util::applyLang()
{
    applyLang(QLocale::system().name());
}

void Util::applyLang(const QString &localeName)
{
    const auto it = russianLocales().constFind(languageOf(localeName));
    if (it != russianLocales().constEnd())
        QLocale::setDefault(QLocale(it.value()));
}

int Util::installTranslator(QCoreApplication &app)
{
    return installTranslator(app, QLocale::system().name());
}

int Util::installTranslator(QCoreApplication &app, const QString &localeName)
{
    int installed = 0;
    const QString lang = getLang(localeName);

    auto *qtTranslator = new QTranslator(&app);
    const QString qtPath = QLibraryInfo::location(QLibraryInfo::TranslationsPath);
    if (qtTranslator->load(QStringLiteral("qt_") + localeName, qtPath)
        || qtTranslator->load(QStringLiteral("qt_en"), qtPath)) {
        app.installTranslator(qtTranslator);
        ++installed;
    } else {
        delete qtTranslator;
    }

    if (lang != QLatin1String("ru")) {
        auto *translator = new QTranslator(&app);
        if (translator->load(QStringLiteral(":/resources/tr/tallyra_desktop_") + lang
                             + QStringLiteral(".qm"))
            || translator->load(QStringLiteral(":/resources/tr/tallyra_desktop_en.qm"))) {
            app.installTranslator(translator);
            ++installed;
        } else {
            delete translator;
        }
    }
    return installed;
}

QString Util::getStrRelativeTime(const QDateTime &time)
{
    return getStrRelativeTime(time, QDateTime::currentDateTime());
}

QString Util::getStrRelativeTime(const QDateTime &time, const QDateTime &now)
{
    const qint64 minutes = time.secsTo(now) / 60;
    const qint64 hours = minutes / 60;

    if (minutes == 0)
        return QApplication::tr("только что");

    // Teens are not special here: 11 reads "11 минуту назад". A moment more than a minute
    // ahead lands in this branch too and prints a negative count.
    if (minutes < 60) {
        const qint64 r = minutes % 10;
        if (r == 1)
            return QApplication::tr("%1 минуту назад").arg(minutes);
        if (r >= 2 && r <= 4)
            return QApplication::tr("%1 минуты назад").arg(minutes);
        return QApplication::tr("%1 минут назад").arg(minutes);
    }

    if (hours >= 12)
        return getStrDate(time, now);

    const qint64 r = hours % 10;
    if (r == 1)
        return QApplication::tr("%1 час назад").arg(hours);
    if (r >= 2 && r <= 4)
        return QApplication::tr("%1 часа назад").arg(hours);
    return QApplication::tr("%1 часов назад").arg(hours);
}

QString Util::getStrDate(const QDateTime &time)
{
    return getStrDate(time, QDateTime::currentDateTime());
}

QString Util::getStrDate(const QDateTime &time, const QDateTime &now)
{
    // The translated texts are date-time formats: a translation must quote its words.
    const QDate today = now.date();
    if (time.date() == today)
        return time.toString(QApplication::tr("сегодня в hh:mm"));
    if (time.date() == today.addDays(-1))
        return time.toString(QApplication::tr("вчера в hh:mm"));
    return QLocale().toString(time, QStringLiteral("dd MMMM, hh:mm"));
}

QString Util::getStrDateSpan(const QDateTime &from, const QDateTime &to)
{
    const qint64 s = qAbs(from.secsTo(to));

    if (s < 2)
        return QApplication::tr("несколько секунд");

    // Seconds have no singular form: 21 reads "21 секунд".
    if (s < 60) {
        if (s % 10 >= 2 && s % 10 <= 4 && !(s % 100 >= 10 && s % 100 <= 20))
            return QApplication::tr("%1 секунды").arg(s);
        return QApplication::tr("%1 секунд").arg(s);
    }

    if (s < 3600) {
        const qint64 m = s / 60;
        if (m % 10 == 1 && m % 100 != 11)
            return QApplication::tr("%1 минуту").arg(m);
        if (m % 10 >= 2 && m % 10 <= 4 && !(m % 100 >= 10 && m % 100 <= 20))
            return QApplication::tr("%1 минуты").arg(m);
        return QApplication::tr("%1 минут").arg(m);
    }

    if (s < 86400) {
        const qint64 h = s / 60 / 60;
        if (h % 10 == 1 && h % 100 != 11)
            return QApplication::tr("%1 час").arg(h);
        if (h % 10 >= 2 && h % 10 <= 4 && !(h % 100 >= 10 && h % 100 <= 20))
            return QApplication::tr("%1 часа").arg(h);
        return QApplication::tr("%1 часов").arg(h);
    }

    // Days are counted as seconds / 1440, so one day of span reads "60 дней". This is the
    // required count, not a slip.
    const qint64 d = s / 60 / 24;
    const qint64 a = d % 100;
    const qint64 b = d % 10;
    if ((a >= 5 && a <= 20) || (b >= 5 && b <= 9) || b == 0)
        return QApplication::tr("%1 дней").arg(d);
    if (b >= 2 && b <= 4)
        return QApplication::tr("%1 дня").arg(d);
    return QApplication::tr("%1 день").arg(d);
}

QString Util::getStrPreciseDateSpan(const QDateTime &from, const QDateTime &to)
{
    const qint64 s = from.secsTo(to);
    const qint64 seconds = s % 60;
    const qint64 minutes = (s / 60) % 60;
    const qint64 hours = (s / 3600) % 24;
    const qint64 days = s / 86400;
    const QLatin1Char zero('0');

    QString result;
    if (days > 0)
        result += QApplication::tr("%1 дн. ").arg(days);
    result += QStringLiteral("%1:").arg(hours, 2, 10, zero);
    result += QStringLiteral("%1:").arg(minutes, 2, 10, zero);
    result += QStringLiteral("%1").arg(seconds, 2, 10, zero);
    return result;
}

QString Util::getStrDialogCount(int count)
{
    // Counts are never negative in practice; a negative one takes the form of its magnitude.
    // Teens are not special: 11 reads "11 диалог".
    const int r = qAbs(count % 10);
    if (r == 0 || r >= 5)
        return QApplication::tr("%1 диалогов").arg(count);
    if (r == 1)
        return QApplication::tr("%1 диалог").arg(count);
    return QApplication::tr("%1 диалога").arg(count);
}

QString Util::getStrDayOfWeek(int day)
{
    switch (day) {
    case 1:
        return QApplication::tr("в понедельник");
    case 2:
        return QApplication::tr("во вторник");
    case 3:
        return QApplication::tr("в среду");
    case 4:
        return QApplication::tr("в четверг");
    case 5:
        return QApplication::tr("в пятницу");
    case 6:
        return QApplication::tr("в субботу");
    case 7:
        return QApplication::tr("в воскресенье");
    default:
        return QApplication::tr("неизвестно");
    }
}

QString Util::getStrMonth(int month)
{
    switch (month) {
    case 1:
        return QApplication::tr("Январь");
    case 2:
        return QApplication::tr("Февраль");
    case 3:
        return QApplication::tr("Март");
    case 4:
        return QApplication::tr("Апрель");
    case 5:
        return QApplication::tr("Май");
    case 6:
        return QApplication::tr("Июнь");
    case 7:
        return QApplication::tr("Июль");
    case 8:
        return QApplication::tr("Август");
    case 9:
        return QApplication::tr("Сентябрь");
    case 10:
        return QApplication::tr("Октябрь");
    case 11:
        return QApplication::tr("Ноябрь");
    case 12:
        return QApplication::tr("Декабрь");
    default:
        return QString();
    }
}

QString Util::getStrMonthPlural(int month)
{
    switch (month) {
    case 1:
        return QApplication::tr("Января");
    case 2:
        return QApplication::tr("Февраля");
    case 3:
        return QApplication::tr("Марта");
    case 4:
        return QApplication::tr("Апреля");
    case 5:
        return QApplication::tr("Мая");
    case 6:
        return QApplication::tr("Июня");
    case 7:
        return QApplication::tr("Июля");
    case 8:
        return QApplication::tr("Августа");
    case 9:
        return QApplication::tr("Сентября");
    case 10:
        return QApplication::tr("Октября");
    case 11:
        return QApplication::tr("Ноября");
    case 12:
        return QApplication::tr("Декабря");
    default:
        return QString();
    }
}

QString Util::parsePhone(QString digits)
{
    // Right to left: "-67", "-45", "123", "(999)", then whatever country code is left.
    QString result = digits.right(2);
    digits.chop(2);
    if (!digits.isEmpty()) {
        result.prepend(digits.right(2) + QLatin1Char('-'));
        digits.chop(2);
    }
    if (!digits.isEmpty()) {
        result.prepend(digits.right(3) + QLatin1Char('-'));
        digits.chop(3);
    }
    if (!digits.isEmpty()) {
        result.prepend(QStringLiteral("(%1)").arg(digits.right(3)));
        digits.chop(3);
    }
    if (!digits.isEmpty())
        result.prepend(QLatin1Char('+') + digits);
    return result;
}

QString Util::parsePrice(QString digits)
{
    QString result;
    bool first = true;
    while (!digits.isEmpty()) {
        if (!first)
            result.prepend(QLatin1Char(' '));
        result.prepend(digits.right(3));
        digits.chop(3);
        first = false;
    }
    return result;
}

namespace {

// Appends capture 1 of every match in `text` to `found`, skipping what is already there.
void collectMatches(QRegExp &pattern, const QString &text, QStringList &found)
{
    int pos = 0;
    while ((pos = pattern.indexIn(text, pos)) != -1) {
        const QString match = pattern.cap(1);
        if (!found.contains(match))
            found.append(match);
        pos += qMax(1, pattern.matchedLength());
    }
}

} // namespace

void Util::parseEmailsAndPhones(const QStringList &texts, QStringList &emails, QStringList &phones)
{
    // Copies of compiled prototypes: QRegExp keeps its match state in the object.
    static const QRegExp phonePattern(QStringLiteral(
        R"((\+?\d{1,3}(\s?)(\(\d{3,4}\)|\d{3,4})(\2)(\d{2,3}-?\d{2,3}-?\d{2,4}|\d{2,3}\s\d{2,3}\s\d{2,4}|\d{3,5}-?\s?\d{3,5}|\d{6,10})))"));
    static const QRegExp emailPattern(QStringLiteral(R"((\S+@\S+))"));
    QRegExp phone = phonePattern;
    QRegExp email = emailPattern;

    for (const QString &text : texts) {
        collectMatches(phone, text, phones);
        collectMatches(email, text, emails);
    }
}

void Util::parseEmailsAndPhonesFromMessages(const QList<FirebaseChatMessage> &messages,
                                            QStringList &emails,
                                            QStringList &phones,
                                            const QString &senderId)
{
    QStringList texts;
    for (const FirebaseChatMessage &message : messages) {
        if (message.getSender() == senderId)
            texts.append(message.getText());
    }
    parseEmailsAndPhones(texts, emails, phones);
}

int Util::getChatCategory(const FirebaseChat &chat)
{
    const UsersRepository *users = UsersRepository::getInstance();
    const AuthSession *session = AuthSession::getInstance();
    if (!users || !session)
        return CategoryUnlisted;
    const QString me = session->getUserId();

    const QStringList notified = chat.getUserToNotification();
    if (!notified.isEmpty() && !notified.contains(me))
        return CategoryUnlisted;
    if (!users->hasUserKey(chat.getWidgetId(), me) || chat.getChatStatus() != QLatin1String("work"))
        return CategoryUnlisted;
    const QString visitor = chat.getVisitor();
    if (!users->hasUser(visitor))
        return CategoryUnlisted;

    // Empty entries are gaps that an operator list keyed by index can leave, not operators.
    const QStringList operators = chat.getOperators();
    const bool hasOperators = std::any_of(operators.begin(),
                                          operators.end(),
                                          [](const QString &key) { return !key.isEmpty(); });
    const bool mine = !me.isEmpty() && operators.contains(me);
    const bool visitorOnline = users->isUserOnline(visitor);
    if ((!hasOperators && visitorOnline) || mine)
        return CategoryMy;
    if (hasOperators)
        return CategoryNotMy;
    if (!visitorOnline)
        return CategoryMissed;
    return CategoryUnlisted;
}

bool Util::isEmptyJsonObject(const QJsonObject &object)
{
    if (object.isEmpty())
        return true;
    // Only the first member decides: the realtime database reads an absent node as null.
    return object.begin().value().isNull();
}

QImage Util::appIcon()
{
    // Read as the PNG it is: a reader left to guess would first load every image format plugin
    // to ask each whether it reads "png", a cost that fell on the start-up. Kept in the format
    // that pixmaps and painters use, so that neither converts it again.
    static const QImage icon = [] {
        QImageReader reader(QStringLiteral(":/resources/images/icon-256.png"), "png");
        reader.setAutoDetectImageFormat(false);
        return reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    }();
    return icon;
}

QImage Util::getWindowIcon(int count)
{
    QImage image = appIcon();
    if (count <= 0 || image.isNull())
        return image;
    // QPainter cannot paint on every format a PNG may load as.
    image = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);

    const int diameter = int(0.3 * image.height());
    const QPointF centre(0.7 * image.width() - diameter / 4, 0.7 * image.height());
    const QRectF badge(centre.x() - diameter / 2.0, centre.y() - diameter / 2.0, diameter, diameter);

    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(250, 39, 73));
    painter.drawEllipse(badge);

    // Size D in pixels: a point size would grow with the dots per inch the image reports, and
    // the count would outgrow its circle.
    QFont font(QStringLiteral("Museo Sans Cyrl 500"));
    font.setPixelSize(diameter);
    painter.setPen(Qt::white);
    painter.setFont(font);
    painter.drawText(badge, Qt::AlignCenter, QString::number(count));
    painter.end();
    return image;
}

void Util::clearLayout(QLayout *layout)
{
    if (!layout)
        return;
    while (QLayoutItem *item = layout->takeAt(0)) {
        if (QLayout *child = item->layout())
            clearLayout(child);
        delete item->widget();
        // A nested layout is its own item, so this deletes it as well.
        delete item;
    }
}
