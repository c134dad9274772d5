#include "controller/chatcontroller.h"

#include "app/appsettings.h"
#include "controller/chatview.h"
#include "controller/modalprompts.h"
#include "controller/viewconnector.h"
#include "network/fileuploader.h"
#include "network/networkmanager.h"
#include "repo/authsession.h"
#include "repo/chatrepository.h"
#include "repo/chatsrepository.h"
#include "repo/quickanswersrepository.h"
#include "repo/usersrepository.h"
#include "util/jsonparser.h"

#include <QDebug>
#include <QFileInfo>
#include <QNetworkReply>
#include <QWidget>

#include <algorithm>
#include <vector>

QList<FirebaseChatMessage> ChatController::sortMessages(const QList<FirebaseChatMessage> &messages)
{
    std::vector<std::pair<qint64, int>> order;
    order.reserve(size_t(messages.size()));
    for (int i = 0; i < messages.size(); ++i)
        order.emplace_back(messages.at(i).getSentAt().toMSecsSinceEpoch(), i);
    std::stable_sort(order.begin(), order.end(), [](const auto &a, const auto &b) {
        return a.first < b.first;
    });
    QList<FirebaseChatMessage> sorted;
    sorted.reserve(messages.size());
    for (const auto &entry : order)
        sorted.append(messages.at(entry.second));
    return sorted;
}

ChatController::ChatController(QObject *parent)
    : QObject(parent)
    , m_chats(ChatsRepository::getInstance())
    , m_chat(ChatRepository::getInstance())
    , m_users(UsersRepository::getInstance())
    , m_quickAnswers(QuickAnswersRepository::getInstance())
    , m_session(AuthSession::getInstance())
    , m_network(NetworkManager::instance())
    , m_uploader(FileUploader::getInstance())
{
    connect(m_chat, &ChatRepository::initialized, this, &ChatController::onChatInitialized);
    connect(m_chat, &ChatRepository::messageAdded, this, &ChatController::onMessageAdded);
    connect(m_chat, &ChatRepository::messageChanged, this, &ChatController::onMessageChanged);
    connect(m_chats, &ChatsRepository::chatChanged, this, &ChatController::onChatChanged);
    connect(m_users, &UsersRepository::userChanged, this, &ChatController::onUserChanged);
    connect(m_network, &NetworkManager::chatInfo, this, &ChatController::onChatInfo);
}

void ChatController::installView(ChatView *view)
{
    m_view = view;
    QObject *object = viewObject(view);
    connectView(object,
                SIGNAL(connectedToDialog(QString)),
                this,
                SLOT(onConnectedToDialog(QString)));
    connectView(object, SIGNAL(unblockChat()), this, SLOT(onUnblockChat()));
    connectView(object, SIGNAL(sendMessage(QString)), this, SLOT(onSendMessage(QString)));
    connectView(object, SIGNAL(messageChanged(QString)), this, SLOT(onTextChanged(QString)));
    connectView(object, SIGNAL(showQuickAnswers(QString)), this, SLOT(onShowQuickAnswers(QString)));
    connectView(object, SIGNAL(showAllQuickAnswers()), this, SLOT(onShowAllQuickAnswers()));
    connectView(object, SIGNAL(newAnswer(int, QString)), this, SLOT(onNewAnswer(int, QString)));
    connectView(object,
                SIGNAL(editAnswer(qint64, QString)),
                this,
                SLOT(onEditAnswer(qint64, QString)));
    connectView(object, SIGNAL(deleteAnswer(qint64)), this, SLOT(onDeleteAnswer(qint64)));
    connectView(object, SIGNAL(uploadFile(QString)), this, SLOT(onUploadFile(QString)));
    connectView(object, SIGNAL(imageInserted(QImage)), this, SLOT(onImageInserted(QImage)));
    connectView(object,
                SIGNAL(sendPayment(QString, int, QString, QString, QString)),
                this,
                SLOT(onSendPayment(QString, int, QString, QString, QString)));
}

QString ChatController::chatId() const
{
    return m_chat->getChatId();
}

FirebaseChat ChatController::currentChat() const
{
    return m_chats->getChatById(chatId());
}

bool ChatController::isConnected(const FirebaseChat &chat) const
{
    return chat.getOperators().contains(m_session->getUserId());
}

qint64 ChatController::operatorId() const
{
    return m_session->getUserInfo().getId();
}

void ChatController::setConnectedState(bool connected)
{
    m_chat->setConnectedState(connected);
    if (m_view)
        m_view->setConnectedState(connected);
}

void ChatController::clear()
{
    m_siteId = 0;
    if (m_view)
        m_view->clear();
}

void ChatController::markRead()
{
    const QString id = chatId();
    if (id.isEmpty() || !AppSettings::instance()->getMainWindowFocus())
        return;
    m_network->readChat(id, false);
    m_network->readChatMessages(false);
}

void ChatController::onChatInitialized()
{
    if (!m_view)
        return;
    const QList<FirebaseChatMessage> messages = sortMessages(m_chat->getMessages());
    const FirebaseChat chat = currentChat();
    setConnectedState(isConnected(chat));
    m_view->setWidgetId(chat.getWidgetId());
    m_view->setVisitorBlocked(chat.getVisitorBlocked());
    m_view->setVisitor(m_users->getUserById(chat.getVisitor()));
    showTyping(chat);
    m_view->setUploads(m_uploader->getUploadsForChat(chatId()));
    showVisitorState(chat);
    const QString paySystem = m_session->getWidgetById(chat.getWidgetId()).getPaySystem();
    m_view->setPaymentAllowed(!paySystem.isEmpty() && paySystem != QLatin1String("none"));
    m_view->setMessages(messages);
    markRead();
}

void ChatController::onMessageAdded(const QString &messageId)
{
    const FirebaseChatMessage message = m_chat->getMessageById(messageId);
    if (m_view)
        m_view->addMessage(message);
    if (message.getType() == QLatin1String("system")
        && message.getSubtype() == QLatin1String("introduction"))
        emit userIntroduced(message);
    if (m_chat->connectedState())
        markRead();
}

void ChatController::onMessageChanged(const QString &messageId)
{
    if (m_view)
        m_view->updateMessage(m_chat->getMessageById(messageId));
}

void ChatController::onChatChanged(const QString &chatId, bool notify)
{
    Q_UNUSED(notify)
    if (!m_view || chatId.isEmpty() || chatId != this->chatId())
        return;
    const FirebaseChat chat = currentChat();
    m_view->setVisitorBlocked(chat.getVisitorBlocked());
    const bool wasConnected = m_chat->connectedState();
    const bool connected = isConnected(chat);
    setConnectedState(connected);
    showTyping(chat);
    // Joining a chat is reading it.
    if (connected && !wasConnected)
        markRead();
}

void ChatController::showTyping(const FirebaseChat &chat)
{
    QList<ChatTyping> typing;
    const QString own = m_session->getUserId();
    const QMap<QString, QString> activity = chat.getUserActivity();
    for (auto it = activity.constBegin(); it != activity.constEnd(); ++it) {
        if (it.key() == own)
            continue;
        const FirebaseUser user = m_users->getUserById(it.key());
        ChatTyping entry;
        entry.userId = it.key();
        entry.name = user.getAliasForWidget(chat.getWidgetId()).getName();
        // Visitors have no alias of a widget: they go by their own name.
        if (entry.name.isEmpty())
            entry.name = user.getName();
        entry.text = chat.getUserText(it.key());
        entry.visitor = it.key() == chat.getVisitor();
        typing.append(entry);
    }
    m_view->setTyping(typing);
}

void ChatController::showVisitorState(const FirebaseChat &chat)
{
    const FirebaseUser visitor = m_users->getUserById(chat.getVisitor());
    m_view->setVisitorState(visitor.getOnline(), visitor.getHasEmail());
}

void ChatController::onUserChanged(const QString &userId)
{
    if (!m_view || chatId().isEmpty())
        return;
    const FirebaseChat chat = currentChat();
    if (userId != chat.getVisitor())
        return;
    m_view->setVisitor(m_users->getUserById(userId));
    showVisitorState(chat);
}

void ChatController::onChatInfo(const ApiChatInfo &info)
{
    // The info of a chat that is no longer open says nothing of this one.
    if (!m_view || info.getId() != currentChat().getApiId())
        return;
    m_siteId = info.getSiteId();
    showQuickAnswers(QString());
    m_view->setLastHost(info.getVisit().getLastHost());
}

void ChatController::onMainWindowActiveStateChanged(bool active)
{
    if (active && m_chat->connectedState())
        markRead();
}

void ChatController::onConnectedToDialog(const QString &chatId)
{
    emit connectToDialog(chatId.isEmpty() ? this->chatId() : chatId);
}

void ChatController::onUnblockChat()
{
    const QString id = chatId();
    if (id.isEmpty())
        return;
    m_network->unblockUser(id);
    // The panel shows the block from the service's chat info; ask for it again.
    m_network->getChatInfo(currentChat().getApiId());
}

void ChatController::onSendMessage(const QString &text)
{
    if (text.trimmed().isEmpty() || chatId().isEmpty())
        return;
    const FirebaseChat chat = currentChat();
    const FirebaseUser visitor = m_users->getUserById(chat.getVisitor());
    if (!visitor.getOnline() && visitor.getHasEmail() && m_prompts
        && m_prompts->askYesNo(dynamic_cast<QWidget *>(m_view),
                               tr("Отправка на email"),
                               tr("Пользователь сейчас оффлайн. Отправить сообщение на email?"))) {
        QNetworkReply *reply
            = m_network->sendApiRequestAsync(NetworkManager::Post,
                                             QStringLiteral("/api/chat/client/send_to_email"),
                                             QJsonObject{{"chat_id", chat.getApiId()},
                                                         {"message", text}});
        connect(reply, &QNetworkReply::finished, this, [this, reply] {
            const QJsonObject answer = m_network->parseReply(reply);
            qDebug() << "REPLY" << JsonParser::toString(answer);
            const QString refusal = NetworkManager::errorMessage(answer);
            if (m_view && (!refusal.isEmpty() || answer.isEmpty()))
                m_view->showError(refusal.isEmpty() ? tr("Не удалось отправить сообщение на email")
                                                    : refusal);
        });
        return;
    }
    m_chat->sendMessage(text);
}

void ChatController::onTextChanged(const QString &text)
{
    m_chat->sendCurrentMessage(text);
}

void ChatController::showQuickAnswers(const QString &text)
{
    if (m_view)
        m_view->setQuickAnswers(
            m_quickAnswers->getQuickAnswersForText(m_siteId, operatorId(), text));
}

void ChatController::onShowQuickAnswers(const QString &text)
{
    // "/" opens the quick answers from the input; what follows it is the search.
    QString search = text.trimmed();
    if (search.startsWith(QLatin1Char('/')))
        search.remove(0, 1);
    showQuickAnswers(search.trimmed());
}

void ChatController::onShowAllQuickAnswers()
{
    showQuickAnswers(QString());
}

void ChatController::onNewAnswer(int kind, const QString &text)
{
    switch (kind) {
    case 0:
        emit createAnswer(0, text, -1);
        break;
    case 1:
        if (m_siteId <= 0) {
            if (m_view)
                m_view->showError(tr("Сайт диалога ещё не известен: ответ не сохранён"));
            return;
        }
        emit createAnswer(1, text, m_siteId);
        break;
    case 2:
        emit createAnswer(2, text, operatorId());
        break;
    default:
        break;
    }
}

void ChatController::onEditAnswer(qint64 id, const QString &text)
{
    emit updateAnswer(id, text);
}

void ChatController::onDeleteAnswer(qint64 id)
{
    emit deleteAnswer(id);
}

void ChatController::showUpload(FileUploaderNotifier *upload, const QString &name)
{
    if (!m_view)
        return;
    if (upload)
        m_view->addUpload(upload);
    else
        m_view->showError(tr("Не удалось отправить файл %1: он не читается").arg(name));
}

void ChatController::onUploadFile(const QString &path)
{
    qDebug() << "UPLOADING FILE" << path << "to chat" << chatId();
    showUpload(m_uploader->uploadFile(chatId(), path), QFileInfo(path).fileName());
}

void ChatController::onImageInserted(const QImage &image)
{
    showUpload(m_uploader->uploadImage(chatId(), image), tr("изображение"));
}

void ChatController::onSendPayment(const QString &title,
                                   int quantity,
                                   const QString &amount,
                                   const QString &currency,
                                   const QString &currencyText)
{
    qDebug() << "SEND PAYMENT";
    const QString chatId = this->chatId();
    const FirebaseChat chat = currentChat();
    QNetworkReply *reply
        = m_network->sendApiRequestAsync(NetworkManager::Post,
                                         QStringLiteral("/api/chat/client/create_pay_link"),
                                         QJsonObject{{"widget_id", chat.getWidgetId()},
                                                     {"title", title},
                                                     {"quantity", quantity},
                                                     {"amount", amount},
                                                     {"currency", currency}});
    connect(reply, &QNetworkReply::finished, this, [=] {
        const QJsonObject answer = m_network->parseReply(reply);
        const ApiPayment payment = JsonParser::getApiPaymentFromJson(answer);
        // The message goes into the open chat: not into another one opened meanwhile.
        if (!payment.getLink().isEmpty() && chatId == this->chatId()) {
            m_network->sendPayment(title,
                                   quantity,
                                   amount,
                                   payment.getLink(),
                                   currency,
                                   currencyText,
                                   payment.getPaySystem());
            if (m_view)
                m_view->setPaymentResult(true, QString());
            return;
        }
        qDebug() << "ERROR SENDING PAYMENT";
        QString message = NetworkManager::errorMessage(answer);
        if (!payment.getLink().isEmpty())
            message = tr("Диалог закрыт до того, как ссылка была готова");
        if (m_view)
            m_view->setPaymentResult(false,
                                     message.isEmpty() ? tr("Не удалось создать ссылку на оплату")
                                                       : message);
    });
}
