SELECT `Name`,`No` FROM (SELECT `No`, `Name`, `Balance` FROM `Customer` WHERE `Balance` > -2000) AS `KORVANTASUBQUERYNAME` WHERE (`No`=2) LIMIT 1
SELECT `No`,`Name`,`Balance` FROM (SELECT `No`, `Name`, `Balance` FROM `Customer` WHERE `Balance` > -2000) AS `KORVANTASUBQUERYNAME` WHERE (((`Name` <> 'Ann')) AND ((`Name`>'O''Brien') OR (`Name`>='O''Brien' AND `No`>2))) ORDER BY `Name`, `No` LIMIT 3
