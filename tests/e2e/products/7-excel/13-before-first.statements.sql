SELECT `No` FROM `Customer$` WHERE (`No`=1)
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` WHERE ( ((`No`<1))) ORDER BY `No` DESC
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` ORDER BY `No`
