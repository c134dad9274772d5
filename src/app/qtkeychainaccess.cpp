#include "app/qtkeychainaccess.h"

#include <qt5keychain/keychain.h>

// The jobs delete themselves once they have finished.

void QtKeychainAccess::read(const QString &service,
                            const QString &key,
                            std::function<void(bool found, const QString &text)> done)
{
    auto *job = new QKeychain::ReadPasswordJob(service);
    job->setKey(key);
    connect(job, &QKeychain::Job::finished, job, [job, done] {
        const bool found = job->error() == QKeychain::NoError;
        done(found, found ? job->textData() : QString());
    });
    job->start();
}

void QtKeychainAccess::write(const QString &service,
                             const QString &key,
                             const QString &text,
                             std::function<void(bool written)> done)
{
    auto *job = new QKeychain::WritePasswordJob(service);
    job->setKey(key);
    job->setTextData(text);
    connect(job, &QKeychain::Job::finished, job, [job, done] {
        done(job->error() == QKeychain::NoError);
    });
    job->start();
}

void QtKeychainAccess::remove(const QString &service, const QString &key)
{
    auto *job = new QKeychain::DeletePasswordJob(service);
    job->setKey(key);
    job->start();
}
