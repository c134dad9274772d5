#pragma once

#include "local/chatapi.h"
#include "local/pushidgenerator.h"
#include "local/realtimedatabase.h"

#include <QObject>

class ServiceClock;

// The hosted service's own part in a chat, written into the realtime database as it writes it:
// a visitor opens a chat (or an operator invites one), writes, types, fills the introduction
// form, reads and leaves; an operator's message is marked delivered once the visitor's page has
// it; an ended chat moves to the account's history and leaves "chats" a little later.
class ChatService : public QObject, public DatabaseObserver
{
    Q_OBJECT

public:
    struct Account
    {
        qint64 serviceId = 0;
        qint64 accountId = 0;
    };

    ChatService(ChatApi *api, const ServiceClock *clock, QObject *parent = nullptr);
    ~ChatService() override;

    void install(HttpRouter &router);

    // How long an operator's message waits before it is delivered, and an ended chat before it
    // moves to the history.
    void setDeliveryDelayMs(int milliseconds) { m_deliveryDelayMs = qMax(0, milliseconds); }
    void setArchiveDelayMs(int milliseconds) { m_archiveDelayMs = qMax(0, milliseconds); }

    // The chat's key, or empty when the visitor is unknown. With an operator, the operator opens
    // it (joined); otherwise the widget's robot greets the visitor.
    QString openChat(const Account &account,
                     const QString &visitorKey,
                     const QString &greeting,
                     const QString &operatorKey = QString());
    bool visitorWrites(const Account &account, const QString &chatKey, const QString &text);
    // A message of the visitor's of any kind (a picture, a file): sender, time and status are
    // filled in, and it counts as unread.
    bool visitorPosts(const Account &account, const QString &chatKey, const QJsonObject &message);
    // A message of an operator's or the robot's, as their consoles would push it.
    void postMessage(const Account &account, const QString &chatKey, const QJsonObject &message)
    {
        pushMessage(account, chatKey, message);
    }
    // An empty text: the visitor stopped typing.
    void visitorTypes(const Account &account, const QString &chatKey, const QString &text);
    bool introduce(const Account &account,
                   const QString &chatKey,
                   const QString &name,
                   const QString &email,
                   const QString &phone);
    void visitorReads(const Account &account, const QString &chatKey);
    void visitorLeaves(const Account &account, const QString &visitorKey);

    void databaseEvent(const DatabaseEvent &event) override;

private:
    HttpResponse talk(const ChatApi::Caller &caller, const HttpRequest &request);
    QString path(const Account &account, const QString &rest) const;
    QJsonValue read(const QString &path) const;
    bool write(const QString &path, const QJsonValue &value) const
    {
        return m_api->write(path, value);
    }
    void pushMessage(const Account &account, const QString &chatKey, const QJsonObject &message);
    void deliver(const Account &account, const QString &chatKey, const QString &messageKey);
    void archive(const Account &account, const QString &chatKey);

    ChatApi *m_api;
    const ServiceClock *m_clock;
    PushIdGenerator m_pushIds;
    int m_deliveryDelayMs = 500;
    int m_archiveDelayMs = 5000;
};
