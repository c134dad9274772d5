#include "demoaccount.h"

#include "local/demoseed.h"
#include "repo/authsession.h"
#include "repo/chatrepository.h"
#include "repo/chatsrepository.h"
#include "repo/quickanswersrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"

#include <QFile>

LocalService::Options DemoAccount::demoOptions()
{
    LocalService::Options options;
    options.seed = DemoSeed::build(QStringLiteral("https://127.0.0.1"));
    return options;
}

bool DemoAccount::start(QObject *owner)
{
    if (!local.start())
        return false;
    QFile env(local.service()->envFile());
    if (!env.open(QIODevice::ReadOnly))
        return false;
    for (const QByteArray &line : env.readAll().trimmed().split('\n'))
        qputenv(line.left(line.indexOf('=')).constData(), line.mid(line.indexOf('=') + 1));
    UsersRepository::init(owner);
    ChatsRepository::init(owner);
    ChatRepository::init(owner);
    QuickAnswersRepository::init(owner);
    VisitorsRepository::init(owner);
    AuthSession::init(owner);
    rest.token = QString::fromLatin1(local.service()->signIn(1, 101, operatorKey()).idToken);
    return true;
}

bool DemoAccount::signIn(bool online)
{
    manager = std::make_unique<NetworkManager>();
    if (online)
        manager->setUserOnlineOnStartup();
    manager->authenticate(DemoSeed::operatorLogin, DemoSeed::password);
    return waitUntil([this] { return loaded(); }, 20000);
}

QJsonValue DemoAccount::stored(const QString &accountPath)
{
    return rest.database("GET", path() + accountPath).json;
}

bool DemoAccount::write(const QByteArray &verb, const QString &accountPath, const QString &json)
{
    return rest.database(verb, path() + accountPath, json).status == 200;
}

bool DemoAccount::loaded()
{
    const auto count = [this](const char *collection) {
        return stored(collection).toObject().size();
    };
    return ChatsRepository::getInstance()->getChats().size() == count("chats")
           && UsersRepository::getInstance()->getUsers().size() == count("users")
           && QuickAnswersRepository::getInstance()->getQuickAnswers().size()
                  == count("quick-answers")
           && VisitorsRepository::getInstance()->getVisitors().size() == count("visitors");
}
