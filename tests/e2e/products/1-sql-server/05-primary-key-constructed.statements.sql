-- max rows 1
SELECT TOP 1 * FROM [dbo].[Log] WHERE (1=2)
