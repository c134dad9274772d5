<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="ru_RU">
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
            <translation>The dialog's site is not known yet: the answer was not saved</translation>
        </message>
        <message>
            <source>Не удалось отправить файл %1: он не читается</source>
            <translation>Could not send the file %1: it cannot be read</translation>
        </message>
        <message>
            <source>изображение</source>
            <translation>image</translation>
        </message>
        <message>
            <source>Диалог закрыт до того, как ссылка была готова</source>
            <translation>The dialog was closed before the link was ready</translation>
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
            <translation>Could not load the dialog history</translation>
        </message>
        <message>
            <source>Укажите начало и конец периода</source>
            <translation>Choose the first and the last day of the period</translation>
        </message>
    </context>
    <context>
        <name>ChatHistoryMessagesController</name>
        <message>
            <source>Не удалось загрузить диалог</source>
            <translation>Could not load the dialog</translation>
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
        <name>ConversationInfoController</name>
        <message>
            <source>Завершение диалога</source>
            <translation>Ending the dialog</translation>
        </message>
        <message>
            <source>Завершить диалог? Посетитель больше не сможет в нём писать.</source>
            <translation>End the dialog? The visitor will no longer be able to write in it.</translation>
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
        <name>MainWindow</name>
        <message>
            <source>Tallyra Онлайн чат</source>
            <translation>Tallyra Online Chat</translation>
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
            <translation>Choose the first and the last day of the period</translation>
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
            <translation>The requests were saved to %1</translation>
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
            <translation>joined the dialog</translation>
        </message>
        <message>
            <source>отключился от диалога</source>
            <translation>left the dialog</translation>
        </message>
        <message>
            <source>Не удалось загрузить список виджетов</source>
            <translation>Could not load the list of widgets</translation>
        </message>
        <message>
            <source>Не удалось начать диалог</source>
            <translation>Could not start a dialog</translation>
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
            <source>Гость %1</source>
            <translation>Guest %1</translation>
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
            <source>Г</source>
            <translation>G</translation>
        </message>
        <message>
            <source>%1-й</source>
            <translation>#%1</translation>
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
