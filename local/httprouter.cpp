#include "local/httprouter.h"

#include <algorithm>

void HttpRouter::addExact(const QString &path, Handler handler)
{
    m_exact.insert(path, std::move(handler));
}

void HttpRouter::addPrefix(const QString &prefix, Handler handler)
{
    m_prefixes.append({prefix, std::move(handler)});
    std::stable_sort(m_prefixes.begin(), m_prefixes.end(), [](const auto &a, const auto &b) {
        return a.first.size() > b.first.size();
    });
}

void HttpRouter::addSuffix(const QString &suffix, Handler handler)
{
    m_suffixes.append({suffix, std::move(handler)});
}

void HttpRouter::addWebSocket(const QString &path, UpgradeCheck check, UpgradeHandler accepted)
{
    m_webSockets.insert(path, {std::move(check), std::move(accepted)});
}

const HttpRouter::Handler *HttpRouter::find(const QString &path) const
{
    const auto exact = m_exact.constFind(path);
    if (exact != m_exact.constEnd())
        return &exact.value();
    for (const auto &route : m_prefixes) {
        if (path.startsWith(route.first))
            return &route.second;
    }
    for (const auto &route : m_suffixes) {
        if (path.endsWith(route.first))
            return &route.second;
    }
    return nullptr;
}

const HttpRouter::WebSocketRoute *HttpRouter::findWebSocket(const QString &path) const
{
    const auto it = m_webSockets.constFind(path);
    return it == m_webSockets.constEnd() ? nullptr : &it.value();
}
