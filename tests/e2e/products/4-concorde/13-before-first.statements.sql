SELECT RTRIM(LTRIM("No")) FROM "Customer" WHERE (RTRIM(LTRIM("No"))='C1')
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" WHERE ( ((RTRIM(LTRIM("No"))<'C1'))) ORDER BY RTRIM(LTRIM("No")) DESC
SELECT RTRIM(LTRIM("No")),RTRIM(LTRIM("Name")),RTRIM(LTRIM("City")),"Balance","Created" FROM "Customer" ORDER BY RTRIM(LTRIM("No"))
