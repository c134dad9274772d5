#include "app/passwordstore.h"

#include "app/appsettings.h"
#include "app/consoleplugin.h"
#include "app/keychainaccess.h"

#include <QDebug>
#include <QEventLoop>
#include <QPointer>
#include <QSettings>
#include <QTimer>

#include <memory>

namespace {

const QString kPassword = QStringLiteral("password");
const QString kService = QStringLiteral("tallyra-chat");
// A keychain that does not answer in this time counts as none.
constexpr int KeychainTimeoutMs = 5000;

QSettings &store()
{
    return AppSettings::instance()->settings();
}

// Loaded at the first use; null where the keychain plug-in is missing.
KeychainAccess *keychain()
{
    static KeychainAccess *access = qobject_cast<KeychainAccess *>(
        ConsolePlugin::load(QStringLiteral("tallyra_keychain")));
    return access;
}

void keepInSettings(const QString &password)
{
    qWarning() << "NO KEYCHAIN: THE PASSWORD IS KEPT IN THE SETTINGS STORE";
    store().setValue(kPassword, password);
}

} // namespace

QString PasswordStore::read(const QString &login)
{
    KeychainAccess *access = login.isEmpty() ? nullptr : keychain();
    if (access) {
        // Only the start-up sign-in reads, before the window shows, so a short wait is fine.
        // An answer after the wait finds the loop gone and is dropped.
        struct Answer
        {
            bool done = false;
            QString text;
        };
        auto answer = std::make_shared<Answer>();
        QEventLoop loop;
        QPointer<QEventLoop> waiting(&loop);
        access->read(kService, login, [answer, waiting](bool found, const QString &text) {
            answer->done = true;
            answer->text = found ? text : QString();
            if (waiting)
                waiting->quit();
        });
        if (!answer->done) {
            QTimer::singleShot(KeychainTimeoutMs, &loop, &QEventLoop::quit);
            loop.exec();
        }
        if (!answer->text.isEmpty())
            return answer->text;
    }
    return store().value(kPassword).toString();
}

void PasswordStore::write(const QString &login, const QString &password)
{
    KeychainAccess *access = keychain();
    if (!access) {
        keepInSettings(password);
        return;
    }
    // Asynchronous: a sign-in never waits for the keychain. Until it answers, the settings
    // store keeps nothing new; a refusal puts the password there instead.
    access->write(kService, login, password, [password](bool written) {
        if (written)
            store().remove(kPassword);
        else if (store().value(QStringLiteral("saveCreds"), false).toBool())
            // Still wanted: the operator has not turned "remember me" off meanwhile.
            keepInSettings(password);
    });
}

void PasswordStore::remove(const QString &login)
{
    store().remove(kPassword);
    if (KeychainAccess *access = login.isEmpty() ? nullptr : keychain())
        access->remove(kService, login);
}
