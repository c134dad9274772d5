<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US" sourcelanguage="ru_RU">
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
</TS>
