SELECT `No` FROM `Customer$` WHERE (`No`=5)
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` WHERE ( ((`No`>5))) ORDER BY `No`
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` ORDER BY `No` DESC
