-- max rows 1
SELECT `No` FROM `Customer$` WHERE (`No`=5)
-- max rows 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` WHERE ( ((`No`>5))) ORDER BY `No`
-- max rows 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` ORDER BY `No` DESC
