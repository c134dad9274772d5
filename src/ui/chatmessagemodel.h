#pragma once

#include "records/firebasechatmessage.h"
#include "records/linkpreview.h"

#include <QAbstractListModel>
#include <QDate>
#include <QHash>
#include <QPointer>
#include <QSet>
#include <QSharedPointer>
#include <QSize>
#include <QVector>

#include <functional>

class FileUploaderNotifier;
class QFont;
class QTextDocument;

// The rows of the open chat as the list view shows them: messages with their side, group and
// caption, the day separators, the "new messages" line and the uploads still running. Texts are
// laid out once per row and width and kept, so that a long chat opens and scrolls cheaply. A
// bubble whose text holds a web address carries the card of that page once it is given one,
// unless the service has described the address with a link message of its own.
class ChatMessageModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Kind {
        DayRow,
        NewMessagesRow,
        BubbleRow,       // visitor's, own or a colleague's text
        ImageRow,        // a picture, as a thumbnail on its sender's side
        FileRow,         // a file card on its sender's side
        LinkRow,         // the service's link message (a page's title and address)
        SystemRow,       // joined, left, invitations, robots: a centred muted line
        PaymentRow,      // a payment link card, centred
        IntroductionRow, // the visitor's introduction form, centred
        UploadRow,       // an own file on its way
    };
    Q_ENUM(Kind)
    enum Side { Left, Right, Centre };
    Q_ENUM(Side)
    enum Role {
        KindRole = Qt::UserRole + 1,
        SideRole,
        // A colleague's alias name over the first bubble of a group; empty otherwise.
        CaptionRole,
        TimeRole,
        // "sent", "delivered" or "read" for own messages; empty for everyone else's.
        StatusRole,
        MessageIdRole,
        UrlRole,
        // Whether the bubble starts or ends a run of one sender's messages.
        FirstInGroupRole,
        LastInGroupRole,
        // Colleagues are drawn in grey, own messages in the accent tint.
        ColleagueRole,
        ProgressRole,
        // The file's size as shown on a card.
        SizeTextRole,
        // A bubble's first http(s) address, or empty.
        WebLinkRole,
        // The LinkPreview of that address when one was given; invalid otherwise.
        LinkPreviewRole,
    };

    // What the model needs to know to place a message: who is who in this chat.
    struct People
    {
        QString ownKey;
        QString visitorKey;
        std::function<QString(const QString &)> nameOf;
    };

    explicit ChatMessageModel(QObject *parent = nullptr);
    ~ChatMessageModel() override;

    void setPeople(const People &people) { m_people = people; }
    // The messages oldest first; newFrom is the id of the first unread one, above which the
    // "new messages" line goes, or empty.
    void setMessages(const QList<FirebaseChatMessage> &messages, const QString &newFrom = {});
    void addMessage(const FirebaseChatMessage &message);
    void updateMessage(const FirebaseChatMessage &message);
    void clear();

    void addUpload(FileUploaderNotifier *upload);
    int uploadCount() const;
    void cancelUpload(int row);

    int rowOfMessage(const QString &messageId) const { return m_rowOfId.value(messageId, -1); }
    FirebaseChatMessage messageAt(int row) const;
    // The picture URLs of the chat in order, for the image viewer.
    QStringList imageUrls() const;
    // The size the delegate worked out for a row at a viewport width, or an invalid one.
    QSize cachedSize(int row, int width) const;
    void cacheSize(int row, int width, const QSize &size) const;
    // Drops every kept size, for when a picture the delegate draws from outside the model
    // arrives or fails.
    void forgetSizes();
    // The bubbles' first http(s) addresses that want a card, each once, in order.
    QStringList webLinks() const;
    // The card of a page: the bubbles that link to it show it from now on; an empty one shows
    // nothing. Kept until clear() or clearLinkPreviews(), across setMessages().
    void setLinkPreview(const QString &url, const LinkPreview &preview);
    bool hasLinkPreview(const QString &url) const { return m_previews.contains(url); }
    void clearLinkPreviews();

    // The row's rich text laid out for the width; built on first use and kept.
    QTextDocument *document(int row, int width, const QFont &font) const;
    // Download progress of a file card: -1 none, 0..100 running, 101 done.
    void setProgress(int row, int percent);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    static QString sizeText(qint64 bytes);
    static QString dayText(const QDate &day, const QDate &today);

private:
    struct Row
    {
        Kind kind = BubbleRow;
        Side side = Left;
        FirebaseChatMessage message;
        QDate day;
        QString text;
        QString webLink;
        QString caption;
        bool colleague = false;
        bool firstInGroup = true;
        bool lastInGroup = true;
        int progress = -1;
        QPointer<FileUploaderNotifier> upload;
        mutable QSharedPointer<QTextDocument> document;
        mutable int documentWidth = -1;
        // The delegate's size at sizeWidth: the view asks for every row's size whenever a row
        // comes, which must not lay out two thousand texts again.
        mutable QSize size;
        mutable int sizeWidth = -1;
    };

    Row rowFor(const FirebaseChatMessage &message) const;
    QString systemText(const FirebaseChatMessage &message) const;
    QString nameOf(const QString &key) const;
    void appendRows(QVector<Row> &rows, const FirebaseChatMessage &message) const;
    static bool joins(const Row &previous, const Row &next);
    void reindex();
    void removeUpload(FileUploaderNotifier *upload);

    People m_people;
    QVector<Row> m_rows;
    QHash<QString, int> m_rowOfId;
    QHash<QString, LinkPreview> m_previews;
    // The addresses of the service's link messages, which need no second card.
    QSet<QString> m_describedLinks;
};
