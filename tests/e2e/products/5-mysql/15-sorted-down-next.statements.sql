SELECT `Name`,`No` FROM `Customer` WHERE (`No`=3) LIMIT 1
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Created`,`Modified`,`Opens`,`Code` FROM `Customer` WHERE ( ((`Name`<'Smith & Sons') OR (`Name`<='Smith & Sons' AND `No`<3))) ORDER BY `Name` DESC, `No` DESC LIMIT 3
