-- max rows 1
SELECT TOP 1 * FROM [[Customer] WHERE (1=2)
