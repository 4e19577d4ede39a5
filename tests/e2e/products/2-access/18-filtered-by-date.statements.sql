-- max rows 3
SELECT TOP 3 `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified`,`Code`,`Id` FROM `Customer` WHERE (((`Modified` >= {ts '2024-02-29 23:59:59'}) AND (`Id` <> '{0A1B2C3D-0000-4000-8000-000000000004}') AND (`Code` = 0x0A1B0002 OR `Code` = 0xFF000000))) ORDER BY `No`
