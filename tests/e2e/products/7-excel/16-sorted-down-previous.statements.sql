-- max rows 1
SELECT `Name`,`No` FROM `Customer$` WHERE (`No`=3)
-- max rows 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` WHERE ( ((`Name`>'Smith & Sons') OR (`Name`>='Smith & Sons' AND `No`>3))) ORDER BY `Name`, `No`
