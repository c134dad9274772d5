#include "ui/chatmessagemodel.h"

#include "network/fileuploadernotifier.h"
#include "util/linkparser.h"
#include "util/messagemarkup.h"
#include "util/util.h"

#include <QLocale>
#include <QTextDocument>
#include <QTextOption>

namespace {

// Messages of one sender closer than this read as one run and share a caption.
constexpr qint64 kGroupGapMs = 5 * 60 * 1000;

bool isRobot(const QString &sender)
{
    return sender.startsWith(QLatin1String("robot"));
}

} // namespace

ChatMessageModel::ChatMessageModel(QObject *parent)
    : QAbstractListModel(parent)
{}

ChatMessageModel::~ChatMessageModel() = default;

QString ChatMessageModel::sizeText(qint64 bytes)
{
    if (bytes <= 0)
        return QString();
    const QLocale locale;
    if (bytes < 1024)
        return tr("%1 Б").arg(bytes);
    if (bytes < 1024 * 1024)
        return tr("%1 КБ").arg(locale.toString(bytes / 1024.0, 'f', 1));
    return tr("%1 МБ").arg(locale.toString(bytes / (1024.0 * 1024.0), 'f', 1));
}

QString ChatMessageModel::dayText(const QDate &day, const QDate &today)
{
    if (day == today)
        return tr("Сегодня");
    if (day == today.addDays(-1))
        return tr("Вчера");
    const QString text = QStringLiteral("%1 %2").arg(day.day()).arg(
        Util::getStrMonthPlural(day.month()));
    return day.year() == today.year() ? text : QStringLiteral("%1 %2").arg(text).arg(day.year());
}

QString ChatMessageModel::nameOf(const QString &key) const
{
    const QString name = m_people.nameOf ? m_people.nameOf(key) : QString();
    return name.isEmpty() ? tr("Оператор") : name;
}

QString ChatMessageModel::systemText(const FirebaseChatMessage &message) const
{
    const QString type = message.getType();
    const bool own = message.getSender() == m_people.ownKey;
    const QString who = nameOf(message.getSender());
    if (type == QLatin1String("joined"))
        return own ? tr("Вы подключились к диалогу")
                   : tr("%1 подключился(-ась) к диалогу").arg(who);
    if (type == QLatin1String("left"))
        return own ? tr("Вы покинули диалог") : tr("%1 покинул(а) диалог").arg(who);
    if (type == QLatin1String("invitation")) {
        const QString target = message.getTarget() == m_people.ownKey ? tr("вас")
                                                                      : nameOf(message.getTarget());
        return own ? tr("Вы пригласили в диалог: %1").arg(target)
                   : tr("%1 пригласил(а) в диалог: %2").arg(who, target);
    }
    const QString subtype = message.getSubtype();
    if (subtype == QLatin1String("not_require_answer"))
        return tr("%1: диалог не требует ответа").arg(own ? tr("Вы") : who);
    if (subtype == QLatin1String("end") || subtype == QLatin1String("ended")
        || subtype == QLatin1String("closed"))
        return tr("Диалог завершён");
    if (!message.getText().isEmpty())
        return message.getText();
    return tr("Служебное сообщение");
}

ChatMessageModel::Row ChatMessageModel::rowFor(const FirebaseChatMessage &message) const
{
    Row row;
    row.message = message;
    const QString type = message.getType();
    const QString sender = message.getSender();
    const bool own = !sender.isEmpty() && sender == m_people.ownKey;
    const bool visitor = sender == m_people.visitorKey;
    row.side = visitor ? Left : Right;
    row.colleague = !own && !visitor && !isRobot(sender);
    if (row.colleague)
        row.caption = nameOf(sender);
    if (type == QLatin1String("text") && !isRobot(sender)) {
        row.kind = BubbleRow;
        row.text = message.getText();
        row.webLink = LinkParser::findFirstWebLink(row.text);
    } else if (type == QLatin1String("image")) {
        row.kind = ImageRow;
        row.text = message.getFilename();
    } else if (type == QLatin1String("file")) {
        row.kind = FileRow;
        row.text = message.getFilename();
    } else if (type == QLatin1String("system") && message.getSubtype() == QLatin1String("link")) {
        row.kind = LinkRow;
        row.text = message.getAttributes().getTitle();
        row.caption.clear();
    } else if (type == QLatin1String("system")
               && message.getSubtype() == QLatin1String("pay_link")) {
        row.kind = PaymentRow;
        row.side = Centre;
        row.text = message.getAttributes().getTitle();
        row.caption.clear();
    } else if (type == QLatin1String("system")
               && message.getSubtype() == QLatin1String("introduction")) {
        row.kind = IntroductionRow;
        row.side = Centre;
        row.text = tr("Посетитель представился");
        row.caption.clear();
    } else {
        row.kind = SystemRow;
        row.side = Centre;
        row.caption.clear();
        // A robot's greeting reads as what it is, not as someone's words.
        row.text = type == QLatin1String("text") ? message.getText() : systemText(message);
    }
    return row;
}

bool ChatMessageModel::joins(const Row &previous, const Row &next)
{
    const auto grouped = [](const Row &row) {
        return row.kind == BubbleRow || row.kind == ImageRow || row.kind == FileRow
               || row.kind == LinkRow;
    };
    if (!grouped(previous) || !grouped(next))
        return false;
    if (previous.message.getSender() != next.message.getSender())
        return false;
    const qint64 gap = previous.message.getSentAt().msecsTo(next.message.getSentAt());
    return gap >= 0 && gap < kGroupGapMs;
}

void ChatMessageModel::appendRows(QVector<Row> &rows, const FirebaseChatMessage &message) const
{
    Row row = rowFor(message);
    QDateTime sent = message.getSentAt();
    if (!sent.isValid())
        sent = QDateTime::currentDateTime();
    const QDate day = sent.toLocalTime().date();
    // The last day shown is the last day row's; uploads and the new-messages line carry none.
    QDate lastDay;
    const Row *previous = nullptr;
    for (int i = rows.size() - 1; i >= 0; --i) {
        if (!previous && rows.at(i).kind != NewMessagesRow && rows.at(i).kind != UploadRow)
            previous = &rows.at(i);
        if (rows.at(i).kind == DayRow) {
            lastDay = rows.at(i).day;
            break;
        }
    }
    if (lastDay != day) {
        Row separator;
        separator.kind = DayRow;
        separator.side = Centre;
        separator.day = day;
        rows.append(separator);
        previous = nullptr;
    }
    if (previous && rows.constLast().kind != NewMessagesRow && joins(*previous, row)) {
        rows.last().lastInGroup = false;
        row.firstInGroup = false;
        row.caption.clear();
    }
    rows.append(row);
}

void ChatMessageModel::reindex()
{
    m_rowOfId.clear();
    m_describedLinks.clear();
    for (int i = 0; i < m_rows.size(); ++i) {
        const Row &row = m_rows.at(i);
        const QString id = row.message.getId();
        if (!id.isEmpty() && row.kind != UploadRow && row.kind != DayRow)
            m_rowOfId.insert(id, i);
        if (row.kind == LinkRow)
            m_describedLinks.insert(row.message.getAttributes().getUrl());
    }
}

void ChatMessageModel::setMessages(const QList<FirebaseChatMessage> &messages,
                                   const QString &newFrom)
{
    beginResetModel();
    QVector<Row> uploads;
    for (const Row &row : qAsConst(m_rows)) {
        if (row.kind == UploadRow && row.upload)
            uploads.append(row);
    }
    m_rows.clear();
    m_rows.reserve(messages.size() * 11 / 10 + uploads.size() + 2);
    for (const FirebaseChatMessage &message : messages) {
        if (!newFrom.isEmpty() && message.getId() == newFrom) {
            Row line;
            line.kind = NewMessagesRow;
            line.side = Centre;
            // The day separator goes above the line when the unread ones start a new day.
            appendRows(m_rows, message);
            Row last = m_rows.takeLast();
            if (!m_rows.isEmpty())
                m_rows.last().lastInGroup = true;
            last.firstInGroup = true;
            last.caption = rowFor(message).caption;
            m_rows.append(line);
            m_rows.append(last);
            continue;
        }
        appendRows(m_rows, message);
    }
    m_rows += uploads;
    reindex();
    endResetModel();
}

void ChatMessageModel::addMessage(const FirebaseChatMessage &message)
{
    if (!message.getId().isEmpty() && m_rowOfId.contains(message.getId())) {
        updateMessage(message);
        return;
    }
    const int uploads = uploadCount();
    QVector<Row> tail = m_rows.mid(m_rows.size() - uploads);
    QVector<Row> rows = m_rows.mid(0, m_rows.size() - uploads);
    const int before = rows.size();
    const bool lastJoined = !rows.isEmpty() && rows.constLast().lastInGroup;
    appendRows(rows, message);
    const int added = rows.size() - before;
    beginInsertRows(QModelIndex(), before, before + added - 1);
    m_rows = rows + tail;
    reindex();
    endInsertRows();
    // The previous bubble may have become the inside of a group.
    if (before > 0 && lastJoined && !m_rows.at(before - 1).lastInGroup) {
        m_rows[before - 1].sizeWidth = -1;
        emit dataChanged(index(before - 1), index(before - 1));
    }
    // The service's description of an address takes the place of a bubble's card.
    if (m_rows.at(before + added - 1).kind == LinkRow) {
        const QString described = message.getAttributes().getUrl();
        for (int i = 0; i < before; ++i) {
            if (m_rows.at(i).webLink == described) {
                m_rows[i].sizeWidth = -1;
                emit dataChanged(index(i), index(i), {LinkPreviewRole});
            }
        }
    }
}

void ChatMessageModel::updateMessage(const FirebaseChatMessage &message)
{
    const int row = rowOfMessage(message.getId());
    if (row < 0)
        return;
    Row &entry = m_rows[row];
    const Row fresh = rowFor(message);
    entry.message = message;
    entry.sizeWidth = -1;
    if (entry.text != fresh.text || entry.kind != fresh.kind) {
        entry.text = fresh.text;
        entry.webLink = fresh.webLink;
        entry.kind = fresh.kind;
        entry.document.reset();
    }
    emit dataChanged(index(row), index(row));
}

void ChatMessageModel::clear()
{
    beginResetModel();
    m_rows.clear();
    m_rowOfId.clear();
    m_previews.clear();
    endResetModel();
}

QStringList ChatMessageModel::webLinks() const
{
    QStringList links;
    QSet<QString> seen;
    for (const Row &row : m_rows) {
        if (!row.webLink.isEmpty() && !seen.contains(row.webLink)
            && !m_describedLinks.contains(row.webLink)) {
            seen.insert(row.webLink);
            links.append(row.webLink);
        }
    }
    return links;
}

void ChatMessageModel::setLinkPreview(const QString &url, const LinkPreview &preview)
{
    if (url.isEmpty())
        return;
    const auto known = m_previews.constFind(url);
    if (known != m_previews.constEnd() && known.value() == preview)
        return;
    if (preview.isEmpty() && known == m_previews.constEnd()) {
        m_previews.insert(url, preview);
        return;
    }
    m_previews.insert(url, preview);
    for (int i = 0; i < m_rows.size(); ++i) {
        if (m_rows.at(i).webLink == url) {
            m_rows[i].sizeWidth = -1;
            emit dataChanged(index(i), index(i), {LinkPreviewRole});
        }
    }
}

void ChatMessageModel::clearLinkPreviews()
{
    m_previews.clear();
    for (Row &row : m_rows) {
        if (!row.webLink.isEmpty())
            row.sizeWidth = -1;
    }
    if (!m_rows.isEmpty())
        emit dataChanged(index(0), index(m_rows.size() - 1), {LinkPreviewRole});
}

int ChatMessageModel::uploadCount() const
{
    int count = 0;
    for (int i = m_rows.size() - 1; i >= 0 && m_rows.at(i).kind == UploadRow; --i)
        ++count;
    return count;
}

void ChatMessageModel::addUpload(FileUploaderNotifier *upload)
{
    if (!upload)
        return;
    for (const Row &row : qAsConst(m_rows)) {
        if (row.upload == upload)
            return;
    }
    Row row;
    row.kind = UploadRow;
    row.side = Right;
    row.text = upload->getFileName();
    row.upload = upload;
    row.progress = 0;
    beginInsertRows(QModelIndex(), m_rows.size(), m_rows.size());
    m_rows.append(row);
    endInsertRows();
    connect(upload,
            &FileUploaderNotifier::uploadProgress,
            this,
            [this, upload](qint64 sent, qint64 total) {
                for (int i = 0; i < m_rows.size(); ++i) {
                    if (m_rows.at(i).upload == upload) {
                        m_rows[i].progress = total > 0 ? int(sent * 100 / total) : 0;
                        emit dataChanged(index(i), index(i), {ProgressRole});
                    }
                }
            });
    connect(upload, &FileUploaderNotifier::finished, this, [this, upload] { removeUpload(upload); });
    connect(upload, &FileUploaderNotifier::canceled, this, [this, upload] { removeUpload(upload); });
    connect(upload, &QObject::destroyed, this, [this] { removeUpload(nullptr); });
}

void ChatMessageModel::cancelUpload(int row)
{
    if (row >= 0 && row < m_rows.size() && m_rows.at(row).kind == UploadRow && m_rows.at(row).upload)
        m_rows.at(row).upload->cancel();
}

void ChatMessageModel::removeUpload(FileUploaderNotifier *upload)
{
    for (int i = m_rows.size() - 1; i >= 0; --i) {
        const Row &row = m_rows.at(i);
        if (row.kind == UploadRow && (row.upload == upload || row.upload.isNull())) {
            beginRemoveRows(QModelIndex(), i, i);
            m_rows.remove(i);
            endRemoveRows();
        }
    }
}

FirebaseChatMessage ChatMessageModel::messageAt(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows.at(row).message : FirebaseChatMessage();
}

QStringList ChatMessageModel::imageUrls() const
{
    QStringList urls;
    for (const Row &row : m_rows) {
        if (row.kind == ImageRow && !row.message.getUrl().isEmpty())
            urls.append(row.message.getUrl());
    }
    return urls;
}

void ChatMessageModel::setProgress(int row, int percent)
{
    if (row < 0 || row >= m_rows.size() || m_rows.at(row).progress == percent)
        return;
    m_rows[row].progress = percent;
    emit dataChanged(index(row), index(row), {ProgressRole});
}

QTextDocument *ChatMessageModel::document(int row, int width, const QFont &font) const
{
    if (row < 0 || row >= m_rows.size())
        return nullptr;
    const Row &entry = m_rows.at(row);
    if (!entry.document) {
        entry.document.reset(new QTextDocument);
        entry.document->setDocumentMargin(0);
        entry.document->setDefaultFont(font);
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        entry.document->setDefaultTextOption(option);
        entry.document->setDefaultStyleSheet(QStringLiteral("a { color: #2f6bff; }"));
        const QString &text = entry.text;
        // Most messages are plain words: they skip the HTML parser.
        bool plain = true;
        for (const QChar c : text) {
            if (c.isSurrogate() || c == QLatin1Char('.') || c == QLatin1Char('@')
                || c == QLatin1Char('<') || c == QLatin1Char('&')) {
                plain = false;
                break;
            }
        }
        if (plain)
            entry.document->setPlainText(text);
        else
            entry.document->setHtml(MessageMarkup::fromMessage(text, true).html);
    }
    if (entry.documentWidth != width) {
        entry.document->setTextWidth(width);
        entry.documentWidth = width;
    }
    return entry.document.data();
}

int ChatMessageModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows.size();
}

QVariant ChatMessageModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return QVariant();
    const Row &row = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        switch (row.kind) {
        case DayRow:
            return dayText(row.day, QDate::currentDate());
        case NewMessagesRow:
            return tr("Новые сообщения");
        default:
            return row.text;
        }
    case KindRole:
        return row.kind;
    case SideRole:
        return row.side;
    case CaptionRole:
        return row.caption;
    case TimeRole: {
        if (row.kind == DayRow || row.kind == NewMessagesRow || row.kind == UploadRow)
            return QString();
        const QDateTime sent = row.message.getSentAt();
        return sent.isValid() ? sent.toLocalTime().toString(QStringLiteral("HH:mm")) : QString();
    }
    case StatusRole:
        return row.side == Right && !row.colleague && row.message.getSender() == m_people.ownKey
                       && row.kind != UploadRow
                   ? row.message.getStatus()
                   : QString();
    case MessageIdRole:
        return row.message.getId();
    case UrlRole:
        if (row.kind == PaymentRow)
            return row.message.getAttributes().getLink();
        if (row.kind == LinkRow)
            return row.message.getAttributes().getUrl();
        return row.message.getUrl();
    case FirstInGroupRole:
        return row.firstInGroup;
    case LastInGroupRole:
        return row.lastInGroup;
    case ColleagueRole:
        return row.colleague;
    case ProgressRole:
        return row.progress;
    case SizeTextRole:
        return sizeText(row.kind == UploadRow && row.upload ? row.upload->getFilesize()
                                                            : row.message.getSize());
    case WebLinkRole:
        return row.webLink;
    case LinkPreviewRole: {
        if (row.webLink.isEmpty() || m_describedLinks.contains(row.webLink))
            return QVariant();
        const auto found = m_previews.constFind(row.webLink);
        return found == m_previews.constEnd() || found->isEmpty() ? QVariant()
                                                                  : QVariant::fromValue(*found);
    }
    default:
        return QVariant();
    }
}

QSize ChatMessageModel::cachedSize(int row, int width) const
{
    if (row < 0 || row >= m_rows.size() || m_rows.at(row).sizeWidth != width)
        return QSize();
    return m_rows.at(row).size;
}

void ChatMessageModel::forgetSizes()
{
    for (const Row &row : qAsConst(m_rows))
        row.sizeWidth = -1;
}

void ChatMessageModel::cacheSize(int row, int width, const QSize &size) const
{
    if (row < 0 || row >= m_rows.size())
        return;
    m_rows.at(row).size = size;
    m_rows.at(row).sizeWidth = width;
}
