#include "ui/settingsdialog.h"
#include "ui_settingsdialog.h"

#include "app/appsettings.h"

#include <QPushButton>

SettingsDialog::SettingsDialog(QWidget *parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::SettingsDialog>())
{
    m_ui->setupUi(this);
    AppSettings *settings = AppSettings::instance();
    m_ui->comboBox_settings_sendKey->addItem(tr("Enter, перенос строки — Shift+Enter"),
                                             AppSettings::EnterToSend);
    m_ui->comboBox_settings_sendKey->addItem(tr("Ctrl+Enter, перенос строки — Enter"),
                                             AppSettings::CtrlEnterToSend);
    m_ui->comboBox_settings_sendKey->setCurrentIndex(
        m_ui->comboBox_settings_sendKey->findData(settings->sendMessageKeySequence()));
    m_ui->checkBox_settings_sounds->setChecked(settings->soundsEnabled());
    m_ui->checkBox_settings_linkPreviews->setChecked(settings->linkPreviews());
    m_ui->comboBox_settings_language->addItem(tr("Как в системе"), QString());
    m_ui->comboBox_settings_language->addItem(QStringLiteral("Русский"), QStringLiteral("ru"));
    m_ui->comboBox_settings_language->addItem(QStringLiteral("English"), QStringLiteral("en"));
    m_ui->comboBox_settings_language->setCurrentIndex(
        m_ui->comboBox_settings_language->findData(settings->language()));
    m_ui->buttonBox_settings->button(QDialogButtonBox::Save)->setText(tr("Сохранить"));
    m_ui->buttonBox_settings->button(QDialogButtonBox::Cancel)->setText(tr("Отмена"));
    connect(m_ui->buttonBox_settings, &QDialogButtonBox::accepted, this, &SettingsDialog::accept);
    connect(m_ui->buttonBox_settings, &QDialogButtonBox::rejected, this, &SettingsDialog::reject);
    connect(m_ui->comboBox_settings_language,
            QOverload<int>::of(&QComboBox::currentIndexChanged),
            this,
            &SettingsDialog::updateRestartHint);
    updateRestartHint();
}

SettingsDialog::~SettingsDialog() = default;

void SettingsDialog::updateRestartHint()
{
    m_ui->label_settings_restart->setVisible(
        m_ui->comboBox_settings_language->currentData().toString()
        != AppSettings::instance()->language());
}

void SettingsDialog::accept()
{
    AppSettings *settings = AppSettings::instance();
    settings->setSendMessageKeySequence(static_cast<AppSettings::SendMessageKeySequence>(
        m_ui->comboBox_settings_sendKey->currentData().toInt()));
    settings->setSoundsEnabled(m_ui->checkBox_settings_sounds->isChecked());
    settings->setLinkPreviews(m_ui->checkBox_settings_linkPreviews->isChecked());
    settings->setLanguage(m_ui->comboBox_settings_language->currentData().toString());
    QDialog::accept();
}
