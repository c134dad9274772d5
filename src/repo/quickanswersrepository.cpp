#include "repo/quickanswersrepository.h"

#include "util/jsonparser.h"

#include <utility>

QPointer<QuickAnswersRepository> QuickAnswersRepository::s_instance;

QuickAnswersRepository::QuickAnswersRepository(QObject *parent)
    : QObject(parent)
{}

void QuickAnswersRepository::init(QObject *parent)
{
    if (!s_instance)
        s_instance = new QuickAnswersRepository(parent);
}

QuickAnswersRepository *QuickAnswersRepository::getInstance()
{
    return s_instance.data();
}

void QuickAnswersRepository::initializeAnswers(const QList<FirebaseQuickAnswer> &answers)
{
    m_answers.clear();
    m_indexById.clear();
    m_answers.reserve(answers.size());
    for (const FirebaseQuickAnswer &answer : answers) {
        // An id appears once in the database; should a list repeat one, the later record wins.
        const auto known = m_indexById.constFind(answer.getId());
        if (known != m_indexById.constEnd()) {
            m_answers[known.value()] = answer;
            continue;
        }
        m_indexById.insert(answer.getId(), m_answers.size());
        m_answers.append(answer);
    }
    m_removed.fill(false, m_answers.size());
    m_removedCount = 0;
    emit initialized();
}

void QuickAnswersRepository::update(const QJsonObject &tree)
{
    for (auto it = tree.begin(); it != tree.end(); ++it) {
        bool isNumber = false;
        const qint64 id = it.key().toLongLong(&isNumber);
        if (isNumber)
            mergeQuickAnswer(id, it.value().toObject());
    }
    compact();
}

void QuickAnswersRepository::updateQuickAnswer(qint64 id, const QJsonObject &object)
{
    mergeQuickAnswer(id, object);
    compact();
}

void QuickAnswersRepository::mergeQuickAnswer(qint64 id, const QJsonObject &object)
{
    const auto found = m_indexById.constFind(id);
    if (found == m_indexById.constEnd()) {
        if (object.isEmpty())
            return;
        FirebaseQuickAnswer answer = JsonParser::getQuickAnswerFromJson(object);
        answer.setId(id);
        m_indexById.insert(id, m_answers.size());
        m_answers.append(answer);
        m_removed.append(false);
        emit answerAdded(id);
        return;
    }

    const int position = found.value();
    if (object.isEmpty()) {
        m_removed[position] = true;
        ++m_removedCount;
        m_indexById.remove(id);
        emit answerDeleted(id);
        return;
    }

    const FirebaseQuickAnswer given = JsonParser::getQuickAnswerFromJson(object);
    FirebaseQuickAnswer &answer = m_answers[position];
    if (object.contains(QLatin1String("accountId")))
        answer.setAccountId(given.getAccountId());
    if (object.contains(QLatin1String("userId")))
        answer.setOperatorId(given.getOperatorId());
    if (object.contains(QLatin1String("siteId")))
        answer.setSiteId(given.getSiteId());
    if (object.contains(QLatin1String("text")))
        answer.setText(given.getText());
    if (object.contains(QLatin1String("type")))
        answer.setType(given.getType());
    emit answerChanged(id);
}

FirebaseQuickAnswer QuickAnswersRepository::getQuickAnswerById(qint64 id) const
{
    const auto found = m_indexById.constFind(id);
    return found != m_indexById.constEnd() ? m_answers.at(found.value()) : FirebaseQuickAnswer();
}

QList<FirebaseQuickAnswer> QuickAnswersRepository::getQuickAnswers() const
{
    return liveAnswers();
}

QList<FirebaseQuickAnswer> QuickAnswersRepository::getQuickAnswersForId(qint64 siteId,
                                                                        qint64 operatorId) const
{
    QList<FirebaseQuickAnswer> result;
    const QList<FirebaseQuickAnswer> answers = liveAnswers();
    for (const FirebaseQuickAnswer &answer : answers) {
        if (appliesTo(answer, siteId, operatorId))
            result.append(answer);
    }
    return result;
}

QList<FirebaseQuickAnswer> QuickAnswersRepository::getQuickAnswersForText(qint64 siteId,
                                                                          qint64 operatorId,
                                                                          const QString &text) const
{
    QList<FirebaseQuickAnswer> result;
    const QList<FirebaseQuickAnswer> answers = liveAnswers();
    for (const FirebaseQuickAnswer &answer : answers) {
        if (appliesTo(answer, siteId, operatorId)
            && answer.getText().contains(text, Qt::CaseInsensitive))
            result.prepend(answer);
    }
    return result;
}

void QuickAnswersRepository::compact()
{
    if (m_removedCount == 0)
        return;
    int kept = 0;
    for (int position = 0; position < m_answers.size(); ++position) {
        if (m_removed.at(position))
            continue;
        if (kept != position) {
            m_answers[kept] = std::move(m_answers[position]);
            m_indexById[m_answers.at(kept).getId()] = kept;
        }
        ++kept;
    }
    m_answers.erase(m_answers.begin() + kept, m_answers.end());
    m_removed.fill(false, kept);
    m_removedCount = 0;
}

QList<FirebaseQuickAnswer> QuickAnswersRepository::liveAnswers() const
{
    if (m_removedCount == 0)
        return m_answers;
    QList<FirebaseQuickAnswer> answers;
    answers.reserve(m_answers.size() - m_removedCount);
    for (int position = 0; position < m_answers.size(); ++position) {
        if (!m_removed.at(position))
            answers.append(m_answers.at(position));
    }
    return answers;
}

bool QuickAnswersRepository::appliesTo(const FirebaseQuickAnswer &answer,
                                       qint64 siteId,
                                       qint64 operatorId)
{
    const QString type = answer.getType();
    return type == QLatin1String("account")
           || (type == QLatin1String("site") && answer.getSiteId() == siteId)
           || (type == QLatin1String("user") && answer.getOperatorId() == operatorId);
}
