#include "ui/messageboxprompts.h"

#include "ui/sendtocrmdialog.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>

bool MessageBoxPrompts::askYesNo(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::NoButton, parent);
    box.setObjectName(QStringLiteral("messageBox_prompts_question"));
    QPushButton *yes = box.addButton(QCoreApplication::translate("MessageBoxPrompts", "Да"),
                                     QMessageBox::YesRole);
    QPushButton *no = box.addButton(QCoreApplication::translate("MessageBoxPrompts", "Нет"),
                                    QMessageBox::NoRole);
    // A stray Return must not answer Yes to something like ending a dialog.
    box.setDefaultButton(no);
    box.setEscapeButton(no);
    box.exec();
    return box.clickedButton() == yes;
}

bool MessageBoxPrompts::editCrmContact(QWidget *parent, CrmContact *contact)
{
    if (!contact)
        return false;
    SendToCrmDialog dialog(parent);
    dialog.setContact(*contact);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    *contact = dialog.contact();
    return true;
}

void MessageBoxPrompts::inform(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox box(QMessageBox::Information, title, text, QMessageBox::NoButton, parent);
    box.setObjectName(QStringLiteral("messageBox_prompts_notice"));
    box.addButton(QCoreApplication::translate("MessageBoxPrompts", "Понятно"),
                  QMessageBox::AcceptRole);
    box.exec();
}
