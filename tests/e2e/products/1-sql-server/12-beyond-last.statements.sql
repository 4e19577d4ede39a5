SELECT TOP 1 [No] FROM [dbo].[Customer] WHERE ([No]=5)
SELECT TOP 3 [No],[Name],[City],[Balance],[Blocked],[Created],[Modified],[Opens],[Code],[Id],[Term] FROM [dbo].[Customer] WHERE ( (([No]>5))) ORDER BY [No]
SELECT TOP 3 [No],[Name],[City],[Balance],[Blocked],[Created],[Modified],[Opens],[Code],[Id],[Term] FROM [dbo].[Customer] ORDER BY [No] DESC
