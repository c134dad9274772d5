#pragma once

#include "controller/messageview.h"
#include "records/firebasequickanswer.h"
#include "records/firebaseuser.h"

#include <QList>
#include <QString>

class FileUploaderNotifier;

// Someone typing in the open chat: the visitor or a colleague.
struct ChatTyping
{
    QString userId;
    // The visitor's or the colleague's alias name for the chat's widget.
    QString name;
    // What they have typed so far (the visitor's live text); may be empty.
    QString text;
    bool visitor = false;

    bool operator==(const ChatTyping &other) const
    {
        return userId == other.userId && name == other.name && text == other.text
               && visitor == other.visitor;
    }
};

// The open chat, as ChatController drives it: its messages (MessageView), the bars and states
// above the input, the typing lines, uploads in progress and the quick answers.
//
// Signals the widget declares and the controller connects, in this order:
//   void connectedToDialog(QString chatId);   // "Подключиться к диалогу"
//   void unblockChat();                       // "Разблокировать" on the blocked bar
//   void sendMessage(QString text);
//   void messageChanged(QString text);        // the input's text as it is typed
//   void showQuickAnswers(QString text);      // the input starts with "/"
//   void showAllQuickAnswers();               // the quick-answer button
//   void newAnswer(int kind, QString text);   // 0 all sites, 1 the chat's site, 2 own
//   void editAnswer(qint64 id, QString text);
//   void deleteAnswer(qint64 id);
//   void uploadFile(QString path);            // attach, or a file dropped on the chat
//   void imageInserted(QImage image);         // a pasted image
//   void sendPayment(QString title, int quantity, QString amount, QString currency,
//                    QString currencyText);
class ChatView : public MessageView
{
public:
    // Empties the view for the next chat: messages, typing, uploads, bars.
    virtual void clear() = 0;
    // Whether the operator takes part in the chat; when not, the view offers to connect.
    virtual void setConnectedState(bool connected) = 0;
    virtual void setWidgetId(qint64 widgetId) = 0;
    virtual void setVisitorBlocked(bool blocked) = 0;
    // The chat's visitor (name, photo); with setVisitorState, what the header shows.
    virtual void setVisitor(const FirebaseUser &visitor) = 0;
    // Online, and whether a message can go by e-mail while the visitor is away.
    virtual void setVisitorState(bool online, bool hasEmail) = 0;
    // Everyone typing now; an empty list ends every typing line.
    virtual void setTyping(const QList<ChatTyping> &typing) = 0;
    // Uploads still running into this chat, shown as outgoing cards; the view keeps the
    // notifiers in QPointers (the uploader deletes them when they end).
    virtual void setUploads(const QList<FileUploaderNotifier *> &uploads) = 0;
    virtual void addUpload(FileUploaderNotifier *upload) = 0;
    // Whether the widget's pay system lets the operator send a payment link.
    virtual void setPaymentAllowed(bool allowed) = 0;
    // The answer to sendPayment: the link went into the chat, or why it did not.
    virtual void setPaymentResult(bool sent, const QString &message) = 0;
    // The quick answers that apply, for the panel above the input.
    virtual void setQuickAnswers(const QList<FirebaseQuickAnswer> &answers) = 0;
    // The visit's last host, for "Сохранить для %1" in the quick-answer save menu.
    virtual void setLastHost(const QString &host) = 0;
    // Something the operator asked for could not be done.
    virtual void showError(const QString &message) = 0;
};
