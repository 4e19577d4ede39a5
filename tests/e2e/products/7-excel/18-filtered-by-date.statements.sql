-- max rows 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` WHERE (((`Modified` >= {ts '2024-02-29 23:59:59'}) AND (`Balance` < 0))) ORDER BY `No`
