#pragma once

#include "records/apichattariff.h"
#include "records/apichatwidget.h"
#include "records/apiusertosite.h"
#include "records/apiwidget.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QMetaType>
#include <QString>

// The account's chat settings, read once per sign-in.
class ApiChatSettings
{
public:
    // Operator assignments by site (the member names of "sites").
    QMap<QString, QList<ApiUserToSite>> getUsersToSites() const { return m_usersToSites; }
    void setUsersToSites(const QMap<QString, QList<ApiUserToSite>> &usersToSites)
    {
        m_usersToSites = usersToSites;
    }

    ApiWidget getDefaultWidgetSettings() const { return m_defaultWidgetSettings; }
    void setDefaultWidgetSettings(const ApiWidget &defaultWidgetSettings)
    {
        m_defaultWidgetSettings = defaultWidgetSettings;
    }

    QList<ApiWidget> getWidgets() const { return m_widgets; }
    void setWidgets(const QList<ApiWidget> &widgets) { m_widgets = widgets; }

    ApiChatTariff getTariff() const { return m_tariff; }
    void setTariff(const ApiChatTariff &tariff) { m_tariff = tariff; }

    QHash<qint64, ApiChatWidget> getChatWidgets() const { return m_chatWidgets; }
    void setChatWidgets(const QHash<qint64, ApiChatWidget> &chatWidgets)
    {
        m_chatWidgets = chatWidgets;
    }

    void addUserToSites(const QString &site, const QList<ApiUserToSite> &users)
    {
        m_usersToSites.insert(site, users);
    }

    bool operator==(const ApiChatSettings &other) const
    {
        return m_usersToSites == other.m_usersToSites
               && m_defaultWidgetSettings == other.m_defaultWidgetSettings
               && m_widgets == other.m_widgets && m_tariff == other.m_tariff
               && m_chatWidgets == other.m_chatWidgets;
    }
    bool operator!=(const ApiChatSettings &other) const { return !(*this == other); }

private:
    QMap<QString, QList<ApiUserToSite>> m_usersToSites;
    ApiWidget m_defaultWidgetSettings;
    QList<ApiWidget> m_widgets;
    ApiChatTariff m_tariff;
    QHash<qint64, ApiChatWidget> m_chatWidgets;
};

Q_DECLARE_METATYPE(ApiChatSettings)
