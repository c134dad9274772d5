#include "controller/chathistorymessagescontroller.h"

#include "controller/apilistloader.h"
#include "controller/chatcontroller.h"
#include "controller/chathistorymessagesview.h"
#include "controller/viewconnector.h"
#include "util/jsonparser.h"

ChatHistoryMessagesController::ChatHistoryMessagesController(QObject *parent)
    : QObject(parent)
    , m_loader(new ApiListLoader(this))
{
    connect(m_loader, &ApiListLoader::loaded, this, [this](const QJsonObject &answer) {
        if (!m_view)
            return;
        const ApiChatHistoryMesssages dialog = JsonParser::getApiChatHistoryMessages(answer);
        m_view->setLoading(false);
        m_view->setDialog(dialog);
        m_view->setMessages(ChatController::sortMessages(dialog.getMessages()));
    });
    connect(m_loader, &ApiListLoader::failed, this, [this](int status, const QString &message) {
        if (m_view) {
            m_view->setLoading(false);
            m_view->showError(message.isEmpty() ? tr("Не удалось загрузить диалог") : message);
        }
        // Gone from the history: the list shows what is there now.
        if (status == 404)
            emit needChatHistoryRefresh();
    });
}

void ChatHistoryMessagesController::installView(ChatHistoryMessagesView *view)
{
    m_view = view;
    connectView(viewObject(view), SIGNAL(retry()), this, SLOT(reload()));
}

void ChatHistoryMessagesController::loadChat(qint64 chatApiId)
{
    m_chatApiId = chatApiId;
    reload();
}

void ChatHistoryMessagesController::reload()
{
    if (m_chatApiId <= 0)
        return;
    if (m_view) {
        m_view->clear();
        m_view->setLoading(true);
    }
    m_loader->load(QStringLiteral("/api/chat/client/history/info/%1").arg(m_chatApiId));
}

void ChatHistoryMessagesController::clear()
{
    m_loader->cancel();
    m_chatApiId = 0;
    if (m_view)
        m_view->clear();
}
