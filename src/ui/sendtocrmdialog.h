#pragma once

#include "controller/modalprompts.h"

#include <QDialog>

#include <memory>

namespace Ui {
class SendToCrmDialog;
}

// "Отправка чата в CRM": the visitor's name, an e-mail and a phone chosen from what was found
// or typed, and a comment. Sending needs a name and a valid e-mail or phone.
class SendToCrmDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SendToCrmDialog(QWidget *parent = nullptr);
    ~SendToCrmDialog() override;

    void setContact(const CrmContact &contact);
    CrmContact contact() const;

    static bool isValidEmail(const QString &email);
    static bool isValidPhone(const QString &phone);

private:
    void validate();

    std::unique_ptr<Ui::SendToCrmDialog> m_ui;
    CrmContact m_found;
};
