#include "local/offlinerequestsapi.h"

#include "local/httprouter.h"
#include "local/serviceclock.h"

#include <QJsonArray>
#include <QRegularExpression>

#include <algorithm>
#include <memory>

namespace {

// A field as a spreadsheet reads it: quoted when it holds the separator, a quote or a line
// break, and kept from being taken for a formula (a visitor writes these texts).
QString csvField(QString text)
{
    static const QRegularExpression phone(QStringLiteral("^[+\\-][0-9 ()\\-]*$"));
    if (!text.isEmpty()
        && (QStringLiteral("=@\t\r").contains(text.front())
            || ((text.front() == QLatin1Char('+') || text.front() == QLatin1Char('-'))
                && !phone.match(text).hasMatch())))
        text.prepend(QLatin1Char('\''));
    if (text.contains(QLatin1Char(';')) || text.contains(QLatin1Char('"'))
        || text.contains(QLatin1Char('\n')) || text.contains(QLatin1Char('\r'))) {
        text.replace(QLatin1Char('"'), QStringLiteral("\"\""));
        text = QLatin1Char('"') + text + QLatin1Char('"');
    }
    return text;
}

} // namespace

OfflineRequestsApi::OfflineRequestsApi(const ChatApi *api, const ServiceClock *clock)
    : m_api(api)
    , m_clock(clock)
{}

void OfflineRequestsApi::install(ChatApi *api, const ServiceClock *clock, HttpRouter &router)
{
    const auto self = std::make_shared<OfflineRequestsApi>(api, clock);
    api->addAuthorized(router,
                       QStringLiteral("/api/chat/client/offline_messages"),
                       false,
                       "GET",
                       [self](const ChatApi::Caller &caller, const HttpRequest &request) {
                           return self->list(caller, request);
                       });
    api->addAuthorized(router,
                       QStringLiteral("/api/chat/client/offline_messages/export"),
                       false,
                       "GET",
                       [self](const ChatApi::Caller &caller, const HttpRequest &request) {
                           return self->exportCsv(caller, request);
                       });
}

bool OfflineRequestsApi::select(const ChatApi::Caller &caller,
                                const HttpRequest &request,
                                ApiListFilter *filter,
                                QVector<QJsonObject> *selected,
                                HttpResponse *refusal) const
{
    QJsonObject errors;
    if (!filter->parse(request, m_clock->nowMs(), &errors)) {
        *refusal = ChatApi::envelope(422, 422, QStringLiteral("Проверьте фильтры"), errors);
        return false;
    }
    QVector<QPair<qint64, QJsonObject>> admitted;
    for (const QJsonValue &value :
         m_api->accountRecord(caller, QStringLiteral("offline_messages"))) {
        const QJsonObject message = value.toObject();
        const qint64 at = ApiListFilter::msOf(message.value(QLatin1String("created_at")));
        if (filter->admits(at, ApiListFilter::idOf(message.value(QLatin1String("chat_widget_id")))))
            admitted.append({at, message});
    }
    std::stable_sort(admitted.begin(), admitted.end(), [](const auto &a, const auto &b) {
        return a.first > b.first;
    });
    for (const auto &entry : qAsConst(admitted))
        selected->append(entry.second);
    return true;
}

HttpResponse OfflineRequestsApi::list(const ChatApi::Caller &caller,
                                      const HttpRequest &request) const
{
    ApiListFilter filter;
    QVector<QJsonObject> selected;
    HttpResponse refusal;
    if (!select(caller, request, &filter, &selected, &refusal))
        return refusal;
    QJsonArray page;
    for (int i = filter.pageStart(selected.size()); i < filter.pageEnd(selected.size()); ++i)
        page.append(selected.at(i));
    return HttpResponse::json(200,
                              QJsonObject{{"offline_messages", page},
                                          {"total", selected.size()},
                                          {"pagination", filter.pagination(selected.size())}});
}

HttpResponse OfflineRequestsApi::exportCsv(const ChatApi::Caller &caller,
                                           const HttpRequest &request) const
{
    ApiListFilter filter;
    QVector<QJsonObject> selected;
    HttpResponse refusal;
    if (!select(caller, request, &filter, &selected, &refusal))
        return refusal;
    // Column titles and the members they show.
    static const char *const columns[][2] = {
        {"Дата", "created_at"},
        {"Имя", "name"},
        {"E-mail", "email"},
        {"Телефон", "phone"},
        {"Сообщение", "message"},
        {"Страница", "url"},
        {"Виджет", "chat_widget_name"},
        {"Форма", "type_form"},
        {"IP", "visit_ip"},
        {"Местоположение", "ip_place"},
        {"Источник", "referrer"},
    };
    QStringList lines;
    QStringList cells;
    for (const auto &column : columns)
        cells.append(QString::fromUtf8(column[0]));
    lines.append(cells.join(QLatin1Char(';')));
    for (const QJsonObject &message : qAsConst(selected)) {
        cells.clear();
        for (const auto &column : columns) {
            const QJsonValue value = message.value(QLatin1String(column[1]));
            cells.append(csvField(qstrcmp(column[1], "created_at") == 0
                                      ? ApiListFilter::localTime(ApiListFilter::msOf(value))
                                      : value.toString()));
        }
        lines.append(cells.join(QLatin1Char(';')));
    }
    HttpResponse response(200);
    // The byte order mark tells a spreadsheet that the text is UTF-8.
    response.setBody("\xEF\xBB\xBF" + (lines.join(QStringLiteral("\r\n")) + "\r\n").toUtf8(),
                     "text/csv; charset=utf-8");
    response.setHeader("Content-Disposition", "attachment; filename=\"offline-requests.csv\"");
    return response;
}
