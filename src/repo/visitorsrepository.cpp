#include "repo/visitorsrepository.h"

#include "util/jsonparser.h"

#include <QSet>
#include <QSignalBlocker>

QPointer<VisitorsRepository> VisitorsRepository::s_instance;

VisitorsRepository::VisitorsRepository(QObject *parent)
    : QObject(parent)
{}

void VisitorsRepository::init(QObject *parent)
{
    if (!s_instance)
        s_instance = new VisitorsRepository(parent);
}

VisitorsRepository *VisitorsRepository::getInstance()
{
    return s_instance.data();
}

// The snapshot comes again after each reconnect, and it is the whole truth: visitors who left
// meanwhile must not linger, so the hash is emptied before the snapshot is merged.
void VisitorsRepository::initialize(const QJsonObject &visitors)
{
    {
        const QSignalBlocker blocker(this);
        m_visitors.clear();
        m_tallies.clear();
        m_visitors.reserve(visitors.size());
        update(visitors);
    }
    emit initialized();
}

// 1. An object without members only announces initialized().
// 2. Each key in key order: null (or nothing) removes a known visitor (visitorRemoved); a known
//    key merges the fields given (visitorUpdated); a new key adds the visitor (visitorAdded).
//    A value that is neither null nor an object is no visitor and changes nothing.
// Step 1 asks for no members at all rather than Util::isEmptyJsonObject: the event of a
// visitor leaving is exactly {key: null}, which must reach the removal of step 2.
void VisitorsRepository::update(const QJsonObject &visitors)
{
    if (visitors.isEmpty()) {
        emit initialized();
        return;
    }
    for (auto it = visitors.begin(); it != visitors.end(); ++it) {
        const QString visitorKey = it.key();
        const QJsonValue value = it.value();
        const auto found = m_visitors.find(visitorKey);
        if (value.isNull() || value.isUndefined()) {
            if (found == m_visitors.end())
                continue;
            count(found.value(), -1);
            m_visitors.erase(found);
            emit visitorRemoved(visitorKey);
        } else if (!value.isObject()) {
            continue;
        } else if (found != m_visitors.end()) {
            count(found.value(), -1);
            JsonParser::updateFirebaseVisitorFromJson(found.value(), value.toObject());
            count(found.value(), 1);
            emit visitorUpdated(visitorKey);
        } else {
            // Moved into place: a snapshot brings tens of thousands of visitors.
            FirebaseVisitor &visitor = m_visitors[visitorKey];
            visitor = JsonParser::getFirebaseVisitorFromJson(value.toObject());
            visitor.setId(visitorKey);
            count(visitor, 1);
            emit visitorAdded(visitorKey);
        }
    }
}

FirebaseVisitor VisitorsRepository::getVisitorById(const QString &visitorKey) const
{
    return m_visitors.value(visitorKey);
}

QHash<QString, FirebaseVisitor> VisitorsRepository::getVisitors() const
{
    return m_visitors;
}

void VisitorsRepository::getVisitorsCategories(const QList<qint64> &widgetIds,
                                               int &said,
                                               int &notSaid) const
{
    // Each widget once, as a visitor whose widget is listed twice is still one visitor.
    const QSet<qint64> widgets(widgetIds.begin(), widgetIds.end());
    for (qint64 widgetId : widgets) {
        const Tally tally = m_tallies.value(widgetId);
        said += tally.said;
        notSaid += tally.notSaid;
    }
}

int VisitorsRepository::getCount(const QList<qint64> &widgetIds) const
{
    int said = 0;
    int notSaid = 0;
    getVisitorsCategories(widgetIds, said, notSaid);
    return said + notSaid;
}

void VisitorsRepository::count(const FirebaseVisitor &visitor, int delta)
{
    Tally &tally = m_tallies[visitor.getChatWidgetId()];
    (visitor.getSaid() ? tally.said : tally.notSaid) += delta;
    if (tally.said == 0 && tally.notSaid == 0)
        m_tallies.remove(visitor.getChatWidgetId());
}
