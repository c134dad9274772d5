#include "records/firebasechatmessage.h"

#include <QJsonValue>

namespace {

// The database replaces this object by its own clock when it stores the value, so every
// console and the visitor's widget order messages by one clock.
QJsonObject serverTimestamp()
{
    return QJsonObject{{QStringLiteral(".sv"), QStringLiteral("timestamp")}};
}

} // namespace

QJsonObject FirebaseChatMessage::toJson(bool serverTime) const
{
    QJsonObject json;
    json.insert(QStringLiteral("sender"), m_sender);
    json.insert(QStringLiteral("status"), m_status);
    json.insert(QStringLiteral("type"), m_type);
    if (m_type == QLatin1String("invitation")) {
        json.insert(QStringLiteral("target"), m_target);
        json.insert(QStringLiteral("sentAt"), serverTimestamp());
        return json;
    }
    json.insert(QStringLiteral("text"), m_text);
    // A message that never got a time of its own takes the server's rather than the epoch.
    if (serverTime || !m_sentAt.isValid())
        json.insert(QStringLiteral("sentAt"), serverTimestamp());
    else
        json.insert(QStringLiteral("sentAt"), m_sentAt.toMSecsSinceEpoch());
    return json;
}

QJsonObject FirebaseChatMessage::toJsonFile() const
{
    QJsonObject json;
    json.insert(QStringLiteral("sender"), m_sender);
    json.insert(QStringLiteral("sentAt"), serverTimestamp());
    json.insert(QStringLiteral("status"), m_status);
    json.insert(QStringLiteral("size"), m_size);
    json.insert(QStringLiteral("type"), m_type);
    json.insert(QStringLiteral("filename"), m_filename);
    json.insert(QStringLiteral("url"), m_url);
    json.insert(QStringLiteral("icon"), m_icon);
    return json;
}

QJsonObject FirebaseChatMessage::toJsonImage() const
{
    QJsonObject json;
    json.insert(QStringLiteral("sender"), m_sender);
    json.insert(QStringLiteral("sentAt"), serverTimestamp());
    // Images are always written as delivered, whatever status the message holds.
    json.insert(QStringLiteral("status"), QStringLiteral("delivered"));
    json.insert(QStringLiteral("size"), m_size);
    json.insert(QStringLiteral("type"), m_type);
    json.insert(QStringLiteral("url"), m_url);
    json.insert(QStringLiteral("preview"), m_preview);
    json.insert(QStringLiteral("filename"), m_filename);
    return json;
}
