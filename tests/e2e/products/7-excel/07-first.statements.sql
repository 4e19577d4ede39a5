SELECT * FROM `Customer$` WHERE (1=2)
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` ORDER BY `No`
