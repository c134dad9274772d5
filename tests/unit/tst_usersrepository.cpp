// UsersRepository: the users snapshot, the merge of "users" events field by field with its
// signals in order, re-authentication on a deleted node, the user keys, the queries, and
// whole users added, changed and removed. AuthSession: the operator's key and short name taken
// from the users, kept current as that user changes, and the account settings it answers for
// (widgets, sounds, tariff).
#include "repotestsupport.h"

#include <QtTest>

using namespace repotest;

namespace {

void watchUsers(SignalLog &log)
{
    UsersRepository *users = UsersRepository::getInstance();
    log.watch(users, &UsersRepository::userAdded, "userAdded");
    log.watch(users, &UsersRepository::userRemoved, "userRemoved");
    log.watch(users, &UsersRepository::usersOnlineChanged, "usersOnlineChanged");
    log.watch(users, &UsersRepository::userChanged, "userChanged");
    log.watch(users, &UsersRepository::checkReauth, "checkReauth");
}

} // namespace

class TestUsersRepository : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UsersRepository::init(nullptr);
        AuthSession::init(nullptr);
        m_users = UsersRepository::getInstance();
        m_session = AuthSession::getInstance();
        // A second init keeps the instance every component already holds.
        UsersRepository::init(nullptr);
        QCOMPARE(UsersRepository::getInstance(), m_users);
    }
    void init()
    {
        resetAccount();
        m_session->setuserInfo(JsonParser::getUserInfoFromJson(
            json(R"({"id": 1021, "name": "Анна", "service_id": 12, "account_id": 1840})")));
        m_session->setSettings(JsonParser::getApiChatSettingsFromJson(fixture("chat-client.json")));
    }

    void snapshotKeepsOrderAnnouncesEveryUserAndAnswersInListOrder()
    {
        SignalLog log;
        watchUsers(log);
        log.watch(m_users, &UsersRepository::initialized, "initialized");
        // Arrival order, not key order: Oleg, a visitor who carries Dmitry's REST id too, first.
        QList<FirebaseUser> users = usersFrom(fixture("users.json"));
        std::reverse(users.begin(), users.end());
        m_users->initUsers(users);

        QStringList expected{"usersOnlineChanged [5 users]"};
        for (const FirebaseUser &user : qAsConst(users))
            expected << "userChanged " + user.getId() << "checkReauth " + user.getId();
        QCOMPARE(log.lines(), expected << "initialized");
        QCOMPARE(m_users->getUsers(), users);
        QCOMPARE(m_users->getUserById(Oleg), users.first());
        QCOMPARE(m_users->getUserById("-NqVisGone000000000"), FirebaseUser());
        QVERIFY(!m_users->isUserOnline("-NqVisGone000000000"));
        QCOMPARE(idsOf(m_users->getOperators()), QStringList({Dmitry, Anna}));
        QCOMPARE(m_users->getUserByApiId(1022).getId(), Oleg);
        QCOMPARE(m_users->getOperatorByApiId(1022).getId(), Dmitry);
        QCOMPARE(m_users->getOperatorByApiId(4040), FirebaseUser());
        m_users->initUsers({});
        QVERIFY(!m_users->hasUser(Anna));
        QVERIFY(m_users->getUsers().isEmpty());
    }

    void mergeSetsOnlyTheGivenFields_data()
    {
        // The event's path and value, what it changes in the user's snapshot (blank: the value)
        // and whether usersOnlineChanged comes first.
        QTest::addColumn<QString>("path");
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<QJsonObject>("changes");
        QTest::addColumn<bool>("listed");
        // Name | path | value | changes [| listed], with the parties as letters (repotest::named).
        const char *rows[] = {
            R"(lastActiveAt null is no time | /I/lastActiveAt | null | {"lastActiveAt": null})",
            R"(alias field by its path | /A/aliases/10234/name | "Аня" | {"aliases": {"10234": {"name": "Аня"}}})",
            R"(aliases one by one | /A/aliases | {"10251": null, "10300": {"position": "Стажёр"}}
                | {"aliases": {"10251": null, "10300": {"position": "Стажёр"}}})",
            R"(null alias tree changes nothing | /A/aliases | null | {})",
            R"(wrong types converted | /I | {"online": "yes", "lastActiveAt": {".sv": "timestamp"},
                "aliases": {"1": 5, "2": null}} | {"online": false, "lastActiveAt": null})",
            R"(no aliases object, no apiId number | /A | {"aliases": "none", "apiId": [1, 2]} | {"apiId": 0})",
            R"(operator goes online | /D/online | true | {"online": true} | listed)",
            R"(operator says online again | /A | {"online": true} | {} | listed)",
            R"(node deleted: reauthenticate | /A | null | {"reauth": true})",
            R"(node emptied: reauthenticate | /A | {} | {"reauth": true})",
            R"(node no object: reauthenticate | /A | "gone" | {"reauth": true})",
            R"(unknown user added, then merged | /-NqOpOlga1030zz11 | {"apiId": 1030, "name": "Ольга",
                "online": true, "role": "operator", "aliases": {"10234": {"name": "Оля"}}} | | listed)",
        };
        for (const char *row : rows) {
            const QStringList cells = named(row).split('|');
            QTest::newRow(qPrintable(cells.at(0).trimmed()))
                << cells.at(1).trimmed() << jsonValue(cells.at(2))
                << jsonValue(cells.at(3).trimmed().isEmpty() ? cells.at(2) : cells.at(3)).toObject()
                << (cells.size() > 4);
        }
        // Each field alone, to a value Irina does not have: merged under its own key only.
        const QJsonObject fields = json(R"({"apiId": 77, "hasEmail": true, "integrationType": "",
            "lastActiveAt": 1709632000000, "name": "Ира", "online": false, "photo": "i.jpg",
            "position": "Гость", "reauth": true, "role": "operator", "visitUrl": "shop.example.ru/sale"})");
        for (auto it = fields.begin(); it != fields.end(); ++it)
            QTest::addRow("%s alone, by its path", qPrintable(it.key()))
                << "/" + Irina + "/" + it.key() << *it << QJsonObject{{it.key(), *it}} << false;
    }
    void mergeSetsOnlyTheGivenFields()
    {
        QFETCH(QString, path);
        QFETCH(QJsonValue, value);
        QFETCH(QJsonObject, changes);
        QFETCH(bool, listed);
        const QString key = path.section('/', 1, 1);
        QList<FirebaseUser> expected = m_users->getUsers();
        const int at = idsOf(expected).indexOf(key);
        SignalLog log;
        watchUsers(log);
        QSignalSpy online(m_users, &UsersRepository::usersOnlineChanged);
        // A receiver of userAdded finds the user there, with no fields yet.
        FirebaseUser seenOnAdd;
        connect(m_users, &UsersRepository::userAdded, this, [&](const QString &added) {
            seenOnAdd = m_users->getUserById(added);
        });
        m_users->update(streamEvent(path, value));
        disconnect(m_users, nullptr, this, nullptr);

        FirebaseUser want = usersFrom(
            {{key, merged(fixture("users.json").value(key).toObject(), changes)}})[0];
        want.setUrl(changes.value("visitUrl").toString());
        QCOMPARE(m_users->getUserById(key), want);
        QCOMPARE(m_users->isUserOnline(key), want.getOnline());
        // The others untouched, and a new user last.
        at < 0 ? expected.append(want) : void(expected[at] = want);
        QCOMPARE(m_users->getUsers(), expected);

        QStringList lines;
        if (at < 0)
            lines << "userAdded " + key;
        if (listed)
            lines << QString("usersOnlineChanged [%1 users]").arg(expected.size());
        QCOMPARE(log.lines(), lines << "userChanged " + key << "checkReauth " + key);
        if (listed)
            QCOMPARE(online.at(0).at(0).value<QList<FirebaseUser>>(), expected);
        QCOMPARE(seenOnAdd.getId() + seenOnAdd.getName(), at < 0 ? key : QString());
    }

    void userKeys()
    {
        SignalLog log;
        watchUsers(log);
        const QString olga = "-NqOpOlga1030zz11";
        // Not user keys: a key no number, a number with no object, a flag no bool.
        m_users->updateKeys(QJsonObject{{"widgets", QJsonObject{{Anna, true}}},
                                        {"10234", QJsonArray{Anna}},
                                        {"10251", QJsonObject{{Anna, "maybe"}}}});
        // A new operator keyed to the support widget and Dmitry unkeyed; keyed again, twice.
        m_users->updateKeys(streamEvent("/10251", json(R"({"-NqOpOlga1030zz11": true,
                                                            "-NqOpDmitry1022aB9": false})")));
        m_users->updateKeys(streamEvent("/10251/" + Dmitry, true));
        m_users->updateKeys(streamEvent("/10251/" + Dmitry, true));
        // Null takes a key out like false; an unknown key changes nothing.
        m_users->updateKeys(streamEvent("/10234/" + Anna, QJsonValue::Null));
        m_users->updateKeys(streamEvent("/10251/-NqOpNobody0000000", false));
        QVERIFY(!m_users->hasUserKey(Shop, Anna));
        // A number met for the first time, and one taken out whole: the users stay.
        m_users->updateKeys(streamEvent("/10300/" + Anna, true));
        m_users->updateKeys(streamEvent("/10234", QJsonValue::Null));

        QStringList expected;
        for (const QString &key : {Dmitry, olga, Dmitry, Anna, Anna})
            expected << "userChanged " + key;
        QCOMPARE(log.lines(), expected << "userRemoved 10234");
        QCOMPARE(m_users->getUserKeys(),
                 (QHash<qint64, QStringList>{{Support, {olga, Dmitry}}, {10300, {Anna}}}));
        QVERIFY(m_users->hasUserKey(Support, Dmitry) && !m_users->hasUserKey(Shop, Dmitry));
        QVERIFY(m_users->hasUser(Anna));
    }

    void addRemoveAndChangeWholeUsers()
    {
        SignalLog log;
        watchUsers(log);
        FirebaseUser olga;
        olga.setId("-NqOpOlga1030zz11");
        olga.setName("Ольга");
        m_users->addUser(olga);
        olga.setName("Ольга Иванова");
        m_users->changeUserInfo(olga);
        m_users->addUser(olga); // known: replaced in place
        m_users->removeUser(Irina);
        m_users->removeUser(Irina); // gone already
        FirebaseUser stranger;
        stranger.setId("-NqNobody000000000");
        m_users->changeUserInfo(stranger);

        QCOMPARE(log.lines(),
                 QStringList({"userAdded " + olga.getId(),
                              "userChanged " + olga.getId(),
                              "userChanged " + olga.getId(),
                              "userRemoved " + Irina}));
        // Positions after the removed user still resolve.
        QCOMPARE(idsOf(m_users->getUsers()), QStringList({Anna, Dmitry, Maria, Oleg, olga.getId()}));
        QCOMPARE(m_users->getUserById(Oleg).getName(), QString("Олег"));
        QCOMPARE(m_users->getUserById(olga.getId()), olga);
    }

    // AuthSession.
    void shortName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("shortName");
        // The first word before a space; a tab is no blank.
        for (const auto &[name, shortName] : {std::pair("Anna Maria Petrova", "Anna"),
                                              std::pair("Anna", "Anna"),
                                              std::pair("Анна Мария Петрова", "Анна"),
                                              std::pair("Anna\tMaria", "Anna\tMaria"),
                                              std::pair(" Anna", ""),
                                              std::pair("", "")})
            QTest::addRow("'%s'", name) << QString(name) << QString(shortName);
    }
    void shortName()
    {
        QFETCH(QString, name);
        QFETCH(QString, shortName);
        m_users->update(streamEvent("/" + Dmitry + "/name", name));
        QSignalSpy initialized(m_session, &AuthSession::initialized);
        m_session->setUserId(Dmitry);
        QCOMPARE(m_session->getName(), shortName);
        QCOMPARE(m_session->getUserId(), Dmitry);
        QCOMPARE(initialized.count(), 1);
    }

    void nameFollowsTheOperatorsRecord()
    {
        QCOMPARE(m_session->getName(), QString("Анна"));
        QSignalSpy initialized(m_session, &AuthSession::initialized);
        m_users->update(streamEvent("/" + Anna + "/name", "Аня Петрова"));
        QCOMPARE(m_session->getName(), QString("Аня"));
        // Another operator's change leaves the name alone, even one that would fit it.
        m_users->update(streamEvent("/" + Dmitry + "/name", "Дмитрий Соколов"));
        m_session->onUserChanged(Dmitry);
        QCOMPARE(m_session->getName(), QString("Аня"));
        // The user list replaced as a whole announces every user, the operator too.
        QList<FirebaseUser> users = usersFrom(fixture("users.json"));
        users[0].setName("Анна-Мария");
        m_users->initUsers(users);
        QCOMPARE(m_session->getName(), QString("Анна-Мария"));
        QCOMPARE(initialized.count(), 0);
        // Setting the key announces itself each time, the same key too; an unknown one has no name.
        m_session->setUserId(Anna);
        m_session->setUserId("-NqOpNotThere000000");
        QCOMPARE(initialized.count(), 2);
        QCOMPARE(m_session->getName(), QString());
    }

    void settingsAnswers()
    {
        QCOMPARE(m_session->getWidgetById(Shop).getPaySystem(), QString("yookassa"));
        QCOMPARE(m_session->getWidgetById(Support).getName(), QString("Поддержка"));
        QCOMPARE(m_session->getWidgetById(10999), ApiWidget());
        const QList<ApiUserToSite> shopSite = m_session->getUserToSites(3120);
        QCOMPARE(shopSite.size(), 2);
        QCOMPARE(shopSite.at(1).getUserId(), quint64(1022));
        QVERIFY(m_session->getUserToSites(4000).isEmpty());

        // The widgets of the signed-in operator (REST id 1021), each once; then of 1022.
        QCOMPARE(m_session->getWidgetList(), QList<qint64>({Shop, Support}));
        UserInfo dmitry = m_session->getUserInfo();
        dmitry.setId(1022);
        m_session->setuserInfo(dmitry);
        QCOMPARE(m_session->getWidgetList(), QList<qint64>({Shop, 10260}));

        QVERIFY(m_session->isPaidAccount());
        m_session->setSettings(ApiChatSettings());
        QVERIFY(!m_session->isPaidAccount());
        QVERIFY(m_session->getWidgetList().isEmpty());
    }

    void soundForWidget_data()
    {
        QTest::addColumn<qint64>("widgetId");
        QTest::addColumn<QString>("sound");
        // The widget's own sound, else the account's default (also for the unread reminder's -1).
        for (const auto &[widgetId, sound] :
             {std::pair(Shop, "chat7"), std::pair(Support, "chat1"), std::pair(qint64(-1), "chat1")})
            QTest::addRow("%lld", widgetId) << widgetId << QString(sound);
    }
    void soundForWidget()
    {
        QFETCH(qint64, widgetId);
        QFETCH(QString, sound);
        QCOMPARE(m_session->getNotificationSoundForWidget(widgetId), sound);
    }

private:
    UsersRepository *m_users = nullptr;
    AuthSession *m_session = nullptr;
};

QTEST_GUILESS_MAIN(TestUsersRepository)
#include "tst_usersrepository.moc"
