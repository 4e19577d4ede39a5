SELECT TOP 1 * FROM `Customer` WHERE (1=2)
SELECT TOP 3 `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified`,`Code`,`Id` FROM `Customer` ORDER BY `No`
