-- max rows 3
SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Modified` FROM `Customer$` ORDER BY `Name` DESC, `No` DESC
