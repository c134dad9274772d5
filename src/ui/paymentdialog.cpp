#include "ui/paymentdialog.h"

#include "ui_paymentdialog.h"

#include <QFile>
#include <QLocale>
#include <QPushButton>
#include <QRegularExpression>

namespace {

// The largest sum one link may ask for.
constexpr double kMaxAmount = 1000000.0;

} // namespace

PaymentDialog::PaymentDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::PaymentDialog>())
{
    m_ui->setupUi(this);
    QFile style(QStringLiteral(":/resources/styles/paymentdialog.css"));
    if (style.open(QIODevice::ReadOnly))
        setStyleSheet(QString::fromUtf8(style.readAll()));
    const QList<QPair<QString, QString>> currencies{{QStringLiteral("RUB"), QStringLiteral("₽")},
                                                    {QStringLiteral("USD"), QStringLiteral("$")},
                                                    {QStringLiteral("EUR"), QStringLiteral("€")},
                                                    {QStringLiteral("KZT"), QStringLiteral("₸")},
                                                    {QStringLiteral("BYN"), QStringLiteral("Br")}};
    for (const auto &currency : currencies)
        m_ui->comboBox_paymentDialog_currency->addItem(currency.first + QStringLiteral(" ")
                                                           + currency.second,
                                                       QStringList{currency.first, currency.second});
    connect(m_ui->lineEdit_paymentDialog_title,
            &QLineEdit::textChanged,
            this,
            &PaymentDialog::validate);
    connect(m_ui->lineEdit_paymentDialog_amount,
            &QLineEdit::textChanged,
            this,
            &PaymentDialog::validate);
    connect(m_ui->pushButton_paymentDialog_cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_ui->pushButton_paymentDialog_send,
            &QPushButton::clicked,
            this,
            &PaymentDialog::submit);
    m_ui->label_paymentDialog_error->hide();
    validate();
}

PaymentDialog::~PaymentDialog() = default;

QString PaymentDialog::amount() const
{
    QString text = m_ui->lineEdit_paymentDialog_amount->text().trimmed();
    text.remove(QLatin1Char(' '));
    text.remove(QChar(0x00a0));
    text.replace(QLatin1Char(','), QLatin1Char('.'));
    static const QRegularExpression money(QStringLiteral("^\\d{1,7}(\\.\\d{1,2})?$"));
    if (!money.match(text).hasMatch())
        return QString();
    const double value = text.toDouble();
    if (value <= 0 || value > kMaxAmount)
        return QString();
    return text.contains(QLatin1Char('.')) ? QString::number(value, 'f', 2)
                                           : QString::number(qint64(value));
}

QString PaymentDialog::problem() const
{
    if (m_ui->lineEdit_paymentDialog_title->text().trimmed().isEmpty())
        return tr("Укажите, за что оплата");
    const QString text = m_ui->lineEdit_paymentDialog_amount->text().trimmed();
    if (text.isEmpty())
        return tr("Укажите сумму");
    if (amount().isEmpty())
        return tr("Сумма — число больше нуля и не больше %1, с двумя знаками после запятой")
            .arg(QLocale().toString(qint64(kMaxAmount)));
    return QString();
}

void PaymentDialog::validate()
{
    const QString why = problem();
    // An empty form is not yet an error: the button tells it by being disabled.
    const bool touched = !m_ui->lineEdit_paymentDialog_amount->text().isEmpty();
    m_ui->label_paymentDialog_error->setText(touched ? why : QString());
    m_ui->label_paymentDialog_error->setVisible(touched && !why.isEmpty());
    m_ui->pushButton_paymentDialog_send->setEnabled(why.isEmpty() && !m_busy);
    m_ui->pushButton_paymentDialog_send->setToolTip(why);
}

void PaymentDialog::submit()
{
    if (!problem().isEmpty() || m_busy)
        return;
    m_busy = true;
    m_ui->pushButton_paymentDialog_send->setText(tr("Создаём ссылку…"));
    m_ui->label_paymentDialog_error->hide();
    validate();
    const QStringList currency = m_ui->comboBox_paymentDialog_currency->currentData().toStringList();
    emit paymentRequested(m_ui->lineEdit_paymentDialog_title->text().trimmed(),
                          m_ui->spinBox_paymentDialog_quantity->value(),
                          amount(),
                          currency.value(0),
                          currency.value(1));
}

void PaymentDialog::setResult(bool sent, const QString &message)
{
    m_busy = false;
    m_ui->pushButton_paymentDialog_send->setText(tr("Отправить ссылку"));
    if (sent) {
        accept();
        return;
    }
    validate();
    m_ui->label_paymentDialog_error->setText(
        message.isEmpty() ? tr("Не удалось создать ссылку на оплату") : message);
    m_ui->label_paymentDialog_error->show();
}
