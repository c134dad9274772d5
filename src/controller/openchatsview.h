#pragma once

#include <QString>

// A strip of the dialogs opened in this run (horizontal or vertical), as OpenChatsController
// drives it.
//
// Signals the widget declares and the controller connects:
//   void chatClicked(QString chatId);
//   void chatClosed(QString chatId);
class OpenChatsView
{
public:
    virtual ~OpenChatsView() = default;

    virtual void addChat(const QString &chatId) = 0;
    // Marks the dialog as the current one.
    virtual void setOpenedChat(const QString &chatId) = 0;
    virtual void removeChat(const QString &chatId) = 0;
};
