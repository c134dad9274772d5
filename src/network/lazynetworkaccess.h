#pragma once

#include <functional>

class QNetworkAccessManager;
class QObject;

// A QNetworkAccessManager made at its first use. The process's first manager loads Qt's network
// plugins, about a millisecond that the start-up need not pay: nothing goes over the network
// before the sign-in. Used as the manager itself: `m_manager->get(request)`.
class LazyNetworkAccess
{
public:
    explicit LazyNetworkAccess(QObject *owner,
                               std::function<void(QNetworkAccessManager *)> setUp = {});

    QNetworkAccessManager *get();
    QNetworkAccessManager *operator->() { return get(); }

private:
    QObject *m_owner;
    std::function<void(QNetworkAccessManager *)> m_setUp;
    // Owned by m_owner, so that it goes with it as any child would.
    QNetworkAccessManager *m_manager = nullptr;
};
