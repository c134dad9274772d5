<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="tr_TR" sourcelanguage="ru_RU">
<context>
    <name>AppController</name>
    <message>
        <source>отправил изображение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>отправил файл</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1, подключись к диалогу, пожалуйста</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Обратите внимание</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>У вас есть %1 непрочитанных сообщений</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Диалог был завершен</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ChatController</name>
    <message>
        <source>Отправка на email</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Пользователь сейчас оффлайн. Отправить сообщение на email?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось отправить сообщение на email</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сайт диалога ещё не известен: ответ не сохранён</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось отправить файл %1: он не читается</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>изображение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Диалог закрыт до того, как ссылка была готова</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось создать ссылку на оплату</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ChatHistoryController</name>
    <message>
        <source>Не удалось загрузить историю диалогов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Укажите начало и конец периода</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ChatHistoryMessagesController</name>
    <message>
        <source>Не удалось загрузить диалог</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ConversationInfoController</name>
    <message>
        <source>Завершение диалога</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Завершить диалог? Посетитель больше не сможет в нём писать.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ConversationListDelegate</name>
    <message>
        <source>сейчас</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 мин</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 ч</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>вчера</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>ждёт %1 с</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>ждёт %1 мин</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>ждёт %1 ч</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ConversationListModel</name>
    <message>
        <source>печатает</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 печатает</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ConversationListWidget</name>
    <message>
        <source>Поиск по диалогам</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Загружаем диалоги…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ничего не найдено</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Нет диалогов</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Tallyra Онлайн чат</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Вход в онлайн чат</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Email</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>you@company.ru</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Пароль</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Запомнить меня</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Войти</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Выберите сервис для входа</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Назад к входу</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tallyra</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Переписка</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Посетители онлайн</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>История диалогов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Заявки</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Нет подключения. Переподключаемся…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Мои</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Чужие</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Пропущенные</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Назад к списку диалогов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Выберите диалог в списке слева</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Показать пароль</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Скрыть пароль</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>В сети</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Нет на месте</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Выйти</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Закрыть приложение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Настройки…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Пожалуйста, подождите...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>нет подключения</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>В сети %1 из %2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>NetworkManager</name>
    <message>
        <source>Ошибка соединения с сервером</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Диалог отправлен в CRM</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось отправить диалог в CRM</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 нажал &quot;Не ждет ответа&quot;</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>NotificationWindow</name>
    <message>
        <source>Закрыть</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>OfflineMessagesController</name>
    <message>
        <source>Не удалось загрузить заявки</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Укажите начало и конец периода</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Экспорт уже идёт</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось записать файл %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Заявки сохранены в %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось сохранить заявки</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>OpenChatsStrip</name>
    <message>
        <source>Закрыть диалог</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Посетитель</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>QApplication</name>
    <message>
        <source>только что</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 минуту назад</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 минуты назад</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 минут назад</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 час назад</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 часа назад</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 часов назад</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>сегодня в hh:mm</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>вчера в hh:mm</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>несколько секунд</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 секунды</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 секунд</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 минуту</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 минуты</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 минут</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 час</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 часа</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 часов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 дней</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 дня</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 день</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 дн. </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 диалогов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 диалог</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 диалога</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>в понедельник</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>во вторник</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>в среду</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>в четверг</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>в пятницу</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>в субботу</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>в воскресенье</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>неизвестно</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Январь</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Февраль</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Март</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Апрель</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Май</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Июнь</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Июль</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Август</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сентябрь</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Октябрь</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ноябрь</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Декабрь</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Января</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Февраля</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Марта</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Апреля</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Мая</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Июня</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Июля</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Августа</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сентября</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Октября</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ноября</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Декабря</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Посетитель</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1, подключитесь к диалогу, пожалуйста.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 подключился к диалогу.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 отключился от диалога.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Изображение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Файл</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Вы</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SettingsDialog</name>
    <message>
        <source>Настройки</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Отправка сообщения</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Звуки уведомлений</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Включены</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Язык интерфейса</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Новый язык появится после перезапуска приложения.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enter, перенос строки — Shift+Enter</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+Enter, перенос строки — Enter</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Как в системе</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохранить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Отмена</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>VisitorsOnlineController</name>
    <message>
        <source>Оператор %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Робот %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>прикрепил файл</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>прикрепил изображение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>подключился к диалогу</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>отключился от диалога</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось загрузить список виджетов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось начать диалог</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
