SELECT TOP 1 [No] FROM [dbo].[Customer] WHERE ([No]=1)
SELECT TOP 3 [No],[Name],[City],[Balance],[Blocked],[Created],[Modified],[Opens],[Code],[Id],[Term] FROM [dbo].[Customer] WHERE ( (([No]<1))) ORDER BY [No] DESC
SELECT TOP 3 [No],[Name],[City],[Balance],[Blocked],[Created],[Modified],[Opens],[Code],[Id],[Term] FROM [dbo].[Customer] ORDER BY [No]
