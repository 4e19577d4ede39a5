SELECT `Name`,`No` FROM `Customer` WHERE (`No`=2) ORDER BY `Name` ASC LIMIT 1
SELECT `No`,`Name`,`Balance` FROM `Customer` WHERE (((`Name` <> 'Ann')) AND ((`Name`>'O''Brien') OR (`Name`>='O''Brien' AND `No`>2))) ORDER BY `Name`, `No` LIMIT 3
