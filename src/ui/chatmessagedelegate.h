#pragma once

#include "records/linkpreview.h"

#include <QAbstractItemView>
#include <QHash>
#include <QPixmap>
#include <QPointer>
#include <QSet>
#include <QStyledItemDelegate>

// Paints the rows of ChatMessageModel: bubbles with their time and delivery ticks and the card of
// the page a bubble links to, day and new-message separators, centred system lines and cards,
// picture thumbnails, file and upload cards. The same geometry answers sizeHint, paint and what
// lies under the mouse.
class ChatMessageDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    // What a click at a point of a row means.
    enum Area {
        NoArea,
        TextArea,
        ImageArea,
        DownloadArea,
        OpenArea,
        RevealArea,
        CancelArea,
        LinkArea,
        PreviewArea
    };

    explicit ChatMessageDelegate(QObject *parent = nullptr);

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void paint(QPainter *painter,
               const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    Area areaAt(const QStyleOptionViewItem &option,
                const QModelIndex &index,
                const QPoint &pos) const;
    // Where the row's text lies, for the selectable overlay over it.
    QRect textRect(const QStyleOptionViewItem &option, const QModelIndex &index) const;
    // Whether a file's download is done; the widget keeps what ResourceManager says.
    void setDownloaded(const QSet<QString> &urls) { m_downloaded = urls; }
    // Rows take the width of this view's viewport.
    void setView(QAbstractItemView *view) { m_view = view; }
    // The row whose text the selectable overlay shows instead.
    void setHiddenTextRow(int row) { m_hiddenTextRow = row; }
    // The width bubble texts are laid out at.
    int textWidth() const;

    // Longest side of a thumbnail.
    static constexpr int kThumbnail = 240;
    // Side of a page card's picture.
    static constexpr int kCardPicture = 64;

signals:
    // A thumbnail or a card's picture arrived from the cache, or failed to: rows showing it
    // change size.
    void thumbnailReady(QString url);

private:
    struct Geometry
    {
        QRect bubble;
        QRect caption;
        QRect text;
        QRect image;
        QRect time;
        QRect first;  // download, cancel or the link
        QRect second; // "Показать в папке"
        QRect card;   // the linked page's card under a bubble
        QSize size;
    };
    Geometry geometry(const QStyleOptionViewItem &option, const QModelIndex &index) const;
    QPixmap thumbnail(const QString &url) const { return picture(url, false); }
    // A picture from the cache, asked for on first use: scaled to a thumbnail, or cut to the
    // card's square.
    QPixmap picture(const QString &url, bool square) const;
    // Whether a card shows its picture: it has one that did not fail to load.
    bool cardHasPicture(const LinkPreview &preview) const;
    void paintCard(QPainter *painter,
                   const QRect &card,
                   const LinkPreview &preview,
                   const QFont &font,
                   qreal ratio) const;
    QPixmap icon(const QString &name, int size, qreal ratio) const;
    void paintCardLines(QPainter *painter,
                        const Geometry &g,
                        const QStyleOptionViewItem &option,
                        const QModelIndex &index) const;

    mutable QHash<QString, QPixmap> m_thumbnails;
    mutable QSet<QString> m_requested;
    mutable QSet<QString> m_failed;
    mutable QHash<QString, QPixmap> m_icons;
    QSet<QString> m_downloaded;
    QPointer<QAbstractItemView> m_view;
    int m_hiddenTextRow = -1;
};
