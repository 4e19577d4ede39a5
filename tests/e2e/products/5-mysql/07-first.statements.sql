SELECT * FROM `Customer` WHERE (1=2) LIMIT 1
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Created`,`Modified`,`Opens`,`Code` FROM `Customer` ORDER BY `No` LIMIT 3
