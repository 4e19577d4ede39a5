-- max rows 1
SELECT TOP 1 `No` FROM `Customer` WHERE (`No`=3)
-- max rows 3
SELECT TOP 3 `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified`,`Code`,`Id` FROM `Customer` WHERE ( ((`No`>=3))) ORDER BY `No`
