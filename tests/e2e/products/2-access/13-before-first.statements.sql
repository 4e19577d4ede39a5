SELECT TOP 1 `No` FROM `Customer` WHERE (`No`=1)
SELECT TOP 3 `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified`,`Code`,`Id` FROM `Customer` WHERE ( ((`No`<1))) ORDER BY `No` DESC
SELECT TOP 3 `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified`,`Code`,`Id` FROM `Customer` ORDER BY `No`
