#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class SettingsDialog;
}

// The operator's settings: the send key, notification sounds, link previews and the interface
// language, saved in the settings store when the operator presses "Сохранить".
class SettingsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SettingsDialog(QWidget *parent = nullptr);
    ~SettingsDialog() override;

    void accept() override;

private:
    void updateRestartHint();

    std::unique_ptr<Ui::SettingsDialog> m_ui;
};
