#include "controller/visitorsonlinecontroller.h"

#include "controller/viewconnector.h"
#include "controller/visitorsonlineview.h"
#include "network/networkmanager.h"
#include "repo/authsession.h"
#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"
#include "util/jsonparser.h"

#include <QDate>
#include <QDebug>
#include <QNetworkReply>
#include <QUrlQuery>

VisitorsOnlineController::VisitorsOnlineController(QObject *parent)
    : QObject(parent)
    , m_visitors(VisitorsRepository::getInstance())
    , m_chats(ChatsRepository::getInstance())
    , m_users(UsersRepository::getInstance())
    , m_network(NetworkManager::instance())
{}

void VisitorsOnlineController::installView(VisitorsOnlineView *view)
{
    m_view = view;
    QObject *object = viewObject(view);
    connectView(object, SIGNAL(loadWidgets()), this, SLOT(onLoadWidgets()));
    connectView(object,
                SIGNAL(sendMessage(QString, QString, qint64)),
                this,
                SLOT(onSendMessage(QString, QString, qint64)));
    connectView(object, SIGNAL(unblockUser(QString)), this, SLOT(onUnblockUser(QString)));
    connectView(object, SIGNAL(widgetChanged(int)), this, SLOT(onWidgetChanged(int)));
    connectView(object, SIGNAL(categoryChanged(int)), this, SLOT(onCategoryChanged(int)));
    // A view made after the snapshot came (the page is made when it first shows) starts full.
    onVisitorsInitialized();
}

QList<qint64> VisitorsOnlineController::countedWidgets() const
{
    return m_widgetId != 0 ? QList<qint64>{m_widgetId}
                           : AuthSession::getInstance()->getWidgetList();
}

bool VisitorsOnlineController::checkVisitor(const FirebaseVisitor &visitor) const
{
    return passes(visitor, countedWidgets());
}

bool VisitorsOnlineController::passes(const FirebaseVisitor &visitor,
                                      const QList<qint64> &widgets) const
{
    // widgets: the chosen one, or all of the operator's.
    if (!widgets.contains(visitor.getChatWidgetId()))
        return false;
    if (m_category == Said)
        return visitor.getSaid();
    if (m_category == NotSaid)
        return !visitor.getSaid();
    return true;
}

void VisitorsOnlineController::updateVisitorsCount()
{
    int said = 0;
    int notSaid = 0;
    m_visitors->getVisitorsCategories(countedWidgets(), said, notSaid);
    if (m_view)
        m_view->setVisitorsCount(said + notSaid, said, notSaid);
}

void VisitorsOnlineController::onVisitorsInitialized()
{
    if (!m_view)
        return;
    // The widget list once, not once per visitor.
    const QList<qint64> widgets = countedWidgets();
    QList<FirebaseVisitor> shown;
    const QHash<QString, FirebaseVisitor> visitors = m_visitors->getVisitors();
    for (const FirebaseVisitor &visitor : visitors) {
        if (passes(visitor, widgets))
            shown.append(visitor);
    }
    m_view->setVisitors(shown);
    for (const FirebaseVisitor &visitor : qAsConst(shown)) {
        if (visitor.getChatCreated())
            onChatChanged(visitor.getChatKey());
    }
    updateVisitorsCount();
}

void VisitorsOnlineController::showVisitor(const QString &visitorId)
{
    updateVisitorsCount();
    if (!m_view)
        return;
    const FirebaseVisitor visitor = m_visitors->getVisitorById(visitorId);
    if (!checkVisitor(visitor)) {
        // A visitor who no longer passes (started talking while "not yet" is chosen) goes.
        m_view->removeVisitor(visitorId);
        return;
    }
    m_view->updateVisitor(visitor);
    if (visitor.getChatCreated())
        onChatChanged(visitor.getChatKey());
}

void VisitorsOnlineController::onVisitorAdded(const QString &visitorId)
{
    showVisitor(visitorId);
}

void VisitorsOnlineController::onVisitorChanged(const QString &visitorId)
{
    showVisitor(visitorId);
}

void VisitorsOnlineController::onVisitorRemoved(const QString &visitorId)
{
    updateVisitorsCount();
    if (m_view)
        m_view->removeVisitor(visitorId);
}

void VisitorsOnlineController::onChatChanged(const QString &chatId)
{
    if (!m_view || chatId.isEmpty())
        return;
    const FirebaseChat chat = m_chats->getChatById(chatId);
    // Every chat's change comes here; only those of the visitors shown matter.
    const FirebaseVisitor visitor = m_visitors->getVisitorById(chat.getVisitor());
    if (visitor.getId().isEmpty() || visitor.getChatKey() != chatId || !checkVisitor(visitor))
        return;
    const FirebaseLastMessage last = chat.getLastMessage();
    const QString alias
        = m_users->getUserById(last.getSender()).getAliasForWidget(chat.getWidgetId()).getName();
    VisitorDialog dialog;
    dialog.chatId = chatId;
    if (last.getSender() == chat.getVisitor())
        dialog.sender = alias;
    else if (chat.getOperators().contains(last.getSender()))
        dialog.sender = tr("Оператор %1").arg(alias);
    else
        dialog.sender = tr("Робот %1").arg(alias);
    const QString type = last.getType();
    if (type == QLatin1String("file"))
        dialog.text = tr("прикрепил файл");
    else if (type == QLatin1String("image"))
        dialog.text = tr("прикрепил изображение");
    else if (type == QLatin1String("joined"))
        dialog.text = tr("подключился к диалогу");
    else if (type == QLatin1String("left"))
        dialog.text = tr("отключился от диалога");
    else
        dialog.text = last.getText();
    dialog.sentAt = last.getSentAt();
    dialog.status = last.getStatus();
    dialog.visitorBlocked = chat.getVisitorBlocked();
    m_view->setDialog(visitor.getId(), dialog);
}

void VisitorsOnlineController::onLoadWidgets()
{
    // Tomorrow holds no dialogs, so the answer is just the widgets.
    const QString tomorrow = QDate::currentDate().addDays(1).toString(QStringLiteral("yyyy-MM-dd"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("filter[date_type]"), QStringLiteral("period"));
    query.addQueryItem(QStringLiteral("filter[date_start]"), tomorrow);
    query.addQueryItem(QStringLiteral("filter[date_end]"), tomorrow);
    QNetworkReply *reply = m_network->sendApiRequestAsync(NetworkManager::Get,
                                                          QStringLiteral(
                                                              "/api/chat/client/history?")
                                                              + query.toString(QUrl::FullyEncoded));
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        const bool finished = m_network->requestFinished(reply);
        const QJsonObject answer = m_network->parseReply(reply);
        const QJsonValue widgets = answer.value(QLatin1String("chat_widgets"));
        if (!finished || !widgets.isArray()) {
            qDebug() << "Error while loading widget list for VisitorsOnlineController:"
                     << JsonParser::toString(answer);
            if (m_view)
                m_view->showError(tr("Не удалось загрузить список виджетов"));
            return;
        }
        if (m_view)
            m_view->setWidgets(JsonParser::getApiChatHistoryWidgetsFromJson(widgets.toArray()));
    });
}

void VisitorsOnlineController::onSendMessage(const QString &visitorId,
                                             const QString &chatId,
                                             qint64 widgetId)
{
    Q_UNUSED(widgetId)
    if (!chatId.isEmpty() && m_chats->chatIsInWork(chatId)) {
        emit openChat(chatId);
        return;
    }
    QNetworkReply *reply = m_network->sendApiRequestAsync(NetworkManager::Post,
                                                          QStringLiteral(
                                                              "/api/chat/client/visitor/talk"),
                                                          QJsonObject{{"visitor", visitorId}});
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        const QJsonObject answer = m_network->parseReply(reply);
        const QString refusal = NetworkManager::errorMessage(answer);
        if (answer.isEmpty() || !refusal.isEmpty()) {
            qDebug() << "Error while creating chat:" << JsonParser::toString(answer);
            if (m_view)
                m_view->showError(refusal.isEmpty() ? tr("Не удалось начать диалог") : refusal);
            return;
        }
        // The operator asked to write: the new chat opens, as a chat in work would.
        const QString chatKey = answer.value(QLatin1String("chat_key")).toString();
        if (!chatKey.isEmpty())
            emit openChat(chatKey);
    });
}

void VisitorsOnlineController::onUnblockUser(const QString &visitorId)
{
    // Blocks are kept per chat: the visitor's chat is the one to unblock.
    const QString chatId = m_visitors->getVisitorById(visitorId).getChatKey();
    if (chatId.isEmpty())
        return;
    m_network->unblockUser(chatId);
    onChatChanged(chatId);
}

void VisitorsOnlineController::onWidgetChanged(int widgetId)
{
    m_widgetId = widgetId;
    onVisitorsInitialized();
}

void VisitorsOnlineController::onCategoryChanged(int category)
{
    m_category = category;
    onVisitorsInitialized();
}
