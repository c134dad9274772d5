<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="tr_TR" sourcelanguage="ru_RU">
<context>
    <name>MainWindow</name>
    <message>
        <source>Tallyra Онлайн чат</source>
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
</TS>
