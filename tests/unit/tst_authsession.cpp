// AuthSession: the operator's key and short name taken from the users repository, kept current
// as that user changes, and the account settings it answers for (widgets, sounds, tariff).
#include "repotestsupport.h"

#include <QtTest>

using namespace repotest;

class TestAuthSession : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void shortName_data();
    void shortName();
    void setUserIdAnnouncesEachTime();
    void nameFollowsTheOperatorsRecord();
    void profileSettingsAndFlag();
    void settingsAnswers();
    void soundForWidget_data();
    void soundForWidget();

private:
    AuthSession *m_session = nullptr;
    UsersRepository *m_users = nullptr;
};

void TestAuthSession::initTestCase()
{
    UsersRepository::init(nullptr);
    AuthSession::init(nullptr);
    m_session = AuthSession::getInstance();
    m_users = UsersRepository::getInstance();
    QVERIFY(m_session);
}

void TestAuthSession::init()
{
    resetAccount();
    m_session->setuserInfo(JsonParser::getUserInfoFromJson(
        json(R"({"id": 1021, "name": "Анна", "service_id": 12, "account_id": 1840})")));
    m_session->setSettings(JsonParser::getApiChatSettingsFromJson(fixture("chat-client.json")));
}

void TestAuthSession::shortName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shortName");

    QTest::newRow("three words") << "Anna Maria Petrova"
                                 << "Anna";
    QTest::newRow("one word") << "Anna"
                              << "Anna";
    QTest::newRow("Cyrillic") << "Анна Мария Петрова"
                              << "Анна";
    QTest::newRow("tab is no blank") << "Anna\tMaria"
                                     << "Anna\tMaria";
    QTest::newRow("leading blank") << " Anna"
                                   << "";
    QTest::newRow("empty") << ""
                           << "";
}

void TestAuthSession::shortName()
{
    QFETCH(QString, name);
    QFETCH(QString, shortName);
    m_users->update(streamEvent("/" + Dmitry + "/name", name));
    m_session->setUserId(Dmitry);
    QCOMPARE(m_session->getName(), shortName);
    QCOMPARE(m_session->getUserId(), Dmitry);
}

void TestAuthSession::setUserIdAnnouncesEachTime()
{
    QSignalSpy initialized(m_session, &AuthSession::initialized);
    m_session->setUserId(Anna);
    m_session->setUserId(Anna);
    m_session->setUserId("-NqOpNotThere000000");
    QCOMPARE(initialized.count(), 3);
    QCOMPARE(m_session->getName(), QString());
}

void TestAuthSession::nameFollowsTheOperatorsRecord()
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
}

void TestAuthSession::profileSettingsAndFlag()
{
    QCOMPARE(m_session->getUserInfo().getAccountId(), 1840);
    QCOMPARE(m_session->getSettings(),
             JsonParser::getApiChatSettingsFromJson(fixture("chat-client.json")));
    m_session->setOnlineVisitorEnabled(true);
    QVERIFY(m_session->isOnlineVisitorEnabled());
    m_session->setOnlineVisitorEnabled(false);
    QVERIFY(!m_session->isOnlineVisitorEnabled());
}

void TestAuthSession::settingsAnswers()
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

    QCOMPARE(m_session->getApiChatWidgets().size(), 2);
    QCOMPARE(m_session->getApiChatWidgets().value(Support).getSiteName(),
             QString("help.example.ru"));
    QVERIFY(m_session->isPaidAccount());
    m_session->setSettings(ApiChatSettings());
    QVERIFY(!m_session->isPaidAccount());
    QVERIFY(m_session->getWidgetList().isEmpty());
}

void TestAuthSession::soundForWidget_data()
{
    QTest::addColumn<qint64>("widgetId");
    QTest::addColumn<QString>("sound");

    QTest::newRow("widget's own sound") << Shop << "chat7";
    QTest::newRow("widget without a sound: the default") << Support << "chat1";
    QTest::newRow("unknown widget: the default") << qint64(10999) << "chat1";
    QTest::newRow("the unread reminder's -1: the default") << qint64(-1) << "chat1";
}

void TestAuthSession::soundForWidget()
{
    QFETCH(qint64, widgetId);
    QFETCH(QString, sound);
    QCOMPARE(m_session->getNotificationSoundForWidget(widgetId), sound);
}

QTEST_GUILESS_MAIN(TestAuthSession)
#include "tst_authsession.moc"
