-- max rows 1
SELECT TOP 1 * FROM [archive].[dbo].[Customer] WHERE (1=2)
