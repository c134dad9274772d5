#pragma once

#include <QString>
#include <QtPlugin>

#include <functional>

// The operating system's keychain (the Secret Service on Linux, the Keychain on macOS), through
// a plug-in (QtKeychainAccess) that the console loads at its first use: the keychain library
// pulls in D-Bus and systemd's libraries, which would otherwise be loaded, at a cost of a
// millisecond, before the console shows anything. Each call answers once, from the event loop.
class KeychainAccess
{
public:
    virtual ~KeychainAccess() = default;
    // found: false when there is no such entry or no keychain.
    virtual void read(const QString &service,
                      const QString &key,
                      std::function<void(bool found, const QString &text)> done)
        = 0;
    virtual void write(const QString &service,
                       const QString &key,
                       const QString &text,
                       std::function<void(bool written)> done)
        = 0;
    virtual void remove(const QString &service, const QString &key) = 0;
};

#define KeychainAccess_iid "local.tallyra.KeychainAccess/1.0"
Q_DECLARE_INTERFACE(KeychainAccess, KeychainAccess_iid)
