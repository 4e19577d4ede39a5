SELECT `No`,`Name`,`City`,`Balance`,`Blocked`,`Created`,`Modified`,`Opens`,`Code` FROM `Customer` ORDER BY `No` DESC LIMIT 3
