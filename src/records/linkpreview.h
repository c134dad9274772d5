#pragma once

#include <QMetaType>
#include <QString>
#include <QUrl>

// What a web page says about itself for a card under a message that links to it: its site,
// title, a description and a picture. An empty one means there is nothing to show.
class LinkPreview
{
public:
    // The page as it was finally answered, after redirects.
    QUrl getUrl() const { return m_url; }
    void setUrl(const QUrl &url) { m_url = url; }

    QString getSite() const { return m_site; }
    void setSite(const QString &site) { m_site = site; }

    QString getTitle() const { return m_title; }
    void setTitle(const QString &title) { m_title = title; }

    QString getDescription() const { return m_description; }
    void setDescription(const QString &description) { m_description = description; }

    // An absolute http(s) address, or empty.
    QUrl getImage() const { return m_image; }
    void setImage(const QUrl &image) { m_image = image; }

    bool isEmpty() const { return m_title.isEmpty(); }

    bool operator==(const LinkPreview &other) const
    {
        return m_url == other.m_url && m_site == other.m_site && m_title == other.m_title
               && m_description == other.m_description && m_image == other.m_image;
    }
    bool operator!=(const LinkPreview &other) const { return !(*this == other); }

private:
    QUrl m_url;
    QString m_site;
    QString m_title;
    QString m_description;
    QUrl m_image;
};

Q_DECLARE_METATYPE(LinkPreview)
