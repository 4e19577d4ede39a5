-- max rows 3
SELECT TOP 3 [No],[Name],[City],[Balance],[Blocked],[Created],[Modified],[Opens],[Code],[Id],[Term] FROM [dbo].[Customer] WHERE ((([Name] > 'A') AND ((UPPER([Name]) LIKE UPPER('%n%'))))) ORDER BY [Name], [No]
