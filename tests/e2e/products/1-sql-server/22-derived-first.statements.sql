-- max rows 1
SELECT TOP 1 * FROM (SELECT [No], [Name], [Balance] FROM [dbo].[Customer] WHERE [Balance] > -2000) AS [KORVANTASUBQUERYNAME] WHERE (1=2)
-- max rows 3
SELECT TOP 3 [No],[Name],[Balance] FROM (SELECT [No], [Name], [Balance] FROM [dbo].[Customer] WHERE [Balance] > -2000) AS [KORVANTASUBQUERYNAME] WHERE ((([Name] <> 'Ann'))) ORDER BY [Name], [No]
