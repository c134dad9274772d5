// UsersRepository: the users snapshot, the merge of "users" events field by field with its
// signals in order, re-authentication on a deleted node, the user keys, the queries, and what
// malformed events do.
#include "repotestsupport.h"

#include <QtTest>

using namespace repotest;

class TestUsersRepository : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void initUsersKeepsOrderAndAnnouncesEveryUser();
    void mergeSetsOnlyTheGivenFields_data();
    void mergeSetsOnlyTheGivenFields();
    void aliasesMergeOneByOne();
    void unknownUserIsAddedThenMerged();
    void onlineOfAnOperatorAnnouncesTheOnlineList_data();
    void onlineOfAnOperatorAnnouncesTheOnlineList();
    void deletedNodeAsksForReauthentication_data();
    void deletedNodeAsksForReauthentication();
    void userKeysAddedAndRemoved();
    void userKeysNumberRemoved();
    void queries();
    void addRemoveAndChangeWholeUsers();
    void nonsenseKeepsOtherUsers();

private:
    UsersRepository *m_users = nullptr;
};

void TestUsersRepository::initTestCase()
{
    UsersRepository::init(nullptr);
    AuthSession::init(nullptr);
    m_users = UsersRepository::getInstance();
    QVERIFY(m_users);
    // A second init keeps the instance every component already holds.
    UsersRepository::init(nullptr);
    QCOMPARE(UsersRepository::getInstance(), m_users);
}

void TestUsersRepository::init()
{
    resetAccount();
}

void TestUsersRepository::initUsersKeepsOrderAndAnnouncesEveryUser()
{
    SignalLog log;
    log.watch(m_users, &UsersRepository::usersOnlineChanged, "usersOnlineChanged");
    log.watch(m_users, &UsersRepository::userChanged, "userChanged");
    log.watch(m_users, &UsersRepository::checkReauth, "checkReauth");
    log.watch(m_users, &UsersRepository::userAdded, "userAdded");
    log.watch(m_users, &UsersRepository::initialized, "initialized");

    // Arrival order, not key order.
    QList<FirebaseUser> users = usersFrom(fixture("users.json"));
    std::reverse(users.begin(), users.end());
    m_users->initUsers(users);

    QStringList expected{"usersOnlineChanged [5 users]"};
    QStringList order;
    for (const FirebaseUser &user : qAsConst(users)) {
        expected << "userChanged " + user.getId() << "checkReauth " + user.getId();
        order << user.getId();
    }
    expected << "initialized";
    QCOMPARE(log.lines(), expected);

    QStringList stored;
    for (const FirebaseUser &user : m_users->getUsers())
        stored << user.getId();
    QCOMPARE(stored, order);
    QCOMPARE(m_users->getUserById(Oleg), users.first());

    m_users->initUsers({});
    QVERIFY(!m_users->hasUser(Anna));
    QVERIFY(m_users->getUsers().isEmpty());
}

void TestUsersRepository::mergeSetsOnlyTheGivenFields_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("value");    // JSON text placed at the path
    QTest::addColumn<QString>("expected"); // the user's whole record afterwards

    // Irina as the snapshot gives her; %1 takes fields that only merges set.
    const QString irina = R"({"name": "Ирина", "online": true, "photo": "", "role": "visitor",
        "hasEmail": false, "integrationType": "vk", "lastActiveAt": 1709631550000 %1})";
    QTest::newRow("one field by its path")
        << "/-NqVisIrina95x31T2/name"
        << R"("Ирина Смирнова")"
        << QString(irina).replace("\"Ирина\"", "\"Ирина Смирнова\"").arg("");
    QTest::newRow("several fields")
        << "/-NqVisIrina95x31T2"
        << R"({"hasEmail": true, "photo": "https://cdn.example/i.jpg", "lastActiveAt": 1709632000000})"
        << QString(irina)
               .replace(R"("hasEmail": false)", R"("hasEmail": true)")
               .replace(R"("photo": "")", R"("photo": "https://cdn.example/i.jpg")")
               .replace("1709631550000", "1709632000000")
               .arg("");
    QTest::newRow("apiId, position, role, integrationType, reauth")
        << "/-NqVisIrina95x31T2"
        << R"({"apiId": 77, "position": "Гость", "role": "operator", "integrationType": "",
              "reauth": true})"
        << QString(irina)
               .replace(R"("role": "visitor")", R"("role": "operator")")
               .replace(R"("integrationType": "vk")", R"("integrationType": "")")
               .arg(R"(, "apiId": 77, "position": "Гость", "reauth": true)");
    QTest::newRow("visitUrl") << "/-NqVisIrina95x31T2/visitUrl"
                              << R"("https://shop.example.ru/")"
                              << QString(irina).arg(R"(, "visitUrl": "https://shop.example.ru/")");
    QTest::newRow("lastActiveAt null is no time")
        << "/-NqVisIrina95x31T2/lastActiveAt"
        << "null" << QString(irina).replace(", \"lastActiveAt\": 1709631550000", "").arg("");
    QTest::newRow("aliases: one added, none removed")
        << "/-NqVisIrina95x31T2/aliases"
        << R"({"10234": {"name": "Ира"}, "10251": null})"
        << QString(irina).arg(R"(, "aliases": {"10234": {"name": "Ира"}})");
}

void TestUsersRepository::mergeSetsOnlyTheGivenFields()
{
    QFETCH(QString, path);
    QFETCH(QString, value);
    QFETCH(QString, expected);

    const QJsonValue given = QJsonDocument::fromJson("[" + value.toUtf8() + "]").array().at(0);
    m_users->update(streamEvent(path, given));

    FirebaseUser want = JsonParser::getFirebaseUserFromJson(
        QJsonDocument::fromJson(expected.toUtf8()).object());
    want.setId(Irina);
    const QJsonObject raw = QJsonDocument::fromJson(expected.toUtf8()).object();
    want.setUrl(raw.value("visitUrl").toString());
    QCOMPARE(m_users->getUserById(Irina), want);
    // The others are untouched.
    QCOMPARE(m_users->getUserById(Anna), usersFrom(fixture("users.json")).first());
}

void TestUsersRepository::aliasesMergeOneByOne()
{
    const FirebaseUser before = m_users->getUserById(Anna);
    m_users->update(streamEvent("/" + Anna + "/aliases/10234/name", "Аня"));
    m_users->update(streamEvent("/" + Anna + "/aliases",
                                json(R"({"10251": null, "10300": {"position": "Стажёр"}})")));

    QMap<QString, FirebaseUserAlias> expected = before.getAliases();
    expected["10234"].setName("Аня");
    expected.remove("10251");
    expected["10300"].setId("10300");
    expected["10300"].setPosition("Стажёр");
    QCOMPARE(m_users->getUserById(Anna).getAliases(), expected);
    QCOMPARE(m_users->getUserById(Anna).getAliasForWidget(Shop).getPosition(),
             QString("Консультант"));

    // A null alias tree changes nothing.
    m_users->update(streamEvent("/" + Anna + "/aliases", QJsonValue::Null));
    QCOMPARE(m_users->getUserById(Anna).getAliases(), expected);
}

void TestUsersRepository::unknownUserIsAddedThenMerged()
{
    SignalLog log;
    log.watch(m_users, &UsersRepository::userAdded, "userAdded");
    log.watch(m_users, &UsersRepository::userChanged, "userChanged");
    log.watch(m_users, &UsersRepository::checkReauth, "checkReauth");
    log.watch(m_users, &UsersRepository::usersOnlineChanged, "usersOnlineChanged");
    // What the new user looks like when userAdded arrives: already there, fields not yet.
    FirebaseUser seenOnAdd;
    connect(m_users, &UsersRepository::userAdded, this, [&](const QString &key) {
        seenOnAdd = m_users->getUserById(key);
    });

    const QString key = "-NqOpOlga1030zz11";
    m_users->update(
        streamEvent("/" + key,
                    json(R"({"apiId": 1030, "name": "Ольга Иванова", "online": true, "role": "operator",
                  "aliases": {"10234": {"name": "Ольга", "position": "Консультант"}}})")));
    disconnect(m_users, nullptr, this, nullptr);

    QCOMPARE(log.lines(),
             QStringList({"userAdded " + key,
                          "usersOnlineChanged [6 users]",
                          "userChanged " + key,
                          "checkReauth " + key}));
    QCOMPARE(seenOnAdd.getId(), key);
    QVERIFY(seenOnAdd.getName().isEmpty());

    const FirebaseUser olga = m_users->getUserById(key);
    QCOMPARE(olga.getName(), QString("Ольга Иванова"));
    QCOMPARE(olga.getApiId(), 1030);
    QCOMPARE(olga.getAliasForWidget(Shop).getName(), QString("Ольга"));
    QCOMPARE(olga.getAliasForWidget(Shop).getId(), QString("10234"));
    QCOMPARE(m_users->getUsers().last().getId(), key);
}

void TestUsersRepository::onlineOfAnOperatorAnnouncesTheOnlineList_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("listAnnounced");

    QTest::newRow("operator goes online") << Dmitry << R"({"online": true})" << true;
    QTest::newRow("operator says online again") << Anna << R"({"online": true})" << true;
    QTest::newRow("visitor goes offline") << Irina << R"({"online": false})" << false;
    QTest::newRow("operator changes name only") << Dmitry << R"({"name": "Дима"})" << false;
}

void TestUsersRepository::onlineOfAnOperatorAnnouncesTheOnlineList()
{
    QFETCH(QString, user);
    QFETCH(QString, value);
    QFETCH(bool, listAnnounced);

    SignalLog log;
    log.watch(m_users, &UsersRepository::usersOnlineChanged, "usersOnlineChanged");
    log.watch(m_users, &UsersRepository::userChanged, "userChanged");
    log.watch(m_users, &UsersRepository::checkReauth, "checkReauth");
    QSignalSpy onlineSpy(m_users, &UsersRepository::usersOnlineChanged);

    m_users->update(streamEvent("/" + user, QJsonDocument::fromJson(value.toUtf8()).object()));

    QStringList expected;
    if (listAnnounced)
        expected << "usersOnlineChanged [5 users]";
    expected << "userChanged " + user << "checkReauth " + user;
    QCOMPARE(log.lines(), expected);
    if (listAnnounced) {
        // The list carries the new state.
        const QList<FirebaseUser> list = onlineSpy.at(0).at(0).value<QList<FirebaseUser>>();
        const auto it = std::find_if(list.begin(), list.end(), [&](const FirebaseUser &u) {
            return u.getId() == user;
        });
        QVERIFY(it != list.end());
        QCOMPARE(it->getOnline(), true);
    }
}

void TestUsersRepository::deletedNodeAsksForReauthentication_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::newRow("null") << QJsonValue(QJsonValue::Null);
    QTest::newRow("empty object") << QJsonValue(QJsonObject());
    QTest::newRow("not an object") << QJsonValue(QStringLiteral("gone"));
}

void TestUsersRepository::deletedNodeAsksForReauthentication()
{
    QFETCH(QJsonValue, value);
    const FirebaseUser before = m_users->getUserById(Anna);
    QVERIFY(!before.getReauth());

    QSignalSpy reauth(m_users, &UsersRepository::checkReauth);
    QSignalSpy changed(m_users, &UsersRepository::userChanged);
    m_users->update(QJsonObject{{Anna, value}});

    QCOMPARE(reauth.count(), 1);
    QCOMPARE(reauth.at(0).at(0).toString(), Anna);
    QCOMPARE(changed.count(), 1);
    FirebaseUser expected = before;
    expected.setReauth(true);
    QCOMPARE(m_users->getUserById(Anna), expected);
}

void TestUsersRepository::userKeysAddedAndRemoved()
{
    SignalLog log;
    log.watch(m_users, &UsersRepository::userChanged, "userChanged");
    log.watch(m_users, &UsersRepository::userRemoved, "userRemoved");

    // A new operator keyed to the support widget, Dmitry unkeyed from it, then keyed twice.
    const QString olga = "-NqOpOlga1030zz11";
    m_users->updateKeys(streamEvent("/10251", json(R"({"-NqOpOlga1030zz11": true,
                                                        "-NqOpDmitry1022aB9": false})")));
    QCOMPARE(m_users->getUserKeys().value(Support), QStringList{olga});
    QCOMPARE(log.lines(), QStringList({"userChanged " + Dmitry, "userChanged " + olga}));

    log.clear();
    m_users->updateKeys(streamEvent("/10251/" + Dmitry, true));
    m_users->updateKeys(streamEvent("/10251/" + Dmitry, true));
    QCOMPARE(m_users->getUserKeys().value(Support), QStringList({olga, Dmitry}));
    QCOMPARE(log.lines(), QStringList{"userChanged " + Dmitry});

    // Null takes the key out like false; an unknown key changes nothing.
    log.clear();
    m_users->updateKeys(streamEvent("/10251/" + olga, QJsonValue::Null));
    m_users->updateKeys(streamEvent("/10251/-NqOpNobody0000000", false));
    QCOMPARE(m_users->getUserKeys().value(Support), QStringList{Dmitry});
    QCOMPARE(log.lines(), QStringList{"userChanged " + olga});
    QVERIFY(m_users->hasUserKey(Support, Dmitry));
    QVERIFY(!m_users->hasUserKey(Support, olga));

    // A number met for the first time.
    m_users->updateKeys(streamEvent("/10300/" + Anna, true));
    QCOMPARE(m_users->getUserKeys().value(10300), QStringList{Anna});
    QCOMPARE(m_users->getUserKeys().value(Shop), QStringList({Anna, Dmitry}));
}

void TestUsersRepository::userKeysNumberRemoved()
{
    QSignalSpy removed(m_users, &UsersRepository::userRemoved);
    m_users->updateKeys(streamEvent("/10234", QJsonValue::Null));
    QCOMPARE(removed.count(), 1);
    QCOMPARE(removed.at(0).at(0).toString(), QString("10234"));
    QVERIFY(!m_users->getUserKeys().contains(Shop));
    QVERIFY(m_users->getUserKeys().contains(Support));
    // The users themselves stay.
    QVERIFY(m_users->hasUser(Anna));
}

void TestUsersRepository::queries()
{
    QVERIFY(m_users->hasUser(Irina));
    QVERIFY(!m_users->hasUser("-NqVisGone000000000"));
    QCOMPARE(m_users->getUserById("-NqVisGone000000000"), FirebaseUser());
    QVERIFY(m_users->isUserOnline(Irina));
    QVERIFY(!m_users->isUserOnline(Oleg));
    QVERIFY(!m_users->isUserOnline("-NqVisGone000000000"));

    QStringList operators;
    for (const FirebaseUser &user : m_users->getOperators())
        operators << user.getId();
    QCOMPARE(operators, QStringList({Anna, Dmitry}));

    // Oleg, a visitor, carries Dmitry's REST id too: he comes later in the list, and is no
    // operator.
    QCOMPARE(m_users->getUserByApiId(1022).getId(), Dmitry);
    m_users->initUsers({m_users->getUserById(Oleg), m_users->getUserById(Dmitry)});
    QCOMPARE(m_users->getUserByApiId(1022).getId(), Oleg);
    QCOMPARE(m_users->getOperatorByApiId(1022).getId(), Dmitry);
    QCOMPARE(m_users->getOperatorByApiId(4040), FirebaseUser());
}

void TestUsersRepository::addRemoveAndChangeWholeUsers()
{
    SignalLog log;
    log.watch(m_users, &UsersRepository::userAdded, "userAdded");
    log.watch(m_users, &UsersRepository::userRemoved, "userRemoved");
    log.watch(m_users, &UsersRepository::userChanged, "userChanged");

    FirebaseUser olga;
    olga.setId("-NqOpOlga1030zz11");
    olga.setName("Ольга");
    m_users->addUser(olga);
    olga.setName("Ольга Иванова");
    m_users->changeUserInfo(olga);
    m_users->addUser(olga); // known: replaced in place
    m_users->removeUser(Irina);
    m_users->removeUser(Irina); // gone already

    QCOMPARE(log.lines(),
             QStringList({"userAdded -NqOpOlga1030zz11",
                          "userChanged -NqOpOlga1030zz11",
                          "userChanged -NqOpOlga1030zz11",
                          "userRemoved " + Irina}));
    QCOMPARE(m_users->getUserById(olga.getId()), olga);
    QVERIFY(!m_users->hasUser(Irina));
    // Positions after the removed user still resolve.
    QCOMPARE(m_users->getUserById(Oleg).getName(), QString("Олег"));
    QCOMPARE(m_users->getUsers().last().getId(), olga.getId());

    FirebaseUser stranger;
    stranger.setId("-NqNobody000000000");
    m_users->changeUserInfo(stranger);
    QVERIFY(!m_users->hasUser(stranger.getId()));
}

void TestUsersRepository::nonsenseKeepsOtherUsers()
{
    const QList<FirebaseUser> before = m_users->getUsers();
    // Wrong types in fields, aliases that are no objects, user keys that are no numbers.
    m_users->update(QJsonObject{
        {Irina,
         QJsonObject{{"online", "yes"},
                     {"aliases", QJsonObject{{"1", 5}, {"2", QJsonValue::Null}}},
                     {"lastActiveAt", QJsonObject{{".sv", "timestamp"}}}}},
        {Maria, QJsonObject{{"aliases", "none"}, {"apiId", QJsonArray{1, 2}}}},
    });
    m_users->updateKeys(QJsonObject{{"widgets", QJsonObject{{Anna, true}}},
                                    {"10234", QJsonArray{Anna}},
                                    {"10251", QJsonObject{{Anna, "maybe"}}}});

    QCOMPARE(m_users->getUserById(Anna), before.at(0));
    QCOMPARE(m_users->getUserById(Dmitry), before.at(1));
    QCOMPARE(m_users->getUserById(Oleg), before.at(4));
    QVERIFY(!m_users->isUserOnline(Irina));
    QVERIFY(m_users->getUserById(Irina).getAliases().isEmpty());
    QVERIFY(!m_users->getUserById(Irina).getLastActiveAt().isValid());
    QCOMPARE(m_users->getUserById(Maria).getApiId(), 0);
    QCOMPARE(m_users->getUserKeys(), JsonParser::getUserKeysFromJson(fixture("user-keys.json")));
    QCOMPARE(m_users->getUsers().size(), before.size());
}

QTEST_GUILESS_MAIN(TestUsersRepository)
#include "tst_usersrepository.moc"
