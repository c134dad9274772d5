#pragma once

#include "local/chatservice.h"

#include <QHash>
#include <QObject>
#include <QRandomGenerator>

class QTimer;

// Lively visitors and colleagues for the demo account: visitors arrive on the sites, browse,
// some start chats in Russian, type, answer an operator after a while, now and then send a
// picture or fill the introduction form, and leave; colleagues take some of the chats, answer,
// invite the demo operator, and come and go.
class VisitorSimulator : public QObject, public DatabaseObserver
{
    Q_OBJECT

public:
    struct Settings
    {
        double visitorsPerMinute = 4; // 0: none
        int replyDelayMinMs = 3000;   // how long a visitor takes to answer
        int replyDelayMaxMs = 12000;
        int maxVisitors = 50;    // the oldest leave first
        int eventsPerSecond = 0; // load: visitor messages across the chats in work
        quint32 seed = 0;        // 0: a different run each time
    };

    VisitorSimulator(ChatApi *api,
                     const ChatService::Account &account,
                     const QString &baseUrl,
                     QObject *parent = nullptr);
    ~VisitorSimulator() override;

    void start(const Settings &settings);
    // One visitor arrives now and starts a chat after so long (0: at once, -1: never, and
    // browses a while instead). The visitor's key.
    QString arrive(int chatAfterMs);

    void databaseEvent(const DatabaseEvent &event) override;

private:
    struct Visitor
    {
        QString key;
        QString chatKey;
        int replies = 0;
        bool answered = false;
        QString colleague; // the colleague who took the chat, if one did
    };

    int between(int low, int high) { return low + int(m_random.bounded(quint32(high - low + 1))); }
    template<typename T>
    const T &pick(const QVector<T> &items)
    {
        return items.at(int(m_random.bounded(quint32(items.size()))));
    }
    QString path(const QString &rest) const;
    QJsonValue value(const QString &rest) const;
    void later(int milliseconds,
               const QString &visitorKey,
               void (VisitorSimulator::*step)(Visitor &));
    void startChat(Visitor &visitor);
    void reply(Visitor &visitor);
    void giveUp(Visitor &visitor);
    void leave(Visitor &visitor);
    void colleagueTakes(Visitor &visitor);
    void colleagueAnswers(Visitor &visitor);
    // Operators of the account who cannot sign in here (online ones only, if asked), and the
    // demo operator's key.
    QStringList colleagues(bool onlineOnly, QString *demoOperator = nullptr) const;
    void colleagueComesOrGoes();
    void sendLoad();

    ChatApi *m_api;
    ChatService *m_service;
    ChatService::Account m_account;
    QString m_baseUrl;
    Settings m_settings;
    QRandomGenerator m_random;
    PushIdGenerator m_pushIds;
    QHash<QString, Visitor> m_visitors; // by visitor key
    QHash<QString, QString> m_chats;    // chat key -> visitor key
    QStringList m_arrivals;             // visitor keys, oldest first
    QTimer *m_arrivalTimer;
    QTimer *m_loadTimer;
    QStringList m_loadChats;
    double m_loadDue = 0;
};
