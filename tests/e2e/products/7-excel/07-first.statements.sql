-- max rows 1
SELECT * FROM `Customer$` WHERE (1=2)
-- max rows 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` ORDER BY `No`
