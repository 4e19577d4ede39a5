-- max rows 3
SELECT TOP 3 [No],[Name],[City],[Balance],[Blocked],[Created],[Modified],[Opens],[Code],[Id],[Term] FROM [dbo].[Customer] WHERE ((([City] = 'Oslo' OR [City] = 'Rome') AND ([Balance] < 2.5) AND ([Blocked] = 0) AND ([Id] = '{0A1B2C3D-0000-4000-8000-000000000004}'))) ORDER BY [No]
