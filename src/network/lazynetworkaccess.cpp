#include "network/lazynetworkaccess.h"

#include <QNetworkAccessManager>

LazyNetworkAccess::LazyNetworkAccess(QObject *owner,
                                     std::function<void(QNetworkAccessManager *)> setUp)
    : m_owner(owner)
    , m_setUp(std::move(setUp))
{}

QNetworkAccessManager *LazyNetworkAccess::get()
{
    if (!m_manager) {
        m_manager = new QNetworkAccessManager(m_owner);
        if (m_setUp)
            m_setUp(m_manager);
    }
    return m_manager;
}
