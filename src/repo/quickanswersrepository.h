#pragma once

#include "records/firebasequickanswer.h"

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVector>

// The account's quick answers (canned replies), merged from the "quick-answers" stream, and
// the choice of those that apply to a site and an operator: type "account" applies to everyone,
// "site" to its siteId, "user" to its operatorId.
//
// The list keeps arrival order; lookups by id go through a hash of positions. The answers an
// event deletes stay in the list, marked, until the event is merged, and then go in one pass.
class QuickAnswersRepository : public QObject
{
    Q_OBJECT

public:
    // Creates the process-wide instance; later calls keep the one that exists.
    static void init(QObject *parent);
    static QuickAnswersRepository *getInstance();

    // Replaces every answer. Also the way back to an empty repository (an empty list).
    void initializeAnswers(const QList<FirebaseQuickAnswer> &answers);
    // A partial tree {decimal id: fields}; keys that are not numbers are not answers.
    void update(const QJsonObject &tree);
    // Removes on an empty object, merges the given fields of a known answer, adds a new one.
    void updateQuickAnswer(qint64 id, const QJsonObject &object);

    // An empty record when absent.
    FirebaseQuickAnswer getQuickAnswerById(qint64 id) const;
    QList<FirebaseQuickAnswer> getQuickAnswers() const;
    // The answers for the site and the operator, in list order.
    QList<FirebaseQuickAnswer> getQuickAnswersForId(qint64 siteId, qint64 operatorId) const;
    // Those of them whose text contains `text` in any case, each put in front of the others:
    // the result is in reverse list order.
    QList<FirebaseQuickAnswer> getQuickAnswersForText(qint64 siteId,
                                                      qint64 operatorId,
                                                      const QString &text) const;

signals:
    void initialized();
    void answerAdded(qint64 id);
    void answerChanged(qint64 id);
    void answerDeleted(qint64 id);

private:
    explicit QuickAnswersRepository(QObject *parent);

    void mergeQuickAnswer(qint64 id, const QJsonObject &object);
    void compact();
    // The answers not deleted: the list itself unless an event is being merged.
    QList<FirebaseQuickAnswer> liveAnswers() const;

    static bool appliesTo(const FirebaseQuickAnswer &answer, qint64 siteId, qint64 operatorId);

    static QPointer<QuickAnswersRepository> s_instance;

    QList<FirebaseQuickAnswer> m_answers;
    QHash<qint64, int> m_indexById;
    // Beside the list: deleted by the event being merged.
    QVector<bool> m_removed;
    int m_removedCount = 0;
};
