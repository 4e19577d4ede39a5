SELECT * FROM `Customer$` WHERE (1=2) ORDER BY `Name` ASC
SELECT `No`,`Name`,`Balance` FROM `Customer$` WHERE (((`Name` <> 'Ann'))) ORDER BY `Name`, `No`
