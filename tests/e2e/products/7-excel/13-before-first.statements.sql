-- max rows 1
SELECT `No` FROM `Customer$` WHERE (`No`=1)
-- max rows 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` WHERE ( ((`No`<1))) ORDER BY `No` DESC
-- max rows 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` ORDER BY `No`
