-- max rows 1
SELECT `Name`,`No` FROM (SELECT `No`, `Name`, `Balance` FROM `Customer$` WHERE `Balance` > -2000) AS `KORVANTASUBQUERYNAME` WHERE (`No`=3)
-- max rows 3
SELECT `No`,`Name`,`Balance` FROM (SELECT `No`, `Name`, `Balance` FROM `Customer$` WHERE `Balance` > -2000) AS `KORVANTASUBQUERYNAME` WHERE (((`Name` <> 'Ann')) AND ((`Name`>'Smith & Sons') OR (`Name`>='Smith & Sons' AND `No`>3))) ORDER BY `Name`, `No`
