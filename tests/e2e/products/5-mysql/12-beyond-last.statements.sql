SELECT `No` FROM `Customer` WHERE (`No`=5) LIMIT 1
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Created`,`Modified`,`Opens`,`Code` FROM `Customer` WHERE ( ((`No`>5))) ORDER BY `No` LIMIT 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Created`,`Modified`,`Opens`,`Code` FROM `Customer` ORDER BY `No` DESC LIMIT 3
