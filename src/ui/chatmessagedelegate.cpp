#include "ui/chatmessagedelegate.h"

#include "repo/resourcemanager.h"
#include "ui/chatmessagemodel.h"

#include <QAbstractTextDocumentLayout>
#include <QIcon>
#include <QImageReader>
#include <QPainter>
#include <QPainterPath>
#include <QTextDocument>
#include <QTextLayout>
#include <QUrl>
#include <QtMath>

namespace {

// The chat's palette, as the style sheet names it.
const QColor kText(0x1d, 0x20, 0x33);
const QColor kMuted(0x8a, 0x8f, 0xa8);
const QColor kAccent(0x2f, 0x6b, 0xff);
const QColor kAlert(0xfa, 0x27, 0x49);
const QColor kLine(0xe3, 0xe6, 0xef);
const QColor kOwn(0xe3, 0xeb, 0xff);
const QColor kColleague(0xee, 0xf0, 0xf4);
const QColor kColleagueName(0x6b, 0x5b, 0xd2);
const QColor kPill(0xe9, 0xec, 0xf4);
const QColor kNewLine(0xff, 0xc7, 0xd1);
const QColor kFileTile(0xea, 0xf0, 0xff);

constexpr int kMargin = 16;
constexpr int kPadX = 12;
constexpr int kPadY = 8;
constexpr int kRadius = 12;
constexpr int kTimeHeight = 15;
constexpr int kCardWidth = 300;
// A linked page's card under its bubble.
constexpr int kPageCardWidth = 340;
constexpr int kPageCardGap = 4;
constexpr int kPageCardPad = 10;
constexpr qint64 kMaxCardPixels = 16 * 1000 * 1000;

// The widest a bubble's text may be in a row of this width.
int bubbleTextWidth(const QRect &rect)
{
    return qMin(qMax(200, rect.width()) * 2 / 3, 560) - 2 * kPadX;
}

QFont smallFont(const QFont &base, bool bold = false)
{
    QFont font = base;
    font.setPixelSize(11);
    font.setBold(bold);
    return font;
}

QFont sizedFont(const QFont &base, int pixels, bool bold)
{
    QFont font = base;
    font.setPixelSize(pixels);
    font.setBold(bold);
    return font;
}

// The text in at most maxLines lines of the width, the last one elided when more is left.
QStringList wrappedLines(const QString &text, const QFont &font, int width, int maxLines)
{
    QStringList lines;
    if (text.isEmpty() || width <= 0)
        return lines;
    QTextLayout layout(text, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    while (lines.size() < maxLines) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        if (lines.size() == maxLines - 1)
            lines << QFontMetrics(font).elidedText(text.mid(line.textStart()).simplified(),
                                                   Qt::ElideRight,
                                                   width);
        else
            lines << text.mid(line.textStart(), line.textLength()).trimmed();
    }
    layout.endLayout();
    return lines;
}

// The parts of a linked page's card, each in its own font.
enum CardPart { CardSite, CardTitle, CardDescription };

QFont cardFont(const QFont &base, CardPart part)
{
    switch (part) {
    case CardSite:
        return smallFont(base, true);
    case CardTitle:
        return sizedFont(base, 13, true);
    default:
        return sizedFont(base, 12, false);
    }
}

struct CardLine
{
    QRect rect;
    QString text;
    CardPart part;
};

// A linked page's card laid out for its width, relative to its top left: the site, up to two
// lines of bold title and two of description, and the picture's square on the right.
struct CardLayout
{
    QSize size;
    QRect picture;
    QVector<CardLine> lines;
};

CardLayout layoutCard(const LinkPreview &preview, const QFont &base, int width, bool picture)
{
    CardLayout card;
    // A narrow card keeps its room for the words.
    picture = picture && width >= 240;
    // Room on the left for the accent bar, as the service's link cards have.
    const int textLeft = kPageCardPad + 3 + 8;
    const int textWidth = width - textLeft - kPageCardPad
                          - (picture ? ChatMessageDelegate::kCardPicture + 10 : 0);
    int y = kPageCardPad;
    const auto add = [&](const QString &text, CardPart part, int maxLines) {
        const QFont font = cardFont(base, part);
        const int height = QFontMetrics(font).height();
        for (const QString &line : wrappedLines(text, font, textWidth, maxLines)) {
            card.lines.append({QRect(textLeft, y, textWidth, height), line, part});
            y += height;
        }
    };
    // A page without a title of its own is named by its site already.
    if (preview.getSite() != preview.getTitle())
        add(preview.getSite(), CardSite, 1);
    if (!card.lines.isEmpty())
        y += 2;
    add(preview.getTitle(), CardTitle, 2);
    if (!preview.getDescription().isEmpty()) {
        y += 2;
        add(preview.getDescription(), CardDescription, 2);
    }
    y += kPageCardPad;
    if (picture) {
        card.picture = QRect(width - kPageCardPad - ChatMessageDelegate::kCardPicture,
                             kPageCardPad,
                             ChatMessageDelegate::kCardPicture,
                             ChatMessageDelegate::kCardPicture);
        y = qMax(y, card.picture.bottom() + 1 + kPageCardPad);
    }
    card.size = QSize(width, y);
    return card;
}

// A card's picture is kept apart from a thumbnail of the same address.
QString squareKey(const QString &url)
{
    return QStringLiteral("square:") + url;
}

LinkPreview previewOf(const QModelIndex &index)
{
    return index.data(ChatMessageModel::LinkPreviewRole).value<LinkPreview>();
}

ChatMessageModel *chatModel(const QModelIndex &index)
{
    return const_cast<ChatMessageModel *>(qobject_cast<const ChatMessageModel *>(index.model()));
}

int kindOf(const QModelIndex &index)
{
    return index.data(ChatMessageModel::KindRole).toInt();
}

QString hostOf(const QString &url)
{
    const QUrl parsed(url);
    return parsed.host().isEmpty() ? url : parsed.host() + parsed.path();
}

// The lines of a centred card, as label and value pairs; the first is the caption.
QStringList cardLines(const QModelIndex &index, const ChatMessageModel *model)
{
    const FirebaseChatMessage message = model->messageAt(index.row());
    const FirebaseChatMessageAttributes a = message.getAttributes();
    QStringList lines;
    if (kindOf(index) == ChatMessageModel::PaymentRow) {
        lines << ChatMessageModel::tr("Ссылка на оплату") << a.getTitle();
        const QString currency = a.getCurrencyText().isEmpty() ? a.getCurrency()
                                                               : a.getCurrencyText();
        QString amount = a.getAmount();
        bool number = false;
        const double value = amount.toDouble(&number);
        if (number)
            amount = QLocale().toString(value, 'f', amount.contains(QLatin1Char('.')) ? 2 : 0);
        lines << ChatMessageModel::tr("%1 × %2 %3")
                     .arg(qMax(1, a.getQuantity()))
                     .arg(amount, currency);
        lines << a.getLink();
        const QString status = a.getStatus();
        lines << (status == QLatin1String("paid") || status == QLatin1String("succeeded")
                      ? ChatMessageModel::tr("Оплачено")
                      : ChatMessageModel::tr("Ожидает оплаты"));
    } else {
        lines << ChatMessageModel::tr("Посетитель представился");
        for (const QString &value : {a.getName(), a.getEmail(), a.getPhone()}) {
            if (!value.isEmpty())
                lines << value;
        }
    }
    return lines;
}

} // namespace

ChatMessageDelegate::ChatMessageDelegate(QObject *parent)
    : QStyledItemDelegate(parent)
{}

int ChatMessageDelegate::textWidth() const
{
    return bubbleTextWidth(QRect(0, 0, m_view ? m_view->viewport()->width() : 600, 1));
}

QPixmap ChatMessageDelegate::icon(const QString &name, int size, qreal ratio) const
{
    const QString key = QStringLiteral("%1/%2/%3").arg(name).arg(size).arg(ratio);
    auto it = m_icons.find(key);
    if (it == m_icons.end()) {
        QPixmap pixmap = QIcon(QStringLiteral(":/resources/images/icons/%1.svg").arg(name))
                             .pixmap(QSize(size, size) * ratio);
        pixmap.setDevicePixelRatio(ratio);
        it = m_icons.insert(key, pixmap);
    }
    return *it;
}

QPixmap ChatMessageDelegate::picture(const QString &url, bool square) const
{
    if (url.isEmpty())
        return QPixmap();
    const QString key = square ? squareKey(url) : url;
    const auto it = m_thumbnails.constFind(key);
    if (it != m_thumbnails.constEnd())
        return *it;
    if (m_requested.contains(key))
        return QPixmap();
    m_requested.insert(key);
    auto *self = const_cast<ChatMessageDelegate *>(this);
    // Asked after the paint that wanted it: a cached file answers at once, mid-paint otherwise.
    QMetaObject::invokeMethod(
        self,
        [self, url, key, square] {
            ResourceManager *resources = ResourceManager::getInstance();
            if (!resources)
                return;
            resources->getFileFromUrlAsync(url, self, [self, url, key, square](const QString &path) {
                QImage image;
                if (!path.isEmpty()) {
                    QImageReader reader(path);
                    reader.setAutoTransform(true);
                    const QSize size = reader.size();
                    const QSize side(2 * kCardPicture, 2 * kCardPicture);
                    // A linked page's picture may claim any size: one that would take more
                    // memory to unpack than a large photo counts as none. A JPEG unpacks
                    // straight to the card's size.
                    if (!square)
                        image = reader.read();
                    else if (size.isValid()
                             && qint64(size.width()) * size.height() <= kMaxCardPixels) {
                        if (size.width() > side.width() && size.height() > side.height())
                            reader.setScaledSize(size.scaled(side, Qt::KeepAspectRatioByExpanding));
                        image = reader.read();
                    }
                }
                if (image.isNull()) {
                    // A card without its picture takes less room; a thumbnail keeps its place.
                    if (square) {
                        self->m_failed.insert(key);
                        emit self->thumbnailReady(url);
                    }
                    return;
                }
                QImage scaled;
                if (square) {
                    // Cut to fill the square, at twice its size for sharp high-density screens.
                    const int side = 2 * kCardPicture;
                    scaled = image.scaled(side,
                                          side,
                                          Qt::KeepAspectRatioByExpanding,
                                          Qt::SmoothTransformation);
                    scaled = scaled.copy((scaled.width() - side) / 2,
                                         (scaled.height() - side) / 2,
                                         side,
                                         side);
                } else {
                    scaled = image.width() > kThumbnail || image.height() > kThumbnail
                                 ? image.scaled(kThumbnail,
                                                kThumbnail,
                                                Qt::KeepAspectRatio,
                                                Qt::SmoothTransformation)
                                 : image;
                }
                QPixmap rounded(scaled.size());
                rounded.fill(Qt::transparent);
                QPainter painter(&rounded);
                painter.setRenderHint(QPainter::Antialiasing);
                QPainterPath corners;
                const qreal radius = square ? 16 : 10;
                corners.addRoundedRect(QRectF(rounded.rect()), radius, radius);
                painter.setClipPath(corners);
                painter.drawImage(0, 0, scaled);
                painter.end();
                if (square)
                    rounded.setDevicePixelRatio(2);
                self->m_thumbnails.insert(key, rounded);
                emit self->thumbnailReady(url);
            });
        },
        Qt::QueuedConnection);
    return QPixmap();
}

bool ChatMessageDelegate::cardHasPicture(const LinkPreview &preview) const
{
    return !preview.getImage().isEmpty()
           && !m_failed.contains(squareKey(preview.getImage().toString()));
}

ChatMessageDelegate::Geometry ChatMessageDelegate::geometry(const QStyleOptionViewItem &option,
                                                            const QModelIndex &index) const
{
    Geometry g;
    const ChatMessageModel *model = chatModel(index);
    QRect rect = option.rect;
    if (m_view)
        rect.setWidth(m_view->viewport()->width());
    const int width = qMax(200, rect.width());
    const int kind = kindOf(index);
    const int side = index.data(ChatMessageModel::SideRole).toInt();
    const bool first = index.data(ChatMessageModel::FirstInGroupRole).toBool();
    const QFontMetrics small(smallFont(option.font));
    const QFontMetrics smallBold(smallFont(option.font, true));
    const QFontMetrics body(option.font);
    const int maxBubble = qMin(width * 2 / 3, 560);
    int top = rect.top() + (first ? 8 : 2);

    const auto place = [&](int bubbleWidth, int bubbleHeight) {
        int left = rect.left() + kMargin;
        if (side == ChatMessageModel::Right)
            left = rect.left() + width - kMargin - bubbleWidth;
        else if (side == ChatMessageModel::Centre)
            left = rect.left() + (width - bubbleWidth) / 2;
        g.bubble = QRect(left, top, bubbleWidth, bubbleHeight);
        g.size = QSize(width, top - rect.top() + bubbleHeight);
        g.time = QRect(g.bubble.left() + kPadX,
                       g.bubble.bottom() - kPadY - kTimeHeight + 3,
                       g.bubble.width() - 2 * kPadX,
                       kTimeHeight);
    };

    switch (kind) {
    case ChatMessageModel::DayRow:
    case ChatMessageModel::NewMessagesRow: {
        const QString text = index.data().toString();
        top = rect.top() + 8;
        const int textWidth = smallBold.horizontalAdvance(text) + 20;
        place(kind == ChatMessageModel::DayRow ? textWidth : width - 2 * kMargin, 20);
        g.text = g.bubble;
        g.size.rheight() += 6;
        break;
    }
    case ChatMessageModel::SystemRow: {
        const QString text = index.data().toString() + QStringLiteral(" · ")
                             + index.data(ChatMessageModel::TimeRole).toString();
        top = rect.top() + 6;
        const QRect bound = small.boundingRect(QRect(0, 0, width - 6 * kMargin, 1000),
                                               Qt::TextWordWrap | Qt::AlignHCenter,
                                               text);
        place(bound.width() + 4, bound.height());
        g.text = g.bubble;
        g.size.rheight() += 6;
        break;
    }
    case ChatMessageModel::BubbleRow: {
        QTextDocument *document = model->document(index.row(), bubbleTextWidth(rect), option.font);
        const int textWidth = qCeil(document->idealWidth());
        const int textHeight = qCeil(document->size().height());
        const QString caption = index.data(ChatMessageModel::CaptionRole).toString();
        const int captionHeight = caption.isEmpty() ? 0 : 17;
        const int timeWidth = small.horizontalAdvance(QStringLiteral("00:00")) + 20;
        const int inner = qMax(textWidth,
                               qMax(timeWidth,
                                    caption.isEmpty() ? 0 : smallBold.horizontalAdvance(caption)));
        place(inner + 2 * kPadX, kPadY + captionHeight + textHeight + 2 + kTimeHeight + kPadY - 3);
        g.caption = QRect(g.bubble.left() + kPadX, g.bubble.top() + kPadY, inner, captionHeight);
        g.text = QRect(g.bubble.left() + kPadX,
                       g.bubble.top() + kPadY + captionHeight,
                       inner,
                       textHeight);
        const LinkPreview preview = previewOf(index);
        if (!preview.isEmpty()) {
            const int cardWidth = qMin(kPageCardWidth, maxBubble);
            const QSize card = layoutCard(preview, option.font, cardWidth, cardHasPicture(preview))
                                   .size;
            const int left = side == ChatMessageModel::Right ? g.bubble.right() + 1 - cardWidth
                                                             : g.bubble.left();
            g.card = QRect(QPoint(left, g.bubble.bottom() + 1 + kPageCardGap), card);
            // More room under the card than over it, so that it reads as its bubble's.
            g.size.rheight() += kPageCardGap + card.height() + 2 * kPageCardGap;
        }
        break;
    }
    case ChatMessageModel::ImageRow: {
        const QString url = index.data(ChatMessageModel::UrlRole).toString();
        const QString preview = model->messageAt(index.row()).getPreview();
        const QPixmap pixmap = thumbnail(preview.isEmpty() ? url : preview);
        const QSize size = pixmap.isNull() ? QSize(kThumbnail, kThumbnail * 2 / 3) : pixmap.size();
        const QString caption = index.data(ChatMessageModel::CaptionRole).toString();
        const int captionHeight = caption.isEmpty() ? 0 : 17;
        place(qMax(size.width(), 80) + 8, captionHeight + size.height() + 8 + kTimeHeight + 2);
        g.caption = QRect(g.bubble.left() + kPadX, g.bubble.top() + 4, size.width(), captionHeight);
        g.image = QRect(g.bubble.left() + 4,
                        g.bubble.top() + 4 + captionHeight,
                        size.width(),
                        size.height());
        g.time = QRect(g.bubble.left() + 4,
                       g.image.bottom() + 2,
                       g.bubble.width() - 12,
                       kTimeHeight);
        break;
    }
    case ChatMessageModel::FileRow:
    case ChatMessageModel::UploadRow: {
        const QString caption = index.data(ChatMessageModel::CaptionRole).toString();
        const int captionHeight = caption.isEmpty() ? 0 : 17;
        place(qMin(290, maxBubble), kPadY + captionHeight + 62 + kTimeHeight + kPadY - 2);
        g.caption = QRect(g.bubble.left() + kPadX,
                          g.bubble.top() + kPadY,
                          g.bubble.width(),
                          captionHeight);
        const int y = g.bubble.top() + kPadY + captionHeight;
        g.image = QRect(g.bubble.left() + kPadX, y + 2, 36, 36);
        const int x = g.image.right() + 10;
        g.text = QRect(x, y, g.bubble.right() - kPadX - x, 18);
        g.first = QRect(x, y + 40, small.horizontalAdvance(tr("Показать в папке")) + 4, 18);
        g.second = QRect(g.first.right() + 12,
                         y + 40,
                         small.horizontalAdvance(tr("Показать в папке")) + 4,
                         18);
        break;
    }
    case ChatMessageModel::LinkRow: {
        const int cardWidth = qMin(340, maxBubble);
        const QFontMetrics bold(sizedFont(option.font, 13, true));
        const QRect title = bold.boundingRect(QRect(0, 0, cardWidth - 2 * kPadX - 6, 40),
                                              Qt::TextWordWrap,
                                              index.data().toString());
        place(cardWidth, kPadY + title.height() + 20 + kTimeHeight + kPadY);
        g.text = QRect(g.bubble.left() + kPadX + 6,
                       g.bubble.top() + kPadY,
                       cardWidth - 2 * kPadX - 6,
                       title.height());
        g.first = QRect(g.text.left(), g.text.bottom() + 2, g.text.width(), 17);
        break;
    }
    case ChatMessageModel::PaymentRow:
    case ChatMessageModel::IntroductionRow: {
        const int lines = cardLines(index, model).size();
        place(kCardWidth, kPadY + lines * 19 + kTimeHeight + kPadY);
        g.text = QRect(g.bubble.left() + kPadX,
                       g.bubble.top() + kPadY,
                       kCardWidth - 2 * kPadX,
                       lines * 19);
        if (kind == ChatMessageModel::PaymentRow)
            g.first = QRect(g.text.left(), g.text.top() + 3 * 19, g.text.width(), 19);
        break;
    }
    default:
        g.size = QSize(width, 1);
        break;
    }
    if (kind != ChatMessageModel::DayRow && kind != ChatMessageModel::NewMessagesRow
        && kind != ChatMessageModel::SystemRow
        && index.data(ChatMessageModel::LastInGroupRole).toBool())
        g.size.rheight() += 2;
    return g;
}

QSize ChatMessageDelegate::sizeHint(const QStyleOptionViewItem &option,
                                    const QModelIndex &index) const
{
    const ChatMessageModel *model = chatModel(index);
    const int width = m_view ? m_view->viewport()->width() : option.rect.width();
    if (model) {
        const QSize cached = model->cachedSize(index.row(), width);
        if (cached.isValid())
            return cached;
    }
    const QSize size = geometry(option, index).size;
    if (model)
        model->cacheSize(index.row(), width, size);
    return size;
}

QRect ChatMessageDelegate::textRect(const QStyleOptionViewItem &option,
                                    const QModelIndex &index) const
{
    return kindOf(index) == ChatMessageModel::BubbleRow ? geometry(option, index).text : QRect();
}

ChatMessageDelegate::Area ChatMessageDelegate::areaAt(const QStyleOptionViewItem &option,
                                                      const QModelIndex &index,
                                                      const QPoint &pos) const
{
    const Geometry g = geometry(option, index);
    switch (kindOf(index)) {
    case ChatMessageModel::BubbleRow:
        if (g.card.contains(pos))
            return PreviewArea;
        return g.text.contains(pos) ? TextArea : NoArea;
    case ChatMessageModel::ImageRow:
        return g.image.contains(pos) ? ImageArea : NoArea;
    case ChatMessageModel::FileRow: {
        const QString url = index.data(ChatMessageModel::UrlRole).toString();
        const int progress = index.data(ChatMessageModel::ProgressRole).toInt();
        if (m_downloaded.contains(url) || progress > 100) {
            if (g.first.contains(pos))
                return OpenArea;
            if (g.second.contains(pos))
                return RevealArea;
            return NoArea;
        }
        return (g.first.contains(pos) || g.image.contains(pos)) && progress < 0 ? DownloadArea
                                                                                : NoArea;
    }
    case ChatMessageModel::UploadRow:
        return g.first.contains(pos) ? CancelArea : NoArea;
    case ChatMessageModel::LinkRow:
        return g.bubble.contains(pos) ? LinkArea : NoArea;
    case ChatMessageModel::PaymentRow:
        return g.first.contains(pos) ? LinkArea : NoArea;
    default:
        return NoArea;
    }
}

void ChatMessageDelegate::paintCard(QPainter *painter,
                                    const QRect &rect,
                                    const LinkPreview &preview,
                                    const QFont &font,
                                    qreal ratio) const
{
    const CardLayout card = layoutCard(preview, font, rect.width(), cardHasPicture(preview));
    painter->save();
    painter->translate(rect.topLeft());
    painter->setPen(QPen(kLine, 1));
    painter->setBrush(Qt::white);
    painter->drawRoundedRect(QRectF(0.5, 0.5, rect.width() - 1, rect.height() - 1),
                             kRadius,
                             kRadius);
    painter->setPen(Qt::NoPen);
    painter->setBrush(kAccent);
    painter->drawRoundedRect(QRect(kPageCardPad, kPageCardPad, 3, rect.height() - 2 * kPageCardPad),
                             1,
                             1);
    for (const CardLine &line : card.lines) {
        painter->setFont(cardFont(font, line.part));
        painter->setPen(line.part == CardSite ? kMuted : kText);
        painter->drawText(line.rect, Qt::AlignLeft | Qt::AlignVCenter, line.text);
    }
    if (!card.picture.isEmpty()) {
        const QPixmap pixmap = picture(preview.getImage().toString(), true);
        if (pixmap.isNull()) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(kPill);
            painter->drawRoundedRect(card.picture, 8, 8);
            painter->drawPixmap(card.picture.center() - QPoint(10, 10),
                                icon(QStringLiteral("image-muted"), 20, ratio));
        } else {
            painter->drawPixmap(card.picture, pixmap);
        }
    }
    painter->restore();
}

void ChatMessageDelegate::paintCardLines(QPainter *painter,
                                         const Geometry &g,
                                         const QStyleOptionViewItem &option,
                                         const QModelIndex &index) const
{
    const QStringList lines = cardLines(index, chatModel(index));
    const bool payment = kindOf(index) == ChatMessageModel::PaymentRow;
    for (int i = 0; i < lines.size(); ++i) {
        const QRect line(g.text.left(), g.text.top() + i * 19, g.text.width(), 19);
        if (i == 0) {
            painter->setFont(smallFont(option.font, true));
            painter->setPen(kMuted);
        } else if (i == 1) {
            painter->setFont(sizedFont(option.font, 13, true));
            painter->setPen(kText);
        } else {
            painter->setFont(option.font);
            painter->setPen(payment && i == 3 ? kAccent : kText);
        }
        painter->drawText(line,
                          Qt::AlignLeft | Qt::AlignVCenter,
                          painter->fontMetrics().elidedText(lines.at(i),
                                                            Qt::ElideRight,
                                                            line.width()));
    }
}

void ChatMessageDelegate::paint(QPainter *painter,
                                const QStyleOptionViewItem &option,
                                const QModelIndex &index) const
{
    const Geometry g = geometry(option, index);
    const int kind = kindOf(index);
    const int side = index.data(ChatMessageModel::SideRole).toInt();
    const bool colleague = index.data(ChatMessageModel::ColleagueRole).toBool();
    const qreal ratio = painter->device()->devicePixelRatioF();
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);

    if (kind == ChatMessageModel::DayRow) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(kPill);
        painter->drawRoundedRect(g.bubble, 10, 10);
        painter->setPen(kMuted);
        painter->setFont(smallFont(option.font, true));
        painter->drawText(g.bubble, Qt::AlignCenter, index.data().toString());
        painter->restore();
        return;
    }
    if (kind == ChatMessageModel::NewMessagesRow) {
        painter->setFont(smallFont(option.font, true));
        const QString text = index.data().toString();
        const int textWidth = painter->fontMetrics().horizontalAdvance(text) + 24;
        const int mid = g.bubble.center().y();
        const int centre = g.bubble.center().x();
        painter->setPen(kNewLine);
        painter->drawLine(g.bubble.left(), mid, centre - textWidth / 2, mid);
        painter->drawLine(centre + textWidth / 2, mid, g.bubble.right(), mid);
        painter->setPen(kAlert);
        painter->drawText(g.bubble, Qt::AlignCenter, text);
        painter->restore();
        return;
    }
    if (kind == ChatMessageModel::SystemRow) {
        painter->setFont(smallFont(option.font));
        painter->setPen(kMuted);
        painter->drawText(g.text,
                          Qt::TextWordWrap | Qt::AlignHCenter,
                          index.data().toString() + QStringLiteral(" · ")
                              + index.data(ChatMessageModel::TimeRole).toString());
        painter->restore();
        return;
    }

    // The bubble or card.
    QColor fill = Qt::white;
    bool border = true;
    if (side == ChatMessageModel::Right && kind != ChatMessageModel::LinkRow) {
        fill = colleague ? kColleague : kOwn;
        border = false;
    }
    if (kind != ChatMessageModel::ImageRow || side != ChatMessageModel::Left) {
        painter->setPen(border ? QPen(kLine, 1) : Qt::NoPen);
        painter->setBrush(fill);
        painter->drawRoundedRect(QRectF(g.bubble).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
    } else {
        painter->setPen(QPen(kLine, 1));
        painter->setBrush(Qt::white);
        painter->drawRoundedRect(QRectF(g.bubble).adjusted(0.5, 0.5, -0.5, -0.5), kRadius, kRadius);
    }

    const QString caption = index.data(ChatMessageModel::CaptionRole).toString();
    if (!caption.isEmpty() && !g.caption.isEmpty()) {
        painter->setFont(smallFont(option.font, true));
        painter->setPen(kColleagueName);
        painter->drawText(g.caption, Qt::AlignLeft | Qt::AlignTop, caption);
    }

    switch (kind) {
    case ChatMessageModel::BubbleRow: {
        if (!g.card.isEmpty())
            paintCard(painter, g.card, previewOf(index), option.font, ratio);
        if (index.row() == m_hiddenTextRow)
            break;
        QTextDocument *document = chatModel(index)->document(index.row(), textWidth(), option.font);
        painter->translate(g.text.topLeft());
        QAbstractTextDocumentLayout::PaintContext context;
        context.palette.setColor(QPalette::Text, kText);
        context.clip = QRectF(0, 0, g.text.width(), g.text.height());
        document->documentLayout()->draw(painter, context);
        painter->translate(-g.text.topLeft());
        break;
    }
    case ChatMessageModel::ImageRow: {
        const QString url = index.data(ChatMessageModel::UrlRole).toString();
        const QString preview = chatModel(index)->messageAt(index.row()).getPreview();
        const QPixmap pixmap = thumbnail(preview.isEmpty() ? url : preview);
        if (pixmap.isNull()) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(kPill);
            painter->drawRoundedRect(g.image, 10, 10);
            painter->drawPixmap(g.image.center() - QPoint(12, 12),
                                icon(QStringLiteral("image-muted"), 24, ratio));
        } else {
            painter->drawPixmap(g.image.topLeft(), pixmap);
        }
        break;
    }
    case ChatMessageModel::FileRow:
    case ChatMessageModel::UploadRow: {
        painter->setPen(Qt::NoPen);
        painter->setBrush(side == ChatMessageModel::Right ? QColor(Qt::white) : kFileTile);
        painter->drawRoundedRect(g.image, 8, 8);
        painter->drawPixmap(g.image.center() - QPoint(10, 10),
                            icon(QStringLiteral("file-text-accent"), 20, ratio));
        painter->setFont(sizedFont(option.font, 13, true));
        painter->setPen(kText);
        painter->drawText(g.text,
                          Qt::AlignLeft | Qt::AlignVCenter,
                          painter->fontMetrics().elidedText(index.data().toString(),
                                                            Qt::ElideMiddle,
                                                            g.text.width()));
        painter->setFont(smallFont(option.font));
        painter->setPen(kMuted);
        const int progress = index.data(ChatMessageModel::ProgressRole).toInt();
        QString sizeLine = index.data(ChatMessageModel::SizeTextRole).toString();
        if (kind == ChatMessageModel::UploadRow)
            sizeLine = tr("отправка… %1 %").arg(progress);
        else if (progress >= 0 && progress <= 100)
            sizeLine = tr("загрузка… %1 %").arg(progress);
        painter->drawText(g.text.translated(0, 18), Qt::AlignLeft | Qt::AlignVCenter, sizeLine);
        const QString url = index.data(ChatMessageModel::UrlRole).toString();
        if ((progress >= 0 && progress <= 100) || kind == ChatMessageModel::UploadRow) {
            const QRect bar(g.text.left(), g.text.top() + 37, g.text.width(), 4);
            painter->setBrush(kLine);
            painter->drawRoundedRect(bar, 2, 2);
            painter->setBrush(kAccent);
            painter->drawRoundedRect(QRect(bar.topLeft(),
                                           QSize(bar.width() * qBound(0, progress, 100) / 100, 4)),
                                     2,
                                     2);
        }
        painter->setFont(smallFont(option.font, true));
        painter->setPen(kAccent);
        if (kind == ChatMessageModel::UploadRow) {
            painter->drawText(g.first.translated(0, 4),
                              Qt::AlignLeft | Qt::AlignVCenter,
                              tr("Отменить"));
        } else if (m_downloaded.contains(url) || progress > 100) {
            painter->drawText(g.first, Qt::AlignLeft | Qt::AlignVCenter, tr("Открыть"));
            painter->drawText(g.second, Qt::AlignLeft | Qt::AlignVCenter, tr("Показать в папке"));
        } else if (progress < 0) {
            painter->drawPixmap(g.first.left(),
                                g.first.top() + 2,
                                icon(QStringLiteral("download-accent"), 14, ratio));
            painter->drawText(g.first.adjusted(18, 0, 40, 0),
                              Qt::AlignLeft | Qt::AlignVCenter,
                              tr("Скачать"));
        }
        break;
    }
    case ChatMessageModel::LinkRow: {
        painter->setPen(Qt::NoPen);
        painter->setBrush(kAccent);
        painter->drawRoundedRect(QRect(g.bubble.left() + kPadX,
                                       g.text.top(),
                                       3,
                                       g.first.bottom() - g.text.top()),
                                 1,
                                 1);
        painter->setFont(sizedFont(option.font, 13, true));
        painter->setPen(kText);
        painter->drawText(g.text, Qt::TextWordWrap, index.data().toString());
        painter->setFont(smallFont(option.font));
        painter->setPen(kAccent);
        painter->drawText(g.first,
                          Qt::AlignLeft | Qt::AlignVCenter,
                          painter->fontMetrics()
                              .elidedText(hostOf(index.data(ChatMessageModel::UrlRole).toString()),
                                          Qt::ElideRight,
                                          g.first.width()));
        break;
    }
    case ChatMessageModel::PaymentRow:
    case ChatMessageModel::IntroductionRow:
        paintCardLines(painter, g, option, index);
        break;
    default:
        break;
    }

    if (kind != ChatMessageModel::UploadRow) {
        // The time, and for own messages how far they got.
        const QString status = index.data(ChatMessageModel::StatusRole).toString();
        painter->setFont(smallFont(option.font));
        painter->setPen(kMuted);
        int right = g.time.right();
        if (!status.isEmpty()) {
            const QString name = status == QLatin1String("read")
                                     ? QStringLiteral("check-check-accent")
                                 : status == QLatin1String("delivered")
                                     ? QStringLiteral("check-check-muted")
                                     : QStringLiteral("check-muted");
            painter->drawPixmap(right - 14, g.time.top() + 1, icon(name, 14, ratio));
            right -= 18;
        }
        painter->drawText(QRect(g.time.left(),
                                g.time.top(),
                                right - g.time.left() + 1,
                                g.time.height()),
                          Qt::AlignRight | Qt::AlignVCenter,
                          index.data(ChatMessageModel::TimeRole).toString());
    }
    painter->restore();
}
