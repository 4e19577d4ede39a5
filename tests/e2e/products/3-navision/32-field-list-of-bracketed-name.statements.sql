-- max rows 1
SELECT * FROM "[dbo].[Customer]" WHERE (1=2)
