-- max rows 3
SELECT TOP 3 `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified`,`Code`,`Id` FROM `Customer` WHERE (((`Name` > 'A') AND ((UCASE(`Name`) LIKE UCASE('%n%'))))) ORDER BY `Name`, `No`
