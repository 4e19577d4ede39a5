SELECT `Name`,`No` FROM `Customer` WHERE (`No`=2) LIMIT 1
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Created`,`Modified`,`Opens`,`Code` FROM `Customer` WHERE ( ((`Name`>'O''Brien') OR (`Name`>='O''Brien' AND `No`>2))) ORDER BY `Name`, `No` LIMIT 3
