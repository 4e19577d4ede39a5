-- max rows 3
SELECT TOP 3 `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified`,`Code`,`Id` FROM `Customer` WHERE ((((UCASE(`Name`) LIKE UCASE('%S%'))))) ORDER BY `No`
