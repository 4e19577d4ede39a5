SELECT `No` FROM `Customer$` WHERE (`No`=2)
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` WHERE ( ((`No`>2))) ORDER BY `No`
