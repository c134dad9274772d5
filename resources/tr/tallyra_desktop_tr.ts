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
    <name>NotificationWindow</name>
    <message>
        <source>Закрыть</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
