-- max rows 1
SELECT TOP 1 [No] FROM [dbo].[Customer] WHERE ([No]=2)
-- max rows 3
SELECT TOP 3 [No],[Name],[City],[Balance],[Blocked],[Created],[Modified],[Opens],[Code],[Id],[Term] FROM [dbo].[Customer] WHERE ( (([No]>2))) ORDER BY [No]
