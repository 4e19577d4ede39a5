-- max rows 1
SELECT TOP 1 * FROM [sales].[Order]]s] WHERE (1=2)
