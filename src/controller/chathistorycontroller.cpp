#include "controller/chathistorycontroller.h"

#include "controller/chathistoryview.h"
#include "controller/viewconnector.h"
#include "util/jsonparser.h"

ChatHistoryController::ChatHistoryController(QObject *parent)
    : PagedListController(QStringLiteral("/api/chat/client/history"),
                          DefaultPageSize,
                          tr("Не удалось загрузить историю диалогов"),
                          parent)
{}

void ChatHistoryController::installView(ChatHistoryView *view)
{
    m_view = view;
    setListView(view);
    connectView(viewObject(view), SIGNAL(chatSelected(qint64)), this, SLOT(onChatSelected(qint64)));
}

void ChatHistoryController::showAnswer(const QJsonObject &answer)
{
    m_view->setHistory(JsonParser::getApiChatHistoryFromJson(answer),
                       page(),
                       HistoryFilter::pageCount(answer));
}

void ChatHistoryController::onChatSelected(qint64 chatApiId)
{
    emit loadChat(chatApiId);
}
