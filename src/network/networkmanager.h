#pragma once

#include "network/firebasereply.h"
#include "network/lazynetworkaccess.h"
#include "records/apichatinfo.h"
#include "records/firebasechat.h"
#include "records/firebaseuser.h"
#include "records/franchiseitem.h"
#include "records/userinfo.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QString>

class AuthSession;
class ChatRepository;
class ChatsRepository;
class FirebaseClient;
class QNetworkAccessManager;
class QNetworkReply;
class QuickAnswersRepository;
class UsersRepository;
class VisitorsRepository;

// The console's one client of the chat service: builds, sends and reads REST requests, signs the
// operator in and then opens the account's realtime subscriptions.
class NetworkManager : public QObject
{
    Q_OBJECT

public:
    enum RequestType { Post = 0, Get = 1, Delete = 3, Put = 4 };
    Q_ENUM(RequestType)

    enum AuthenticateErrorType { EmailError = 0, PasswordError = 1, OtherError = 2 };
    Q_ENUM(AuthenticateErrorType)

    // The first manager created becomes the instance. The repositories and the session must
    // exist before it.
    explicit NetworkManager(QObject *parent = nullptr);
    ~NetworkManager() override;

    static NetworkManager *instance();

    QNetworkRequest createRequest(const QString &host, const QString &path) const;
    // Blocks in a local event loop; a request without an answer within the time-out is aborted
    // and yields an empty object, as does any failure.
    QJsonObject sendRequest(RequestType type,
                            const QString &host,
                            const QString &path,
                            const QByteArray &body = QByteArray());
    QNetworkReply *sendRequestAsync(RequestType type,
                                    const QString &host,
                                    const QString &path,
                                    const QByteArray &body = QByteArray());
    QNetworkReply *sendApiRequestAsync(RequestType type,
                                       const QString &path,
                                       const QByteArray &body = QByteArray());
    // The same with a JSON object as the body.
    QNetworkReply *sendApiRequestAsync(RequestType type,
                                       const QString &path,
                                       const QJsonObject &body);
    bool requestFinished(QNetworkReply *reply) const;
    // The reason the service gives in its error envelope ("errors" first, then "message");
    // empty when the answer is no refusal.
    static QString errorMessage(const QJsonObject &answer);
    // Renews the token from the reply, reads the body and deletes the reply later.
    QJsonObject parseReply(QNetworkReply *reply);

    void authenticate(const QString &email, const QString &password);
    void authenticate(const QString &email, const QString &password, int serviceId);
    UserInfo getUserInfo();
    // The account's operators as the profile reply lists them.
    QJsonArray getUsersInfo();
    void getChatInfo(qint64 chatId);
    void logout();

    // Observes the chat's messages and marks what the operator may read as read.
    void connectToChat(const QString &chatId);
    void disconnectFromChat();
    // force: also in a chat the operator does not take part in.
    void readChat(const QString &chatId, bool force);
    // Every unread visitor message of the open chat, in one multi-path patch.
    void readChatMessages(bool force);
    void readCurrentChat(bool force);
    void disconnectFromAll();

    // Operations on a chat, by its realtime key. The blocking ones wait for the service, which
    // records them; every one writes what the other consoles and the visitor see at once.
    void blockUser(const QString &chatId);
    void unblockUser(const QString &chatId);
    void blockIpUser(const QString &chatId);
    void sendToCrm(const QString &chatId,
                   const QString &name,
                   const QString &email,
                   const QString &phone,
                   const QString &comment);
    void endChat(const QString &chatId);
    void noNeedAnswer(const QString &chatId);
    void exitChat(const QString &chatId);
    // Joins the open chat; the argument is not used.
    void addOperatorToChat(const QString &chatId);
    void inviteOperatorToChat(const QString &chatId, const QString &operatorId);
    // A payment message in the open chat, for a link the service has created.
    void sendPayment(const QString &title,
                     int quantity,
                     const QString &amount,
                     const QString &link,
                     const QString &currency,
                     const QString &currencyText,
                     const QString &paySystem);

    QString getCurrentChatId() const { return m_currentChatId; }
    void setUserOnlineOnStartup() { m_userOnlineOnStartup = true; }

    QByteArray getToken() const { return m_token; }
    FirebaseClient *firebaseClient() const { return m_firebase; }
    // Milliseconds a blocking request waits for its answer (30,000).
    void setRequestTimeout(int milliseconds) { m_requestTimeout = milliseconds; }

public slots:
    void onUserInfoRequestFinished();
    void onUserOnline(bool online);
    void onSendMessage(const QString &text);
    void onFileUploaded(const QString &chatId,
                        const QString &filename,
                        const QString &fullpath,
                        const QString &fileType,
                        const QString &miniPath,
                        qint64 size);
    // The typing indicator: the text being typed, or none.
    void onMessageTextChanged(const QString &text);
    // type 0: for every site, 1: for the site id, 2: the operator's own (id = the operator's).
    void onCreateNewAnswer(int type, const QString &text, qint64 id);
    void onUpdateAnswer(qint64 id, const QString &text);
    void onDeleteAnswer(qint64 id);
    void updateChatMessageCount();
    void onSendToCrmFinished();

    // Realtime events, called queued by name from the subscriptions.
    void onUserInfo(FirebaseReply reply);
    void onFirebaseDialogs(FirebaseReply reply);
    void onFirebaseChat(FirebaseReply reply);
    void onFirebaseQuickAnswers(FirebaseReply reply);
    void onFirebaseUserKeys(FirebaseReply reply);
    void onFirebaseVisitors(FirebaseReply reply);

signals:
    void authenticateError(int errnum,
                           QString errorMessage,
                           NetworkManager::AuthenticateErrorType type);
    void authenticateSuccess(UserInfo userInfo);
    void needFranchiseSelection(QList<FranchiseItem> franchiseList);
    void initUsers(QList<FirebaseUser> users);
    void initDialogs(QList<FirebaseChat> chats);
    void chatInfo(ApiChatInfo info);
    void connectionChanged(bool connected);
    void tokenRefreshError();
    // The service's answer to sendToCrm: its message, or why it refused.
    void sendToCrmFinished(QString chatId, bool success, QString message);

private:
    QNetworkReply *startRequest(RequestType type,
                                const QNetworkRequest &request,
                                const QByteArray &body,
                                bool getWithBody);
    void handleAuthenticationReply(const QJsonObject &reply);
    QString accountPath(const UserInfo &user, const QString &collection) const;
    bool mayRead(const FirebaseChat &chat, bool force) const;
    // "/services/%1/accounts/%2/" + rest, for the signed-in operator.
    QString path(const QString &rest) const { return accountPath(m_userInfo, rest); }
    QJsonObject visitorRequest(const QString &action, const QString &chatId);
    // Pushes the message and makes it the chat's last one.
    void postMessage(const QString &chatId, const QJsonObject &message);
    void writeMessageCount(const QString &chatId, int count);
    void disposeWhenFinished(QNetworkReply *reply);
    // The open chat's messages that count: the people's, not the robot's.
    int openChatMessageCount() const;

    static QPointer<NetworkManager> s_instance;

    QString m_apiHost;
    LazyNetworkAccess m_manager;
    FirebaseClient *m_firebase;
    int m_serviceId = 0;
    QByteArray m_token;
    UserInfo m_userInfo;
    QString m_currentChatId;
    ChatRepository *m_chatRepository;
    ChatsRepository *m_chatsRepository;
    UsersRepository *m_usersRepository;
    QuickAnswersRepository *m_quickAnswersRepository;
    AuthSession *m_session;
    VisitorsRepository *m_visitorsRepository;
    bool m_userOnlineOnStartup = false;
    int m_requestTimeout = 30000;
};
