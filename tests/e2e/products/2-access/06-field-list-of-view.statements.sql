-- max rows 1
SELECT TOP 1 [Name], [No] FROM [Customer] WHERE (1=2) ORDER BY [Name] ASC
