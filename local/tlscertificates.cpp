#include "local/tlscertificates.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace {

const char kOpensslConfig[] = R"([req]
distinguished_name = dn
prompt = no
[dn]
CN = placeholder
[authority]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[server]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature, keyEncipherment
extendedKeyUsage = serverAuth
subjectAltName = DNS:localhost, IP:127.0.0.1, IP:::1
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
)";

QSslCertificate loadCertificate(const QString &file)
{
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly))
        return QSslCertificate();
    const QList<QSslCertificate> certificates = QSslCertificate::fromData(in.readAll(), QSsl::Pem);
    return certificates.isEmpty() ? QSslCertificate() : certificates.first();
}

bool expiresSoon(const QSslCertificate &certificate)
{
    return certificate.isNull()
           || certificate.expiryDate() < QDateTime::currentDateTimeUtc().addDays(7);
}

void restrictToOwner(const QString &file)
{
    QFile::setPermissions(file, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
}

} // namespace

TlsCertificates::TlsCertificates(const QString &directory)
    : m_directory(directory)
{}

QString TlsCertificates::caFile() const
{
    return QDir(m_directory).absoluteFilePath(QStringLiteral("ca.pem"));
}

QString TlsCertificates::serverCertificateFile() const
{
    return QDir(m_directory).absoluteFilePath(QStringLiteral("server.pem"));
}

QString TlsCertificates::serverKeyFile() const
{
    return QDir(m_directory).absoluteFilePath(QStringLiteral("server.key"));
}

bool TlsCertificates::runOpenssl(const QStringList &arguments, QString *error) const
{
    const QString openssl = QStandardPaths::findExecutable(QStringLiteral("openssl"));
    if (openssl.isEmpty()) {
        *error = QStringLiteral("openssl not found: it creates the development certificates");
        return false;
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(openssl, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() != 0) {
        *error = QStringLiteral("openssl %1 failed: %2")
                     .arg(arguments.value(0), QString::fromLocal8Bit(process.readAll()).trimmed());
        return false;
    }
    return true;
}

bool TlsCertificates::createAuthority(const QString &config, QString *error) const
{
    const QString key = QDir(m_directory).absoluteFilePath(QStringLiteral("ca.key"));
    const QString certificate = caFile();
    if (!runOpenssl({"req",
                     "-x509",
                     "-config",
                     config,
                     "-extensions",
                     "authority",
                     "-newkey",
                     "ec",
                     "-pkeyopt",
                     "ec_paramgen_curve:prime256v1",
                     "-nodes",
                     "-keyout",
                     key + ".tmp",
                     "-out",
                     certificate + ".tmp",
                     "-days",
                     "3650",
                     "-subj",
                     "/O=Tallyra local service/CN=Tallyra Local Development CA"},
                    error))
        return false;
    restrictToOwner(key + ".tmp");
    QFile::remove(key);
    QFile::remove(certificate);
    return QFile::rename(key + ".tmp", key) && QFile::rename(certificate + ".tmp", certificate);
}

bool TlsCertificates::createServerCertificate(const QString &config, QString *error) const
{
    const QDir dir(m_directory);
    const QString request = dir.absoluteFilePath(QStringLiteral("server.csr.tmp"));
    const QString key = serverKeyFile();
    const QString certificate = serverCertificateFile();
    const QString serial = QStringLiteral("0x%1%2")
                               .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'))
                               .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
    const bool created = runOpenssl({"req",
                                     "-new",
                                     "-config",
                                     config,
                                     "-newkey",
                                     "ec",
                                     "-pkeyopt",
                                     "ec_paramgen_curve:prime256v1",
                                     "-nodes",
                                     "-keyout",
                                     key + ".tmp",
                                     "-out",
                                     request,
                                     "-subj",
                                     "/O=Tallyra local service/CN=localhost"},
                                    error)
                         && runOpenssl({"x509",
                                        "-req",
                                        "-in",
                                        request,
                                        "-CA",
                                        caFile(),
                                        "-CAkey",
                                        dir.absoluteFilePath(QStringLiteral("ca.key")),
                                        "-set_serial",
                                        serial,
                                        "-days",
                                        "825",
                                        "-sha256",
                                        "-extfile",
                                        config,
                                        "-extensions",
                                        "server",
                                        "-out",
                                        certificate + ".tmp"},
                                       error);
    QFile::remove(request);
    if (!created)
        return false;
    restrictToOwner(key + ".tmp");
    QFile::remove(key);
    QFile::remove(certificate);
    return QFile::rename(key + ".tmp", key) && QFile::rename(certificate + ".tmp", certificate);
}

bool TlsCertificates::prepare(QString *error)
{
    if (!QDir().mkpath(m_directory)) {
        *error = QStringLiteral("cannot create %1").arg(m_directory);
        return false;
    }
    const bool needAuthority = expiresSoon(loadCertificate(caFile()))
                               || !QFile::exists(QDir(m_directory).filePath("ca.key"));
    const bool needServer = needAuthority || expiresSoon(loadCertificate(serverCertificateFile()))
                            || !QFile::exists(serverKeyFile());
    if (needAuthority || needServer) {
        QTemporaryDir scratch;
        const QString config = scratch.filePath(QStringLiteral("openssl.cnf"));
        QFile out(config);
        if (!scratch.isValid() || !out.open(QIODevice::WriteOnly)) {
            *error = QStringLiteral("cannot write a temporary openssl configuration");
            return false;
        }
        out.write(kOpensslConfig);
        out.close();
        if (needAuthority && !createAuthority(config, error))
            return false;
        if (!createServerCertificate(config, error))
            return false;
    }

    m_ca = {loadCertificate(caFile())};
    m_certificate = loadCertificate(serverCertificateFile());
    QFile keyFile(serverKeyFile());
    if (keyFile.open(QIODevice::ReadOnly))
        m_key = QSslKey(keyFile.readAll(), QSsl::Ec, QSsl::Pem);
    if (m_ca.first().isNull() || m_certificate.isNull() || m_key.isNull()) {
        *error = QStringLiteral("cannot load the certificates in %1").arg(m_directory);
        return false;
    }
    return true;
}

QSslConfiguration TlsCertificates::serverConfiguration() const
{
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(m_certificate);
    configuration.setPrivateKey(m_key);
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    return configuration;
}
