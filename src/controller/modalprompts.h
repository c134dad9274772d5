#pragma once

#include <QString>
#include <QStringList>

class QWidget;

// What the send-to-CRM dialog starts with and what the operator confirms in it.
struct CrmContact
{
    QString name;
    // Candidates found for the visitor, offered in the dialog's editable lists.
    QStringList emails;
    QStringList phones;
    // What the operator chose or typed.
    QString email;
    QString phone;
    QString comment;
};

// The modal questions a controller asks the operator, behind an interface so that the widgets
// answer them in the console and tests answer them directly.
class ModalPrompts
{
public:
    virtual ~ModalPrompts() = default;

    // A question with Yes and No, No by default. True for Yes.
    virtual bool askYesNo(QWidget *parent, const QString &title, const QString &text) = 0;
    // The send-to-CRM dialog, filled from contact; false when the operator cancels.
    virtual bool editCrmContact(QWidget *parent, CrmContact *contact) = 0;
};
