-- max rows 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` WHERE (((`Name` > 'A') AND ((UCASE(`Name`) LIKE UCASE('%n%'))))) ORDER BY `Name`, `No`
