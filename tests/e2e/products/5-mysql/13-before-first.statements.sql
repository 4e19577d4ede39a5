SELECT `No` FROM `Customer` WHERE (`No`=1) LIMIT 1
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Created`,`Modified`,`Opens`,`Code` FROM `Customer` WHERE ( ((`No`<1))) ORDER BY `No` DESC LIMIT 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Created`,`Modified`,`Opens`,`Code` FROM `Customer` ORDER BY `No` LIMIT 3
