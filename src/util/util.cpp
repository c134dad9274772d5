#include "util/util.h"

#include <QCoreApplication>
#include <QHash>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace {

// Languages whose speakers get the Russian interface. "bb" is kept as it has always been,
// though it is no real language code.
const QHash<QString, QString> &russianLocales()
{
    static const QHash<QString, QString> map{
        {QStringLiteral("uk"), QStringLiteral("ru_RU")},
        {QStringLiteral("kk"), QStringLiteral("ru_RU")},
        {QStringLiteral("bb"), QStringLiteral("ru_RU")},
    };
    return map;
}

QString languageOf(const QString &localeName)
{
    return localeName.section(QLatin1Char('_'), 0, 0);
}

} // namespace

QString Util::getLang()
{
    return getLang(QLocale::system().name());
}

QString Util::getLang(const QString &localeName)
{
    const QString lang = languageOf(localeName);
    const auto it = russianLocales().constFind(lang);
    return it != russianLocales().constEnd() ? languageOf(it.value()) : lang;
}

void Util::applyLang()
{
    applyLang(QLocale::system().name());
}

void Util::applyLang(const QString &localeName)
{
    const auto it = russianLocales().constFind(languageOf(localeName));
    if (it != russianLocales().constEnd())
        QLocale::setDefault(QLocale(it.value()));
}

int Util::installTranslator(QCoreApplication &app)
{
    return installTranslator(app, QLocale::system().name());
}

int Util::installTranslator(QCoreApplication &app, const QString &localeName)
{
    int installed = 0;
    const QString lang = getLang(localeName);

    auto *qtTranslator = new QTranslator(&app);
    const QString qtPath = QLibraryInfo::location(QLibraryInfo::TranslationsPath);
    if (qtTranslator->load(QStringLiteral("qt_") + localeName, qtPath)
        || qtTranslator->load(QStringLiteral("qt_en"), qtPath)) {
        app.installTranslator(qtTranslator);
        ++installed;
    } else {
        delete qtTranslator;
    }

    if (lang != QLatin1String("ru")) {
        auto *translator = new QTranslator(&app);
        if (translator->load(QStringLiteral(":/resources/tr/tallyra_desktop_") + lang
                             + QStringLiteral(".qm"))
            || translator->load(QStringLiteral(":/resources/tr/tallyra_desktop_en.qm"))) {
            app.installTranslator(translator);
            ++installed;
        } else {
            delete translator;
        }
    }
    return installed;
}
