#pragma once

#include <QList>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QString>

// The development certificate authority and the server certificate it signs for "localhost"
// and 127.0.0.1, made with openssl in the data directory when absent and never committed.
class TlsCertificates
{
public:
    explicit TlsCertificates(const QString &directory);

    QString caFile() const;
    QString serverCertificateFile() const;
    QString serverKeyFile() const;

    // Creates what is missing (or about to expire), then loads the server's certificate and key.
    bool prepare(QString *error);

    QSslConfiguration serverConfiguration() const;
    QList<QSslCertificate> caCertificates() const { return m_ca; }

private:
    bool runOpenssl(const QStringList &arguments, QString *error) const;
    bool createAuthority(const QString &config, QString *error) const;
    bool createServerCertificate(const QString &config, QString *error) const;

    QString m_directory;
    QList<QSslCertificate> m_ca;
    QSslCertificate m_certificate;
    QSslKey m_key;
};
