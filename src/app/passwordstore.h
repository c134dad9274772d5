#pragma once

#include <QString>

// The saved password of a login: in the operating system's keychain where there is one (the
// Secret Service on Linux, the Keychain on macOS), otherwise in the settings store under
// "password", with a line in the log that says so.
class PasswordStore
{
public:
    // The saved password, or an empty string. A password that an older console kept in the
    // settings store is still found there.
    static QString read(const QString &login);
    // Both return at once; the keychain finishes the work in the background.
    static void write(const QString &login, const QString &password);
    static void remove(const QString &login);
};
