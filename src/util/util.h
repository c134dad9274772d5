#pragma once

#include <QString>

class QCoreApplication;

// Static helpers shared across the console: language selection and translation, and the
// Russian display texts of times, spans and counts.
class Util
{
public:
    // Language of the system locale ("en" for en_US); languages whose speakers use the Russian
    // interface answer "ru".
    static QString getLang();
    static QString getLang(const QString &localeName);

    // Makes "ru_RU" the default locale when the system language is one of those read in
    // Russian; other languages leave the default untouched.
    static void applyLang();
    static void applyLang(const QString &localeName);

    // Installs Qt's own translation and, unless the language is Russian, the console's.
    // Answers the number of translators installed.
    static int installTranslator(QCoreApplication &app);
    static int installTranslator(QCoreApplication &app, const QString &localeName);
};
