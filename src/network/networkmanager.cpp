#include "network/networkmanager.h"

#include "app/appsettings.h"
#include "network/fileuploader.h"
#include "network/firebaseclient.h"
#include "records/firebasechatmessage.h"
#include "records/firebaseuser.h"
#include "repo/authsession.h"
#include "repo/chatrepository.h"
#include "repo/chatsrepository.h"
#include "repo/quickanswersrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"
#include "util/jsonparser.h"

#include <QDebug>
#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSet>
#include <QTimer>

namespace {

const char kBearer[] = "bearer ";

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// A collection with numeric keys may arrive as an array; it is read by index.
QJsonObject snapshotObject(const FirebaseReply &reply)
{
    const QJsonValue value = reply.getData().value(QLatin1String("d"));
    return value.isArray() ? JsonParser::fromJsonArray(value.toArray()) : value.toObject();
}

} // namespace

QPointer<NetworkManager> NetworkManager::s_instance;

NetworkManager::NetworkManager(QObject *parent)
    : QObject(parent)
    , m_apiHost(AppSettings::instance()->getApiHost())
    , m_manager(this)
    , m_chatRepository(ChatRepository::getInstance())
    , m_chatsRepository(ChatsRepository::getInstance())
    , m_usersRepository(UsersRepository::getInstance())
    , m_quickAnswersRepository(QuickAnswersRepository::getInstance())
    , m_session(AuthSession::getInstance())
    , m_visitorsRepository(VisitorsRepository::getInstance())
{
    qRegisterMetaType<NetworkManager::AuthenticateErrorType>(
        "NetworkManager::AuthenticateErrorType");
    const AppSettings *settings = AppSettings::instance();
    m_firebase = new FirebaseClient(settings->getFirebaseDatabaseUrl(),
                                    settings->getFirebaseApiKey(),
                                    settings->getFirebaseProject(),
                                    settings->getFirebaseAuthDomain(),
                                    this);
    m_firebase->setIdentityUrl(settings->identityUrl());
    m_firebase->setTokenUrl(settings->tokenUrl());
    m_firebase->setProbeUrl(settings->probeUrl());
    connect(m_firebase,
            &FirebaseClient::connectionChanged,
            this,
            &NetworkManager::connectionChanged);
    connect(m_firebase,
            &FirebaseClient::tokenRefreshError,
            this,
            &NetworkManager::tokenRefreshError);
    connect(FileUploader::getInstance(),
            &FileUploader::uploaded,
            this,
            &NetworkManager::onFileUploaded);
    if (m_chatRepository) {
        connect(m_chatRepository,
                &ChatRepository::messageSend,
                this,
                &NetworkManager::onSendMessage);
        connect(m_chatRepository,
                &ChatRepository::messageTextChanged,
                this,
                &NetworkManager::onMessageTextChanged);
    }
    if (!s_instance)
        s_instance = this;
}

NetworkManager::~NetworkManager() = default;

NetworkManager *NetworkManager::instance()
{
    return s_instance;
}

QNetworkRequest NetworkManager::createRequest(const QString &host, const QString &path) const
{
    QNetworkRequest request(QUrl(QStringLiteral("https://") + host + path));
    request.setRawHeader("Content-Type", "application/json");
    if (!m_token.isEmpty())
        request.setRawHeader("Authorization", m_token);
    return request;
}

QNetworkReply *NetworkManager::startRequest(RequestType type,
                                            const QNetworkRequest &request,
                                            const QByteArray &body,
                                            bool getWithBody)
{
    switch (type) {
    case Post:
        return m_manager->post(request, body);
    case Get:
        if (getWithBody && !body.isEmpty())
            return m_manager->sendCustomRequest(request, "GET", body);
        return m_manager->get(request);
    case Delete:
        return m_manager->sendCustomRequest(request, "DELETE");
    case Put:
        return m_manager->put(request, body);
    }
    return nullptr;
}

QJsonObject NetworkManager::sendRequest(RequestType type,
                                        const QString &host,
                                        const QString &path,
                                        const QByteArray &body)
{
    QNetworkReply *reply = startRequest(type, createRequest(host, path), body, false);
    if (!reply)
        return QJsonObject();
    QEventLoop loop;
    QTimer timeout;
    timeout.setSingleShot(true);
    // A stalled service must not freeze the console: the abort finishes the reply as a failure.
    connect(&timeout, &QTimer::timeout, reply, &QNetworkReply::abort);
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    timeout.start(m_requestTimeout);
    if (!reply->isFinished())
        loop.exec();
    return parseReply(reply);
}

QNetworkReply *NetworkManager::sendRequestAsync(RequestType type,
                                                const QString &host,
                                                const QString &path,
                                                const QByteArray &body)
{
    return startRequest(type, createRequest(host, path), body, true);
}

QNetworkReply *NetworkManager::sendApiRequestAsync(RequestType type,
                                                   const QString &path,
                                                   const QByteArray &body)
{
    return sendRequestAsync(type, m_apiHost, path, body);
}

bool NetworkManager::requestFinished(QNetworkReply *reply) const
{
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    return reply->error() == QNetworkReply::NoError && status >= 200 && status < 300;
}

QNetworkReply *NetworkManager::sendApiRequestAsync(RequestType type,
                                                   const QString &path,
                                                   const QJsonObject &body)
{
    return sendApiRequestAsync(type, path, compact(body));
}

QString NetworkManager::errorMessage(const QJsonObject &answer)
{
    const QJsonValue errors = answer.value(QLatin1String("errors"));
    if (errors.isObject() && !errors.toObject().isEmpty()) {
        const QJsonValue first = errors.toObject().constBegin().value();
        const QString text = first.isArray() ? first.toArray().first().toString()
                                             : first.toString();
        if (!text.isEmpty())
            return text;
    }
    if (errors.isUndefined() && answer.value(QLatin1String("status_code")).toInt() < 400)
        return QString();
    return answer.value(QLatin1String("message")).toString();
}

QJsonObject NetworkManager::parseReply(QNetworkReply *reply)
{
    const QByteArray renewed = reply->rawHeader("Authorization");
    if (!renewed.isEmpty())
        m_token = kBearer + renewed;
    QByteArray body;
    // Qt reports 4xx and 5xx as errors but not a redirect or another 1xx/3xx answer, whose body
    // is no answer to the request either.
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->error() != QNetworkReply::NoError) {
        qDebug() << "parseReplay" << reply->errorString();
        qDebug() << "errorCode" << reply->error();
    } else if (status != 0 && (status < 200 || status >= 300)) {
        qDebug() << "parseReplay HTTP" << status;
    } else {
        body = reply->readAll();
    }
    reply->deleteLater();
    return JsonParser::fromString(QString::fromUtf8(body));
}

void NetworkManager::authenticate(const QString &email, const QString &password)
{
    const QJsonObject body{{"email", email}, {"password", password}};
    handleAuthenticationReply(
        sendRequest(Post, m_apiHost, QStringLiteral("/api/auth/login"), compact(body)));
}

void NetworkManager::authenticate(const QString &email, const QString &password, int serviceId)
{
    m_serviceId = serviceId;
    const QJsonObject body{{"email", email}, {"password", password}, {"service_id", serviceId}};
    handleAuthenticationReply(
        sendRequest(Post, m_apiHost, QStringLiteral("/api/auth/login"), compact(body)));
}

void NetworkManager::handleAuthenticationReply(const QJsonObject &reply)
{
    if (reply.isEmpty()) {
        emit authenticateError(0, tr("Ошибка соединения с сервером"), OtherError);
        return;
    }
    const int status = reply.value(QLatin1String("status_code")).toInt();
    if (reply.contains(QLatin1String("errors")) || reply.contains(QLatin1String("status_code"))) {
        const QJsonObject errors = reply.value(QLatin1String("errors")).toObject();
        const QJsonValue email = errors.value(QLatin1String("email"));
        const QJsonValue password = errors.value(QLatin1String("password"));
        if (!email.isUndefined() && !email.isNull())
            emit authenticateError(status, email.toArray().first().toString(), EmailError);
        else if (!password.isUndefined() && !password.isNull())
            emit authenticateError(status, password.toArray().first().toString(), PasswordError);
        else
            emit authenticateError(status,
                                   reply.value(QLatin1String("message")).toString(),
                                   OtherError);
        return;
    }
    if (reply.contains(QLatin1String("services"))) {
        emit needFranchiseSelection(JsonParser::getFranchiseItemsFromJson(reply));
        return;
    }

    m_session->setSettings(JsonParser::getApiChatSettingsFromJson(
        sendRequest(Get, m_apiHost, QStringLiteral("/api/chat/client"))));
    m_userInfo = JsonParser::getUserInfoFromJson(reply.value(QLatin1String("user")).toObject());
    m_session->setuserInfo(m_userInfo);
    emit authenticateSuccess(m_userInfo);

    QString customToken = QString::fromUtf8(m_token);
    const int bearerAt = customToken.indexOf(QLatin1String(kBearer));
    if (bearerAt >= 0)
        customToken.remove(bearerAt, int(qstrlen(kBearer)));
    m_firebase->setToken(customToken.toUtf8());
    FileUploader::getInstance()->setToken(m_token);

    m_firebase->subscribe(accountPath(m_userInfo, "users"), this, "onUserInfo", QString());
    m_firebase->subscribe(accountPath(m_userInfo, "chats"), this, "onFirebaseDialogs", QString());
    m_firebase->subscribe(accountPath(m_userInfo, "quick-answers"),
                          this,
                          "onFirebaseQuickAnswers",
                          QString());
    m_firebase->subscribe(accountPath(m_userInfo, "user-keys"),
                          this,
                          "onFirebaseUserKeys",
                          QString());

    const UserInfo profile = getUserInfo();
    m_session->setOnlineVisitorEnabled(profile.getOnlineVisitorEnabled());
    if (m_session->isOnlineVisitorEnabled())
        m_firebase->subscribe(accountPath(profile, "visitors"),
                              this,
                              "onFirebaseVisitors",
                              QString());
}

QString NetworkManager::accountPath(const UserInfo &user, const QString &collection) const
{
    return QStringLiteral("/services/%1/accounts/%2/%3")
        .arg(user.getServiceId())
        .arg(user.getAccountId())
        .arg(collection);
}

UserInfo NetworkManager::getUserInfo()
{
    const QJsonObject reply = sendRequest(Get, m_apiHost, QStringLiteral("/api/auth/me"));
    return JsonParser::getUserInfoFromJson(reply.value(QLatin1String("user")).toObject());
}

QJsonArray NetworkManager::getUsersInfo()
{
    const QJsonObject reply = sendRequest(Get, m_apiHost, QStringLiteral("/api/auth/me"));
    return reply.value(QLatin1String("users")).toArray();
}

void NetworkManager::getChatInfo(qint64 chatId)
{
    QNetworkReply *reply
        = sendApiRequestAsync(Get, QStringLiteral("/api/chat/client/info/%1").arg(chatId));
    connect(reply, &QNetworkReply::finished, this, &NetworkManager::onUserInfoRequestFinished);
}

void NetworkManager::onUserInfoRequestFinished()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    if (!reply)
        return;
    if (reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 200) {
        reply->deleteLater();
        return;
    }
    emit chatInfo(JsonParser::getApiChatInfoFromJson(parseReply(reply)));
}

void NetworkManager::logout()
{
    const QString userKey = m_session->getUserId();
    if (userKey.isEmpty())
        return;
    m_firebase->put(QStringLiteral("/services/%1/accounts/%2/users/%3/online")
                        .arg(m_userInfo.getServiceId())
                        .arg(m_userInfo.getAccountId())
                        .arg(userKey),
                    "false");
}

void NetworkManager::onUserOnline(bool online)
{
    const QString userKey = m_session->getUserId();
    if (userKey.isEmpty())
        return;
    m_firebase->putAsync(accountPath(m_userInfo, "users/" + userKey + "/online"),
                         online ? "true" : "false");
}

void NetworkManager::connectToChat(const QString &chatId)
{
    m_currentChatId = chatId;
    // A second subscription of the same path is refused by the client, so reopening is harmless.
    m_firebase->subscribe(accountPath(m_userInfo, "chat-messages/" + chatId),
                          this,
                          "onFirebaseChat",
                          QString());
    m_chatRepository->setChatId(chatId);
    readChat(chatId, false);
    readChatMessages(false);
}

void NetworkManager::disconnectFromChat()
{
    m_chatRepository->setConnectedState(false);
    // The typing mark belongs to the chat being left, so it goes before the open chat changes.
    if (m_firebase->unsubscribe(accountPath(m_userInfo, "chat-messages/" + m_currentChatId)))
        onMessageTextChanged(QString());
}

bool NetworkManager::mayRead(const FirebaseChat &chat, bool force) const
{
    return force || chat.getOperators().contains(m_session->getUserId());
}

void NetworkManager::readChat(const QString &chatId, bool force)
{
    const FirebaseChat chat = m_chatsRepository->getChatById(chatId);
    if (!mayRead(chat, force))
        return;
    const QString chatPath = accountPath(m_userInfo, "chats/" + chatId);
    m_firebase->patchAsync(chatPath, compact(QJsonObject{{"unreadCount", 0}}));
    const QString sender = chat.getLastMessage().getSender();
    if (m_usersRepository->getUserById(sender).getRole() == QLatin1String("visitor"))
        m_firebase->patchAsync(chatPath + "/lastMessage", compact(QJsonObject{{"status", "read"}}));
}

void NetworkManager::readChatMessages(bool force)
{
    const QString chatId = m_chatRepository->getChatId();
    const FirebaseChat chat = m_chatsRepository->getChatById(chatId);
    if (!mayRead(chat, force))
        return;
    QJsonObject statuses;
    for (const FirebaseChatMessage &message : m_chatRepository->getMessages()) {
        if (message.getSender() == chat.getVisitor() && message.getStatus() != QLatin1String("read"))
            statuses.insert(message.getId() + "/status", "read");
    }
    if (!statuses.isEmpty())
        m_firebase->patchAsync(accountPath(m_userInfo, "chat-messages/" + chatId),
                               compact(statuses));
}

void NetworkManager::readCurrentChat(bool force)
{
    readChat(m_chatRepository->getChatId(), force);
}

void NetworkManager::disconnectFromAll()
{
    m_firebase->unsubscribeFromAll();
}

// The users, chats and messages handlers skip "keep-alive", the others "keep-event"; the stream
// calls its idle events "keep-live", which no routing below acts on either way. A repository the
// process has not created (a tool that only signs in) is simply not fed.
void NetworkManager::onUserInfo(FirebaseReply reply)
{
    const QString event = reply.getEvent();
    if (!m_usersRepository || event == QLatin1String("keep-alive"))
        return;
    if (event == QLatin1String("init")) {
        const QJsonObject users = reply.getData().value(QLatin1String("d")).toObject();
        const int ownApiId = m_session->getUserInfo().getId();
        QList<FirebaseUser> list;
        for (auto it = users.constBegin(); it != users.constEnd(); ++it) {
            FirebaseUser user = JsonParser::getFirebaseUserFromJson(it.value().toObject());
            user.setId(it.key());
            // The operator's own key must be known before the repository announces the users.
            if (user.getApiId() == ownApiId)
                m_session->setUserId(it.key());
            list.append(user);
        }
        m_usersRepository->initUsers(list);
        if (m_userOnlineOnStartup)
            onUserOnline(true);
    } else if (event == QLatin1String("put") || event == QLatin1String("patch")) {
        m_usersRepository->update(JsonParser::fromFirebaseReply(reply));
    }
}

void NetworkManager::onFirebaseDialogs(FirebaseReply reply)
{
    const QString event = reply.getEvent();
    if (!m_chatsRepository || event == QLatin1String("keep-alive"))
        return;
    if (event == QLatin1String("init")) {
        m_chatsRepository->setTimeOffset(0);
        const QJsonObject data = reply.getData().value(QLatin1String("d")).toObject();
        QList<FirebaseChat> list;
        auto append = [&list](const QJsonObject &chats) {
            for (auto it = chats.constBegin(); it != chats.constEnd(); ++it) {
                FirebaseChat chat = JsonParser::getFirebaseChatFromJson(it.value().toObject());
                chat.setId(it.key());
                list.append(chat);
            }
        };
        const QJsonValue apiId = data.value(QLatin1String("apiId"));
        if (apiId.isNull() || apiId.isUndefined()) {
            append(data);
        } else {
            // The first event was one chat pushed at its own key rather than the whole map.
            const QJsonObject object = JsonParser::fromFirebaseReply(reply);
            append(object);
            m_chatsRepository->update(object);
        }
        m_chatsRepository->initChats(list);
    } else if (event == QLatin1String("put") || event == QLatin1String("patch")) {
        m_chatsRepository->update(JsonParser::fromFirebaseReply(reply));
    }
}

void NetworkManager::onFirebaseChat(FirebaseReply reply)
{
    const QString event = reply.getEvent();
    if (!m_chatRepository || event == QLatin1String("keep-alive"))
        return;
    if (event == QLatin1String("init")) {
        const QJsonObject messages = reply.getData().value(QLatin1String("d")).toObject();
        QList<FirebaseChatMessage> list;
        for (auto it = messages.constBegin(); it != messages.constEnd(); ++it) {
            FirebaseChatMessage message = JsonParser::getFirebaseChatMessageFromJson(
                it.value().toObject());
            message.setId(it.key());
            list.append(message);
        }
        m_chatRepository->initMessages(list);
    } else if (event == QLatin1String("put") || event == QLatin1String("patch")) {
        m_chatRepository->update(JsonParser::fromFirebaseReply(reply));
    }
}

void NetworkManager::onFirebaseQuickAnswers(FirebaseReply reply)
{
    const QString event = reply.getEvent();
    if (!m_quickAnswersRepository || event == QLatin1String("keep-event"))
        return;
    if (event == QLatin1String("init"))
        m_quickAnswersRepository->initializeAnswers(
            JsonParser::getQuickAnswersFromJson(snapshotObject(reply)));
    else if (event == QLatin1String("put") || event == QLatin1String("patch"))
        m_quickAnswersRepository->update(JsonParser::fromFirebaseReply(reply));
}

void NetworkManager::onFirebaseUserKeys(FirebaseReply reply)
{
    const QString event = reply.getEvent();
    if (!m_usersRepository || event == QLatin1String("keep-event"))
        return;
    if (event == QLatin1String("init"))
        m_usersRepository->setUserKeys(JsonParser::getUserKeysFromJson(snapshotObject(reply)));
    else if (event == QLatin1String("put") || event == QLatin1String("patch"))
        m_usersRepository->updateKeys(JsonParser::fromFirebaseReply(reply));
}

void NetworkManager::onFirebaseVisitors(FirebaseReply reply)
{
    const QString event = reply.getEvent();
    if (!m_visitorsRepository || event == QLatin1String("keep-event"))
        return;
    if (event == QLatin1String("init"))
        m_visitorsRepository->initialize(JsonParser::fromFirebaseReply(reply));
    else if (event == QLatin1String("put") || event == QLatin1String("patch"))
        m_visitorsRepository->update(JsonParser::fromFirebaseReply(reply));
}

QJsonObject NetworkManager::visitorRequest(const QString &action, const QString &chatId)
{
    const QJsonObject body{{"chat_id", m_chatsRepository->getChatById(chatId).getApiId()}};
    const QJsonObject reply = sendRequest(Post,
                                          m_apiHost,
                                          QStringLiteral("/api/chat/client/visitor/") + action,
                                          compact(body));
    qDebug() << reply;
    return reply;
}

void NetworkManager::blockUser(const QString &chatId)
{
    visitorRequest(QStringLiteral("block"), chatId);
    // Marked whatever the service answered, so that the other consoles see it at once.
    m_firebase->putAsync(path("chats/" + chatId + "/visitorBlocked"), "true");
}

void NetworkManager::unblockUser(const QString &chatId)
{
    visitorRequest(QStringLiteral("unblock"), chatId);
    visitorRequest(QStringLiteral("unblock_ip"), chatId);
    m_firebase->putAsync(path("chats/" + chatId + "/visitorBlocked"), "false");
}

void NetworkManager::blockIpUser(const QString &chatId)
{
    visitorRequest(QStringLiteral("block_ip"), chatId);
}

void NetworkManager::sendToCrm(const QString &chatId,
                               const QString &name,
                               const QString &email,
                               const QString &phone,
                               const QString &comment)
{
    const QJsonObject body{{"chat_id", m_chatsRepository->getChatById(chatId).getApiId()},
                           {"data",
                            QJsonObject{{"name", name},
                                        {"email", email},
                                        {"phone", phone},
                                        {"comment", comment}}}};
    QNetworkReply *reply = sendApiRequestAsync(Post,
                                               QStringLiteral("/api/chat/client/send_crm"),
                                               compact(body));
    reply->setProperty("chatId", chatId);
    connect(reply, &QNetworkReply::finished, this, &NetworkManager::onSendToCrmFinished);
}

void NetworkManager::onSendToCrmFinished()
{
    auto *reply = qobject_cast<QNetworkReply *>(sender());
    if (!reply)
        return;
    const QString chatId = reply->property("chatId").toString();
    // A refusal's body names the reason; parseReply drops the bodies of failed requests.
    const QJsonObject answer = JsonParser::fromString(QString::fromUtf8(reply->readAll()));
    // The service may also refuse inside a successful answer.
    const bool success = requestFinished(reply) && !answer.contains(QLatin1String("errors"))
                         && answer.value(QLatin1String("status_code")).toInt() < 400;
    parseReply(reply);
    QString message = success ? answer.value(QLatin1String("message")).toString()
                              : errorMessage(answer);
    if (message.isEmpty())
        message = success ? tr("Диалог отправлен в CRM") : tr("Не удалось отправить диалог в CRM");
    emit sendToCrmFinished(chatId, success, message);
}

void NetworkManager::endChat(const QString &chatId)
{
    m_firebase->patchAsync(path("chats/" + chatId), compact(QJsonObject{{"status", "ended"}}));
}

void NetworkManager::noNeedAnswer(const QString &chatId)
{
    const FirebaseChat chat = m_chatsRepository->getChatById(chatId);
    const FirebaseUser self = m_usersRepository->getUserById(m_session->getUserId());
    QString name = self.getAliasForWidget(chat.getWidgetId()).getName();
    // Without an alias on this widget the operator is known by their own name.
    if (name.isEmpty())
        name = self.getName();
    m_firebase->patchAsync(path("chats/" + chatId),
                           compact(QJsonObject{{"noAnswerRequired", true}}));
    const QJsonObject message{{"sender", chat.getRobot()},
                              {"sentAt", QJsonObject{{".sv", "timestamp"}}},
                              {"status", "sent"},
                              {"subType", "not_require_answer"},
                              {"text", tr("%1 нажал \"Не ждет ответа\"").arg(name)},
                              {"type", "system"}};
    m_firebase->pushAsync(path("chat-messages/" + chatId), compact(message));
}

void NetworkManager::postMessage(const QString &chatId, const QJsonObject &message)
{
    const QByteArray json = compact(message);
    m_firebase->pushAsync(path("chat-messages/" + chatId), json);
    m_firebase->putAsync(path("chats/" + chatId + "/lastMessage"), json);
}

namespace {

FirebaseChatMessage ownMessage(const QString &type, const QString &status, const QString &sender)
{
    FirebaseChatMessage message;
    message.setType(type);
    message.setStatus(status);
    message.setSender(sender);
    return message;
}

} // namespace

void NetworkManager::exitChat(const QString &chatId)
{
    const QString self = m_session->getUserId();
    QJsonArray operators;
    for (const QString &key : m_chatsRepository->getChatById(chatId).getOperators()) {
        if (key != self)
            operators.append(key);
    }
    m_firebase->patchAsync(path("chats/" + chatId), compact(QJsonObject{{"operators", operators}}));
    postMessage(chatId, ownMessage("left", "delivered", self).toJson(true));
}

void NetworkManager::addOperatorToChat(const QString &)
{
    const QString chatId = m_currentChatId;
    const QString self = m_session->getUserId();
    const QJsonObject message = ownMessage("joined", "delivered", self).toJson(true);
    QJsonArray operators;
    for (const QString &key : m_chatsRepository->getChatById(chatId).getOperators()) {
        // Listed once, last, even when a stale entry already names the operator.
        if (key != self)
            operators.append(key);
    }
    operators.append(self);
    m_firebase->patchAsync(path("chats/" + chatId),
                           compact(QJsonObject{{"lastMessage", message}, {"operators", operators}}));
    m_firebase->pushAsync(path("chat-messages/" + chatId), compact(message));
    readChatMessages(true);
    readCurrentChat(true);
}

void NetworkManager::inviteOperatorToChat(const QString &chatId, const QString &operatorId)
{
    FirebaseChatMessage message = ownMessage("invitation", "sent", m_session->getUserId());
    message.setTarget(operatorId);
    QStringList notified = m_chatsRepository->getChatById(chatId).getUserToNotification();
    // An empty list stays empty: the invitation then goes out without a notification entry.
    if (!notified.isEmpty() && !notified.contains(operatorId)) {
        notified.append(operatorId);
        QJsonObject entries;
        for (const QString &key : notified)
            entries.insert(key, true);
        m_firebase->putAsync(path("chats/" + chatId + "/userToNotification"), compact(entries));
    }
    postMessage(chatId, message.toJson(true));
}

void NetworkManager::sendPayment(const QString &title,
                                 int quantity,
                                 const QString &amount,
                                 const QString &link,
                                 const QString &currency,
                                 const QString &currencyText,
                                 const QString &paySystem)
{
    qDebug() << "PAY SYSTEM: " << paySystem;
    const QString chatId = m_currentChatId;
    const QJsonObject attributes{{"title", title},
                                 {"quantity", quantity},
                                 {"amount", amount},
                                 {"link", link},
                                 {"currency", currency},
                                 {"currencyText", currencyText},
                                 {"status", "created"},
                                 {"paySystem", paySystem}};
    const QJsonObject message{{"type", "system"},
                              {"sender", m_chatsRepository->getChatById(chatId).getRobot()},
                              {"sentAt", QJsonObject{{".sv", "timestamp"}}},
                              {"status", "delivered"},
                              {"subType", "pay_link"},
                              {"operator", m_session->getUserId()},
                              {"attributes", attributes}};
    m_firebase->pushAsync(path("chat-messages/" + chatId), compact(message));
}

int NetworkManager::openChatMessageCount() const
{
    const QString robot = m_chatsRepository->getChatById(m_chatRepository->getChatId()).getRobot();
    QSet<QString> people;
    for (const FirebaseChatMessage &message : m_chatRepository->getMessages())
        people.insert(message.getSender());
    people.remove(robot);
    return m_chatRepository->getMessageCount(QStringList(people.begin(), people.end()));
}

void NetworkManager::writeMessageCount(const QString &chatId, int count)
{
    m_firebase->putAsync(path("chats/" + chatId + "/messagesCount"), QByteArray::number(count));
}

void NetworkManager::onSendMessage(const QString &text)
{
    const QString chatId = m_currentChatId;
    if (chatId.isEmpty() || text.trimmed().isEmpty())
        return;
    FirebaseChatMessage message = ownMessage("text", "sent", m_session->getUserId());
    message.setText(text);
    message.setSentAt(QDateTime::currentDateTime());
    // The database's clock orders the dialog, whatever this computer's clock says.
    postMessage(chatId, message.toJson(true));
    writeMessageCount(chatId, openChatMessageCount() + 1);
    onMessageTextChanged(QString());
}

void NetworkManager::onFileUploaded(const QString &chatId,
                                    const QString &filename,
                                    const QString &fullpath,
                                    const QString &fileType,
                                    const QString &miniPath,
                                    qint64 size)
{
    FirebaseChatMessage message = ownMessage(QString(), "sent", m_session->getUserId());
    message.setSize(size);
    message.setFilename(filename);
    message.setUrl(fullpath);
    QJsonObject json;
    if (fileType == QLatin1String("image")) {
        message.setType("image");
        message.setPreview(miniPath);
        json = message.toJsonImage();
    } else {
        message.setType("file");
        message.setIcon(miniPath);
        json = message.toJsonFile();
    }
    postMessage(chatId, json);
    writeMessageCount(chatId, openChatMessageCount() + 1);
}

void NetworkManager::onMessageTextChanged(const QString &text)
{
    const QString chatId = m_currentChatId;
    const QString self = m_session->getUserId();
    if (chatId.isEmpty() || self.isEmpty())
        return;
    if (text.isEmpty()) {
        m_firebase->delAsync(path("chats/" + chatId + "/userActivity/" + self));
        return;
    }
    m_firebase->patchAsync(path("chats/" + chatId + "/userText"),
                           compact(QJsonObject{{self, text}}));
    m_firebase->patchAsync(path("chats/" + chatId + "/userActivity"),
                           compact(QJsonObject{{self, "text"}}));
}

namespace {

// Runs of white space become one blank and the ends are trimmed, but line feeds stay: the
// operator's lines are the answer's lines.
QString simplifiedKeepingLines(const QString &text)
{
    QString out;
    out.reserve(text.size());
    bool blank = false;
    for (const QChar c : text) {
        if (c != QLatin1Char('\n') && c.isSpace()) {
            blank = true;
            continue;
        }
        if (blank && !out.isEmpty())
            out += QLatin1Char(' ');
        blank = false;
        out += c;
    }
    return out;
}

} // namespace

void NetworkManager::disposeWhenFinished(QNetworkReply *reply)
{
    // Quick answers come back through their stream; the reply only renews the token.
    connect(reply, &QNetworkReply::finished, this, [this, reply] { parseReply(reply); });
}

void NetworkManager::onCreateNewAnswer(int type, const QString &text, qint64 id)
{
    QJsonObject body{{"message", simplifiedKeepingLines(text)}};
    if (type == 0) {
        body.insert("type", 0);
        body.insert("site_id", QJsonValue::Null);
    } else if (type == 1) {
        body.insert("type", 0);
        body.insert("site_id", id);
    } else if (type == 2) {
        body.insert("type", 1);
        body.insert("user_id", id);
    } else {
        return;
    }
    disposeWhenFinished(
        sendApiRequestAsync(Post, QStringLiteral("/api/chat/client/fast_message"), compact(body)));
}

void NetworkManager::onUpdateAnswer(qint64 id, const QString &text)
{
    disposeWhenFinished(
        sendApiRequestAsync(Put,
                            QStringLiteral("/api/chat/client/fast_message/%1").arg(id),
                            compact(QJsonObject{{"message", text}})));
}

void NetworkManager::onDeleteAnswer(qint64 id)
{
    disposeWhenFinished(
        sendApiRequestAsync(Delete, QStringLiteral("/api/chat/client/fast_message/%1").arg(id)));
}

void NetworkManager::updateChatMessageCount()
{
    const QString chatId = m_chatRepository->getChatId();
    if (!chatId.isEmpty())
        writeMessageCount(chatId, openChatMessageCount());
}
