#include "ui/chatwidget.h"

#include "app/appsettings.h"
#include "network/fileuploadernotifier.h"
#include "network/linkpreviewfetcher.h"
#include "repo/authsession.h"
#include "repo/chatrepository.h"
#include "repo/downloadnotifier.h"
#include "repo/resourcemanager.h"
#include "repo/usersrepository.h"
#include "ui/chatavatar.h"
#include "ui/chatmessagedelegate.h"
#include "ui/chatmessagemodel.h"
#include "ui/emojipicker.h"
#include "ui/imageviewer.h"
#include "ui/paymentdialog.h"
#include "ui/quickanswerspanel.h"
#include "ui_chatwidget.h"
#include "util/util.h"

#include <QDesktopServices>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMimeData>
#include <QScrollBar>
#include <QTextBrowser>
#include <QTextDocument>
#include <QUrl>

namespace {

QStringList localFiles(const QMimeData *data)
{
    QStringList paths;
    if (!data || !data->hasUrls())
        return paths;
    for (const QUrl &url : data->urls()) {
        if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isFile())
            paths << url.toLocalFile();
    }
    return paths;
}

} // namespace

ChatWidget::ChatWidget(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ChatWidget>())
    , m_model(new ChatMessageModel(this))
    , m_delegate(new ChatMessageDelegate(this))
    , m_previews(new LinkPreviewFetcher(this))
{
    m_ui->setupUi(this);
    setAcceptDrops(true);
    const AppSettings *settings = AppSettings::instance();
    m_previews->setAllowedPrivateHosts(
        {QUrl(QStringLiteral("https://") + settings->getApiHost()).host(),
         QUrl(settings->getFirebaseDatabaseUrl()).host()});

    QListView *list = m_ui->listView_chatWidget_messages;
    list->setModel(m_model);
    list->setItemDelegate(m_delegate);
    m_delegate->setView(list);
    list->setUniformItemSizes(false);
    list->setResizeMode(QListView::Adjust);
    list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setSelectionMode(QAbstractItemView::NoSelection);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list->setFocusPolicy(Qt::NoFocus);
    list->setMouseTracking(true);
    list->verticalScrollBar()->setSingleStep(24);
    list->viewport()->installEventFilter(this);
    list->installEventFilter(this);

    m_jump = new QPushButton(list);
    m_jump->setObjectName(QStringLiteral("pushButton_chatWidget_jump"));
    m_jump->setIcon(QIcon(QStringLiteral(":/resources/images/icons/arrow-down-accent.svg")));
    m_jump->setCursor(Qt::PointingHandCursor);
    m_jump->setToolTip(tr("К последним сообщениям"));
    m_jump->hide();
    connect(m_jump, &QPushButton::clicked, this, [this] {
        m_ui->listView_chatWidget_messages->scrollToBottom();
    });

    // Text under the mouse is a real text browser, so that it selects, copies and opens links.
    m_textOverlay = new QTextBrowser(list->viewport());
    m_textOverlay->setObjectName(QStringLiteral("textBrowser_chatWidget_selectable"));
    m_textOverlay->setOpenExternalLinks(true);
    m_textOverlay->setFrameShape(QFrame::NoFrame);
    m_textOverlay->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_textOverlay->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_textOverlay->setLineWrapMode(QTextEdit::FixedPixelWidth);
    m_textOverlay->document()->setDocumentMargin(0);
    m_textOverlay->viewport()->setAutoFillBackground(false);
    m_textOverlay->hide();

    connect(list->verticalScrollBar(), &QScrollBar::valueChanged, this, [this](int value) {
        const QScrollBar *bar = m_ui->listView_chatWidget_messages->verticalScrollBar();
        m_stickToBottom = value >= bar->maximum() - 4;
        if (m_stickToBottom)
            m_unseen = 0;
        hideTextOverlay();
        updateJumpButton();
    });
    connect(list->verticalScrollBar(), &QScrollBar::rangeChanged, this, [this](int, int maximum) {
        if (m_stickToBottom)
            m_ui->listView_chatWidget_messages->verticalScrollBar()->setValue(maximum);
        updateJumpButton();
    });
    connect(m_delegate, &ChatMessageDelegate::thumbnailReady, this, [this] {
        // A picture's real size replaces its placeholder's.
        m_model->forgetSizes();
        m_ui->listView_chatWidget_messages->doItemsLayout();
    });
    connect(m_previews, &LinkPreviewFetcher::finished, this, &ChatWidget::showPreview);
    connect(AppSettings::instance(), &AppSettings::linkPreviewsChanged, this, [this](bool enabled) {
        if (enabled) {
            requestPreviews();
            return;
        }
        m_model->clearLinkPreviews();
        m_ui->listView_chatWidget_messages->doItemsLayout();
    });

    m_quickAnswers = new QuickAnswersPanel(m_ui->widget_chatWidget_quickAnswers);
    m_ui->verticalLayout_chatWidget_quickAnswers->addWidget(m_quickAnswers);
    m_ui->widget_chatWidget_quickAnswers->hide();
    connect(m_quickAnswers, &QuickAnswersPanel::chosen, this, &ChatWidget::insertQuickAnswer);
    connect(m_quickAnswers, &QuickAnswersPanel::editRequested, this, &ChatWidget::editAnswer);
    connect(m_quickAnswers, &QuickAnswersPanel::deleteRequested, this, &ChatWidget::deleteAnswer);
    connect(m_quickAnswers, &QuickAnswersPanel::saveRequested, this, [this](int kind) {
        const QString text = m_ui->plainTextEdit_chatWidget_input->toPlainText().trimmed();
        if (!text.isEmpty())
            emit newAnswer(kind, text);
    });

    ChatInputEdit *input = m_ui->plainTextEdit_chatWidget_input;
    input->installEventFilter(this);
    connect(input, &QPlainTextEdit::textChanged, this, &ChatWidget::onInputChanged);
    connect(input, &ChatInputEdit::imagePasted, this, &ChatWidget::imageInserted);
    connect(input, &ChatInputEdit::filesDropped, this, [this](const QStringList &paths) {
        for (const QString &path : paths)
            emit uploadFile(path);
    });
    connect(m_ui->pushButton_chatWidget_send, &QPushButton::clicked, this, &ChatWidget::send);
    connect(m_ui->pushButton_chatWidget_connect, &QPushButton::clicked, this, [this] {
        emit connectedToDialog(m_chatId);
    });
    connect(m_ui->pushButton_chatWidget_unblock,
            &QPushButton::clicked,
            this,
            &ChatWidget::unblockChat);
    connect(m_ui->toolButton_chatWidget_attach,
            &QToolButton::clicked,
            this,
            &ChatWidget::attachFiles);
    connect(m_ui->toolButton_chatWidget_payment,
            &QToolButton::clicked,
            this,
            &ChatWidget::openPaymentDialog);
    connect(m_ui->toolButton_chatWidget_quickAnswers, &QToolButton::clicked, this, [this] {
        const bool open = !m_ui->widget_chatWidget_quickAnswers->isVisible();
        m_quickBySlash = false;
        if (open) {
            m_quickAnswers->setFilter(QString());
            emit showAllQuickAnswers();
        }
        setQuickAnswersOpen(open);
    });
    connect(m_ui->toolButton_chatWidget_emoji, &QToolButton::clicked, this, [this] {
        if (!m_emoji) {
            m_emoji = new EmojiPicker(this);
            connect(m_emoji, &EmojiPicker::emojiChosen, this, [this](const QString &emoji) {
                m_ui->plainTextEdit_chatWidget_input->insertPlainText(emoji);
                m_ui->plainTextEdit_chatWidget_input->setFocus();
            });
        }
        m_emoji->popup(m_ui->toolButton_chatWidget_emoji);
    });

    const bool ctrl = AppSettings::instance()->sendMessageKeySequence()
                      == AppSettings::CtrlEnterToSend;
    m_ui->label_chatWidget_sendHint->setText(ctrl ? tr("Ctrl+Enter — отправить")
                                                  : tr("Enter — отправить"));
    m_ui->toolButton_chatWidget_payment->hide();
    m_ui->label_chatWidget_typing->hide();
    m_ui->label_chatWidget_offline->hide();
    m_ui->label_chatWidget_error->hide();
    updateBars();
}

ChatWidget::~ChatWidget() = default;

void ChatWidget::setMessages(const QList<FirebaseChatMessage> &messages)
{
    const QString chatId = ChatRepository::getInstance()
                               ? ChatRepository::getInstance()->getChatId()
                               : QString();
    if (chatId != m_chatId) {
        saveDraft();
        m_chatId = chatId;
        m_settingText = true;
        m_ui->plainTextEdit_chatWidget_input->setPlainText(m_drafts.value(chatId));
        m_ui->plainTextEdit_chatWidget_input->moveCursor(QTextCursor::End);
        m_settingText = false;
    }
    m_hasChat = true;
    ChatMessageModel::People people;
    people.ownKey = AuthSession::getInstance() ? AuthSession::getInstance()->getUserId()
                                               : QString();
    people.visitorKey = m_visitor.getId();
    const qint64 widgetId = m_widgetId;
    people.nameOf = [widgetId](const QString &key) {
        UsersRepository *users = UsersRepository::getInstance();
        if (!users)
            return QString();
        const FirebaseUser user = users->getUserById(key);
        const QString alias = user.getAliasForWidget(widgetId).getName();
        return alias.isEmpty() ? user.getName() : alias;
    };
    m_model->setPeople(people);
    // The visitor's trailing messages that nobody has read yet are the new ones.
    QString newFrom;
    for (int i = messages.size() - 1; i >= 0; --i) {
        const FirebaseChatMessage &message = messages.at(i);
        if (message.getSender() != people.visitorKey || message.getStatus() == QLatin1String("read"))
            break;
        newFrom = message.getId();
    }
    m_downloaded.clear();
    ResourceManager *resources = ResourceManager::getInstance();
    for (const FirebaseChatMessage &message : messages) {
        if (resources && message.getType() == QLatin1String("file")
            && resources->isFileDownloaded(message.getFilename()))
            m_downloaded.insert(message.getUrl());
    }
    m_delegate->setDownloaded(m_downloaded);
    hideTextOverlay();
    m_model->setMessages(messages, newFrom);
    requestPreviews();
    m_stickToBottom = true;
    m_unseen = 0;
    m_ui->listView_chatWidget_messages->scrollToBottom();
    updateBars();
    updateJumpButton();
}

void ChatWidget::addMessage(const FirebaseChatMessage &message)
{
    const bool shown = m_model->rowOfMessage(message.getId()) >= 0;
    m_model->addMessage(message);
    requestPreviews();
    if (!shown && !m_stickToBottom) {
        ++m_unseen;
        updateJumpButton();
    }
}

void ChatWidget::updateMessage(const FirebaseChatMessage &message)
{
    m_model->updateMessage(message);
    requestPreviews();
}

void ChatWidget::requestPreviews()
{
    if (!AppSettings::instance()->linkPreviews())
        return;
    bool shown = false;
    const QStringList links = m_model->webLinks();
    for (const QString &url : links) {
        if (m_model->hasLinkPreview(url))
            continue;
        LinkPreview preview;
        if (m_previews->cached(url, &preview)) {
            m_model->setLinkPreview(url, preview);
            shown = shown || !preview.isEmpty();
        } else {
            m_previews->fetch(url);
        }
    }
    if (shown)
        m_ui->listView_chatWidget_messages->doItemsLayout();
}

void ChatWidget::showPreview(const QString &url, const LinkPreview &preview)
{
    // A page of a chat left since, or one that comes after previews were turned off, waits in
    // the fetcher's cache until it is wanted.
    if (!AppSettings::instance()->linkPreviews() || !m_model->webLinks().contains(url))
        return;
    m_model->setLinkPreview(url, preview);
    if (!preview.isEmpty())
        m_ui->listView_chatWidget_messages->doItemsLayout();
}

void ChatWidget::clearMessages()
{
    hideTextOverlay();
    m_model->clear();
    m_unseen = 0;
    updateJumpButton();
}

void ChatWidget::saveDraft()
{
    if (m_chatId.isEmpty())
        return;
    const QString text = m_ui->plainTextEdit_chatWidget_input->toPlainText();
    if (text.trimmed().isEmpty())
        m_drafts.remove(m_chatId);
    else
        m_drafts.insert(m_chatId, text);
}

void ChatWidget::clear()
{
    saveDraft();
    m_chatId.clear();
    m_settingText = true;
    m_ui->plainTextEdit_chatWidget_input->clear();
    m_settingText = false;
    clearMessages();
    m_hasChat = false;
    m_visitor = FirebaseUser();
    m_widgetId = 0;
    m_blocked = false;
    m_connected = true;
    setTyping({});
    setQuickAnswersOpen(false);
    m_ui->label_chatWidget_offline->hide();
    m_ui->label_chatWidget_error->hide();
    m_ui->toolButton_chatWidget_payment->hide();
    if (m_payment)
        m_payment->close();
    updateHeader();
    updateBars();
}

void ChatWidget::setConnectedState(bool connected)
{
    m_connected = connected;
    m_hasChat = true;
    updateBars();
}

void ChatWidget::setVisitorBlocked(bool blocked)
{
    m_blocked = blocked;
    updateBars();
}

void ChatWidget::updateBars()
{
    m_ui->frame_chatWidget_notConnected->setVisible(m_hasChat && !m_connected);
    m_ui->frame_chatWidget_blocked->setVisible(m_hasChat && m_blocked);
    // Only a participant writes, and nobody writes to a blocked visitor.
    const bool canWrite = !m_hasChat || (m_connected && !m_blocked);
    m_ui->widget_chatWidget_inputArea->setVisible(canWrite);
    if (!canWrite)
        setQuickAnswersOpen(false);
}

void ChatWidget::setWidgetId(qint64 widgetId)
{
    m_widgetId = widgetId;
    updateHeader();
}

void ChatWidget::setVisitor(const FirebaseUser &visitor)
{
    const bool changed = visitor.getPhoto() != m_visitor.getPhoto();
    m_visitor = visitor;
    m_online = visitor.getOnline();
    updateHeader();
    ResourceManager *resources = ResourceManager::getInstance();
    if (changed && resources && visitor.getPhoto().startsWith(QLatin1String("http"))) {
        const QString id = visitor.getId();
        resources->getFileFromUrlAsync(visitor.getPhoto(), this, [this, id](const QString &path) {
            if (id != m_visitor.getId() || path.isEmpty())
                return;
            const QImage photo(path);
            m_ui->label_chatWidget_avatar->setPixmap(
                ChatAvatar::paint(m_visitor.getName(), photo, 40, m_online, devicePixelRatioF()));
        });
    }
}

void ChatWidget::setVisitorState(bool online, bool hasEmail)
{
    m_online = online;
    m_ui->label_chatWidget_offline->setVisible(!online && hasEmail);
    updateHeader();
}

void ChatWidget::updateHeader()
{
    const QString name = m_visitor.getName().isEmpty() ? tr("Посетитель") : m_visitor.getName();
    m_ui->label_chatWidget_name->setText(m_hasChat || !m_visitor.getId().isEmpty() ? name
                                                                                   : QString());
    m_ui->label_chatWidget_avatar->setPixmap(
        m_visitor.getId().isEmpty()
            ? QPixmap()
            : ChatAvatar::paint(name, QImage(), 40, m_online, devicePixelRatioF()));
    QStringList parts;
    if (!m_visitor.getId().isEmpty()) {
        if (m_online)
            parts << tr("в сети");
        else if (m_visitor.getLastActiveAt().isValid())
            parts << tr("был(а) %1").arg(Util::getStrRelativeTime(m_visitor.getLastActiveAt()));
        else
            parts << tr("не в сети");
    }
    AuthSession *session = AuthSession::getInstance();
    if (session && m_widgetId > 0) {
        const ApiChatWidget widget = session->getApiChatWidgets().value(m_widgetId);
        if (!widget.getSiteName().isEmpty())
            parts << widget.getSiteName();
        if (!widget.getName().isEmpty())
            parts << tr("Виджет «%1»").arg(widget.getName());
    }
    m_ui->label_chatWidget_state->setText(parts.join(QStringLiteral(" · ")));
    m_ui->frame_chatWidget_header->setVisible(!m_visitor.getId().isEmpty());
}

void ChatWidget::setTyping(const QList<ChatTyping> &typing)
{
    QStringList lines;
    for (const ChatTyping &entry : typing) {
        if (entry.visitor) {
            QString line = tr("Посетитель печатает…").toHtmlEscaped();
            if (!entry.text.trimmed().isEmpty())
                line += QStringLiteral(" <b>%1</b>").arg(entry.text.trimmed().toHtmlEscaped());
            lines.prepend(line);
        } else {
            lines << tr("%1 печатает…").arg(entry.name).toHtmlEscaped();
        }
    }
    m_ui->label_chatWidget_typing->setText(lines.join(QStringLiteral("<br>")));
    m_ui->label_chatWidget_typing->setVisible(!lines.isEmpty());
}

void ChatWidget::setUploads(const QList<FileUploaderNotifier *> &uploads)
{
    for (FileUploaderNotifier *upload : uploads)
        addUpload(upload);
}

void ChatWidget::addUpload(FileUploaderNotifier *upload)
{
    m_model->addUpload(upload);
    m_ui->listView_chatWidget_messages->scrollToBottom();
}

void ChatWidget::setPaymentAllowed(bool allowed)
{
    m_ui->toolButton_chatWidget_payment->setVisible(allowed);
}

void ChatWidget::setPaymentResult(bool sent, const QString &message)
{
    if (m_payment)
        m_payment->setResult(sent, message);
    else if (!sent)
        showError(message);
}

void ChatWidget::setQuickAnswers(const QList<FirebaseQuickAnswer> &answers)
{
    m_quickAnswers->setAnswers(answers);
}

void ChatWidget::setLastHost(const QString &host)
{
    m_quickAnswers->setLastHost(host);
}

void ChatWidget::showError(const QString &message)
{
    m_ui->label_chatWidget_error->setText(message);
    m_ui->label_chatWidget_error->setVisible(!message.isEmpty());
}

void ChatWidget::send()
{
    ChatInputEdit *input = m_ui->plainTextEdit_chatWidget_input;
    const QString text = input->toPlainText();
    if (text.trimmed().isEmpty())
        return;
    m_ui->label_chatWidget_error->hide();
    setQuickAnswersOpen(false);
    input->clear();
    m_drafts.remove(m_chatId);
    m_stickToBottom = true;
    emit sendMessage(text.trimmed());
}

void ChatWidget::onInputChanged()
{
    if (m_settingText)
        return;
    const QString text = m_ui->plainTextEdit_chatWidget_input->toPlainText();
    m_ui->label_chatWidget_error->hide();
    emit messageChanged(text);
    if (text.startsWith(QLatin1Char('/'))) {
        m_quickBySlash = true;
        m_quickAnswers->setFilter(text.mid(1).trimmed());
        m_quickAnswers->setSaveText(QString());
        setQuickAnswersOpen(true);
        emit showQuickAnswers(text);
        return;
    }
    m_quickAnswers->setSaveText(text);
    if (m_quickBySlash) {
        m_quickBySlash = false;
        setQuickAnswersOpen(false);
    }
}

void ChatWidget::setQuickAnswersOpen(bool open)
{
    m_ui->widget_chatWidget_quickAnswers->setVisible(open);
    m_ui->toolButton_chatWidget_quickAnswers->setChecked(open);
}

void ChatWidget::insertQuickAnswer(const QString &text)
{
    if (text.isEmpty())
        return;
    ChatInputEdit *input = m_ui->plainTextEdit_chatWidget_input;
    m_quickBySlash = false;
    if (input->toPlainText().startsWith(QLatin1Char('/')))
        input->setPlainText(text);
    else
        input->insertPlainText(text);
    input->moveCursor(QTextCursor::End);
    setQuickAnswersOpen(false);
    input->setFocus();
}

bool ChatWidget::handleInputKey(QKeyEvent *event)
{
    const int key = event->key();
    const bool panel = m_ui->widget_chatWidget_quickAnswers->isVisible();
    if (panel) {
        if (key == Qt::Key_Up || key == Qt::Key_Down) {
            m_quickAnswers->moveSelection(key == Qt::Key_Up ? -1 : 1);
            return true;
        }
        if ((key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Tab)
            && !m_quickAnswers->currentText().isEmpty()
            && !(event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier))) {
            insertQuickAnswer(m_quickAnswers->currentText());
            return true;
        }
        if (key == Qt::Key_Escape) {
            m_quickBySlash = false;
            setQuickAnswersOpen(false);
            return true;
        }
    }
    if (key != Qt::Key_Return && key != Qt::Key_Enter)
        return false;
    const bool ctrl = event->modifiers() & Qt::ControlModifier;
    const bool shift = event->modifiers() & Qt::ShiftModifier;
    const bool ctrlSends = AppSettings::instance()->sendMessageKeySequence()
                           == AppSettings::CtrlEnterToSend;
    if ((ctrlSends && ctrl) || (!ctrlSends && !ctrl && !shift))
        send();
    else
        m_ui->plainTextEdit_chatWidget_input->insertPlainText(QStringLiteral("\n"));
    return true;
}

bool ChatWidget::eventFilter(QObject *watched, QEvent *event)
{
    QListView *list = m_ui->listView_chatWidget_messages;
    if (watched == m_ui->plainTextEdit_chatWidget_input && event->type() == QEvent::KeyPress)
        return handleInputKey(static_cast<QKeyEvent *>(event));
    if (watched == list->viewport()) {
        if (event->type() == QEvent::MouseButtonRelease) {
            auto *mouse = static_cast<QMouseEvent *>(event);
            if (mouse->button() == Qt::LeftButton)
                onViewportClick(mouse->pos());
        } else if (event->type() == QEvent::MouseMove) {
            onViewportHover(static_cast<QMouseEvent *>(event)->pos());
        }
    }
    if (watched == list && event->type() == QEvent::Resize)
        placeJumpButton();
    return QWidget::eventFilter(watched, event);
}

void ChatWidget::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    hideTextOverlay();
    placeJumpButton();
}

void ChatWidget::placeJumpButton()
{
    QListView *list = m_ui->listView_chatWidget_messages;
    m_jump->adjustSize();
    m_jump->move(list->width() - m_jump->width() - 24, list->height() - m_jump->height() - 16);
}

void ChatWidget::updateJumpButton()
{
    QScrollBar *bar = m_ui->listView_chatWidget_messages->verticalScrollBar();
    const bool away = bar->maximum() > 0 && bar->value() < bar->maximum() - 40;
    m_jump->setText(m_unseen > 0 ? QString::number(m_unseen) : QString());
    m_jump->setVisible(away);
    if (away) {
        placeJumpButton();
        m_jump->raise();
    }
}

void ChatWidget::hideTextOverlay()
{
    if (m_overlayRow >= 0) {
        m_delegate->setHiddenTextRow(-1);
        m_ui->listView_chatWidget_messages->viewport()->update();
    }
    m_overlayRow = -1;
    m_textOverlay->hide();
}

void ChatWidget::onViewportHover(const QPoint &pos)
{
    QListView *list = m_ui->listView_chatWidget_messages;
    const QModelIndex index = list->indexAt(pos);
    QStyleOptionViewItem option;
    option.initFrom(list);
    option.font = list->font();
    option.rect = list->visualRect(index);
    const ChatMessageDelegate::Area area = index.isValid() ? m_delegate->areaAt(option, index, pos)
                                                           : ChatMessageDelegate::NoArea;
    list->viewport()->setCursor(area == ChatMessageDelegate::NoArea
                                        || area == ChatMessageDelegate::TextArea
                                    ? Qt::ArrowCursor
                                    : Qt::PointingHandCursor);
    if (area != ChatMessageDelegate::TextArea || index.row() == m_overlayRow)
        return;
    hideTextOverlay();
    QTextDocument *document = m_model->document(index.row(), m_delegate->textWidth(), list->font());
    if (!document)
        return;
    m_overlayRow = index.row();
    m_textOverlay->setFont(list->font());
    m_textOverlay->setHtml(document->toHtml());
    m_textOverlay->document()->setDocumentMargin(0);
    m_textOverlay->setLineWrapColumnOrWidth(m_delegate->textWidth());
    m_textOverlay->setGeometry(m_delegate->textRect(option, index).adjusted(0, 0, 2, 0));
    m_delegate->setHiddenTextRow(m_overlayRow);
    m_textOverlay->show();
    list->viewport()->update(option.rect);
}

void ChatWidget::onViewportClick(const QPoint &pos)
{
    QListView *list = m_ui->listView_chatWidget_messages;
    const QModelIndex index = list->indexAt(pos);
    if (!index.isValid())
        return;
    QStyleOptionViewItem option;
    option.initFrom(list);
    option.font = list->font();
    option.rect = list->visualRect(index);
    const FirebaseChatMessage message = m_model->messageAt(index.row());
    ResourceManager *resources = ResourceManager::getInstance();
    const ChatMessageDelegate::Area area = m_delegate->areaAt(option, index, pos);
    switch (area) {
    case ChatMessageDelegate::ImageArea: {
        auto *viewer = new ImageViewer(window());
        viewer->setAttribute(Qt::WA_DeleteOnClose);
        viewer->showImages(m_model->imageUrls(), message.getUrl());
        break;
    }
    case ChatMessageDelegate::DownloadArea:
        download(index.row());
        break;
    case ChatMessageDelegate::OpenArea:
        if (resources)
            resources->openDownloadedFile(message.getFilename());
        break;
    case ChatMessageDelegate::RevealArea:
        if (resources) {
#ifdef Q_OS_MACOS
            resources->showDownloadedFileInExplorer(message.getFilename());
#else
            QDesktopServices::openUrl(QUrl::fromLocalFile(
                QFileInfo(resources->downloadPathForFile(message.getFilename())).absolutePath()));
#endif
        }
        break;
    case ChatMessageDelegate::CancelArea: {
        for (int row = 0; row < m_model->rowCount(); ++row) {
            // The upload's row is the one clicked; its notifier is kept by the model.
            if (row == index.row())
                m_model->cancelUpload(row);
        }
        break;
    }
    case ChatMessageDelegate::LinkArea:
    case ChatMessageDelegate::PreviewArea: {
        // A page's card opens the address as the message has it, not where it redirected.
        const QUrl url(index
                           .data(area == ChatMessageDelegate::PreviewArea
                                     ? ChatMessageModel::WebLinkRole
                                     : ChatMessageModel::UrlRole)
                           .toString());
        if (url.isValid()
            && (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http")))
            QDesktopServices::openUrl(url);
        break;
    }
    default:
        break;
    }
}

void ChatWidget::download(int row)
{
    ResourceManager *resources = ResourceManager::getInstance();
    const FirebaseChatMessage message = m_model->messageAt(row);
    if (!resources || message.getUrl().isEmpty())
        return;
    DownloadNotifier *notifier = resources->startDownload(message.getUrl(), message.getFilename());
    if (!notifier) {
        showError(tr("Не удалось сохранить файл «%1» в папку загрузок").arg(message.getFilename()));
        return;
    }
    const QString id = message.getId();
    const QString url = message.getUrl();
    m_downloads.insert(url, notifier);
    m_model->setProgress(row, 0);
    connect(notifier,
            &DownloadNotifier::downloadProgress,
            this,
            [this, id](qint64 got, qint64 total) {
                m_model->setProgress(m_model->rowOfMessage(id),
                                     total > 0 ? int(got * 100 / total) : 0);
            });
    connect(notifier, &DownloadNotifier::downloadFinished, this, [this, id, url] {
        m_downloads.remove(url);
        m_downloaded.insert(url);
        m_delegate->setDownloaded(m_downloaded);
        m_model->setProgress(m_model->rowOfMessage(id), 101);
    });
    const auto failed = [this, id, url] {
        m_downloads.remove(url);
        m_model->setProgress(m_model->rowOfMessage(id), -1);
    };
    connect(notifier, &DownloadNotifier::canceled, this, failed);
    connect(notifier, &DownloadNotifier::error, this, [this, failed, message] {
        failed();
        showError(tr("Не удалось скачать файл «%1»").arg(message.getFilename()));
    });
}

void ChatWidget::attachFiles()
{
    const QStringList paths = QFileDialog::getOpenFileNames(this, tr("Выберите файлы"));
    for (const QString &path : paths)
        emit uploadFile(path);
}

void ChatWidget::openPaymentDialog()
{
    if (!m_payment) {
        m_payment = new PaymentDialog(this);
        m_payment->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_payment, &PaymentDialog::paymentRequested, this, &ChatWidget::sendPayment);
    }
    m_payment->open();
}

void ChatWidget::dragEnterEvent(QDragEnterEvent *event)
{
    if (!localFiles(event->mimeData()).isEmpty() && m_ui->widget_chatWidget_inputArea->isVisible())
        event->acceptProposedAction();
}

void ChatWidget::dropEvent(QDropEvent *event)
{
    const QStringList paths = localFiles(event->mimeData());
    if (paths.isEmpty())
        return;
    event->acceptProposedAction();
    for (const QString &path : paths)
        emit uploadFile(path);
}
