#include "app/passwordstore.h"

#include "app/appsettings.h"

#include <QDebug>
#include <QEventLoop>
#include <QPointer>
#include <QSettings>
#include <QTimer>

#ifdef TALLYRA_HAVE_KEYCHAIN
#include <qt5keychain/keychain.h>
#endif

namespace {

const QString kPassword = QStringLiteral("password");
const QString kService = QStringLiteral("tallyra-chat");
// A keychain that does not answer in this time counts as none.
constexpr int KeychainTimeoutMs = 5000;

QSettings &store()
{
    return AppSettings::instance()->settings();
}

} // namespace

QString PasswordStore::read(const QString &login)
{
#ifdef TALLYRA_HAVE_KEYCHAIN
    if (!login.isEmpty()) {
        // Only the start-up sign-in reads, before the window shows, so a short wait is fine.
        // The job deletes itself when it ends, also after we have stopped waiting for it.
        auto *job = new QKeychain::ReadPasswordJob(kService);
        job->setKey(login);
        QEventLoop loop;
        QString found;
        QObject::connect(job, &QKeychain::Job::finished, &loop, [&loop, &found, job] {
            if (job->error() == QKeychain::NoError)
                found = job->textData();
            loop.quit();
        });
        QTimer::singleShot(KeychainTimeoutMs, &loop, &QEventLoop::quit);
        job->start();
        loop.exec();
        QObject::disconnect(job, nullptr, &loop, nullptr);
        if (!found.isEmpty())
            return found;
    }
#else
    Q_UNUSED(login)
#endif
    return store().value(kPassword).toString();
}

void PasswordStore::write(const QString &login, const QString &password)
{
#ifdef TALLYRA_HAVE_KEYCHAIN
    // Asynchronous: a sign-in never waits for the keychain. Until it answers, the settings
    // store keeps nothing new; a refusal puts the password there instead.
    auto *job = new QKeychain::WritePasswordJob(kService);
    job->setKey(login);
    job->setTextData(password);
    QObject::connect(job, &QKeychain::Job::finished, job, [job, password] {
        if (job->error() == QKeychain::NoError) {
            store().remove(kPassword);
        } else if (store().value(QStringLiteral("saveCreds"), false).toBool()) {
            // Still wanted: the operator has not turned "remember me" off meanwhile.
            qWarning() << "NO KEYCHAIN: THE PASSWORD IS KEPT IN THE SETTINGS STORE";
            store().setValue(kPassword, password);
        }
    });
    job->start();
#else
    Q_UNUSED(login)
    store().setValue(kPassword, password);
#endif
}

void PasswordStore::remove(const QString &login)
{
    store().remove(kPassword);
#ifdef TALLYRA_HAVE_KEYCHAIN
    if (!login.isEmpty()) {
        auto *job = new QKeychain::DeletePasswordJob(kService);
        job->setKey(login);
        job->start();
    }
#else
    Q_UNUSED(login)
#endif
}
