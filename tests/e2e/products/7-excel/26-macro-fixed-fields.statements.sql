-- max rows 1
SELECT `Name`, `No` FROM `Customer$` WHERE (1=2) ORDER BY `Name` ASC
-- max rows 3
SELECT `Name`, `No` FROM `Customer$` WHERE (((`Name` <> 'Ann'))) ORDER BY `Name`, `No`
