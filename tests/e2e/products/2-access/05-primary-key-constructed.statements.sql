-- max rows 1
SELECT TOP 1 * FROM `Log` WHERE (1=2)
