#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class PaymentDialog;
}

// The payment link's details: title, quantity, amount with two decimals and currency. The
// dialog stays open while the service makes the link, and says so when it cannot.
class PaymentDialog : public QDialog
{
    Q_OBJECT

public:
    explicit PaymentDialog(QWidget *parent = nullptr);
    ~PaymentDialog() override;

    // The amount as the service takes it ("84990.50"), or empty while it is not valid.
    QString amount() const;
    // Why the form cannot be sent yet; empty when it can.
    QString problem() const;
    // The service's answer: the link went into the chat (the dialog closes), or why not.
    void setResult(bool sent, const QString &message);

signals:
    void paymentRequested(
        QString title, int quantity, QString amount, QString currency, QString currencyText);

private:
    void validate();
    void submit();

    std::unique_ptr<Ui::PaymentDialog> m_ui;
    bool m_busy = false;
};
