#include "ui/chathistorymessageswidget.h"
#include "ui_chathistorymessageswidget.h"

#include "util/messagemarkup.h"
#include "util/util.h"

#include <QLabel>
#include <QUrl>

namespace {

enum StackPage { DialogPage = 0, StatePage = 1 };

QString colorAttribute(const char *name, const QColor &color)
{
    return color.isValid() ? QStringLiteral(" %1=\"%2\"").arg(QLatin1String(name), color.name())
                           : QString();
}

QString colorStyle(const QColor &color)
{
    return color.isValid() ? QStringLiteral("color:%1;").arg(color.name()) : QString();
}

QString sizeText(qint64 bytes)
{
    if (bytes <= 0)
        return QString();
    if (bytes < 1024 * 1024)
        return ChatHistoryMessagesWidget::tr("%1 КБ").arg(qMax<qint64>(1, bytes / 1024));
    return ChatHistoryMessagesWidget::tr("%1 МБ").arg(double(bytes) / (1024 * 1024), 0, 'f', 1);
}

QString dayText(const QDate &date)
{
    return QStringLiteral("%1 %2 %3")
        .arg(date.day())
        .arg(Util::getStrMonthPlural(date.month()).toLower())
        .arg(date.year());
}

} // namespace

ChatHistoryMessagesWidget::ChatHistoryMessagesWidget(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ChatHistoryMessagesWidget>())
{
    m_ui->setupUi(this);
    connect(m_ui->pushButton_chatHistoryMessages_retry,
            &QPushButton::clicked,
            this,
            &ChatHistoryMessagesWidget::retry);
    clear();
}

ChatHistoryMessagesWidget::~ChatHistoryMessagesWidget() = default;

void ChatHistoryMessagesWidget::showState(const QString &text, bool retry)
{
    m_ui->label_chatHistoryMessages_state->setText(text);
    m_ui->pushButton_chatHistoryMessages_retry->setVisible(retry);
    m_ui->stackedWidget_chatHistoryMessages->setCurrentIndex(StatePage);
}

void ChatHistoryMessagesWidget::clear()
{
    m_dialog = ApiChatHistoryMesssages();
    m_messages.clear();
    m_ui->textBrowser_chatHistoryMessages_messages->clear();
    showState(tr("Выберите диалог в списке, чтобы прочитать его"), false);
}

void ChatHistoryMessagesWidget::setLoading(bool loading)
{
    if (loading)
        showState(tr("Загружаем диалог…"), false);
}

void ChatHistoryMessagesWidget::showError(const QString &message)
{
    showState(message, true);
}

QString ChatHistoryMessagesWidget::nameOf(const QString &userKey) const
{
    const FirebaseUser user = m_dialog.getUsers().value(userKey);
    const QString alias = user.getAliasForWidget(m_dialog.getChat().getWidgetId()).getName();
    if (!alias.isEmpty())
        return alias;
    if (!user.getName().isEmpty())
        return user.getName();
    return userKey == m_dialog.getChat().getVisitor() ? tr("Посетитель") : tr("Оператор");
}

void ChatHistoryMessagesWidget::addFact(const QString &name, const QString &value)
{
    if (value.trimmed().isEmpty())
        return;
    auto *grid = static_cast<QGridLayout *>(m_ui->frame_chatHistoryMessages_facts->layout());
    const int row = grid->rowCount();
    auto *key = new QLabel(name);
    key->setObjectName(QStringLiteral("label_chatHistoryMessages_factName"));
    auto *shown = new QLabel(value);
    shown->setObjectName(QStringLiteral("label_chatHistoryMessages_factValue"));
    shown->setTextInteractionFlags(Qt::TextBrowserInteraction);
    shown->setWordWrap(true);
    grid->addWidget(key, row, 0, Qt::AlignTop);
    grid->addWidget(shown, row, 1);
}

void ChatHistoryMessagesWidget::setDialog(const ApiChatHistoryMesssages &dialog)
{
    ensurePolished();
    m_dialog = dialog;
    const FirebaseChat chat = dialog.getChat();
    const ApiChatVisitInfo visit = dialog.getVisit();
    QString name = visit.getName();
    if (name.isEmpty())
        name = nameOf(chat.getVisitor());
    m_ui->label_chatHistoryMessages_name->setText(name);
    QStringList subtitle;
    const QString site = visit.getSite().isEmpty() ? QUrl(chat.getLink()).host() : visit.getSite();
    if (!site.isEmpty())
        subtitle << site;
    if (chat.getCreatedAt().isValid())
        subtitle << chat.getCreatedAt().toLocalTime().toString(QStringLiteral("dd.MM.yyyy HH:mm"));
    subtitle << tr("сообщений: %1").arg(chat.getMessageCount());
    m_ui->label_chatHistoryMessages_subtitle->setText(subtitle.join(QStringLiteral(" · ")));

    Util::clearLayout(m_ui->frame_chatHistoryMessages_facts->layout());
    addFact(tr("E-mail"), visit.getEmail());
    addFact(tr("Телефон"), visit.getPhone());
    addFact(tr("Местоположение"), visit.getIpPlace());
    addFact(tr("IP-адрес"), visit.getIp());
    const QString page = visit.getLastUrl().isEmpty() ? chat.getLink() : visit.getLastUrl();
    if (!page.isEmpty())
        addFact(tr("Страница"),
                QStringLiteral("<a href=\"%1\" style=\"%2\">%3</a>")
                    .arg(page.toHtmlEscaped(),
                         colorStyle(m_accent),
                         QUrl(page).toDisplayString().toHtmlEscaped()));
    addFact(tr("Откуда пришёл"), visit.getReferrer());
    if (visit.getVisitQuant() > 0)
        addFact(tr("Визитов"), QString::number(visit.getVisitQuant()));
    if (visit.getChatQuant() > 0)
        addFact(tr("Диалогов"), QString::number(visit.getChatQuant()));
    if (visit.getCreatedAt().isValid())
        addFact(tr("Первый визит"),
                visit.getCreatedAt().toLocalTime().toString(QStringLiteral("dd.MM.yyyy HH:mm")));
    const QHash<QString, QString> marks = visit.getUtmMarks();
    QStringList utm;
    for (auto it = marks.constBegin(); it != marks.constEnd(); ++it)
        utm << it.key() + QStringLiteral(": ") + it.value();
    utm.sort();
    addFact(tr("UTM-метки"), utm.join(QStringLiteral(", ")));
    QStringList operators;
    for (const QString &key : chat.getOperators()) {
        if (!key.isEmpty() && !operators.contains(nameOf(key)))
            operators << nameOf(key);
    }
    addFact(tr("Операторы"), operators.join(QStringLiteral(", ")));
    m_ui->frame_chatHistoryMessages_facts->setVisible(
        !m_ui->frame_chatHistoryMessages_facts->layout()->isEmpty());
    m_ui->stackedWidget_chatHistoryMessages->setCurrentIndex(DialogPage);
}

void ChatHistoryMessagesWidget::setMessages(const QList<FirebaseChatMessage> &messages)
{
    m_messages = messages;
    render();
}

void ChatHistoryMessagesWidget::addMessage(const FirebaseChatMessage &message)
{
    m_messages.append(message);
    render();
}

void ChatHistoryMessagesWidget::updateMessage(const FirebaseChatMessage &message)
{
    for (FirebaseChatMessage &shown : m_messages) {
        if (shown.getId() == message.getId())
            shown = message;
    }
    render();
}

void ChatHistoryMessagesWidget::clearMessages()
{
    m_messages.clear();
    render();
}

QString ChatHistoryMessagesWidget::messagesText() const
{
    return m_ui->textBrowser_chatHistoryMessages_messages->toPlainText();
}

QString ChatHistoryMessagesWidget::messageHtml(const FirebaseChatMessage &message) const
{
    const FirebaseChat chat = m_dialog.getChat();
    const QString sender = message.getSender();
    const QString name = nameOf(sender).toHtmlEscaped();
    const QString time = message.getSentAt().toLocalTime().toString(QStringLiteral("HH:mm"));
    const QString type = message.getType();
    const auto centred = [&](const QString &text) {
        return QStringLiteral("<p align=\"center\" style=\"%1 font-size:12px;\">%2 · %3</p>")
            .arg(colorStyle(m_muted), text, time);
    };
    const auto link = [&](const QString &url, const QString &text) {
        return QStringLiteral("<a href=\"%1\" style=\"%2\">%3</a>")
            .arg(url.toHtmlEscaped(), colorStyle(m_accent), text.toHtmlEscaped());
    };

    if (type == QLatin1String("joined"))
        return centred(tr("%1 подключился к диалогу").arg(name));
    if (type == QLatin1String("left"))
        return centred(tr("%1 отключился от диалога").arg(name));
    if (type == QLatin1String("invitation"))
        return centred(
            tr("%1 пригласил в диалог: %2").arg(name, nameOf(message.getTarget()).toHtmlEscaped()));

    QString body;
    if (type == QLatin1String("image") || type == QLatin1String("file")) {
        const QString file = message.getFilename().isEmpty() ? QUrl(message.getUrl()).fileName()
                                                             : message.getFilename();
        const QString size = sizeText(message.getSize());
        body = (type == QLatin1String("image") ? tr("Изображение: %1") : tr("Файл: %1"))
                   .arg(link(message.getUrl(), file))
               + (size.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(size));
    } else if (message.getSubtype() == QLatin1String("pay_link")) {
        const FirebaseChatMessageAttributes pay = message.getAttributes();
        body = tr("Ссылка на оплату: %1, %2 %3")
                   .arg(link(pay.getLink(), pay.getTitle()),
                        pay.getAmount().toHtmlEscaped(),
                        pay.getCurrencyText().toHtmlEscaped());
    } else {
        QString text = message.getText();
        if (text.isEmpty())
            text = message.getSubtype();
        body = MessageMarkup::fromMessage(text, true).html;
    }
    // The robot's and the service's messages are events, not a side of the talk.
    if (type == QLatin1String("system") || sender == chat.getRobot() || sender.isEmpty())
        return centred(body);

    const bool visitor = sender == chat.getVisitor();
    const QString align = visitor ? QStringLiteral("left") : QStringLiteral("right");
    return QStringLiteral("<table width=\"100%\" cellspacing=\"0\" cellpadding=\"0\" "
                          "style=\"margin-top:8px;\"><tr><td align=\"%1\">"
                          "<p align=\"%1\" style=\"%2 font-size:11px; margin-bottom:2px;\">"
                          "%3 · %4</p>"
                          "<table align=\"%1\" cellspacing=\"0\" cellpadding=\"9\"%5>"
                          "<tr><td>%6</td></tr></table></td></tr></table>")
        .arg(align,
             colorStyle(m_muted),
             name,
             time,
             colorAttribute("bgcolor", visitor ? m_visitorBubble : m_operatorBubble),
             body);
}

void ChatHistoryMessagesWidget::render()
{
    // The colours are the style sheet's; it must have been applied before they are read.
    ensurePolished();
    if (m_accent.isValid())
        m_ui->textBrowser_chatHistoryMessages_messages->document()->setDefaultStyleSheet(
            QStringLiteral("a { color: %1; }").arg(m_accent.name()));
    QString html;
    QDate day;
    for (const FirebaseChatMessage &message : qAsConst(m_messages)) {
        const QDate date = message.getSentAt().toLocalTime().date();
        if (date.isValid() && date != day) {
            day = date;
            html += QStringLiteral("<p align=\"center\" style=\"%1 font-size:11px; "
                                   "margin-top:12px;\">%2</p>")
                        .arg(colorStyle(m_muted), dayText(date));
        }
        html += messageHtml(message);
    }
    if (m_messages.isEmpty() && m_dialog.getChat().getApiId() > 0)
        html = QStringLiteral("<p align=\"center\" style=\"%1\">%2</p>")
                   .arg(colorStyle(m_muted), tr("В диалоге нет сообщений"));
    m_ui->textBrowser_chatHistoryMessages_messages->setHtml(html);
}
