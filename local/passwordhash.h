#pragma once

#include <QString>

// Stored form of the chat API's passwords: salted PBKDF2-HMAC-SHA256, written as
// "pbkdf2-sha256$ITERATIONS$SALT$HASH" (salt and hash in base64), never the password itself.
class PasswordHash
{
public:
    static constexpr int defaultIterations = 10000;

    static QString make(const QString &password, int iterations = defaultIterations);
    // False for a wrong password and for anything that is not a stored form.
    static bool matches(const QString &password, const QString &stored);
};
