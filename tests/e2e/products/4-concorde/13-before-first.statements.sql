-- max rows 1
SELECT RTRIM(LTRIM("No")) FROM "Customer" WHERE (RTRIM(LTRIM("No"))='C1')
-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" WHERE ( ((RTRIM(LTRIM("No"))<'C1'))) ORDER BY RTRIM(LTRIM("No")) DESC
-- max rows 3
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" ORDER BY RTRIM(LTRIM("No"))
