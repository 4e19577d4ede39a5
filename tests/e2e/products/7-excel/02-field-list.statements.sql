-- max rows 1
SELECT * FROM `Customer$` WHERE (1=2)
