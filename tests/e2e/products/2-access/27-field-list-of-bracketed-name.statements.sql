-- max rows 1
SELECT TOP 1 * FROM `[dbo].[Customer]` WHERE (1=2)
