#pragma once

#include <QString>

// Settings of one chat widget that the console uses: payment, sounds and rating.
class ApiWidget
{
public:
    qint64 getId() const { return m_id; }
    void setId(qint64 id) { m_id = id; }

    QString getName() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    QString getPaySystem() const { return m_paySystem; }
    void setPaySystem(const QString &paySystem) { m_paySystem = paySystem; }

    QString getMessageSound() const { return m_messageSound; }
    void setMessageSound(const QString &messageSound) { m_messageSound = messageSound; }

    QString getSound() const { return m_sound; }
    void setSound(const QString &sound) { m_sound = sound; }

    QString getRateChatView() const { return m_rateChatView; }
    void setRateChatView(const QString &rateChatView) { m_rateChatView = rateChatView; }

    bool operator==(const ApiWidget &other) const
    {
        return m_id == other.m_id && m_name == other.m_name && m_paySystem == other.m_paySystem
               && m_messageSound == other.m_messageSound && m_sound == other.m_sound
               && m_rateChatView == other.m_rateChatView;
    }
    bool operator!=(const ApiWidget &other) const { return !(*this == other); }

private:
    qint64 m_id = 0;
    QString m_name;
    QString m_paySystem;
    QString m_messageSound;
    QString m_sound;
    QString m_rateChatView;
};
