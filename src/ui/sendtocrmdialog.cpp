#include "ui/sendtocrmdialog.h"

#include "ui_sendtocrmdialog.h"

#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>

SendToCrmDialog::SendToCrmDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::SendToCrmDialog>())
{
    m_ui->setupUi(this);
    QFile style(QStringLiteral(":/resources/styles/sendToCrmDialog.css"));
    if (style.open(QIODevice::ReadOnly))
        setStyleSheet(QString::fromUtf8(style.readAll()));
    m_ui->comboBox_sendToCrmDialog_email->lineEdit()->setPlaceholderText(tr("name@example.ru"));
    m_ui->comboBox_sendToCrmDialog_phone->lineEdit()->setPlaceholderText(tr("+7 900 000-00-00"));
    connect(m_ui->lineEdit_sendToCrmDialog_name,
            &QLineEdit::textChanged,
            this,
            &SendToCrmDialog::validate);
    connect(m_ui->comboBox_sendToCrmDialog_email,
            &QComboBox::editTextChanged,
            this,
            &SendToCrmDialog::validate);
    connect(m_ui->comboBox_sendToCrmDialog_phone,
            &QComboBox::editTextChanged,
            this,
            &SendToCrmDialog::validate);
    connect(m_ui->pushButton_sendToCrmDialog_cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_ui->pushButton_sendToCrmDialog_send, &QPushButton::clicked, this, [this] {
        if (m_ui->pushButton_sendToCrmDialog_send->isEnabled())
            accept();
    });
    validate();
}

SendToCrmDialog::~SendToCrmDialog() = default;

bool SendToCrmDialog::isValidEmail(const QString &email)
{
    static const QRegularExpression pattern(QStringLiteral("^[^@\\s]+@[^@\\s.]+(\\.[^@\\s.]+)+$"));
    return pattern.match(email.trimmed()).hasMatch();
}

bool SendToCrmDialog::isValidPhone(const QString &phone)
{
    static const QRegularExpression allowed(QStringLiteral("^\\+?[\\d\\s()\\-]+$"));
    const QString text = phone.trimmed();
    int digits = 0;
    for (const QChar c : text)
        digits += c.isDigit() ? 1 : 0;
    return allowed.match(text).hasMatch() && digits >= 7 && digits <= 15;
}

void SendToCrmDialog::setContact(const CrmContact &contact)
{
    m_found = contact;
    m_ui->lineEdit_sendToCrmDialog_name->setText(contact.name);
    m_ui->comboBox_sendToCrmDialog_email->clear();
    m_ui->comboBox_sendToCrmDialog_email->addItems(contact.emails);
    m_ui->comboBox_sendToCrmDialog_email->setEditText(contact.email);
    m_ui->comboBox_sendToCrmDialog_phone->clear();
    m_ui->comboBox_sendToCrmDialog_phone->addItems(contact.phones);
    m_ui->comboBox_sendToCrmDialog_phone->setEditText(contact.phone);
    m_ui->plainTextEdit_sendToCrmDialog_comment->setPlainText(contact.comment);
    validate();
}

CrmContact SendToCrmDialog::contact() const
{
    CrmContact contact = m_found;
    contact.name = m_ui->lineEdit_sendToCrmDialog_name->text().trimmed();
    contact.email = m_ui->comboBox_sendToCrmDialog_email->currentText().trimmed();
    contact.phone = m_ui->comboBox_sendToCrmDialog_phone->currentText().trimmed();
    contact.comment = m_ui->plainTextEdit_sendToCrmDialog_comment->toPlainText().trimmed();
    return contact;
}

void SendToCrmDialog::validate()
{
    const CrmContact now = contact();
    const bool emailBad = !now.email.isEmpty() && !isValidEmail(now.email);
    const bool phoneBad = !now.phone.isEmpty() && !isValidPhone(now.phone);
    const bool noWay = now.email.isEmpty() && now.phone.isEmpty();
    m_ui->label_sendToCrmDialog_nameError->setText(now.name.isEmpty() ? tr("Укажите имя")
                                                                      : QString());
    m_ui->label_sendToCrmDialog_emailError->setText(
        emailBad ? tr("Адрес похож на ошибку: нужен вид name@example.ru")
        : noWay  ? tr("Укажите e-mail или телефон")
                 : QString());
    m_ui->label_sendToCrmDialog_phoneError->setText(
        phoneBad ? tr("Номер должен содержать от 7 до 15 цифр") : QString());
    for (QLabel *label : {m_ui->label_sendToCrmDialog_nameError,
                          m_ui->label_sendToCrmDialog_emailError,
                          m_ui->label_sendToCrmDialog_phoneError})
        label->setVisible(!label->text().isEmpty());
    // Both fields filled: each must be right, or a wrong address would go to the CRM.
    m_ui->pushButton_sendToCrmDialog_send->setEnabled(!now.name.isEmpty() && !noWay && !emailBad
                                                      && !phoneBad);
}
