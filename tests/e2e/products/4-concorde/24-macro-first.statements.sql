-- max rows 1
SELECT * FROM "Customer" WHERE (1=2) ORDER BY "Name" ASC
-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),"Balance" FROM "Customer" WHERE (((RTRIM(LTRIM("Name")) <> 'Ann'))) ORDER BY RTRIM(LTRIM("Name")), RTRIM(LTRIM("No"))
