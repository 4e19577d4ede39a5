-- max rows 1
SELECT TOP 1 * FROM [[Customer]]; SELECT 1 --] WHERE (1=2)
