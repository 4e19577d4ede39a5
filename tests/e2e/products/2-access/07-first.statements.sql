-- max rows 1
SELECT TOP 1 * FROM `Customer` WHERE (1=2)
-- max rows 3
SELECT TOP 3 `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified`,`Code`,`Id` FROM `Customer` ORDER BY `No`
