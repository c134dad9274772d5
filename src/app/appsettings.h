#pragma once

#include <QObject>
#include <QSettings>
#include <QString>

// Process-wide settings: the fixed endpoint values (overridable from the environment for
// development, tests and the local service), the persisted store and the main window's focus.
class AppSettings : public QObject
{
    Q_OBJECT

public:
    enum SendMessageKeySequence {
        EnterToSend = 0,     // Enter sends, Shift+Enter breaks the line
        CtrlEnterToSend = 1, // Control+Enter (Command+Enter on a Mac) sends, Enter breaks the line
    };
    Q_ENUM(SendMessageKeySequence)

    static AppSettings *instance();

    SendMessageKeySequence sendMessageKeySequence() const;
    void setSendMessageKeySequence(const SendMessageKeySequence &sequence);

    QString getApiHost() const { return m_apiHost; }
    QString getFirebaseProject() const { return m_firebaseProject; }
    QString getFirebaseApiKey() const { return m_firebaseApiKey; }
    QString getFirebaseAuthDomain() const { return m_firebaseAuthDomain; }
    QString getFirebaseDatabaseUrl() const { return m_firebaseDatabaseUrl; }
    QString getFirebaseStorageBucket() const { return m_firebaseStorageBucket; }

    // Base URLs of the identity endpoints, the connectivity probe and the update feed.
    QString identityUrl() const { return m_identityUrl; }
    QString tokenUrl() const { return m_tokenUrl; }
    QString probeUrl() const { return m_probeUrl; }
    QString updateFeedUrl() const { return m_updateFeedUrl; }
    // PEM file of extra certificate authorities, empty when none is configured.
    QString caFile() const { return m_caFile; }
    // Number of extra authorities that were added to the default TLS configuration.
    int extraCaCount() const { return m_extraCaCount; }

    bool getMainWindowFocus() const { return m_mainWindowFocus; }

    // Notification sounds on or off ("soundsEnabled", on by default).
    bool soundsEnabled() const;
    void setSoundsEnabled(bool enabled);
    // Cards under messages for the pages they link to ("linkPreviews", on by default).
    bool linkPreviews() const;
    void setLinkPreviews(bool enabled);
    // The interface language chosen in the settings: "ru", "en", or empty for the system's
    // ("language"); it takes effect at the next start.
    QString language() const;
    void setLanguage(const QString &language);
    // The locale name start-up applies for a chosen language; empty for the system's.
    static QString localeForLanguage(const QString &language);

    QSettings &settings() { return m_settings; }

public slots:
    void onMainWindowActiveChanged(bool active);

signals:
    void mainWindowActiveChanged(bool active);
    void linkPreviewsChanged(bool enabled);

private:
    AppSettings();
    void installExtraCertificates();

    QString m_apiHost;
    QString m_firebaseProject;
    QString m_firebaseApiKey;
    QString m_firebaseAuthDomain;
    QString m_firebaseDatabaseUrl;
    QString m_firebaseStorageBucket;
    QString m_identityUrl;
    QString m_tokenUrl;
    QString m_probeUrl;
    QString m_updateFeedUrl;
    QString m_caFile;
    int m_extraCaCount = 0;
    QSettings m_settings;
    bool m_mainWindowFocus = false;
};
