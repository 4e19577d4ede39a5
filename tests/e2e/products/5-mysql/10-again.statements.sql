SELECT `No` FROM `Customer` WHERE (`No`=3) LIMIT 1
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Created`,`Modified`,`Opens`,`Code` FROM `Customer` WHERE ( ((`No`>=3))) ORDER BY `No` LIMIT 3
