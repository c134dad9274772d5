<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="ru_RU">
    <context>
        <name>AppController</name>
        <message>
            <source>отправил изображение</source>
            <translation>sent an image</translation>
        </message>
        <message>
            <source>отправил файл</source>
            <translation>sent a file</translation>
        </message>
        <message>
            <source>%1, подключись к диалогу, пожалуйста</source>
            <translation>%1, please join the conversation</translation>
        </message>
        <message>
            <source>Обратите внимание</source>
            <translation>Attention</translation>
        </message>
        <message>
            <source>У вас есть %1 непрочитанных сообщений</source>
            <translation>You have %1 unread messages</translation>
        </message>
        <message>
            <source>Диалог был завершен</source>
            <translation>The conversation has ended</translation>
        </message>
    </context>
    <context>
        <name>ChatController</name>
        <message>
            <source>Отправка на email</source>
            <translation>Send by e-mail</translation>
        </message>
        <message>
            <source>Пользователь сейчас оффлайн. Отправить сообщение на email?</source>
            <translation>The visitor is offline. Send the message by e-mail?</translation>
        </message>
        <message>
            <source>Не удалось отправить сообщение на email</source>
            <translation>Could not send the message by e-mail</translation>
        </message>
        <message>
            <source>Сайт диалога ещё не известен: ответ не сохранён</source>
            <translation>The conversation's site is not known yet: the answer was not saved</translation>
        </message>
        <message>
            <source>Не удалось отправить файл %1: он не читается</source>
            <translation>Could not send %1: the file cannot be read</translation>
        </message>
        <message>
            <source>изображение</source>
            <translation>image</translation>
        </message>
        <message>
            <source>Диалог закрыт до того, как ссылка была готова</source>
            <translation>The conversation was closed before the link was ready</translation>
        </message>
        <message>
            <source>Не удалось создать ссылку на оплату</source>
            <translation>Could not create the payment link</translation>
        </message>
    </context>
    <context>
        <name>ChatHistoryController</name>
        <message>
            <source>Не удалось загрузить историю диалогов</source>
            <translation>Could not load the conversation history</translation>
        </message>
        <message>
            <source>Укажите начало и конец периода</source>
            <translation>Choose the start and the end of the period</translation>
        </message>
    </context>
    <context>
        <name>ChatHistoryMessagesController</name>
        <message>
            <source>Не удалось загрузить диалог</source>
            <translation>Could not load the conversation</translation>
        </message>
    </context>
    <context>
        <name>ConversationInfoController</name>
        <message>
            <source>Завершение диалога</source>
            <translation>End conversation</translation>
        </message>
        <message>
            <source>Завершить диалог? Посетитель больше не сможет в нём писать.</source>
            <translation>End the conversation? The visitor will no longer be able to write in it.</translation>
        </message>
    </context>
    <context>
        <name>ConversationListDelegate</name>
        <message>
            <source>сейчас</source>
            <translation>now</translation>
        </message>
        <message>
            <source>%1 мин</source>
            <translation>%1 min</translation>
        </message>
        <message>
            <source>%1 ч</source>
            <translation>%1 h</translation>
        </message>
        <message>
            <source>вчера</source>
            <translation>yesterday</translation>
        </message>
        <message>
            <source>ждёт %1 с</source>
            <translation>waiting %1 s</translation>
        </message>
        <message>
            <source>ждёт %1 мин</source>
            <translation>waiting %1 min</translation>
        </message>
        <message>
            <source>ждёт %1 ч</source>
            <translation>waiting %1 h</translation>
        </message>
    </context>
    <context>
        <name>ConversationListModel</name>
        <message>
            <source>печатает</source>
            <translation>typing</translation>
        </message>
        <message>
            <source>%1 печатает</source>
            <translation>%1 is typing</translation>
        </message>
    </context>
    <context>
        <name>ConversationListWidget</name>
        <message>
            <source>Поиск по диалогам</source>
            <translation>Search conversations</translation>
        </message>
        <message>
            <source>Загружаем диалоги…</source>
            <translation>Loading conversations…</translation>
        </message>
        <message>
            <source>Ничего не найдено</source>
            <translation>Nothing found</translation>
        </message>
        <message>
            <source>Нет диалогов</source>
            <translation>No conversations</translation>
        </message>
    </context>
    <context>
        <name>MainWindow</name>
        <message>
            <source>Tallyra Онлайн чат</source>
            <translation>Tallyra Online Chat</translation>
        </message>
        <message>
            <source>Вход в онлайн чат</source>
            <translation>Sign in to the online chat</translation>
        </message>
        <message>
            <source>Email</source>
            <translation>Email</translation>
        </message>
        <message>
            <source>you@company.ru</source>
            <translation>you@company.com</translation>
        </message>
        <message>
            <source>Пароль</source>
            <translation>Password</translation>
        </message>
        <message>
            <source>Запомнить меня</source>
            <translation>Remember me</translation>
        </message>
        <message>
            <source>Войти</source>
            <translation>Sign in</translation>
        </message>
        <message>
            <source>Выберите сервис для входа</source>
            <translation>Choose a service to sign in to</translation>
        </message>
        <message>
            <source>Назад к входу</source>
            <translation>Back to sign-in</translation>
        </message>
        <message>
            <source>Tallyra</source>
            <translation>Tallyra</translation>
        </message>
        <message>
            <source>Переписка</source>
            <translation>Conversations</translation>
        </message>
        <message>
            <source>Посетители онлайн</source>
            <translation>Visitors online</translation>
        </message>
        <message>
            <source>История диалогов</source>
            <translation>Conversation history</translation>
        </message>
        <message>
            <source>Заявки</source>
            <translation>Requests</translation>
        </message>
        <message>
            <source>Нет подключения. Переподключаемся…</source>
            <translation>No connection. Reconnecting…</translation>
        </message>
        <message>
            <source>Мои</source>
            <translation>Mine</translation>
        </message>
        <message>
            <source>Чужие</source>
            <translation>Others'</translation>
        </message>
        <message>
            <source>Пропущенные</source>
            <translation>Missed</translation>
        </message>
        <message>
            <source>Назад к списку диалогов</source>
            <translation>Back to the conversation list</translation>
        </message>
        <message>
            <source>Выберите диалог в списке слева</source>
            <translation>Choose a conversation in the list on the left</translation>
        </message>
        <message>
            <source>Показать пароль</source>
            <translation>Show password</translation>
        </message>
        <message>
            <source>Скрыть пароль</source>
            <translation>Hide password</translation>
        </message>
        <message>
            <source>В сети</source>
            <translation>Online</translation>
        </message>
        <message>
            <source>Нет на месте</source>
            <translation>Away</translation>
        </message>
        <message>
            <source>Выйти</source>
            <translation>Sign out</translation>
        </message>
        <message>
            <source>Закрыть приложение</source>
            <translation>Quit</translation>
        </message>
        <message>
            <source>Настройки…</source>
            <translation>Settings…</translation>
        </message>
        <message>
            <source>Пожалуйста, подождите...</source>
            <translation>Please wait...</translation>
        </message>
        <message>
            <source>нет подключения</source>
            <translation>no connection</translation>
        </message>
        <message>
            <source>В сети %1 из %2</source>
            <translation>Online %1 of %2</translation>
        </message>
    </context>
    <context>
        <name>NetworkManager</name>
        <message>
            <source>Ошибка соединения с сервером</source>
            <translation>Could not connect to the server</translation>
        </message>
        <message>
            <source>Диалог отправлен в CRM</source>
            <translation>The dialog was sent to the CRM</translation>
        </message>
        <message>
            <source>Не удалось отправить диалог в CRM</source>
            <translation>Could not send the dialog to the CRM</translation>
        </message>
        <message>
            <source>%1 нажал "Не ждет ответа"</source>
            <translation>%1 pressed "No answer needed"</translation>
        </message>
    </context>
    <context>
        <name>NotificationWindow</name>
        <message>
            <source>Закрыть</source>
            <translation>Close</translation>
        </message>
    </context>
    <context>
        <name>OfflineMessagesController</name>
        <message>
            <source>Не удалось загрузить заявки</source>
            <translation>Could not load the requests</translation>
        </message>
        <message>
            <source>Укажите начало и конец периода</source>
            <translation>Choose the start and the end of the period</translation>
        </message>
        <message>
            <source>Экспорт уже идёт</source>
            <translation>An export is already running</translation>
        </message>
        <message>
            <source>Не удалось записать файл %1</source>
            <translation>Could not write the file %1</translation>
        </message>
        <message>
            <source>Заявки сохранены в %1</source>
            <translation>Requests saved to %1</translation>
        </message>
        <message>
            <source>Не удалось сохранить заявки</source>
            <translation>Could not save the requests</translation>
        </message>
    </context>
    <context>
        <name>OpenChatsStrip</name>
        <message>
            <source>Закрыть диалог</source>
            <translation>Close conversation</translation>
        </message>
        <message>
            <source>Посетитель</source>
            <translation>Visitor</translation>
        </message>
    </context>
    <context>
        <name>QApplication</name>
        <message>
            <source>только что</source>
            <translation>just now</translation>
        </message>
        <message>
            <source>%1 минуту назад</source>
            <translation>%1 min ago</translation>
        </message>
        <message>
            <source>%1 минуты назад</source>
            <translation>%1 min ago</translation>
        </message>
        <message>
            <source>%1 минут назад</source>
            <translation>%1 min ago</translation>
        </message>
        <message>
            <source>%1 час назад</source>
            <translation>%1 h ago</translation>
        </message>
        <message>
            <source>%1 часа назад</source>
            <translation>%1 h ago</translation>
        </message>
        <message>
            <source>%1 часов назад</source>
            <translation>%1 h ago</translation>
        </message>
        <message>
            <source>сегодня в hh:mm</source>
            <translation>'today at' hh:mm</translation>
        </message>
        <message>
            <source>вчера в hh:mm</source>
            <translation>'yesterday at' hh:mm</translation>
        </message>
        <message>
            <source>несколько секунд</source>
            <translation>a few seconds</translation>
        </message>
        <message>
            <source>%1 секунды</source>
            <translation>%1 sec</translation>
        </message>
        <message>
            <source>%1 секунд</source>
            <translation>%1 sec</translation>
        </message>
        <message>
            <source>%1 минуту</source>
            <translation>%1 min</translation>
        </message>
        <message>
            <source>%1 минуты</source>
            <translation>%1 min</translation>
        </message>
        <message>
            <source>%1 минут</source>
            <translation>%1 min</translation>
        </message>
        <message>
            <source>%1 час</source>
            <translation>%1 h</translation>
        </message>
        <message>
            <source>%1 часа</source>
            <translation>%1 h</translation>
        </message>
        <message>
            <source>%1 часов</source>
            <translation>%1 h</translation>
        </message>
        <message>
            <source>%1 дней</source>
            <translation>%1 days</translation>
        </message>
        <message>
            <source>%1 дня</source>
            <translation>%1 days</translation>
        </message>
        <message>
            <source>%1 день</source>
            <translation>%1 day(s)</translation>
        </message>
        <message>
            <source>%1 дн. </source>
            <translation>%1 d </translation>
        </message>
        <message>
            <source>%1 диалогов</source>
            <translation>%1 dialogs</translation>
        </message>
        <message>
            <source>%1 диалог</source>
            <translation>%1 dialog(s)</translation>
        </message>
        <message>
            <source>%1 диалога</source>
            <translation>%1 dialogs</translation>
        </message>
        <message>
            <source>в понедельник</source>
            <translation>on Monday</translation>
        </message>
        <message>
            <source>во вторник</source>
            <translation>on Tuesday</translation>
        </message>
        <message>
            <source>в среду</source>
            <translation>on Wednesday</translation>
        </message>
        <message>
            <source>в четверг</source>
            <translation>on Thursday</translation>
        </message>
        <message>
            <source>в пятницу</source>
            <translation>on Friday</translation>
        </message>
        <message>
            <source>в субботу</source>
            <translation>on Saturday</translation>
        </message>
        <message>
            <source>в воскресенье</source>
            <translation>on Sunday</translation>
        </message>
        <message>
            <source>неизвестно</source>
            <translation>unknown</translation>
        </message>
        <message>
            <source>Январь</source>
            <translation>January</translation>
        </message>
        <message>
            <source>Февраль</source>
            <translation>February</translation>
        </message>
        <message>
            <source>Март</source>
            <translation>March</translation>
        </message>
        <message>
            <source>Апрель</source>
            <translation>April</translation>
        </message>
        <message>
            <source>Май</source>
            <translation>May</translation>
        </message>
        <message>
            <source>Июнь</source>
            <translation>June</translation>
        </message>
        <message>
            <source>Июль</source>
            <translation>July</translation>
        </message>
        <message>
            <source>Август</source>
            <translation>August</translation>
        </message>
        <message>
            <source>Сентябрь</source>
            <translation>September</translation>
        </message>
        <message>
            <source>Октябрь</source>
            <translation>October</translation>
        </message>
        <message>
            <source>Ноябрь</source>
            <translation>November</translation>
        </message>
        <message>
            <source>Декабрь</source>
            <translation>December</translation>
        </message>
        <message>
            <source>Января</source>
            <translation>January</translation>
        </message>
        <message>
            <source>Февраля</source>
            <translation>February</translation>
        </message>
        <message>
            <source>Марта</source>
            <translation>March</translation>
        </message>
        <message>
            <source>Апреля</source>
            <translation>April</translation>
        </message>
        <message>
            <source>Мая</source>
            <translation>May</translation>
        </message>
        <message>
            <source>Июня</source>
            <translation>June</translation>
        </message>
        <message>
            <source>Июля</source>
            <translation>July</translation>
        </message>
        <message>
            <source>Августа</source>
            <translation>August</translation>
        </message>
        <message>
            <source>Сентября</source>
            <translation>September</translation>
        </message>
        <message>
            <source>Октября</source>
            <translation>October</translation>
        </message>
        <message>
            <source>Ноября</source>
            <translation>November</translation>
        </message>
        <message>
            <source>Декабря</source>
            <translation>December</translation>
        </message>
    </context>
    <context>
        <name>QObject</name>
        <message>
            <source>Посетитель</source>
            <translation>Visitor</translation>
        </message>
        <message>
            <source>%1, подключитесь к диалогу, пожалуйста.</source>
            <translation>%1, please join the conversation.</translation>
        </message>
        <message>
            <source>%1 подключился к диалогу.</source>
            <translation>%1 joined the conversation.</translation>
        </message>
        <message>
            <source>%1 отключился от диалога.</source>
            <translation>%1 left the conversation.</translation>
        </message>
        <message>
            <source>Изображение</source>
            <translation>Image</translation>
        </message>
        <message>
            <source>Файл</source>
            <translation>File</translation>
        </message>
        <message>
            <source>Вы</source>
            <translation>You</translation>
        </message>
    </context>
    <context>
        <name>SettingsDialog</name>
        <message>
            <source>Настройки</source>
            <translation>Settings</translation>
        </message>
        <message>
            <source>Отправка сообщения</source>
            <translation>Send a message with</translation>
        </message>
        <message>
            <source>Звуки уведомлений</source>
            <translation>Notification sounds</translation>
        </message>
        <message>
            <source>Включены</source>
            <translation>On</translation>
        </message>
        <message>
            <source>Язык интерфейса</source>
            <translation>Interface language</translation>
        </message>
        <message>
            <source>Новый язык появится после перезапуска приложения.</source>
            <translation>The new language takes effect after a restart.</translation>
        </message>
        <message>
            <source>Enter, перенос строки — Shift+Enter</source>
            <translation>Enter; Shift+Enter for a new line</translation>
        </message>
        <message>
            <source>Ctrl+Enter, перенос строки — Enter</source>
            <translation>Ctrl+Enter; Enter for a new line</translation>
        </message>
        <message>
            <source>Как в системе</source>
            <translation>As in the system</translation>
        </message>
        <message>
            <source>Сохранить</source>
            <translation>Save</translation>
        </message>
        <message>
            <source>Отмена</source>
            <translation>Cancel</translation>
        </message>
    </context>
    <context>
        <name>VisitorsOnlineController</name>
        <message>
            <source>Оператор %1</source>
            <translation>Operator %1</translation>
        </message>
        <message>
            <source>Робот %1</source>
            <translation>Robot %1</translation>
        </message>
        <message>
            <source>прикрепил файл</source>
            <translation>attached a file</translation>
        </message>
        <message>
            <source>прикрепил изображение</source>
            <translation>attached an image</translation>
        </message>
        <message>
            <source>подключился к диалогу</source>
            <translation>joined the conversation</translation>
        </message>
        <message>
            <source>отключился от диалога</source>
            <translation>left the conversation</translation>
        </message>
        <message>
            <source>Не удалось загрузить список виджетов</source>
            <translation>Could not load the widget list</translation>
        </message>
        <message>
            <source>Не удалось начать диалог</source>
            <translation>Could not start a conversation</translation>
        </message>
    </context>
</TS>
