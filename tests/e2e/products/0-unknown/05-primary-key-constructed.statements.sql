-- max rows 1
SELECT * FROM "Log" WHERE (1=2)
