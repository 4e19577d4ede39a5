-- max rows 1
SELECT * FROM "Customer" WHERE (1=2)
-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" ORDER BY RTRIM(LTRIM("No"))
