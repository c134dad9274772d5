#pragma once

#include "app/keychainaccess.h"

#include <QObject>

// The keychain plug-in, on QtKeychain.
class QtKeychainAccess : public QObject, public KeychainAccess
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID KeychainAccess_iid)
    Q_INTERFACES(KeychainAccess)

public:
    void read(const QString &service,
              const QString &key,
              std::function<void(bool found, const QString &text)> done) override;
    void write(const QString &service,
               const QString &key,
               const QString &text,
               std::function<void(bool written)> done) override;
    void remove(const QString &service, const QString &key) override;
};
