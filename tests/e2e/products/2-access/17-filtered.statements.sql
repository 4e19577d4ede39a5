-- max rows 3
SELECT TOP 3 `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified`,`Code`,`Id` FROM `Customer` WHERE (((`City`  LIKE  '%o%') AND (`Balance` > -1250) AND (`Blocked` = 1))) ORDER BY `No`
