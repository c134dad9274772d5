#include "controller/pagedlistcontroller.h"

#include "controller/apilistloader.h"
#include "controller/pagedlistview.h"
#include "controller/viewconnector.h"

PagedListController::PagedListController(const QString &path,
                                         int pageSize,
                                         const QString &failure,
                                         QObject *parent)
    : QObject(parent)
    , m_loader(new ApiListLoader(this))
    , m_path(path)
    , m_pageSize(pageSize)
{
    connect(m_loader, &ApiListLoader::loaded, this, [this](const QJsonObject &answer) {
        if (!m_view)
            return;
        m_view->setLoading(false);
        showAnswer(answer);
    });
    connect(m_loader, &ApiListLoader::failed, this, [this, failure](int, const QString &message) {
        if (!m_view)
            return;
        m_view->setLoading(false);
        m_view->showError(message.isEmpty() ? failure : message);
    });
}

void PagedListController::setListView(PagedListView *view)
{
    m_view = view;
    QObject *object = viewObject(view);
    connectView(object, SIGNAL(filterChanged(HistoryFilter)), this, SLOT(setFilter(HistoryFilter)));
    connectView(object, SIGNAL(pageRequested(int)), this, SLOT(setPage(int)));
    connectView(object, SIGNAL(retry()), this, SLOT(refresh()));
}

void PagedListController::setFilter(const HistoryFilter &filter)
{
    m_filter = filter;
    m_page = 1;
    refresh();
}

void PagedListController::setPage(int page)
{
    m_page = qMax(1, page);
    refresh();
}

void PagedListController::refresh()
{
    if (!m_filter.isValid()) {
        m_loader->cancel();
        if (m_view)
            m_view->showError(tr("Укажите начало и конец периода"));
        return;
    }
    if (m_view)
        m_view->setLoading(true);
    m_loader->load(m_path + QLatin1Char('?')
                   + m_filter.query(m_page, m_pageSize).toString(QUrl::FullyEncoded));
}

void PagedListController::clear()
{
    m_loader->cancel();
    m_filter = HistoryFilter();
    m_page = 1;
    if (m_view)
        m_view->clear();
}
