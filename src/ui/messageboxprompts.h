#pragma once

#include "controller/modalprompts.h"

class QWidget;

// The controllers' questions as the console asks them: message boxes with Russian buttons and
// the send-to-CRM dialog.
class MessageBoxPrompts : public ModalPrompts
{
public:
    bool askYesNo(QWidget *parent, const QString &title, const QString &text) override;
    bool editCrmContact(QWidget *parent, CrmContact *contact) override;

    // A notice with one "Понятно" button.
    static void inform(QWidget *parent, const QString &title, const QString &text);
};
