-- max rows 1
SELECT TOP 1 `Name`,`No` FROM [Customer] WHERE (`No`=3) ORDER BY [Name] ASC
-- max rows 3
SELECT TOP 3 `No`,`Name`,`Balance` FROM [Customer] WHERE (((`Name` <> 'Ann')) AND ((`Name`>'Smith & Sons') OR (`Name`>='Smith & Sons' AND `No`>3))) ORDER BY `Name`, `No`
