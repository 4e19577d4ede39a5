-- max rows 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` WHERE (((`City` = 'Oslo' OR `City` = 'Rome') AND (`No` <> 2) AND (`Blocked` = 1))) ORDER BY `No`
