// AuthSession: the operator's key and short name taken from the users repository, kept current
// as that user changes, and the account settings it answers for (widgets, sounds, tariff).
#include "repotestsupport.h"

#include <QtTest>

using namespace repotest;

class TestAuthSession : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        UsersRepository::init(nullptr);
        AuthSession::init(nullptr);
        m_session = AuthSession::getInstance();
        m_users = UsersRepository::getInstance();
        QVERIFY(m_session);
    }
    void init()
    {
        resetAccount();
        m_session->setuserInfo(JsonParser::getUserInfoFromJson(
            json(R"({"id": 1021, "name": "Анна", "service_id": 12, "account_id": 1840})")));
        m_session->setSettings(JsonParser::getApiChatSettingsFromJson(fixture("chat-client.json")));
    }

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
    AuthSession *m_session = nullptr;
    UsersRepository *m_users = nullptr;
};

QTEST_GUILESS_MAIN(TestAuthSession)
#include "tst_authsession.moc"
