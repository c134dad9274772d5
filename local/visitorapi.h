#pragma once

#include "local/chatservice.h"
#include "local/pushidgenerator.h"

#include <QHash>

#include <map>
#include <memory>

class ServiceClock;

// The visitor's side of a chat for the page at "/visitor/": our own small API under
// "/visitor-api/", not the hosted service's. "sites" lists the widgets one can visit; "arrive"
// puts a visitor online on a widget's site and answers a session token; every other call carries
// it as "Authorization: Bearer TOKEN" and acts for that visitor only: "start", "send", "typing",
// "introduce", "read", "leave", "file?name=NAME" (the file as the body) and "poll?since=KEY".
// Answers are JSON; errors are HTTP 4xx with {"error": text}.
class VisitorApi
{
public:
    static constexpr int maxTextLength = 4000;
    static constexpr qint64 maxJsonBytes = 64 * 1024;
    // Requests without an operator's token may not carry more than this (HttpRequestLimits).
    static constexpr qint64 maxFileBytes = 1000 * 1000;

    VisitorApi(ChatApi *api, const ServiceClock *clock);

    // The instance the routes use; LocalService keeps it.
    static std::unique_ptr<VisitorApi> install(ChatApi *api,
                                               const ServiceClock *clock,
                                               HttpRouter &router);
    // Beyond this the oldest session ends (its visitor leaves).
    void setMaxSessions(int count) { m_maxSessions = qMax(1, count); }

    // Bounds of what one client may add.
    static constexpr int maxArrivalsPerMinute = 60; // per peer address
    static constexpr int maxFilesPerSession = 20;

private:
    struct Session
    {
        ChatService::Account account;
        QString visitorKey;
        qint64 widgetId = 0;
        QString chatKey;
        quint64 order = 0;
        int files = 0;
    };
    struct Site
    {
        ChatService::Account account;
        QJsonObject widget; // settings/chat_widgets/ID
    };
    struct ArrivalWindow
    {
        qint64 start = 0;
        int count = 0;
    };
    QVector<Site> enabledSites() const;

    HttpResponse handle(const HttpRequest &request);
    HttpResponse page(const HttpRequest &request) const;
    HttpResponse sites() const;
    HttpResponse arrive(const HttpRequest &request, const QJsonObject &body);
    HttpResponse start(Session &session);
    HttpResponse attach(Session &session, const HttpRequest &request);
    HttpResponse poll(const Session &session, const QString &since) const;
    void end(const QByteArray &token);
    QString path(const Session &session, const QString &rest) const;
    QJsonValue read(const QString &path) const;
    QJsonObject person(const Session &session, const QString &key) const;

    ChatApi *m_api;
    const ServiceClock *m_clock;
    PushIdGenerator m_pushIds;
    QHash<QByteArray, Session> m_sessions;
    QHash<QString, ArrivalWindow> m_arrivalsByPeer; // by peer address
    std::map<quint64, QByteArray> m_arrivals;       // oldest first
    quint64 m_nextOrder = 0;
    int m_maxSessions = 10000;
};
