#pragma once

#include "records/firebasevisitor.h"

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

// The visitors currently on the account's sites, merged from the "visitors" stream, and their
// counts by widget for the visitors page and the main window's counter.
//
// Counts are kept per widget as visitors come, change and go, so that counting costs the
// number of widgets asked for, not the number of visitors.
class VisitorsRepository : public QObject
{
    Q_OBJECT

public:
    // Creates the process-wide instance; later calls keep the one that exists.
    static void init(QObject *parent);
    static VisitorsRepository *getInstance();

    // A whole snapshot: replaces every visitor without a signal per visitor, then emits
    // initialized() once. An empty object is the way back to an empty repository.
    void initialize(const QJsonObject &visitors);
    // One event {visitor key: fields or null}; see the .cpp for the rule.
    void update(const QJsonObject &visitors);

    // An empty record when absent.
    FirebaseVisitor getVisitorById(const QString &visitorKey) const;
    QHash<QString, FirebaseVisitor> getVisitors() const;
    // Adds to `said` the visitors of those widgets who have written and to `notSaid` the others.
    void getVisitorsCategories(const QList<qint64> &widgetIds, int &said, int &notSaid) const;
    // Visitors of those widgets.
    int getCount(const QList<qint64> &widgetIds) const;

signals:
    void initialized();
    void visitorAdded(QString visitorKey);
    void visitorUpdated(QString visitorKey);
    void visitorRemoved(QString visitorKey);

private:
    struct Tally
    {
        int said = 0;
        int notSaid = 0;
    };

    explicit VisitorsRepository(QObject *parent);

    void count(const FirebaseVisitor &visitor, int delta);

    static QPointer<VisitorsRepository> s_instance;

    QHash<QString, FirebaseVisitor> m_visitors;
    QHash<qint64, Tally> m_tallies;
};
