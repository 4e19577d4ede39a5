-- max rows 1
SELECT TOP 1 * FROM [[a]].[archive]].[dbo]].[Customer]]] WHERE (1=2)
