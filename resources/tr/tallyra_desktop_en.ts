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
    <name>NotificationWindow</name>
    <message>
        <source>Закрыть</source>
        <translation>Close</translation>
    </message>
</context>
</TS>
