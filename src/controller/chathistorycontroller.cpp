#include "controller/chathistorycontroller.h"

#include "controller/apilistloader.h"
#include "controller/chathistoryview.h"
#include "controller/viewconnector.h"
#include "util/jsonparser.h"

ChatHistoryController::ChatHistoryController(QObject *parent)
    : QObject(parent)
    , m_loader(new ApiListLoader(this))
{
    connect(m_loader, &ApiListLoader::loaded, this, [this](const QJsonObject &answer) {
        if (!m_view)
            return;
        m_view->setLoading(false);
        m_view->setHistory(JsonParser::getApiChatHistoryFromJson(answer),
                           m_page,
                           HistoryFilter::pageCount(answer));
    });
    connect(m_loader, &ApiListLoader::failed, this, [this](int, const QString &message) {
        if (!m_view)
            return;
        m_view->setLoading(false);
        m_view->showError(message.isEmpty() ? tr("Не удалось загрузить историю диалогов") : message);
    });
}

void ChatHistoryController::installView(ChatHistoryView *view)
{
    m_view = view;
    QObject *object = viewObject(view);
    connectView(object, SIGNAL(filterChanged(HistoryFilter)), this, SLOT(setFilter(HistoryFilter)));
    connectView(object, SIGNAL(pageRequested(int)), this, SLOT(setPage(int)));
    connectView(object, SIGNAL(chatSelected(qint64)), this, SLOT(onChatSelected(qint64)));
    connectView(object, SIGNAL(retry()), this, SLOT(refresh()));
}

void ChatHistoryController::setFilter(const HistoryFilter &filter)
{
    m_filter = filter;
    m_page = 1;
    refresh();
}

void ChatHistoryController::setPage(int page)
{
    m_page = qMax(1, page);
    refresh();
}

void ChatHistoryController::refresh()
{
    if (!m_filter.isValid()) {
        m_loader->cancel();
        if (m_view)
            m_view->showError(tr("Укажите начало и конец периода"));
        return;
    }
    if (m_view)
        m_view->setLoading(true);
    m_loader->load(QStringLiteral("/api/chat/client/history?")
                   + m_filter.query(m_page, m_pageSize).toString(QUrl::FullyEncoded));
}

void ChatHistoryController::clear()
{
    m_loader->cancel();
    m_filter = HistoryFilter();
    m_page = 1;
    if (m_view)
        m_view->clear();
}

void ChatHistoryController::onChatSelected(qint64 chatApiId)
{
    emit loadChat(chatApiId);
}
