#pragma once

#include "records/timestamp.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QMetaType>
#include <QString>

// Extra data of contact cards, link previews and payment messages; each kind uses a subset.
class FirebaseChatMessageAttributes
{
public:
    QString getEmail() const { return m_email; }
    void setEmail(const QString &email) { m_email = email; }

    QString getIcon() const { return m_icon; }
    void setIcon(const QString &icon) { m_icon = icon; }

    QString getImageUrl() const { return m_imageUrl; }
    void setImageUrl(const QString &imageUrl) { m_imageUrl = imageUrl; }

    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    QString getPhone() const { return m_phone; }
    void setPhone(const QString &phone) { m_phone = phone; }

    QString getUrl() const { return m_url; }
    void setUrl(const QString &url) { m_url = url; }

    QString getOperator() const { return m_operator; }
    void setOperator(const QString &operatorId) { m_operator = operatorId; }

    QString getTitle() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }

    int getQuantity() const { return m_quantity; }
    void setQuantity(int quantity) { m_quantity = quantity; }

    QString getAmount() const { return m_amount; }
    void setAmount(const QString &amount) { m_amount = amount; }

    QString getCurrency() const { return m_currency; }
    void setCurrency(const QString &currency) { m_currency = currency; }

    QString getCurrencyText() const { return m_currencyText; }
    void setCurrencyText(const QString &currencyText) { m_currencyText = currencyText; }

    QString getStatus() const { return m_status; }
    void setStatus(const QString &status) { m_status = status; }

    QString getPaySystem() const { return m_paySystem; }
    void setPaySystem(const QString &paySystem) { m_paySystem = paySystem; }

    QString getLink() const { return m_link; }
    void setLink(const QString &link) { m_link = link; }

    bool operator==(const FirebaseChatMessageAttributes &other) const
    {
        return m_email == other.m_email && m_icon == other.m_icon && m_imageUrl == other.m_imageUrl
               && m_name == other.m_name && m_phone == other.m_phone && m_url == other.m_url
               && m_operator == other.m_operator && m_title == other.m_title
               && m_quantity == other.m_quantity && m_amount == other.m_amount
               && m_currency == other.m_currency && m_currencyText == other.m_currencyText
               && m_status == other.m_status && m_paySystem == other.m_paySystem
               && m_link == other.m_link;
    }
    bool operator!=(const FirebaseChatMessageAttributes &other) const { return !(*this == other); }

private:
    QString m_email;
    QString m_icon;
    QString m_imageUrl;
    QString m_name;
    QString m_phone;
    QString m_url;
    QString m_operator;
    QString m_title;
    int m_quantity = 0;
    QString m_amount;
    QString m_currency;
    QString m_currencyText;
    QString m_status;
    QString m_paySystem;
    QString m_link;
};

// One message of a chat under "chat-messages".
class FirebaseChatMessage
{
public:
    QString getId() const { return m_id; }
    void setId(const QString &id) { m_id = id; }

    // "text", "invitation", "joined", "left", "file", "image", "system", ...
    QString getType() const { return m_type; }
    void setType(const QString &type) { m_type = type; }

    // User key of the author.
    QString getSender() const { return m_sender; }
    void setSender(const QString &sender) { m_sender = sender; }

    QString getTarget() const { return m_target; }
    void setTarget(const QString &target) { m_target = target; }

    QDateTime getSentAt() const { return m_sentAt.toDateTime(); }
    void setSentAt(const QDateTime &sentAt) { m_sentAt = Timestamp(sentAt); }
    void setSentAt(const Timestamp &sentAt) { m_sentAt = sentAt; }

    // "sent", "delivered" or "read".
    QString getStatus() const { return m_status; }
    void setStatus(const QString &status) { m_status = status; }

    QString getText() const { return m_text; }
    void setText(const QString &text) { m_text = text; }

    FirebaseChatMessageAttributes getAttributes() const { return m_attributes; }
    void setAttributes(const FirebaseChatMessageAttributes &attributes)
    {
        m_attributes = attributes;
    }

    bool getAutoInvitation() const { return m_autoInvitation; }
    void setAutoInvitation(bool autoInvitation) { m_autoInvitation = autoInvitation; }

    QString getFilename() const { return m_filename; }
    void setFilename(const QString &filename) { m_filename = filename; }

    QString getIcon() const { return m_icon; }
    void setIcon(const QString &icon) { m_icon = icon; }

    // Preview picture of an image.
    QString getPreview() const { return m_preview; }
    void setPreview(const QString &preview) { m_preview = preview; }

    // Bytes of a file or image.
    qint64 getSize() const { return m_size; }
    void setSize(qint64 size) { m_size = size; }

    // JSON key "subType".
    QString getSubtype() const { return m_subtype; }
    void setSubtype(const QString &subtype) { m_subtype = subtype; }

    QString getUrl() const { return m_url; }
    void setUrl(const QString &url) { m_url = url; }

    // The bodies the console writes. "sentAt" is the database's server-time placeholder,
    // except for a non-invitation written with serverTime false, which carries its own time.
    QJsonObject toJson(bool serverTime) const;
    QJsonObject toJsonFile() const;
    QJsonObject toJsonImage() const;

    bool operator==(const FirebaseChatMessage &other) const
    {
        return m_id == other.m_id && m_type == other.m_type && m_sender == other.m_sender
               && m_target == other.m_target && m_sentAt == other.m_sentAt
               && m_status == other.m_status && m_text == other.m_text
               && m_attributes == other.m_attributes && m_autoInvitation == other.m_autoInvitation
               && m_filename == other.m_filename && m_icon == other.m_icon
               && m_preview == other.m_preview && m_size == other.m_size
               && m_subtype == other.m_subtype && m_url == other.m_url;
    }
    bool operator!=(const FirebaseChatMessage &other) const { return !(*this == other); }

private:
    QString m_id;
    QString m_type;
    QString m_sender;
    QString m_target;
    Timestamp m_sentAt;
    QString m_status;
    QString m_text;
    FirebaseChatMessageAttributes m_attributes;
    bool m_autoInvitation = false;
    QString m_filename;
    QString m_icon;
    QString m_preview;
    qint64 m_size = 0;
    QString m_subtype;
    QString m_url;
};

Q_DECLARE_METATYPE(FirebaseChatMessage)
Q_DECLARE_METATYPE(QList<FirebaseChatMessage>)
