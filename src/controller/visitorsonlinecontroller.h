#pragma once

#include "records/firebasevisitor.h"

#include <QList>
#include <QObject>
#include <QString>

class ChatsRepository;
class NetworkManager;
class UsersRepository;
class VisitorsOnlineView;
class VisitorsRepository;

// Drives the "Посетители онлайн" page: the visitors of the operator's widgets, filtered by
// widget and by whether an operator has talked to them, the last message of each one's dialog,
// the three counters, and writing to a visitor.
class VisitorsOnlineController : public QObject
{
    Q_OBJECT

public:
    enum Category { All = 0, Said = 1, NotSaid = 2 };

    explicit VisitorsOnlineController(QObject *parent = nullptr);

    void installView(VisitorsOnlineView *view);
    qint64 widgetId() const { return m_widgetId; }
    int category() const { return m_category; }

public slots:
    void onVisitorsInitialized();
    void onVisitorAdded(const QString &visitorId);
    void onVisitorChanged(const QString &visitorId);
    void onVisitorRemoved(const QString &visitorId);
    void onChatChanged(const QString &chatId);

    void onLoadWidgets();
    void onSendMessage(const QString &visitorId, const QString &chatId, qint64 widgetId);
    void onUnblockUser(const QString &visitorId);
    void onWidgetChanged(int widgetId);
    void onCategoryChanged(int category);

signals:
    void openChat(QString chatId);

private:
    bool checkVisitor(const FirebaseVisitor &visitor) const;
    bool passes(const FirebaseVisitor &visitor, const QList<qint64> &widgets) const;
    void updateVisitorsCount();
    void showVisitor(const QString &visitorId);
    QList<qint64> countedWidgets() const;

    VisitorsOnlineView *m_view = nullptr;
    VisitorsRepository *m_visitors;
    ChatsRepository *m_chats;
    UsersRepository *m_users;
    NetworkManager *m_network;
    qint64 m_widgetId = 0;
    int m_category = All;
};
