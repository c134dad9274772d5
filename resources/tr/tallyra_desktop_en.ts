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
    </context>
    <context>
        <name>ChatHistoryMessagesController</name>
        <message>
            <source>Не удалось загрузить диалог</source>
            <translation>Could not load the conversation</translation>
        </message>
    </context>
    <context>
        <name>ChatHistoryMessagesWidget</name>
        <message>
            <source>Повторить</source>
            <translation>Retry</translation>
        </message>
        <message>
            <source>%1 КБ</source>
            <translation>%1 KB</translation>
        </message>
        <message>
            <source>%1 МБ</source>
            <translation>%1 MB</translation>
        </message>
        <message>
            <source>Выберите диалог в списке, чтобы прочитать его</source>
            <translation>Choose a dialog in the list to read it</translation>
        </message>
        <message>
            <source>Загружаем диалог…</source>
            <translation>Loading the dialog…</translation>
        </message>
        <message>
            <source>Посетитель</source>
            <translation>Visitor</translation>
        </message>
        <message>
            <source>Оператор</source>
            <translation>Operator</translation>
        </message>
        <message>
            <source>сообщений: %1</source>
            <translation>messages: %1</translation>
        </message>
        <message>
            <source>E-mail</source>
            <translation>E-mail</translation>
        </message>
        <message>
            <source>Телефон</source>
            <translation>Phone</translation>
        </message>
        <message>
            <source>Местоположение</source>
            <translation>Location</translation>
        </message>
        <message>
            <source>IP-адрес</source>
            <translation>IP address</translation>
        </message>
        <message>
            <source>Страница</source>
            <translation>Page</translation>
        </message>
        <message>
            <source>Откуда пришёл</source>
            <translation>Came from</translation>
        </message>
        <message>
            <source>Визитов</source>
            <translation>Visits</translation>
        </message>
        <message>
            <source>Диалогов</source>
            <translation>Dialogs</translation>
        </message>
        <message>
            <source>Первый визит</source>
            <translation>First visit</translation>
        </message>
        <message>
            <source>UTM-метки</source>
            <translation>UTM tags</translation>
        </message>
        <message>
            <source>Операторы</source>
            <translation>Operators</translation>
        </message>
        <message>
            <source>%1 подключился к диалогу</source>
            <translation>%1 joined the dialog</translation>
        </message>
        <message>
            <source>%1 отключился от диалога</source>
            <translation>%1 left the dialog</translation>
        </message>
        <message>
            <source>%1 пригласил в диалог: %2</source>
            <translation>%1 invited to the dialog: %2</translation>
        </message>
        <message>
            <source>Изображение: %1</source>
            <translation>Image: %1</translation>
        </message>
        <message>
            <source>Файл: %1</source>
            <translation>File: %1</translation>
        </message>
        <message>
            <source>Ссылка на оплату: %1, %2 %3</source>
            <translation>Payment link: %1, %2 %3</translation>
        </message>
        <message>
            <source>В диалоге нет сообщений</source>
            <translation>The dialog has no messages</translation>
        </message>
    </context>
    <context>
        <name>ChatHistoryWidget</name>
        <message>
            <source>История диалогов</source>
            <translation>Dialog history</translation>
        </message>
        <message>
            <source>Загрузка…</source>
            <translation>Loading…</translation>
        </message>
        <message>
            <source>Повторить</source>
            <translation>Retry</translation>
        </message>
        <message>
            <source>Предыдущая страница</source>
            <translation>Previous page</translation>
        </message>
        <message>
            <source>Следующая страница</source>
            <translation>Next page</translation>
        </message>
        <message>
            <source>Все виджеты</source>
            <translation>All widgets</translation>
        </message>
        <message>
            <source>Все операторы</source>
            <translation>All operators</translation>
        </message>
        <message>
            <source>Все статусы</source>
            <translation>All statuses</translation>
        </message>
        <message>
            <source>Завершённые</source>
            <translation>Completed</translation>
        </message>
        <message>
            <source>Потерянные</source>
            <translation>Lost</translation>
        </message>
        <message>
            <source>В работе</source>
            <translation>In progress</translation>
        </message>
        <message>
            <source>Посетитель</source>
            <translation>Visitor</translation>
        </message>
        <message>
            <source>Сайт</source>
            <translation>Site</translation>
        </message>
        <message>
            <source>Операторы</source>
            <translation>Operators</translation>
        </message>
        <message>
            <source>Начало</source>
            <translation>Started</translation>
        </message>
        <message>
            <source>Длительность</source>
            <translation>Duration</translation>
        </message>
        <message>
            <source>Сообщений</source>
            <translation>Messages</translation>
        </message>
        <message>
            <source>Загружаем историю диалогов…</source>
            <translation>Loading the dialog history…</translation>
        </message>
        <message>
            <source>Страница %1 из %2</source>
            <translation>Page %1 of %2</translation>
        </message>
        <message>
            <source>За этот период диалогов нет</source>
            <translation>No dialogs in this period</translation>
        </message>
        <message>
            <source>Всего: %1</source>
            <translation>All: %1</translation>
        </message>
        <message>
            <source>Завершённых: %1</source>
            <translation>Completed: %1</translation>
        </message>
        <message>
            <source>Потерянных: %1</source>
            <translation>Lost: %1</translation>
        </message>
        <message>
            <source>В работе: %1</source>
            <translation>In progress: %1</translation>
        </message>
        <message>
            <source>Выберите период, чтобы увидеть диалоги</source>
            <translation>Choose a period to see the dialogs</translation>
        </message>
    </context>
    <context>
        <name>ChatMessageDelegate</name>
        <message>
            <source>Показать в папке</source>
            <translation>Show in folder</translation>
        </message>
        <message>
            <source>отправка… %1 %</source>
            <translation>sending… %1 %</translation>
        </message>
        <message>
            <source>загрузка… %1 %</source>
            <translation>downloading… %1 %</translation>
        </message>
        <message>
            <source>Отменить</source>
            <translation>Cancel</translation>
        </message>
        <message>
            <source>Открыть</source>
            <translation>Open</translation>
        </message>
        <message>
            <source>Скачать</source>
            <translation>Download</translation>
        </message>
    </context>
    <context>
        <name>ChatMessageModel</name>
        <message>
            <source>Ссылка на оплату</source>
            <translation>Payment link</translation>
        </message>
        <message>
            <source>%1 × %2 %3</source>
            <translation>%1 × %2 %3</translation>
        </message>
        <message>
            <source>Оплачено</source>
            <translation>Paid</translation>
        </message>
        <message>
            <source>Ожидает оплаты</source>
            <translation>Awaiting payment</translation>
        </message>
        <message>
            <source>Посетитель представился</source>
            <translation>The visitor introduced themselves</translation>
        </message>
        <message>
            <source>%1 Б</source>
            <translation>%1 B</translation>
        </message>
        <message>
            <source>%1 КБ</source>
            <translation>%1 KB</translation>
        </message>
        <message>
            <source>%1 МБ</source>
            <translation>%1 MB</translation>
        </message>
        <message>
            <source>Сегодня</source>
            <translation>Today</translation>
        </message>
        <message>
            <source>Вчера</source>
            <translation>Yesterday</translation>
        </message>
        <message>
            <source>Оператор</source>
            <translation>Operator</translation>
        </message>
        <message>
            <source>Вы подключились к диалогу</source>
            <translation>You joined the dialog</translation>
        </message>
        <message>
            <source>%1 подключился(-ась) к диалогу</source>
            <translation>%1 joined the dialog</translation>
        </message>
        <message>
            <source>Вы покинули диалог</source>
            <translation>You left the dialog</translation>
        </message>
        <message>
            <source>%1 покинул(а) диалог</source>
            <translation>%1 left the dialog</translation>
        </message>
        <message>
            <source>вас</source>
            <translation>you</translation>
        </message>
        <message>
            <source>Вы пригласили в диалог: %1</source>
            <translation>You invited %1 to the dialog</translation>
        </message>
        <message>
            <source>%1 пригласил(а) в диалог: %2</source>
            <translation>%1 invited %2 to the dialog</translation>
        </message>
        <message>
            <source>%1: диалог не требует ответа</source>
            <translation>%1: the dialog needs no answer</translation>
        </message>
        <message>
            <source>Вы</source>
            <translation>You</translation>
        </message>
        <message>
            <source>Диалог завершён</source>
            <translation>The dialog has ended</translation>
        </message>
        <message>
            <source>Служебное сообщение</source>
            <translation>Service message</translation>
        </message>
        <message>
            <source>Новые сообщения</source>
            <translation>New messages</translation>
        </message>
    </context>
    <context>
        <name>ChatWidget</name>
        <message>
            <source>Посетитель не в сети — сообщение можно отправить ему на e-mail</source>
            <translation>The visitor is offline: the message can go to their e-mail</translation>
        </message>
        <message>
            <source>Вы не участвуете в этом диалоге</source>
            <translation>You are not in this dialog</translation>
        </message>
        <message>
            <source>Подключиться к диалогу</source>
            <translation>Join the dialog</translation>
        </message>
        <message>
            <source>Посетитель заблокирован</source>
            <translation>The visitor is blocked</translation>
        </message>
        <message>
            <source>Разблокировать</source>
            <translation>Unblock</translation>
        </message>
        <message>
            <source>Напишите сообщение… ( / — быстрые ответы)</source>
            <translation>Write a message… ( / for quick answers)</translation>
        </message>
        <message>
            <source>Эмодзи</source>
            <translation>Emoji</translation>
        </message>
        <message>
            <source>Прикрепить файл</source>
            <translation>Attach a file</translation>
        </message>
        <message>
            <source>Быстрые ответы</source>
            <translation>Quick answers</translation>
        </message>
        <message>
            <source>Ссылка на оплату</source>
            <translation>Payment link</translation>
        </message>
        <message>
            <source>Отправить</source>
            <translation>Send</translation>
        </message>
        <message>
            <source>К последним сообщениям</source>
            <translation>To the latest messages</translation>
        </message>
        <message>
            <source>Ctrl+Enter — отправить</source>
            <translation>Ctrl+Enter to send</translation>
        </message>
        <message>
            <source>Enter — отправить</source>
            <translation>Enter to send</translation>
        </message>
        <message>
            <source>Посетитель</source>
            <translation>Visitor</translation>
        </message>
        <message>
            <source>в сети</source>
            <translation>online</translation>
        </message>
        <message>
            <source>был(а) %1</source>
            <translation>seen %1</translation>
        </message>
        <message>
            <source>не в сети</source>
            <translation>offline</translation>
        </message>
        <message>
            <source>Виджет «%1»</source>
            <translation>Widget “%1”</translation>
        </message>
        <message>
            <source>Посетитель печатает…</source>
            <translation>The visitor is typing…</translation>
        </message>
        <message>
            <source>%1 печатает…</source>
            <translation>%1 is typing…</translation>
        </message>
        <message>
            <source>Не удалось сохранить файл «%1» в папку загрузок</source>
            <translation>Could not save the file “%1” to the downloads folder</translation>
        </message>
        <message>
            <source>Не удалось скачать файл «%1»</source>
            <translation>Could not download the file “%1”</translation>
        </message>
        <message>
            <source>Выберите файлы</source>
            <translation>Choose files</translation>
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
        <name>ConversationInfoWidget</name>
        <message>
            <source>Email</source>
            <translation>Email</translation>
        </message>
        <message>
            <source>Нажмите, чтобы скопировать</source>
            <translation>Click to copy</translation>
        </message>
        <message>
            <source>Телефон</source>
            <translation>Phone</translation>
        </message>
        <message>
            <source>Местоположение</source>
            <translation>Location</translation>
        </message>
        <message>
            <source>Страница</source>
            <translation>Page</translation>
        </message>
        <message>
            <source>Источник</source>
            <translation>Source</translation>
        </message>
        <message>
            <source>IP</source>
            <translation>IP</translation>
        </message>
        <message>
            <source>Визиты</source>
            <translation>Visits</translation>
        </message>
        <message>
            <source>Первый визит</source>
            <translation>First visit</translation>
        </message>
        <message>
            <source>Соцсеть</source>
            <translation>Social network</translation>
        </message>
        <message>
            <source>UTM-метки</source>
            <translation>UTM tags</translation>
        </message>
        <message>
            <source>Параметры</source>
            <translation>Parameters</translation>
        </message>
        <message>
            <source>Диалог</source>
            <translation>Dialog</translation>
        </message>
        <message>
            <source>Сайт</source>
            <translation>Site</translation>
        </message>
        <message>
            <source>Начат</source>
            <translation>Started</translation>
        </message>
        <message>
            <source>Сообщений</source>
            <translation>Messages</translation>
        </message>
        <message>
            <source>Операторы</source>
            <translation>Operators</translation>
        </message>
        <message>
            <source>Пригласить</source>
            <translation>Invite</translation>
        </message>
        <message>
            <source>В CRM</source>
            <translation>To CRM</translation>
        </message>
        <message>
            <source>Не требует ответа</source>
            <translation>No answer needed</translation>
        </message>
        <message>
            <source>Покинуть</source>
            <translation>Leave</translation>
        </message>
        <message>
            <source>Завершить</source>
            <translation>End</translation>
        </message>
        <message>
            <source>Заблокировать</source>
            <translation>Block</translation>
        </message>
        <message>
            <source>Блок по IP</source>
            <translation>Block by IP</translation>
        </message>
        <message>
            <source>Разблокировать</source>
            <translation>Unblock</translation>
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
            <source>Посетитель</source>
            <translation>Visitor</translation>
        </message>
        <message>
            <source>Находится на странице:</source>
            <translation>Is on the page:</translation>
        </message>
        <message>
            <source>виджет «%1»</source>
            <translation>widget “%1”</translation>
        </message>
        <message>
            <source>Диалог не выбран</source>
            <translation>No dialog is selected</translation>
        </message>
        <message>
            <source>Вы не участвуете в этом диалоге</source>
            <translation>You are not in this dialog</translation>
        </message>
        <message>
            <source>Все операторы уже в диалоге</source>
            <translation>Every operator is already in the dialog</translation>
        </message>
        <message>
            <source>Посетитель уже заблокирован</source>
            <translation>The visitor is already blocked</translation>
        </message>
        <message>
            <source>IP-адрес посетителя ещё неизвестен</source>
            <translation>The visitor's IP address is not known yet</translation>
        </message>
        <message>
            <source>Посетитель не заблокирован</source>
            <translation>The visitor is not blocked</translation>
        </message>
        <message>
            <source>Пригласить коллегу в диалог</source>
            <translation>Invite a colleague to the dialog</translation>
        </message>
        <message>
            <source>Отметить, что диалог не ждёт ответа</source>
            <translation>Mark the dialog as needing no answer</translation>
        </message>
        <message>
            <source>Выйти из диалога, не завершая его</source>
            <translation>Leave the dialog without ending it</translation>
        </message>
        <message>
            <source>Завершить диалог для всех</source>
            <translation>End the dialog for everyone</translation>
        </message>
        <message>
            <source>Отправить диалог в CRM</source>
            <translation>Send the dialog to the CRM</translation>
        </message>
        <message>
            <source>Заблокировать посетителя</source>
            <translation>Block the visitor</translation>
        </message>
        <message>
            <source>Заблокировать IP-адрес посетителя</source>
            <translation>Block the visitor's IP address</translation>
        </message>
        <message>
            <source>Снять блокировку</source>
            <translation>Remove the block</translation>
        </message>
        <message>
            <source>%1 — не в сети</source>
            <translation>%1 (offline)</translation>
        </message>
        <message>
            <source>Некого пригласить</source>
            <translation>Nobody to invite</translation>
        </message>
        <message>
            <source>Скопировано</source>
            <translation>Copied</translation>
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
        <name>EmojiPicker</name>
        <message>
            <source>Недавние</source>
            <translation>Recent</translation>
        </message>
        <message>
            <source>Смайлы</source>
            <translation>Smileys</translation>
        </message>
        <message>
            <source>Природа</source>
            <translation>Nature</translation>
        </message>
        <message>
            <source>Предметы</source>
            <translation>Objects</translation>
        </message>
        <message>
            <source>Символы</source>
            <translation>Symbols</translation>
        </message>
    </context>
    <context>
        <name>HistoryPeriodWidget</name>
        <message>
            <source>Сегодня</source>
            <translation>Today</translation>
        </message>
        <message>
            <source>Вчера</source>
            <translation>Yesterday</translation>
        </message>
        <message>
            <source>Неделя</source>
            <translation>Week</translation>
        </message>
        <message>
            <source>Месяц</source>
            <translation>Month</translation>
        </message>
        <message>
            <source>с</source>
            <translation>from</translation>
        </message>
        <message>
            <source>dd.MM.yyyy</source>
            <translation>dd.MM.yyyy</translation>
        </message>
        <message>
            <source>по</source>
            <translation>to</translation>
        </message>
    </context>
    <context>
        <name>ImageViewer</name>
        <message>
            <source>Изображение</source>
            <translation>Image</translation>
        </message>
        <message>
            <source>Уменьшить (Ctrl+−)</source>
            <translation>Zoom out (Ctrl+−)</translation>
        </message>
        <message>
            <source>Увеличить (Ctrl++)</source>
            <translation>Zoom in (Ctrl++)</translation>
        </message>
        <message>
            <source>Открыть в браузере</source>
            <translation>Open in the browser</translation>
        </message>
        <message>
            <source>Сохранить как…</source>
            <translation>Save as…</translation>
        </message>
        <message>
            <source>Закрыть (Esc)</source>
            <translation>Close (Esc)</translation>
        </message>
        <message>
            <source>%1 из %2</source>
            <translation>%1 of %2</translation>
        </message>
        <message>
            <source>Загрузка…</source>
            <translation>Loading…</translation>
        </message>
        <message>
            <source>Не удалось открыть изображение</source>
            <translation>Could not open the image</translation>
        </message>
        <message>
            <source>Сохранить изображение</source>
            <translation>Save the image</translation>
        </message>
        <message>
            <source>Не удалось сохранить файл %1</source>
            <translation>Could not save the file %1</translation>
        </message>
    </context>
    <context>
        <name>MainPage</name>
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
            <translation>Dialog history</translation>
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
        <name>MessageBoxPrompts</name>
        <message>
            <source>Да</source>
            <translation>Yes</translation>
        </message>
        <message>
            <source>Нет</source>
            <translation>No</translation>
        </message>
        <message>
            <source>Понятно</source>
            <translation>OK</translation>
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
        <name>OfflineMessagesWidget</name>
        <message>
            <source>Заявки</source>
            <translation>Requests</translation>
        </message>
        <message>
            <source>Экспорт</source>
            <translation>Export</translation>
        </message>
        <message>
            <source>Сохранить заявки выбранного периода в файл</source>
            <translation>Save the requests of the chosen period to a file</translation>
        </message>
        <message>
            <source>Повторить</source>
            <translation>Retry</translation>
        </message>
        <message>
            <source>Загрузка…</source>
            <translation>Loading…</translation>
        </message>
        <message>
            <source>Предыдущая страница</source>
            <translation>Previous page</translation>
        </message>
        <message>
            <source>Следующая страница</source>
            <translation>Next page</translation>
        </message>
        <message>
            <source>Все виджеты</source>
            <translation>All widgets</translation>
        </message>
        <message>
            <source>Имя</source>
            <translation>Name</translation>
        </message>
        <message>
            <source>E-mail</source>
            <translation>E-mail</translation>
        </message>
        <message>
            <source>Телефон</source>
            <translation>Phone</translation>
        </message>
        <message>
            <source>Сообщение</source>
            <translation>Message</translation>
        </message>
        <message>
            <source>Сайт</source>
            <translation>Site</translation>
        </message>
        <message>
            <source>Время</source>
            <translation>Time</translation>
        </message>
        <message>
            <source>Загружаем заявки…</source>
            <translation>Loading the requests…</translation>
        </message>
        <message>
            <source>Всего заявок: %1</source>
            <translation>Requests: %1</translation>
        </message>
        <message>
            <source>Страница %1 из %2</source>
            <translation>Page %1 of %2</translation>
        </message>
        <message>
            <source>За этот период заявок нет</source>
            <translation>No requests in this period</translation>
        </message>
        <message>
            <source>Выберите период, чтобы увидеть заявки</source>
            <translation>Choose a period to see the requests</translation>
        </message>
        <message>
            <source>Заявки %1.csv</source>
            <translation>Requests %1.csv</translation>
        </message>
        <message>
            <source>Сохранить заявки</source>
            <translation>Save the requests</translation>
        </message>
        <message>
            <source>Таблица CSV (*.csv)</source>
            <translation>CSV table (*.csv)</translation>
        </message>
        <message>
            <source>Сохраняем заявки…</source>
            <translation>Saving the requests…</translation>
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
        <name>PagedListController</name>
        <message>
            <source>Укажите начало и конец периода</source>
            <translation>Choose the start and the end of the period</translation>
        </message>
    </context>
    <context>
        <name>PaymentDialog</name>
        <message>
            <source>Ссылка на оплату</source>
            <translation>Payment link</translation>
        </message>
        <message>
            <source>Название</source>
            <translation>Title</translation>
        </message>
        <message>
            <source>Например, «Заказ № 1042»</source>
            <translation>For example, “Order no. 1042”</translation>
        </message>
        <message>
            <source>Количество</source>
            <translation>Quantity</translation>
        </message>
        <message>
            <source>От 1 до 999</source>
            <translation>From 1 to 999</translation>
        </message>
        <message>
            <source>Сумма</source>
            <translation>Amount</translation>
        </message>
        <message>
            <source>0,00</source>
            <translation>0.00</translation>
        </message>
        <message>
            <source>Валюта</source>
            <translation>Currency</translation>
        </message>
        <message>
            <source>Отмена</source>
            <translation>Cancel</translation>
        </message>
        <message>
            <source>Отправить ссылку</source>
            <translation>Send the link</translation>
        </message>
        <message>
            <source>Укажите, за что оплата</source>
            <translation>Enter what the payment is for</translation>
        </message>
        <message>
            <source>Укажите сумму</source>
            <translation>Enter the amount</translation>
        </message>
        <message>
            <source>Сумма — число больше нуля и не больше %1, с двумя знаками после запятой</source>
            <translation>The amount is a number above zero and at most %1, with up to two decimals</translation>
        </message>
        <message>
            <source>Создаём ссылку…</source>
            <translation>Creating the link…</translation>
        </message>
        <message>
            <source>Не удалось создать ссылку на оплату</source>
            <translation>Could not create the payment link</translation>
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
        <name>QuickAnswersPanel</name>
        <message>
            <source>Нет подходящих быстрых ответов</source>
            <translation>No matching quick answers</translation>
        </message>
        <message>
            <source>Изменить</source>
            <translation>Edit</translation>
        </message>
        <message>
            <source>Удалить</source>
            <translation>Delete</translation>
        </message>
        <message>
            <source>Быстрые ответы</source>
            <translation>Quick answers</translation>
        </message>
        <message>
            <source>Сохранить текст</source>
            <translation>Save the text</translation>
        </message>
        <message>
            <source>Изменение быстрого ответа</source>
            <translation>Editing a quick answer</translation>
        </message>
        <message>
            <source>Текст ответа:</source>
            <translation>Answer text:</translation>
        </message>
        <message>
            <source>Ответ не может быть пустым.</source>
            <translation>An answer cannot be empty.</translation>
        </message>
        <message>
            <source>Удаление быстрого ответа</source>
            <translation>Deleting a quick answer</translation>
        </message>
        <message>
            <source>Удалить этот ответ?</source>
            <translation>Delete this answer?</translation>
        </message>
        <message>
            <source>Сохранить для всех сайтов</source>
            <translation>Save for all sites</translation>
        </message>
        <message>
            <source>Сохранить для %1</source>
            <translation>Save for %1</translation>
        </message>
        <message>
            <source>сайта</source>
            <translation>the site</translation>
        </message>
        <message>
            <source>Сохранить для меня</source>
            <translation>Save for me</translation>
        </message>
        <message>
            <source>Сохранить текст из поля ввода как быстрый ответ</source>
            <translation>Save the input's text as a quick answer</translation>
        </message>
        <message>
            <source>Напишите текст в поле ввода, чтобы сохранить его как ответ</source>
            <translation>Write a text in the input to save it as an answer</translation>
        </message>
    </context>
    <context>
        <name>SendToCrmDialog</name>
        <message>
            <source>Отправка чата в CRM</source>
            <translation>Sending the chat to the CRM</translation>
        </message>
        <message>
            <source>Имя</source>
            <translation>Name</translation>
        </message>
        <message>
            <source>E-mail</source>
            <translation>E-mail</translation>
        </message>
        <message>
            <source>Телефон</source>
            <translation>Phone</translation>
        </message>
        <message>
            <source>Комментарий</source>
            <translation>Comment</translation>
        </message>
        <message>
            <source>Отмена</source>
            <translation>Cancel</translation>
        </message>
        <message>
            <source>Отправить</source>
            <translation>Send</translation>
        </message>
        <message>
            <source>name@example.ru</source>
            <translation>name@example.com</translation>
        </message>
        <message>
            <source>+7 900 000-00-00</source>
            <translation>+7 900 000-00-00</translation>
        </message>
        <message>
            <source>Укажите имя</source>
            <translation>Enter a name</translation>
        </message>
        <message>
            <source>Адрес похож на ошибку: нужен вид name@example.ru</source>
            <translation>The address looks wrong: it should look like name@example.com</translation>
        </message>
        <message>
            <source>Укажите e-mail или телефон</source>
            <translation>Enter an e-mail or a phone</translation>
        </message>
        <message>
            <source>Номер должен содержать от 7 до 15 цифр</source>
            <translation>The number must have 7 to 15 digits</translation>
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
        <message>
            <source>Превью ссылок</source>
            <translation>Link previews</translation>
        </message>
        <message>
            <source>Показывать под сообщениями</source>
            <translation>Show below messages</translation>
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
    <context>
        <name>VisitorsOnlineWidget</name>
        <message>
            <source>Посетители онлайн</source>
            <translation>Visitors online</translation>
        </message>
        <message>
            <source>Повторить</source>
            <translation>Retry</translation>
        </message>
        <message>
            <source>Все виджеты</source>
            <translation>All widgets</translation>
        </message>
        <message>
            <source>Написать</source>
            <translation>Write</translation>
        </message>
        <message>
            <source>Загружаем посетителей…</source>
            <translation>Loading the visitors…</translation>
        </message>
        <message>
            <source>Все посетители  %1</source>
            <translation>All visitors  %1</translation>
        </message>
        <message>
            <source>С кем общались  %1</source>
            <translation>Talked to  %1</translation>
        </message>
        <message>
            <source>Еще не общались  %1</source>
            <translation>Not yet talked to  %1</translation>
        </message>
        <message>
            <source>Разблокировать</source>
            <translation>Unblock</translation>
        </message>
        <message>
            <source>Сейчас на сайтах никого нет</source>
            <translation>Nobody is on the sites right now</translation>
        </message>
        <message>
            <source>В этой категории сейчас никого нет</source>
            <translation>Nobody in this category right now</translation>
        </message>
    </context>
    <context>
        <name>VisitorsTableModel</name>
        <message>
            <source>Посетитель</source>
            <translation>Visitor</translation>
        </message>
        <message>
            <source>Сейчас на странице</source>
            <translation>Now on the page</translation>
        </message>
        <message>
            <source>На сайте</source>
            <translation>On the site</translation>
        </message>
        <message>
            <source>Визит</source>
            <translation>Visit</translation>
        </message>
        <message>
            <source>Источник</source>
            <translation>Source</translation>
        </message>
        <message>
            <source>Диалог</source>
            <translation>Dialog</translation>
        </message>
        <message>
            <source>Г</source>
            <translation>G</translation>
        </message>
        <message>
            <source>Гость %1</source>
            <translation>Guest %1</translation>
        </message>
        <message>
            <source>%1-й</source>
            <translation>#%1</translation>
        </message>
        <message>
            <source>Написать</source>
            <translation>Write</translation>
        </message>
        <message>
            <source>прочитано</source>
            <translation>read</translation>
        </message>
        <message>
            <source>доставлено</source>
            <translation>delivered</translation>
        </message>
        <message>
            <source>отправлено</source>
            <translation>sent</translation>
        </message>
        <message>
            <source>заблокирован</source>
            <translation>blocked</translation>
        </message>
        <message>
            <source>%1 с</source>
            <translation>%1 s</translation>
        </message>
        <message>
            <source>%1 мин</source>
            <translation>%1 min</translation>
        </message>
        <message>
            <source>%1 ч %2 мин</source>
            <translation>%1 h %2 min</translation>
        </message>
        <message>
            <source>%1 дн.</source>
            <translation>%1 d</translation>
        </message>
    </context>
</TS>
