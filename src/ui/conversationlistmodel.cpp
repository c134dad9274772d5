#include "ui/conversationlistmodel.h"

#include "repo/authsession.h"
#include "repo/chatsrepository.h"
#include "repo/usersrepository.h"
#include "repo/visitorsrepository.h"

namespace {

QString aliasName(const FirebaseUser &user, qint64 widgetId)
{
    const QString alias = user.getAliasForWidget(widgetId).getName();
    return alias.isEmpty() ? user.getName() : alias;
}

} // namespace

ConversationRow ConversationRow::fromChat(const QString &chatId)
{
    const FirebaseChat chat = ChatsRepository::getInstance()->getChatById(chatId);
    const UsersRepository *users = UsersRepository::getInstance();
    const qint64 widgetId = chat.getWidgetId();
    const FirebaseLastMessage last = chat.getLastMessage();
    ConversationRow row;
    row.chatId = chatId;

    const FirebaseUser visitor = users->getUserById(chat.getVisitor());
    row.name = visitor.getName().isEmpty() ? QObject::tr("Посетитель") : visitor.getName();
    row.photo = visitor.getPhoto();
    row.integration = visitor.getIntegrationType();
    // A messenger's visitor is not on a site: no online mark for them.
    row.online = visitor.getOnline() && row.integration != QLatin1String("vk");
    row.sentAt = last.getSentAt().isValid() ? last.getSentAt() : chat.getCreatedAt();
    const ApiChatWidget widget = AuthSession::getInstance()->getApiChatWidgets().value(widgetId);
    row.site = widget.getSiteName();

    for (const QString &key : chat.getOperators()) {
        if (key.isEmpty())
            continue;
        const FirebaseUser op = users->getUserById(key);
        const FirebaseUserAlias alias = op.getAliasForWidget(widgetId);
        row.operators.append({alias.getPhoto().isEmpty() ? op.getPhoto() : alias.getPhoto(),
                              aliasName(op, widgetId)});
    }

    const QString type = last.getType();
    const FirebaseUser sender = users->getUserById(last.getSender());
    if (type == QLatin1String("text"))
        row.preview = last.getText();
    else if (type == QLatin1String("invitation"))
        row.preview = QObject::tr("%1, подключитесь к диалогу, пожалуйста.")
                          .arg(aliasName(users->getUserById(last.getTarget()), widgetId));
    else if (type == QLatin1String("joined"))
        row.preview = QObject::tr("%1 подключился к диалогу.").arg(aliasName(sender, widgetId));
    else if (type == QLatin1String("left"))
        row.preview = QObject::tr("%1 отключился от диалога.").arg(aliasName(sender, widgetId));
    else if (type == QLatin1String("image"))
        row.preview = QObject::tr("Изображение");
    else if (type == QLatin1String("file"))
        row.preview = QObject::tr("Файл");
    else
        row.preview = last.getText();
    row.preview = row.preview.simplified();
    const bool byPeople = type == QLatin1String("text") || type == QLatin1String("image")
                          || type == QLatin1String("file");
    if (byPeople && !last.getSender().isEmpty() && last.getSender() != chat.getVisitor()) {
        row.sender = last.getSender() == AuthSession::getInstance()->getUserId()
                         ? QObject::tr("Вы")
                         : aliasName(sender, widgetId);
    }
    row.read = last.getStatus() == QLatin1String("read");

    // The visitor typing comes first; otherwise a colleague.
    const QString own = AuthSession::getInstance()->getUserId();
    const QMap<QString, QString> activity = chat.getUserActivity();
    QString typist;
    for (auto it = activity.constBegin(); it != activity.constEnd(); ++it) {
        if (users->getUserById(it.key()).getRole() == QLatin1String("visitor")
            || it.key() == chat.getVisitor()) {
            typist = it.key();
            break;
        }
        if (typist.isEmpty() && it.key() != own)
            typist = it.key();
    }
    if (!typist.isEmpty()) {
        row.typing = true;
        row.typingName = typist == chat.getVisitor()
                             ? QString()
                             : aliasName(users->getUserById(typist), widgetId);
        row.typingText = chat.getUserText(typist).simplified();
    }

    row.unreadCount = chat.getUnreadCount();
    row.badge = row.unreadCount >= 1 ? QStringLiteral("+%1").arg(row.unreadCount) : QString();
    row.frameName = row.unreadCount >= 1 ? QStringLiteral("frame_conversationListItem_selected")
                                         : QStringLiteral("frame_conversationListItem");
    if (!chat.getVisitor().isEmpty() && last.getSender() == chat.getVisitor()
        && !chat.getNoAnswerRequired())
        row.waitingSince = last.getSentAt();
    row.messageCount = chat.getMessageCount();
    return row;
}

ConversationListModel::ConversationListModel(QObject *parent)
    : QAbstractListModel(parent)
{}

int ConversationListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_ids.size();
}

const ConversationRow &ConversationListModel::row(int index) const
{
    const QString &id = m_ids.at(index);
    auto found = m_rows.find(id);
    if (found == m_rows.end())
        found = m_rows.insert(id, ConversationRow::fromChat(id));
    return found.value();
}

QString ConversationListModel::previewText(const ConversationRow &row)
{
    if (row.typing) {
        const QString who = row.typingName.isEmpty() ? tr("печатает")
                                                     : tr("%1 печатает").arg(row.typingName);
        return row.typingText.isEmpty() ? QString(who + QStringLiteral("…"))
                                        : QString(who + QStringLiteral(": ") + row.typingText);
    }
    return row.sender.isEmpty() ? row.preview
                                : QString(row.sender + QStringLiteral(": ") + row.preview);
}

QVariant ConversationListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_ids.size())
        return {};
    if (role == ChatIdRole)
        return m_ids.at(index.row());
    const ConversationRow &r = row(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return r.name;
    case PreviewRole:
        return previewText(r);
    case BadgeRole:
        return r.badge;
    case FrameNameRole:
        return r.frameName;
    case SearchRole: {
        const QString visitor = ChatsRepository::getInstance()->getChatById(r.chatId).getVisitor();
        return QString(r.name + QLatin1Char('\n') + r.preview + QLatin1Char('\n')
                       + VisitorsRepository::getInstance()->getVisitorById(visitor).getEmail());
    }
    default:
        return {};
    }
}

void ConversationListModel::setChats(const QStringList &chatIds)
{
    beginResetModel();
    m_ids = chatIds;
    m_rows.clear();
    endResetModel();
}

void ConversationListModel::insertChat(const QString &chatId, int row)
{
    row = qBound(0, row, m_ids.size());
    beginInsertRows(QModelIndex(), row, row);
    m_ids.insert(row, chatId);
    m_rows.remove(chatId);
    endInsertRows();
}

void ConversationListModel::updateChat(const QString &chatId, int row)
{
    const int from = m_ids.indexOf(chatId);
    if (from < 0) {
        insertChat(chatId, row);
        return;
    }
    m_rows.remove(chatId);
    row = qBound(0, row, m_ids.size() - 1);
    if (row != from) {
        // beginMoveRows counts the destination before the move.
        beginMoveRows(QModelIndex(), from, from, QModelIndex(), row > from ? row + 1 : row);
        m_ids.move(from, row);
        endMoveRows();
    }
    const QModelIndex at = index(row);
    emit dataChanged(at, at);
}

void ConversationListModel::removeChat(const QString &chatId)
{
    const int row = m_ids.indexOf(chatId);
    if (row < 0)
        return;
    beginRemoveRows(QModelIndex(), row, row);
    m_ids.removeAt(row);
    m_rows.remove(chatId);
    endRemoveRows();
}
