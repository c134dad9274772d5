#pragma once

#include "controller/chatview.h"

#include <QHash>
#include <QImage>
#include <QPointer>
#include <QSet>
#include <QWidget>

#include <memory>

namespace Ui {
class ChatWidget;
}

class ChatMessageDelegate;
class ChatMessageModel;
class DownloadNotifier;
class EmojiPicker;
class LinkPreview;
class LinkPreviewFetcher;
class PaymentDialog;
class QListView;
class QPushButton;
class QTextBrowser;
class QuickAnswersPanel;

// The open chat: the visitor's header, the messages (a model and a painted delegate, so that a
// long chat opens at once) with cards of the pages they link to, the typing lines, the connect
// and blocked bars and the input with its emoji, attachments, quick answers and payment link.
// ChatController drives it.
class ChatWidget : public QWidget, public ChatView
{
    Q_OBJECT

public:
    explicit ChatWidget(QWidget *parent = nullptr);
    ~ChatWidget() override;

    // MessageView
    void setMessages(const QList<FirebaseChatMessage> &messages) override;
    void addMessage(const FirebaseChatMessage &message) override;
    void updateMessage(const FirebaseChatMessage &message) override;
    void clearMessages() override;
    // ChatView
    void clear() override;
    void setConnectedState(bool connected) override;
    void setWidgetId(qint64 widgetId) override;
    void setVisitorBlocked(bool blocked) override;
    void setVisitor(const FirebaseUser &visitor) override;
    void setVisitorState(bool online, bool hasEmail) override;
    void setTyping(const QList<ChatTyping> &typing) override;
    void setUploads(const QList<FileUploaderNotifier *> &uploads) override;
    void addUpload(FileUploaderNotifier *upload) override;
    void setPaymentAllowed(bool allowed) override;
    void setPaymentResult(bool sent, const QString &message) override;
    void setQuickAnswers(const QList<FirebaseQuickAnswer> &answers) override;
    void setLastHost(const QString &host) override;
    void showError(const QString &message) override;

    ChatMessageModel *messageModel() const { return m_model; }
    QuickAnswersPanel *quickAnswersPanel() const { return m_quickAnswers; }
    LinkPreviewFetcher *linkPreviewFetcher() const { return m_previews; }

signals:
    void connectedToDialog(QString chatId);
    void unblockChat();
    void sendMessage(QString text);
    void messageChanged(QString text);
    void showQuickAnswers(QString text);
    void showAllQuickAnswers();
    void newAnswer(int kind, QString text);
    void editAnswer(qint64 id, QString text);
    void deleteAnswer(qint64 id);
    void uploadFile(QString path);
    void imageInserted(QImage image);
    void sendPayment(
        QString title, int quantity, QString amount, QString currency, QString currencyText);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    bool handleInputKey(QKeyEvent *event);
    void send();
    void onInputChanged();
    void setQuickAnswersOpen(bool open);
    void insertQuickAnswer(const QString &text);
    void updateBars();
    void updateHeader();
    void updateJumpButton();
    void placeJumpButton();
    void onViewportClick(const QPoint &pos);
    void onViewportHover(const QPoint &pos);
    void hideTextOverlay();
    void download(int row);
    void openPaymentDialog();
    void attachFiles();
    void saveDraft();
    // Gives the bubbles the cards of their pages that are known and asks for the others, while
    // the setting allows.
    void requestPreviews();
    void showPreview(const QString &url, const LinkPreview &preview);

    std::unique_ptr<Ui::ChatWidget> m_ui;
    ChatMessageModel *m_model;
    ChatMessageDelegate *m_delegate;
    LinkPreviewFetcher *m_previews;
    QuickAnswersPanel *m_quickAnswers;
    QPushButton *m_jump;
    QTextBrowser *m_textOverlay;
    QPointer<EmojiPicker> m_emoji;
    QPointer<PaymentDialog> m_payment;
    QHash<QString, QPointer<DownloadNotifier>> m_downloads;
    QSet<QString> m_downloaded;
    QHash<QString, QString> m_drafts;
    QString m_chatId;
    FirebaseUser m_visitor;
    qint64 m_widgetId = 0;
    bool m_online = false;
    bool m_connected = true;
    bool m_blocked = false;
    bool m_hasChat = false;
    // The list follows new rows while the operator is at its end.
    bool m_stickToBottom = true;
    int m_unseen = 0;
    int m_overlayRow = -1;
    // Set while the widget itself changes the input, which is not the operator typing.
    bool m_settingText = false;
    bool m_quickBySlash = false;
};
