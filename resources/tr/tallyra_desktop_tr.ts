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
</context>
<context>
    <name>ChatHistoryMessagesController</name>
    <message>
        <source>Не удалось загрузить диалог</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ChatHistoryMessagesWidget</name>
    <message>
        <source>Повторить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 КБ</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 МБ</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Выберите диалог в списке, чтобы прочитать его</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Загружаем диалог…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Посетитель</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Оператор</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>сообщений: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>E-mail</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Телефон</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Местоположение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IP-адрес</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Страница</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Откуда пришёл</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Визитов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Диалогов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Первый визит</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>UTM-метки</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Операторы</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 подключился к диалогу</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 отключился от диалога</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 пригласил в диалог: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Изображение: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Файл: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ссылка на оплату: %1, %2 %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>В диалоге нет сообщений</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ChatHistoryWidget</name>
    <message>
        <source>История диалогов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Загрузка…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Повторить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Предыдущая страница</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Следующая страница</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Все виджеты</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Все операторы</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Все статусы</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Завершённые</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Потерянные</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>В работе</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Посетитель</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сайт</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Операторы</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Начало</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Длительность</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сообщений</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Загружаем историю диалогов…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Страница %1 из %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>За этот период диалогов нет</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Всего: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Завершённых: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Потерянных: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>В работе: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Выберите период, чтобы увидеть диалоги</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ChatMessageDelegate</name>
    <message>
        <source>Показать в папке</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>отправка… %1 %</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>загрузка… %1 %</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Отменить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Открыть</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Скачать</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ChatMessageModel</name>
    <message>
        <source>Ссылка на оплату</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 × %2 %3</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Оплачено</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ожидает оплаты</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Посетитель представился</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 Б</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 КБ</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 МБ</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сегодня</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Вчера</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Оператор</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Вы подключились к диалогу</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 подключился(-ась) к диалогу</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Вы покинули диалог</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 покинул(а) диалог</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>вас</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Вы пригласили в диалог: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 пригласил(а) в диалог: %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1: диалог не требует ответа</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Вы</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Диалог завершён</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Служебное сообщение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Новые сообщения</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ChatWidget</name>
    <message>
        <source>Посетитель не в сети — сообщение можно отправить ему на e-mail</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Вы не участвуете в этом диалоге</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Подключиться к диалогу</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Посетитель заблокирован</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Разблокировать</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Напишите сообщение… ( / — быстрые ответы)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Эмодзи</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Прикрепить файл</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Быстрые ответы</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ссылка на оплату</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Отправить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>К последним сообщениям</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ctrl+Enter — отправить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enter — отправить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Посетитель</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>в сети</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>был(а) %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>не в сети</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Виджет «%1»</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Посетитель печатает…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 печатает…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось сохранить файл «%1» в папку загрузок</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось скачать файл «%1»</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Выберите файлы</source>
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
    <name>ConversationInfoWidget</name>
    <message>
        <source>Email</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Нажмите, чтобы скопировать</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Телефон</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Местоположение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Страница</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Источник</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IP</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Визиты</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Первый визит</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Соцсеть</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>UTM-метки</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Параметры</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Диалог</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сайт</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Начат</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сообщений</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Операторы</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Пригласить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>В CRM</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не требует ответа</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Покинуть</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Завершить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Заблокировать</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Блок по IP</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Разблокировать</source>
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
        <source>Посетитель</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Находится на странице:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>виджет «%1»</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Диалог не выбран</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Вы не участвуете в этом диалоге</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Все операторы уже в диалоге</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Посетитель уже заблокирован</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>IP-адрес посетителя ещё неизвестен</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Посетитель не заблокирован</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Пригласить коллегу в диалог</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Отметить, что диалог не ждёт ответа</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Выйти из диалога, не завершая его</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Завершить диалог для всех</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Отправить диалог в CRM</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Заблокировать посетителя</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Заблокировать IP-адрес посетителя</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Снять блокировку</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 — не в сети</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Некого пригласить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Скопировано</source>
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
    <name>EmojiPicker</name>
    <message>
        <source>Недавние</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Смайлы</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Природа</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Предметы</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Символы</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>HistoryPeriodWidget</name>
    <message>
        <source>Сегодня</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Вчера</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Неделя</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Месяц</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>с</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>dd.MM.yyyy</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>по</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>ImageViewer</name>
    <message>
        <source>Изображение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Уменьшить (Ctrl+−)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Увеличить (Ctrl++)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Открыть в браузере</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохранить как…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Закрыть (Esc)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 из %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Загрузка…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось открыть изображение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохранить изображение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось сохранить файл %1</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MainPage</name>
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
    <name>MessageBoxPrompts</name>
    <message>
        <source>Да</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Нет</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Понятно</source>
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
    <name>OfflineMessagesWidget</name>
    <message>
        <source>Заявки</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Экспорт</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохранить заявки выбранного периода в файл</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Повторить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Загрузка…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Предыдущая страница</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Следующая страница</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Все виджеты</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Имя</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>E-mail</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Телефон</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сообщение</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сайт</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Время</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Загружаем заявки…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Всего заявок: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Страница %1 из %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>За этот период заявок нет</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Выберите период, чтобы увидеть заявки</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Заявки %1.csv</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохранить заявки</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Таблица CSV (*.csv)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохраняем заявки…</source>
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
    <name>PagedListController</name>
    <message>
        <source>Укажите начало и конец периода</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>PaymentDialog</name>
    <message>
        <source>Ссылка на оплату</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Название</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Например, «Заказ № 1042»</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Количество</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>От 1 до 999</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сумма</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>0,00</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Валюта</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Отмена</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Отправить ссылку</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Укажите, за что оплата</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Укажите сумму</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сумма — число больше нуля и не больше %1, с двумя знаками после запятой</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Создаём ссылку…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Не удалось создать ссылку на оплату</source>
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
    <name>QuickAnswersPanel</name>
    <message>
        <source>Нет подходящих быстрых ответов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Изменить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Удалить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Быстрые ответы</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохранить текст</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Изменение быстрого ответа</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Текст ответа:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ответ не может быть пустым.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Удаление быстрого ответа</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Удалить этот ответ?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохранить для всех сайтов</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохранить для %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>сайта</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохранить для меня</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сохранить текст из поля ввода как быстрый ответ</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Напишите текст в поле ввода, чтобы сохранить его как ответ</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>SendToCrmDialog</name>
    <message>
        <source>Отправка чата в CRM</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Имя</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>E-mail</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Телефон</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Комментарий</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Отмена</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Отправить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>name@example.ru</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>+7 900 000-00-00</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Укажите имя</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Адрес похож на ошибку: нужен вид name@example.ru</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Укажите e-mail или телефон</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Номер должен содержать от 7 до 15 цифр</source>
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
    <message>
        <source>Превью ссылок</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Показывать под сообщениями</source>
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
<context>
    <name>VisitorsOnlineWidget</name>
    <message>
        <source>Посетители онлайн</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Повторить</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Все виджеты</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Написать</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Загружаем посетителей…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Все посетители  %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>С кем общались  %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Еще не общались  %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Разблокировать</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сейчас на сайтах никого нет</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>В этой категории сейчас никого нет</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>VisitorsTableModel</name>
    <message>
        <source>Посетитель</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Сейчас на странице</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>На сайте</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Визит</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Источник</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Диалог</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Г</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Гость %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1-й</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Написать</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>прочитано</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>доставлено</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>отправлено</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>заблокирован</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 с</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 мин</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 ч %2 мин</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1 дн.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
