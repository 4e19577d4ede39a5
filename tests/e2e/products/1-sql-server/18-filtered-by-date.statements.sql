-- max rows 3
SELECT TOP 3 [No],[Name],[City],[Balance],[Blocked],[Created],[Modified],[Opens],[Code],[Id],[Term] FROM [dbo].[Customer] WHERE ((([Created] > {d '2024-01-31'}) AND ([Modified] <= {ts '2024-02-29 23:59:59'}) AND ([Code] = 0x0A1B0001 OR [Code] = 0x0A1B0002))) ORDER BY [No]
