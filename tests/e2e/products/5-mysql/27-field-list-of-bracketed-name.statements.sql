SELECT * FROM `[dbo].[Customer]` WHERE (1=2) LIMIT 1
