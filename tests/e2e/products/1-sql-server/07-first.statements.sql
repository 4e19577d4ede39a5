SELECT TOP 1 * FROM [dbo].[Customer] WHERE (1=2)
SELECT TOP 3 [No],[Name],[City],[Balance],[Blocked],[Created],[Modified],[Opens],[Code],[Id],[Term] FROM [dbo].[Customer] ORDER BY [No]
