#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

class FirebaseChat;
class FirebaseChatMessage;
class QCoreApplication;
class QDateTime;
class QJsonObject;
class QLayout;

// Static helpers shared across the console: language selection and translation, the Russian
// display texts of times, spans and counts, phone and price forms, and the window icon.
// Each count formatter carries its own plural test on purpose; they are not interchangeable.
class Util
{
public:
    // The list a chat belongs to for the signed-in operator (getChatCategory).
    enum ChatCategory {
        CategoryMy = 0,       // the operator's own conversation
        CategoryNotMy = 1,    // another operator's conversation
        CategoryMissed = 2,   // nobody took it and the visitor has left
        CategoryUnlisted = 3, // in no list
    };

    // Language of the system locale ("en" for en_US); languages whose speakers use the Russian
    // interface answer "ru".
    static QString getLang();
    static QString getLang(const QString &localeName);

    // Makes "ru_RU" the default locale when the system language is one of those read in
    // Russian; other languages leave the default untouched.
    static void applyLang();
    static void applyLang(const QString &localeName);

    // Installs Qt's own translation and, unless the language is Russian, the console's.
    // Answers the number of translators installed.
    static int installTranslator(QCoreApplication &app);
    static int installTranslator(QCoreApplication &app, const QString &localeName);

    // "только что", "%1 минуту назад", "%1 час назад", ...; from 12 hours on, getStrDate().
    // The overloads with `now` measure against a given moment instead of the clock.
    static QString getStrRelativeTime(const QDateTime &time);
    static QString getStrRelativeTime(const QDateTime &time, const QDateTime &now);

    // "сегодня в hh:mm", "вчера в hh:mm", otherwise "dd MMMM, hh:mm" in the default locale.
    static QString getStrDate(const QDateTime &time);
    static QString getStrDate(const QDateTime &time, const QDateTime &now);

    // Coarse length of a span in one unit ("несколько секунд", "%1 минуты", "%1 дней", ...).
    static QString getStrDateSpan(const QDateTime &from, const QDateTime &to);
    // Exact length of a span: "[%1 дн. ]hh:mm:ss".
    static QString getStrPreciseDateSpan(const QDateTime &from, const QDateTime &to);

    static QString getStrDialogCount(int count);
    // 1 = Monday ... 7 = Sunday, as QDate::dayOfWeek() numbers them.
    static QString getStrDayOfWeek(int day);
    // Month names, 1 = January; nominative and genitive. Other numbers give an empty string.
    static QString getStrMonth(int month);
    static QString getStrMonthPlural(int month);

    // "79991234567" -> "+7(999)123-45-67", built from the right; shorter strings stop early.
    static QString parsePhone(QString digits);
    // "1234567" -> "1 234 567".
    static QString parsePrice(QString digits);

    // Appends the e-mail addresses and phone numbers found in the texts, in order of first
    // appearance and without duplicates.
    static void parseEmailsAndPhones(const QStringList &texts,
                                     QStringList &emails,
                                     QStringList &phones);
    // The same over the texts of the messages that `senderId` (the visitor) wrote.
    static void parseEmailsAndPhonesFromMessages(const QList<FirebaseChatMessage> &messages,
                                                 QStringList &emails,
                                                 QStringList &phones,
                                                 const QString &senderId);

    // Category of the chat from the session's user key, the chat's operators, notified users,
    // widget and status, and the users repository (its users and user keys). First match wins:
    // notified users exclude the operator, the operator is not keyed to the widget, the chat is
    // not in work, or the visitor is unknown: unlisted; then own (nobody took it and the visitor
    // is online, or the operator is among its operators), another operator's, missed.
    static int getChatCategory(const FirebaseChat &chat);

    // True for an object without members and for one whose first key (in key order) holds null.
    static bool isEmptyJsonObject(const QJsonObject &object);

    // The application icon; a positive count is painted on it as a red badge.
    // The application's icon, decoded once: the PNG is large and many places show it.
    static QImage appIcon();
    static QImage getWindowIcon(int count);

    // Takes every item out of the layout, deleting the widgets and nested layouts it held.
    static void clearLayout(QLayout *layout);
};
