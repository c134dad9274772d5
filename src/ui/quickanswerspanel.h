#pragma once

#include "records/firebasequickanswer.h"

#include <QFrame>
#include <QList>

class QLabel;
class QListWidget;
class QPushButton;
class QToolButton;

// The quick answers above the chat's input: the answers that match what follows the "/",
// moved through with Up and Down and taken with Enter or Tab; each can be edited or deleted,
// and the input's text saved as a new one for all sites, the chat's site or oneself.
class QuickAnswersPanel : public QFrame
{
    Q_OBJECT

public:
    explicit QuickAnswersPanel(QWidget *parent = nullptr);

    void setAnswers(const QList<FirebaseQuickAnswer> &answers);
    // Case-insensitive; an empty filter shows every answer.
    void setFilter(const QString &filter);
    // The input's text, which the save menu would store; empty disables saving.
    void setSaveText(const QString &text);
    void setLastHost(const QString &host);
    void moveSelection(int delta);
    // The highlighted answer's text, or empty when none shows.
    QString currentText() const;
    QStringList shownTexts() const;

signals:
    void chosen(QString text);
    void editRequested(qint64 id, QString text);
    void deleteRequested(qint64 id);
    void saveRequested(int kind);

private:
    void refill();
    qint64 currentId() const;

    QList<FirebaseQuickAnswer> m_answers;
    QString m_filter;
    QString m_host;
    QLabel *m_empty;
    QListWidget *m_list;
    QPushButton *m_edit;
    QPushButton *m_delete;
    QToolButton *m_save;
};
