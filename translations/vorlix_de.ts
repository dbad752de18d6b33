<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>TRDurationToStringFormatter</name>
    <message>
        <source>%ih</source>
        <translation>%i Std.</translation>
    </message>
    <message>
        <source>%im</source>
        <translation>%i Min.</translation>
    </message>
    <message>
        <source>%is</source>
        <translation>%i Sek.</translation>
    </message>
</context>
</TS>
