#include "local/passwordhash.h"

#include <QPasswordDigestor>
#include <QRandomGenerator>
#include <QStringList>

namespace {

constexpr int kKeyBytes = 32;
// A stored form cannot make a check run for long.
constexpr int kMaxIterations = 1000000;

QByteArray derive(const QString &password, const QByteArray &salt, int iterations)
{
    return QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256,
                                              password.toUtf8(),
                                              salt,
                                              iterations,
                                              kKeyBytes);
}

} // namespace

QString PasswordHash::make(const QString &password, int iterations)
{
    QByteArray salt(16, Qt::Uninitialized);
    QRandomGenerator::system()->generate(reinterpret_cast<quint32 *>(salt.data()),
                                         reinterpret_cast<quint32 *>(salt.data() + salt.size()));
    return QStringLiteral("pbkdf2-sha256$%1$%2$%3")
        .arg(iterations)
        .arg(QString::fromLatin1(salt.toBase64()),
             QString::fromLatin1(derive(password, salt, iterations).toBase64()));
}

bool PasswordHash::matches(const QString &password, const QString &stored)
{
    const QStringList parts = stored.split(QLatin1Char('$'));
    if (parts.size() != 4 || parts.at(0) != QLatin1String("pbkdf2-sha256"))
        return false;
    bool ok = false;
    const int iterations = parts.at(1).toInt(&ok);
    const QByteArray salt = QByteArray::fromBase64(parts.at(2).toLatin1());
    const QByteArray expected = QByteArray::fromBase64(parts.at(3).toLatin1());
    if (!ok || iterations < 1 || iterations > kMaxIterations || salt.isEmpty()
        || expected.size() != kKeyBytes)
        return false;
    const QByteArray actual = derive(password, salt, iterations);
    // Constant time, so the comparison does not tell how much of a guess was right.
    unsigned char diff = 0;
    for (int i = 0; i < kKeyBytes; ++i)
        diff |= static_cast<unsigned char>(actual.at(i) ^ expected.at(i));
    return diff == 0;
}
